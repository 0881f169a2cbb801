#include "Board.h"

#include <fmt/format.h>

#include <cstdio>
#include <cstdlib>

namespace lumora::test {

void Board::Begin(std::size_t inWorker, char const* inOperation) {
  mSlots[inWorker].mOperation = inOperation;
  ++mSlots[inWorker].mSteps;
}

void Board::End(std::size_t inWorker) { ++mSlots[inWorker].mSteps; }

std::uint64_t Board::get_Done() const {
  std::uint64_t done = 0;
  for (Slot const& slot : mSlots) done += slot.mSteps / 2;
  return done;
}

std::string Board::Describe() const {
  std::string text;
  for (std::size_t i = 0; i < mSlots.size(); ++i) {
    text += fmt::format("worker {}: operation {}, {}: {}\n", i, get_Steps(i) / 2,
                        get_IsBusy(i) ? "in" : "after", mSlots[i].mOperation.load());
  }
  return text;
}

std::optional<std::size_t> StuckWorkers::Look() {
  for (std::size_t i = 0; i < mSeen.size(); ++i) {
    Seen& seen = mSeen[i];
    std::uint64_t const steps = mBoard.get_Steps(i);
    bool const isTheSame = steps == seen.mSteps && steps % 2 != 0;
    seen = {steps, isTheSame ? seen.mLooks + 1 : 0};
    if (seen.mLooks >= mLooks) return i;
  }
  return std::nullopt;
}

Watchdog::Watchdog(Board const& inBoard, std::chrono::milliseconds inTick, int inTicks)
    : mBoard(inBoard), mStuck(inBoard, inTicks), mTick(inTick) {
  mThread = std::thread([this] { Run(); });
}

Watchdog::~Watchdog() {
  {
    std::lock_guard const lock(mMutex);
    mIsStopped = true;
  }
  mChanged.notify_all();
  mThread.join();
}

void Watchdog::Run() {
  std::unique_lock lock(mMutex);
  while (!mChanged.wait_for(lock, mTick, [this] { return mIsStopped; })) {
    auto const stuck = mStuck.Look();
    if (!stuck) continue;
    std::string const board = mBoard.Describe();
    std::fprintf(stderr, "worker %zu does not come to an end\n%s", *stuck, board.c_str());
    std::abort();
  }
}

}  // namespace lumora::test
