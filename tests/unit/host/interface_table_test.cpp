#include <gtest/gtest.h>

#include "Probe.h"
#include "tarn/Array.h"
#include "tarn/ForeignPlugin.h"
#include "tarn/noncopyable.h"
#include "tarn/smart_ptr.h"

namespace {

using tarn::ForeignPlugin_imp;
using tarn::I_ForeignPlugin;
using tarn::I_Unknown;
using tarn::INTERFACE_ITEM;
using tarn::InterfaceDistance;
using tarn::InterfaceTableQueryInterface;
using tarn::noncopyable;
using tarn::RefsCount;
using tarn::smart_ptr;

class I_Thing : public I_Unknown {
 public:
  virtual int get_Answer() const = 0;
};

// The shape of an extension's main objects.
class Thing : public I_Thing, public ForeignPlugin_imp, public noncopyable {
 public:
  explicit Thing(int& ioLive) : mLive(ioLive) { ++mLive; }
  ~Thing() override { --mLive; }

  std::uint32_t AddRef() override { return mRefCount.Increment(); }
  std::uint32_t Release() override {
    std::uint32_t const count = mRefCount.Decrement();
    if (count == 0) delete this;
    return count;
  }
  void* QueryInterface(std::uint32_t inInterfaceId) override {
    static INTERFACE_ITEM const kTable[] = {
        {406, 0}, {tarn::kIID_ForeignPlugin, InterfaceDistance<ForeignPlugin_imp>(this)}, {0, 0}};
    return InterfaceTableQueryInterface(this, inInterfaceId, kTable);
  }
  std::uint32_t get_RefsCount() const override { return mRefCount.get(); }
  int get_Answer() const override { return 42; }

 private:
  RefsCount mRefCount;
  int& mLive;
};

struct ThingTest : testing::Test {
  int mLive = 0;
  smart_ptr<Thing> mThing{new Thing(mLive)};
};

TEST_F(ThingTest, ANumberThatIsNotInTheTableGivesNullAndNoReference) {
  for (std::uint32_t const number : {0u, 1u, 407u, 607u, 0xFFFFFFFFu}) {
    EXPECT_EQ(mThing->QueryInterface(number), nullptr) << number;
  }
  EXPECT_EQ(mThing->get_RefsCount(), 1u);
}

TEST_F(ThingTest, AHitIsTheSubobjectWithAReferenceOfItsOwn) {
  void* const main = mThing->QueryInterface(406);
  EXPECT_EQ(main, mThing.get());
  EXPECT_EQ(mThing->get_RefsCount(), 2u);
  void* const plugin = mThing->QueryInterface(608);
  EXPECT_EQ(plugin, static_cast<ForeignPlugin_imp*>(mThing.get()));
  EXPECT_NE(plugin, main);
  EXPECT_EQ(mThing->get_RefsCount(), 3u);
  EXPECT_EQ(static_cast<I_ForeignPlugin*>(plugin)->Release(), 2u);
  EXPECT_EQ(static_cast<I_Thing*>(main)->Release(), 1u);
}

TEST_F(ThingTest, TheLastReleaseThroughAViewDestroysTheMainObject) {
  auto plugin = tarn::query_interface<I_ForeignPlugin>(mThing.get(), 608);
  mThing.reset();
  EXPECT_EQ(mLive, 1);
  EXPECT_EQ(plugin->get_RefsCount(), 1u);
  plugin.reset();
  EXPECT_EQ(mLive, 0);
}

TEST_F(ThingTest, HostDataIsNullAtFirstAndComesBackAsItWasPut) {
  auto const plugin = tarn::query_interface<I_ForeignPlugin>(mThing.get(), 608);
  EXPECT_EQ(plugin->get_Xtra(), nullptr);
  EXPECT_EQ(plugin->get_BackRef(), nullptr);
  int data = 5;
  void* slot = &data;
  plugin->put_Xtra(&data);
  plugin->put_BackRef(&slot);
  EXPECT_EQ(plugin->get_Xtra(), &data);
  EXPECT_EQ(plugin->get_BackRef(), &slot);
  mThing.reset();
  EXPECT_EQ(slot, &data) << "the object never writes through the slot";
  EXPECT_EQ(data, 5);
}

struct Finalized {
  int mCalls = 0;
  void** mBackRef = nullptr;
};

void Finalize(I_ForeignPlugin* inPlugin) {
  auto* const seen = static_cast<Finalized*>(inPlugin->get_Xtra());
  ++seen->mCalls;
  seen->mBackRef = inPlugin->get_BackRef();
}

TEST_F(ThingTest, TheFinalizerIsCalledOnceWhenTheObjectDies) {
  Finalized seen;
  void* slot = nullptr;
  ForeignPlugin_imp& plugin = *mThing;
  plugin.put_Xtra(&seen);
  plugin.put_BackRef(&slot);
  plugin.put_Finalize(&Finalize);
  EXPECT_EQ(seen.mCalls, 0);
  mThing.reset();
  EXPECT_EQ(seen.mCalls, 1);
  EXPECT_EQ(seen.mBackRef, &slot);
}

TEST_F(ThingTest, AFinalizerThatWasTakenBackIsNotCalled) {
  Finalized seen;
  ForeignPlugin_imp& plugin = *mThing;
  plugin.put_Xtra(&seen);
  plugin.put_Finalize(&Finalize);
  plugin.put_Finalize(nullptr);
  mThing.reset();
  EXPECT_EQ(seen.mCalls, 0);
}

TEST(PlainInterfaceTable, HasTheCountedInterfaceAlone) {
  INTERFACE_ITEM const* const table = tarn::PlainInterfaceTable();
  EXPECT_EQ(table[0].mInterfaceId, 1u);
  EXPECT_EQ(table[0].mDistance, 0);
  EXPECT_EQ(table[1].mInterfaceId, 0u);
  EXPECT_EQ(table[1].mDistance, 0);
}

TEST(RefsCount, CountsFromZeroAndReturnsTheNewCount) {
  RefsCount count;
  EXPECT_EQ(count.get(), 0u);
  EXPECT_EQ(count.Increment(), 1u);
  EXPECT_EQ(count.Increment(), 2u);
  EXPECT_EQ(count.Decrement(), 1u);
  EXPECT_EQ(count.Decrement(), 0u);
}

TEST(RefsCount, TryIncrementLeavesACountOfZeroAlone) {
  RefsCount count;
  EXPECT_FALSE(count.TryIncrement());
  EXPECT_EQ(count.get(), 0u);
  count.Increment();
  EXPECT_TRUE(count.TryIncrement());
  EXPECT_EQ(count.get(), 2u);
}

TEST(RefsCount, TheExclusiveStepsCountAsTheOthersDo) {
  RefsCount count;
  EXPECT_EQ(count.IncrementExclusive(), 1u);
  EXPECT_EQ(count.IncrementExclusive(), 2u);
  EXPECT_EQ(count.DecrementExclusive(), 1u);
  EXPECT_EQ(count.get(), 1u);
  EXPECT_EQ(count.DecrementExclusive(), 0u);
  EXPECT_EQ(count.get(), 0u);
}

}  // namespace
