#pragma once

namespace lumora {

// Work that a thread puts off while it calls the host: rows that were read and not yet inserted.
// What the host calls may call back, and must then find everything done.
class I_DeferredWork {
 public:
  virtual void Finish() = 0;

 protected:
  ~I_DeferredWork() = default;
};

// For the scope's life the thread's next EngineLockGuard, which every way back into the library
// makes first, finishes that work, once. What Finish throws, that guard throws, or drops where it
// must not throw: so Finish keeps it as well. Scopes nest.
class DeferredWorkScope {
 public:
  explicit DeferredWorkScope(I_DeferredWork& inWork) noexcept;
  ~DeferredWorkScope();
  DeferredWorkScope(DeferredWorkScope const&) = delete;
  DeferredWorkScope& operator=(DeferredWorkScope const&) = delete;

 private:
  I_DeferredWork* const mOuter;
};

// Finishes what this thread has put off, if anything.
void FinishDeferredWork();

}  // namespace lumora
