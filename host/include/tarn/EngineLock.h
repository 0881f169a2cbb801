#pragma once

#include <cstddef>
#include <mutex>

#include "tarn/Export.h"
#include "tarn/noncopyable.h"

namespace tarn {

// The host's mutex. Not recursive.
class LSHARED_API Thread_Mutex_Win : public noncopyable {
 public:
  Thread_Mutex_Win();
  ~Thread_Mutex_Win() override;
  void lock();
  void unlock();

 private:
  std::mutex mMutex;
};

// One global slot with a cell of its own for every thread. A thread has no cell until it sets
// one; the cell is freed when its thread ends.
template <typename T>
class TLS_SimpleType_Var;

template <>
class LSHARED_API TLS_SimpleType_Var<bool> : public noncopyable {
 public:
  TLS_SimpleType_Var();
  ~TLS_SimpleType_Var() override;

  // The calling thread's cell, or null before the thread first set it. Never throws.
  bool* get() const noexcept;
  // Sets the calling thread's cell, making it when there is none.
  void set(bool inValue);

 private:
  std::size_t mSlot;
};

// True on a thread that holds the engine lock.
LSHARED_API extern TLS_SimpleType_Var<bool> gIsGlobalLockTaken;

// True on the host's diagnostic threads, which run without the engine lock.
LSHARED_API extern TLS_SimpleType_Var<bool> gIsThisDiagnoseMTThread;

// The one mutex under which the host runs its SQL engine; null when the host runs without one.
LSHARED_API Thread_Mutex_Win* GetGlobalEngineLock() noexcept;

// For the host alone: puts another mutex (or none) in place while no operation runs, and returns
// the old one. The mutex stays the caller's and must outlive its use.
LSHARED_API Thread_Mutex_Win* SetGlobalEngineLock(Thread_Mutex_Win* inMutex) noexcept;

}  // namespace tarn
