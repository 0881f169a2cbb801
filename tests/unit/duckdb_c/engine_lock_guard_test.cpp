#include "duckdb_c/EngineLockGuard.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>

namespace {

using lumora::EngineLockGuard;
using tarn::gIsGlobalLockTaken;
using tarn::gIsThisDiagnoseMTThread;

bool IsHeldHere() {
  bool const* const cell = gIsGlobalLockTaken.get();
  return cell && *cell;
}

// Runs on a thread of its own, so that every case starts without flags.
template <typename TFunction>
void OnNewThread(TFunction inFunction) {
  std::thread(inFunction).join();
}

// The engine lock of a test, for as long as it lives.
class HostMutex {
 public:
  explicit HostMutex(tarn::Thread_Mutex_Win* inMutex)
      : mBefore(tarn::SetGlobalEngineLock(inMutex)) {}
  ~HostMutex() { tarn::SetGlobalEngineLock(mBefore); }

 private:
  tarn::Thread_Mutex_Win* mBefore;
};

// Whether another thread would have to wait. The mutex has no try: a thread that takes it tells.
bool IsTaken(tarn::Thread_Mutex_Win& ioMutex, std::thread& outWaiter, std::atomic<bool>& outGot) {
  outWaiter = std::thread([&] {
    ioMutex.lock();
    outGot = true;
    ioMutex.unlock();
  });
  for (int i = 0; i < 1000 && !outGot; ++i) std::this_thread::yield();
  return !outGot;
}

TEST(EngineLockGuard, DoesNothingWithoutAMutex) {
  OnNewThread([] {
    HostMutex const host(nullptr);
    EngineLockGuard const guard;
    EXPECT_FALSE(IsHeldHere());
  });
}

TEST(EngineLockGuard, OnADiagnosticThreadNeverTakesTheMutex) {
  tarn::Thread_Mutex_Win mutex;
  HostMutex const host(&mutex);
  mutex.lock();
  OnNewThread([] {
    gIsThisDiagnoseMTThread.set(true);
    EngineLockGuard const guard;
    EXPECT_FALSE(IsHeldHere());
  });
  mutex.unlock();
}

TEST(EngineLockGuard, OnAThreadThatHoldsTheLockNeitherLocksNorUnlocks) {
  tarn::Thread_Mutex_Win mutex;
  HostMutex const host(&mutex);
  OnNewThread([&] {
    mutex.lock();
    gIsGlobalLockTaken.set(true);
    { EngineLockGuard const guard; }
    EXPECT_TRUE(IsHeldHere());
    std::thread waiter;
    std::atomic<bool> got{false};
    EXPECT_TRUE(IsTaken(mutex, waiter, got));
    gIsGlobalLockTaken.set(false);
    mutex.unlock();
    waiter.join();
  });
}

TEST(EngineLockGuard, TheOutermostOneLocksAndUnlocks) {
  tarn::Thread_Mutex_Win mutex;
  HostMutex const host(&mutex);
  OnNewThread([&] {
    for (int i = 0; i < 2; ++i) {
      std::thread waiter;
      std::atomic<bool> got{false};
      {
        EngineLockGuard const outer;
        { EngineLockGuard const inner; }
        EXPECT_TRUE(IsHeldHere());
        EXPECT_TRUE(IsTaken(mutex, waiter, got));
      }
      EXPECT_FALSE(IsHeldHere());
      waiter.join();
      EXPECT_TRUE(got);
    }
  });
}

TEST(EngineLockGuard, UnlocksWhenAnExceptionPasses) {
  tarn::Thread_Mutex_Win mutex;
  HostMutex const host(&mutex);
  OnNewThread([&] {
    EXPECT_THROW(
        {
          EngineLockGuard const guard;
          throw std::runtime_error("x");
        },
        std::runtime_error);
    EXPECT_FALSE(IsHeldHere());
    mutex.lock();
    mutex.unlock();
  });
}

TEST(EngineLockGuard, KeepsThreadsApartWhateverTheyNest) {
  tarn::Thread_Mutex_Win mutex;
  HostMutex const host(&mutex);
  int count = 0;
  auto const work = [&] {
    for (int i = 0; i < 5000; ++i) {
      EngineLockGuard const outer;
      EngineLockGuard const inner;
      ++count;
    }
  };
  std::thread first(work);
  std::thread second(work);
  first.join();
  second.join();
  EXPECT_EQ(count, 10000);
}

}  // namespace
