#include "duckdb_c/DeferredWork.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "duckdb_c/EngineLockGuard.h"

namespace lumora {
namespace {

class Counting final : public I_DeferredWork {
 public:
  void Finish() override {
    ++mFinished;
    // What finishes the work may take the guard itself.
    EngineLockGuard const guard;
    if (mThrows) throw std::runtime_error("not done");
  }
  int mFinished = 0;
  bool mThrows = false;
};

TEST(DeferredWork, IsFinishedByTheFirstGuardAlone) {
  Counting work;
  EngineLockGuard const before;
  {
    DeferredWorkScope const scope(work);
    EXPECT_EQ(work.mFinished, 0);
    EngineLockGuard const first;
    EXPECT_EQ(work.mFinished, 1);
    EngineLockGuard const second;
  }
  EngineLockGuard const after;
  EXPECT_EQ(work.mFinished, 1);
}

TEST(DeferredWork, OfNobodyIsFinishedAfterItsScope) {
  Counting work;
  { DeferredWorkScope const scope(work); }
  EngineLockGuard const guard;
  EXPECT_EQ(work.mFinished, 0);
}

TEST(DeferredWork, IsTheThreadsOwn) {
  Counting work;
  DeferredWorkScope const scope(work);
  std::thread([] { FinishDeferredWork(); }).join();
  EXPECT_EQ(work.mFinished, 0);
}

TEST(DeferredWork, OfAnInnerScopeHidesTheOuterOne) {
  Counting outer;
  Counting inner;
  DeferredWorkScope const scope(outer);
  {
    DeferredWorkScope const nested(inner);
    FinishDeferredWork();
  }
  EXPECT_EQ(inner.mFinished, 1);
  EXPECT_EQ(outer.mFinished, 0);
  FinishDeferredWork();
  EXPECT_EQ(outer.mFinished, 1);
}

TEST(DeferredWork, ThatFailsLeavesTheLockAsItWas) {
  Counting work;
  work.mThrows = true;
  {
    DeferredWorkScope const scope(work);
    EXPECT_THROW(EngineLockGuard const guard, std::runtime_error);
  }
  // Another thread would wait for ever.
  std::thread([] { EngineLockGuard const guard; }).join();
  EXPECT_EQ(work.mFinished, 1);
}

}  // namespace
}  // namespace lumora
