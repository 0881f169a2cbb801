#include "tarn/smart_ptr.h"

#include <gtest/gtest.h>

#include "Probe.h"

namespace {

using tarn::I_Unknown;
using tarn::smart_ptr;
using tarn::test::Probe;

struct SmartPtrTest : testing::Test {
  int mLive = 0;
  Probe* mObject = new Probe(mLive);
  smart_ptr<Probe> mOwner{mObject};
};

TEST_F(SmartPtrTest, EmptyPointersHoldNothing) {
  smart_ptr<Probe> const none;
  smart_ptr<Probe> const null(nullptr);
  EXPECT_FALSE(none);
  EXPECT_EQ(null.get(), nullptr);
  EXPECT_TRUE(none == null);
  EXPECT_TRUE(none == nullptr);
  smart_ptr<Probe> const fromNull(static_cast<Probe*>(nullptr));
  EXPECT_TRUE(fromNull == nullptr);
}

TEST_F(SmartPtrTest, TheFirstPointerTakesTheFirstReferenceAndTheLastFreesTheObject) {
  EXPECT_EQ(mObject->get_RefsCount(), 1u);
  mObject->AddRef();
  EXPECT_EQ(mObject->Release(), 1u);
  EXPECT_EQ(mLive, 1);
  mOwner.reset();
  EXPECT_EQ(mLive, 0);
  EXPECT_FALSE(mOwner);
}

TEST_F(SmartPtrTest, CopiesCountAndMovesDoNot) {
  smart_ptr<Probe> copy(mOwner);
  EXPECT_EQ(mObject->get_RefsCount(), 2u);
  smart_ptr<Probe> moved(std::move(copy));
  EXPECT_EQ(mObject->get_RefsCount(), 2u);
  EXPECT_TRUE(moved == mOwner);
  smart_ptr<I_Unknown> const base(moved);
  EXPECT_EQ(mObject->get_RefsCount(), 3u);
  smart_ptr<I_Unknown> const movedBase(std::move(moved));
  EXPECT_EQ(mObject->get_RefsCount(), 3u);
  EXPECT_EQ(movedBase.get(), mObject);
}

TEST_F(SmartPtrTest, AssignmentReleasesWhatWasHeld) {
  int otherLive = 0;
  smart_ptr<Probe> other(new Probe(otherLive));
  other = mOwner;
  EXPECT_EQ(otherLive, 0);
  EXPECT_EQ(mObject->get_RefsCount(), 2u);
  smart_ptr<Probe> const& self = other;
  other = self;
  EXPECT_EQ(mObject->get_RefsCount(), 2u);
  other = nullptr;
  EXPECT_EQ(mObject->get_RefsCount(), 1u);
}

std::uint32_t CountSeenByCallee(smart_ptr<Probe> inObject) { return inObject->get_RefsCount(); }

TEST_F(SmartPtrTest, PassedByValueItHandsOneReferenceToTheCallee) {
  EXPECT_EQ(CountSeenByCallee(mOwner), 2u);
  EXPECT_EQ(mObject->get_RefsCount(), 1u);
  EXPECT_EQ(CountSeenByCallee(std::move(mOwner)), 1u);
  EXPECT_EQ(mLive, 0);
}

TEST_F(SmartPtrTest, AdoptAndDetachLeaveTheCountAlone) {
  Probe* const raw = mOwner.detach();
  EXPECT_FALSE(mOwner);
  EXPECT_EQ(raw->get_RefsCount(), 1u);
  auto const adopted = smart_ptr<Probe>::adopt(raw);
  EXPECT_EQ(raw->get_RefsCount(), 1u);
}

TEST_F(SmartPtrTest, QueryInterfaceOwnsTheReferenceThatTheViewCarries) {
  {
    auto const view = tarn::query_interface<Probe>(mObject, 77);
    EXPECT_EQ(view.get(), mObject);
    EXPECT_EQ(mObject->get_RefsCount(), 2u);
  }
  EXPECT_EQ(mObject->get_RefsCount(), 1u);
  EXPECT_FALSE(tarn::query_interface<Probe>(mObject, 78));
  EXPECT_FALSE(tarn::query_interface<Probe>(static_cast<Probe*>(nullptr), 77));
}

}  // namespace
