#include "tarn/ForeignPlugin.h"

#include <utility>

namespace tarn {

ForeignPlugin_imp::~ForeignPlugin_imp() {
  if (ForeignFinalizer const finalizer = std::exchange(mFinalizer, nullptr)) finalizer(this);
}

void* ForeignPlugin_imp::get_Xtra() const { return mXtra; }
void ForeignPlugin_imp::put_Xtra(void* inXtra) { mXtra = inXtra; }
void** ForeignPlugin_imp::get_BackRef() const { return mBackRef; }
void ForeignPlugin_imp::put_BackRef(void** inBackRef) { mBackRef = inBackRef; }
void ForeignPlugin_imp::put_Finalize(ForeignFinalizer inFinalizer) { mFinalizer = inFinalizer; }

}  // namespace tarn
