#include <mutex>
#include <new>
#include <utility>

#include "tarn/lsql/I_DuckDBExtension.h"

namespace tarn::lsql {
namespace {

struct Slot {
  std::mutex mMutex;
  smart_ptr<I_DuckDBExtension> mExtension;  // guarded by mMutex
};

// Never destroyed: when the process ends, the extension's code may be gone before this library's.
Slot& TheSlot() noexcept {
  alignas(Slot) static std::byte memory[sizeof(Slot)];
  static Slot* const slot = ::new (memory) Slot;
  return *slot;
}

}  // namespace

void SetDuckDBExtension(smart_ptr<I_DuckDBExtension> inExtension) {
  // The old object is released by the parameter's end, after the lock: it may do anything.
  std::lock_guard const lock(TheSlot().mMutex);
  TheSlot().mExtension.swap(inExtension);
}

smart_ptr<I_DuckDBExtension> GetDuckDBExtension() {
  std::lock_guard const lock(TheSlot().mMutex);
  return TheSlot().mExtension;
}

}  // namespace tarn::lsql
