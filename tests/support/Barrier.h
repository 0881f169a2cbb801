#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace lumora::test {

// Threads that wait for each other, again and again. std::barrier of mingw under Wine stands still
// when the machine is busy.
class Barrier {
 public:
  explicit Barrier(int inThreads) : mThreads(inThreads) {}

  void ArriveAndWait() {
    std::unique_lock lock(mMutex);
    if (++mArrived == mThreads) {
      mArrived = 0;
      ++mRound;
      mChanged.notify_all();
      return;
    }
    mChanged.wait(lock, [&, round = mRound] { return mRound != round; });
  }

 private:
  int const mThreads;
  std::mutex mMutex;
  std::condition_variable mChanged;
  int mArrived = 0;
  std::uint64_t mRound = 0;
};

}  // namespace lumora::test
