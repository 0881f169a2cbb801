#pragma once

#include "tarn/I_Unknown.h"

namespace tarn {

class I_ForeignPlugin;
using ForeignFinalizer = void (*)(I_ForeignPlugin* inPlugin);

// Lets the host hang data of its own on an extension's object. Interface number 608.
class LSHARED_API I_ForeignPlugin : public I_Unknown {
 public:
  // One opaque pointer of the host's; null at first. The object never looks at it.
  virtual void* get_Xtra() const = 0;
  virtual void put_Xtra(void* inXtra) = 0;

  // The address of the host's slot that refers to this object; null at first. The object neither
  // reads nor writes through it.
  virtual void** get_BackRef() const = 0;
  virtual void put_BackRef(void** inBackRef) = 0;

  // A function of the host's that is called once, with this view, when the object is finalised
  // (from the destructor of ForeignPlugin_imp, so only the five operations of this view that are
  // not reference counting may be used in it). Null at first; null takes it back.
  virtual void put_Finalize(ForeignFinalizer inFinalizer) = 0;
};

// Implements the five operations; the reference-counting operations are overridden by the main
// class. Not synchronised: the host uses it under its engine lock.
class LSHARED_API ForeignPlugin_imp : public I_ForeignPlugin {
 public:
  ForeignPlugin_imp() = default;
  ~ForeignPlugin_imp() override;

  void* get_Xtra() const override;
  void put_Xtra(void* inXtra) override;
  void** get_BackRef() const override;
  void put_BackRef(void** inBackRef) override;
  void put_Finalize(ForeignFinalizer inFinalizer) override;

 private:
  void* mXtra = nullptr;
  void** mBackRef = nullptr;
  ForeignFinalizer mFinalizer = nullptr;
};

}  // namespace tarn
