// Eight threads do everything at once for as long as it is wanted: nothing hangs, nothing is lost,
// nothing is left, and the process does not grow.
#include <gmock/gmock.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <thread>

#include "Memory.h"
#include "Worker.h"
#include "support/ChildProcess.h"
#include "support/DuckDBCalls.h"
#include "support/ProcedureCalls.h"
#include "support/ProcessCounts.h"
#include "support/Seed.h"

namespace {

using namespace lumora::test;
using Clock = std::chrono::steady_clock;

long Wanted(char const* inVariable, long inOtherwise) {
  char const* const given = std::getenv(inVariable);
  return given ? std::atol(given) : inOtherwise;
}

// What the process has between two phases.
struct Footprint {
  std::size_t mDescriptors = CountDescriptors();
  std::size_t mThreads = CountThreads();
  HandleCounts mHandles = get_LiveHandles();
  std::int64_t mChunks = get_LiveChunks();
  MemoryCounts mMemory = CountMemory();
};

std::ostream& operator<<(std::ostream& ioStream, Footprint const& inFootprint) {
  return ioStream << inFootprint.mMemory << ", " << inFootprint.mDescriptors << " descriptors, "
                  << inFootprint.mThreads << " threads, " << inFootprint.mHandles;
}

// How much of that grew from the first quarter of the phases to the last one.
std::size_t GrowthOf(std::vector<Footprint> const& inFootprints,
                     std::size_t (*inSize)(Footprint const&)) {
  std::vector<std::size_t> sizes;
  std::transform(inFootprints.begin(), inFootprints.end(), std::back_inserter(sizes), inSize);
  return FindGrowth(sizes);
}

// What is in use tells a leak. Pages tell more and less: the C library's heap keeps some between
// what is in use, and more the longer many threads work, so that they are held to a wide bound
// only.
void ExpectNoGrowth(std::vector<Footprint> const& inFootprints, std::uint64_t inOperations) {
  std::size_t const heap =
      GrowthOf(inFootprints, [](Footprint const& inOne) { return inOne.mMemory.mHeap; });
  std::size_t const buffers =
      GrowthOf(inFootprints, [](Footprint const& inOne) { return inOne.mMemory.mBuffers; });
  std::size_t const resident =
      GrowthOf(inFootprints, [](Footprint const& inOne) { return inOne.mMemory.get_Resident(); });
  std::cout << "grew: heap " << heap / 1000 << " kB, DuckDB's buffers " << buffers / 1000
            << " kB in use; " << resident / 1000 << " kB resident\n";
  EXPECT_LE(heap, SlackInUse(inOperations));
  EXPECT_LE(buffers, SlackInUse(inOperations));
  // A sanitizer keeps what was freed for a while.
  if (!kIsSanitized) EXPECT_LE(resident, kResidentSlack);
}

void ExpectNothingLeft(std::vector<Footprint> const& inFootprints) {
  for (Footprint const& footprint : inFootprints) {
    EXPECT_EQ(footprint.mChunks, 0);
    EXPECT_EQ(footprint.mHandles.mResults, 0);
    EXPECT_EQ(footprint.mHandles.mExtracted, 0);
    EXPECT_EQ(footprint.mHandles.mConfigs, 0);
  }
  Footprint const& warm = inFootprints[1];
  Footprint const& last = inFootprints.back();
  EXPECT_EQ(last.mDescriptors, warm.mDescriptors);
  EXPECT_EQ(last.mThreads, warm.mThreads);
  // The library keeps private databases of its own, and a connection a worker at most to them.
  EXPECT_EQ(last.mHandles.mDatabases, warm.mHandles.mDatabases);
  EXPECT_LE(last.mHandles.mConnections, warm.mHandles.mConnections + kWorkers);
}

class MixedSoak : public testing::Test {
 protected:
  static constexpr int kPhaseOperations = kIsSanitized ? 30 : 125;  // of a worker
  static constexpr int kPhases = 4;

  MixedSoak() {
    std::uint64_t const seed = get_Seed("MixedSoak");
    for (int i = 0; i < kWorkers; ++i) {
      mWorkers.push_back(std::make_unique<Worker>(mSoak, i, seed));
    }
    mSoak.MakeConstantFiles();
  }

  void RunPhase(int inOperations) {
    for (auto& worker : mWorkers) worker->ForgetShared();
    mSoak.MakeSharedFiles();
    std::vector<std::thread> threads;
    for (auto& worker : mWorkers) {
      threads.emplace_back([&worker, inOperations] { worker->Run(inOperations); });
    }
    for (std::thread& thread : threads) thread.join();
    std::vector<SoakModel const*> models;
    for (auto& worker : mWorkers) {
      worker->Rest();
      models.push_back(&worker->get_Model());
    }
    EXPECT_THAT(mSoak.get_Failures(), testing::IsEmpty());
    mSoak.Verify(models);
  }

  void Report(std::size_t inPhase, Clock::duration inElapsed, Footprint const& inFootprint) {
    std::cout << "phase " << inPhase << ", "
              << std::chrono::duration_cast<std::chrono::seconds>(inElapsed).count() << " s, "
              << mSoak.mBoard.get_Done() << " operations: " << inFootprint << "; "
              << mSoak.mTally.mInserted << " rows inserted, " << mSoak.mTally.mCancels
              << " closed by others and noticed " << mSoak.mTally.mCancelled << " times, "
              << mSoak.mTally.mConflicts << " conflicts, " << mSoak.mTally.mBackups << " backups"
              << std::endl;
  }

  Soak mSoak;
  std::vector<std::unique_ptr<Worker>> mWorkers;
};

// LUMORA_SOAK_SECONDS and LUMORA_SOAK_OPERATIONS: it goes on until both are over.
TEST_F(MixedSoak, LosesNothingKeepsNothingAndComesToAnEnd) {
  long const shortRun = long{kPhaseOperations} * kWorkers * kPhases;
  auto const operations = static_cast<std::uint64_t>(Wanted("LUMORA_SOAK_OPERATIONS", shortRun));
  std::chrono::seconds const duration(Wanted("LUMORA_SOAK_SECONDS", 0));
  bool const isLong = operations > static_cast<std::uint64_t>(shortRun) || duration.count() > 0;
  Watchdog const watchdog(mSoak.mBoard, std::chrono::seconds(1), 300);
  auto const start = Clock::now();
  std::vector<Footprint> footprints;
  while (footprints.size() < kPhases || mSoak.mBoard.get_Done() < operations ||
         Clock::now() - start < duration) {
    RunPhase(isLong ? 5000 : kPhaseOperations);
    footprints.emplace_back();
    if (isLong) Report(footprints.size(), Clock::now() - start, footprints.back());
    if (HasFailure()) return;
  }
  ExpectNothingLeft(footprints);
  ExpectNoGrowth(footprints, mSoak.mBoard.get_Done());
  EXPECT_GT(mSoak.mTally.mInserted, 0U);
  EXPECT_GT(mSoak.mTally.mCancels, 0U);
  EXPECT_GT(mSoak.mTally.mConflicts, 0U);
}

// A worker that stands still and one that does not.
int StuckJob(Arguments const&) {
  Board board(2);
  board.Begin(0, "an operation that ends");
  board.End(0);
  board.Begin(1, "an operation that does not");
  Watchdog const watchdog(board, std::chrono::milliseconds(1), 20);
  for (;;) std::this_thread::sleep_for(std::chrono::seconds(1));
}

ChildJob const gStuckJob("stuck", StuckJob);

TEST(SoakWatchdog, EndsTheProcessWhenAnOperationDoesNotEnd) {
  EXPECT_EQ(RunChild("stuck", {}).mSignal, SIGABRT);
}

TEST(SoakWatchdog, LeavesWorkersAloneThatGoOnOrAreBetweenOperations) {
  Board board(2);
  board.Begin(1, "long ago");
  board.End(1);
  StuckWorkers stuck(board, 3);
  for (int i = 0; i < 10; ++i) {
    board.Begin(0, "short");
    EXPECT_EQ(stuck.Look(), std::nullopt);
    EXPECT_EQ(stuck.Look(), std::nullopt);
    board.End(0);
  }
  EXPECT_EQ(board.get_Done(), 11U);
  board.Begin(0, "too long");
  for (int i = 0; i < 3; ++i) EXPECT_EQ(stuck.Look(), std::nullopt);
  EXPECT_EQ(stuck.Look(), 0U);
  EXPECT_EQ(board.Describe(),
            "worker 0: operation 10, in: too long\nworker 1: operation 1, after: long ago\n");
}

// Phases of 1,000 operations, and of 40,000: sizes in bytes after each.
TEST(SoakMemory, ALeakOfAHundredBytesAnOperationIsGrowthAndWarmingUpIsNone) {
  for (auto const& [phases, operations] : {std::pair{4U, 1000U}, {25U, 40000U}}) {
    std::vector<std::size_t> leaking;
    std::vector<std::size_t> warming;
    for (unsigned phase = 1; phase <= phases; ++phase) {
      leaking.push_back(14000000U + phase * operations * 100U);
      warming.push_back(14700000U - 300000U / phase);
    }
    EXPECT_GT(FindGrowth(leaking), SlackInUse(std::uint64_t{phases} * operations));
    EXPECT_LT(FindGrowth(warming), SlackInUse(std::uint64_t{phases} * operations));
  }
  EXPECT_EQ(FindGrowth({900, 500, 500, 300}), 0U);
  EXPECT_EQ(FindGrowth({9, 5, 5, 7, 8}), 2U);
}

TEST(SoakMemory, CountsWhatIsKept) {
  MemoryCounts const before = CountMemory();
  std::vector<std::unique_ptr<char[]>> kept;
  for (int i = 0; i < 10000; ++i) kept.push_back(std::make_unique<char[]>(100));
  MemoryCounts const after = CountMemory();
  if (!kIsSanitized) {
    EXPECT_GE(after.mHeap, before.mHeap + 1000000);
    EXPECT_LE(after.mHeap, before.mHeap + 2000000);
  }
  kept.clear();
  Oracle oracle;
  oracle.Run("CREATE TABLE t AS SELECT range AS i FROM range(1000000)");
  EXPECT_GE(CountMemory().mBuffers, before.mBuffers + 1000000);
}

}  // namespace
