#include "support/HeldEngineLock.h"

#include <atomic>
#include <thread>

#include "tarn/EngineLock.h"

namespace lumora::test {

UnderHeldLock RunUnderHeldLock(std::function<void()> const& inOperation, UnderHeldLock inExpected) {
  tarn::Thread_Mutex_Win mutex;
  tarn::Thread_Mutex_Win* const before = tarn::SetGlobalEngineLock(&mutex);
  mutex.lock();
  std::atomic<bool> isDone{false};
  std::thread thread([&] {
    inOperation();
    isDone = true;
  });
  // The mutex has no try.
  int const turns = inExpected == UnderHeldLock::kGoesOn ? 50'000'000 : 5'000;
  for (int i = 0; i < turns && !isDone; ++i) std::this_thread::yield();
  UnderHeldLock const what = isDone ? UnderHeldLock::kGoesOn : UnderHeldLock::kWaits;
  mutex.unlock();
  thread.join();
  tarn::SetGlobalEngineLock(before);
  return what;
}

bool get_IsMarkedAsHolding() {
  bool const* const cell = tarn::gIsGlobalLockTaken.get();
  return cell && *cell;
}

}  // namespace lumora::test
