#include "duckdb_c/EngineLockGuard.h"

#include "duckdb_c/DeferredWork.h"

namespace lumora {

namespace {

bool IsSet(tarn::TLS_SimpleType_Var<bool> const& inFlag) {
  bool const* const cell = inFlag.get();
  return cell && *cell;
}

}  // namespace

EngineLockGuard::EngineLockGuard() {
  FinishDeferredWork();
  Lock();
}

EngineLockGuard::EngineLockGuard(std::nothrow_t const&) {
  try {
    FinishDeferredWork();
  } catch (...) {
    // Its owner keeps it, and throws it when the host's code returns.
  }
  Lock();
}

void EngineLockGuard::Lock() {
  tarn::Thread_Mutex_Win* const mutex = tarn::GetGlobalEngineLock();
  if (!mutex || IsSet(tarn::gIsThisDiagnoseMTThread) || IsSet(tarn::gIsGlobalLockTaken)) return;
  // Making the thread's cell can fail for want of memory: not with the mutex in hand.
  tarn::gIsGlobalLockTaken.set(false);
  mutex->lock();
  tarn::gIsGlobalLockTaken.set(true);
  mMutex = mutex;
}

// The mutex first: the flag of a thread is its own.
EngineLockGuard::~EngineLockGuard() {
  if (!mMutex) return;
  mMutex->unlock();
  tarn::gIsGlobalLockTaken.set(false);
}

}  // namespace lumora
