#include "tarn/EngineLock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using tarn::GetGlobalEngineLock;
using tarn::gIsGlobalLockTaken;
using tarn::gIsThisDiagnoseMTThread;
using tarn::SetGlobalEngineLock;
using tarn::Thread_Mutex_Win;
using Flag = tarn::TLS_SimpleType_Var<bool>;

void InAnotherThread(std::function<void()> const& inWork) { std::thread(inWork).join(); }

TEST(ThreadFlag, AThreadHasNoCellUntilItSetsOne) {
  for (Flag* const flag : {&gIsGlobalLockTaken, &gIsThisDiagnoseMTThread}) {
    InAnotherThread([flag] {
      EXPECT_EQ(flag->get(), nullptr);
      flag->set(false);
      ASSERT_NE(flag->get(), nullptr);
      EXPECT_FALSE(*flag->get());
    });
  }
}

TEST(ThreadFlag, TheCellStaysAndChanges) {
  InAnotherThread([] {
    gIsGlobalLockTaken.set(true);
    bool* const cell = gIsGlobalLockTaken.get();
    ASSERT_NE(cell, nullptr);
    EXPECT_TRUE(*cell);
    gIsGlobalLockTaken.set(false);
    EXPECT_EQ(gIsGlobalLockTaken.get(), cell);
    EXPECT_FALSE(*cell);
    *cell = true;
    EXPECT_TRUE(*gIsGlobalLockTaken.get());
  });
}

TEST(ThreadFlag, EachThreadAndEachFlagHasItsOwnCell) {
  Flag first;
  Flag second;
  first.set(true);
  EXPECT_EQ(second.get(), nullptr);
  InAnotherThread([&] {
    EXPECT_EQ(first.get(), nullptr);
    first.set(false);
    second.set(true);
  });
  EXPECT_TRUE(*first.get());
  EXPECT_EQ(second.get(), nullptr);
}

TEST(ThreadFlag, CellsAreFreedWithTheirThreadsAndSlotsWithTheirFlags) {
  // More flags than a process has slots, and a leak checker to count the cells.
  for (int i = 0; i < 2000; ++i) {
    Flag flag;
    flag.set(true);
    EXPECT_TRUE(*flag.get());
    if (i % 100 == 0) InAnotherThread([&flag] { flag.set(true); });
  }
}

TEST(EngineLock, ThereIsOneByDefaultAndTheHostMayPutAnother) {
  Thread_Mutex_Win* const original = GetGlobalEngineLock();
  ASSERT_NE(original, nullptr);
  Thread_Mutex_Win other;
  EXPECT_EQ(SetGlobalEngineLock(&other), original);
  EXPECT_EQ(GetGlobalEngineLock(), &other);
  EXPECT_EQ(SetGlobalEngineLock(nullptr), &other);
  EXPECT_EQ(GetGlobalEngineLock(), nullptr);
  EXPECT_EQ(SetGlobalEngineLock(original), nullptr);
  EXPECT_EQ(GetGlobalEngineLock(), original);
}

TEST(EngineLock, ItExcludesOtherThreads) {
  int counter = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&counter] {
      for (int k = 0; k < 5000; ++k) {
        std::lock_guard const lock(*GetGlobalEngineLock());
        ++counter;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(counter, 20000);
}

}  // namespace
