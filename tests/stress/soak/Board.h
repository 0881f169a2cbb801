#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace lumora::test {

// What every worker is at. Each slot is written by its worker alone and read by the watchdog.
class Board {
 public:
  explicit Board(std::size_t inWorkers) : mSlots(inWorkers) {}

  void Begin(std::size_t inWorker, char const* inOperation);  // a literal
  void End(std::size_t inWorker);

  // Operations of all workers that have ended.
  std::uint64_t get_Done() const;
  // Operations of one worker, each counted when it begins and when it ends.
  std::uint64_t get_Steps(std::size_t inWorker) const { return mSlots[inWorker].mSteps; }
  bool get_IsBusy(std::size_t inWorker) const { return get_Steps(inWorker) % 2 != 0; }
  std::size_t get_Workers() const { return mSlots.size(); }
  // A line a worker: its last operation and whether it is over.
  std::string Describe() const;

 private:
  struct Slot {
    std::atomic<char const*> mOperation{"nothing yet"};
    std::atomic<std::uint64_t> mSteps{0};
  };
  std::deque<Slot> mSlots;
};

// Who is in one operation for so many looks.
class StuckWorkers {
 public:
  StuckWorkers(Board const& inBoard, int inLooks)
      : mBoard(inBoard), mLooks(inLooks), mSeen(inBoard.get_Workers()) {}
  // The first one that is stuck, or nobody.
  std::optional<std::size_t> Look();

 private:
  struct Seen {
    std::uint64_t mSteps = 0;
    int mLooks = 0;
  };
  Board const& mBoard;
  int const mLooks;
  std::deque<Seen> mSeen;
};

// Looks at every tick and ends the process with the board's description when a worker is stuck. It
// counts ticks and not time: a machine that stands still makes no deadlock.
class Watchdog {
 public:
  Watchdog(Board const& inBoard, std::chrono::milliseconds inTick, int inTicks);
  ~Watchdog();
  Watchdog(Watchdog const&) = delete;
  Watchdog& operator=(Watchdog const&) = delete;

 private:
  void Run();

  Board const& mBoard;
  StuckWorkers mStuck;
  std::chrono::milliseconds const mTick;
  std::mutex mMutex;
  std::condition_variable mChanged;
  bool mIsStopped = false;  // guarded by mMutex
  std::thread mThread;
};

}  // namespace lumora::test
