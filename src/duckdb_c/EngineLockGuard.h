#pragma once

#include <new>

#include "tarn/EngineLock.h"

namespace lumora {

// Holds the host's engine lock for one operation. It is re-entrant: on a thread that already holds
// the lock, on a diagnostic thread, and when the host has no lock, the guard does nothing.
// Before anything else it finishes the work that this thread has put off (DeferredWork.h); there is
// none unless the library is calling the host.
class EngineLockGuard {
 public:
  // Throws what the finished work throws.
  EngineLockGuard();
  // For what must be done all the same: closing and giving up. Who put the work off tells its
  // failure.
  explicit EngineLockGuard(std::nothrow_t const&);
  ~EngineLockGuard();
  EngineLockGuard(EngineLockGuard const&) = delete;
  EngineLockGuard& operator=(EngineLockGuard const&) = delete;

 private:
  void Lock();

  tarn::Thread_Mutex_Win* mMutex = nullptr;
};

}  // namespace lumora
