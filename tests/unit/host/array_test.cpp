#include "tarn/Array.h"

#include <gtest/gtest.h>

#include <vector>

#include "Probe.h"

namespace {

using tarn::ArrayOfPtrs;
using tarn::ArrayOfSmartPtrs;
using tarn::smart_ptr;
using tarn::test::Probe;
using Pointers = ArrayOfPtrs<int*>;
using Probes = ArrayOfSmartPtrs<smart_ptr<Probe>>;

struct ArrayTest : testing::Test {
  smart_ptr<Pointers> Filled(std::uint32_t inCount, std::uint32_t inCapacity = 10) {
    smart_ptr<Pointers> array(new Pointers(inCapacity));
    for (std::uint32_t i = 0; i < inCount; ++i) array->Append(&mItems[i]);
    return array;
  }
  std::vector<std::ptrdiff_t> Order(Pointers const& inArray) const {
    std::vector<std::ptrdiff_t> order;
    for (std::uint32_t i = 0; i < inArray.get_Count(); ++i) order.push_back(inArray[i] - mItems);
    return order;
  }

  int mItems[1000] = {};
};

TEST_F(ArrayTest, RemovalAtZeroAndPastTheCountIsIgnored) {
  auto const array = Filled(3);
  for (std::uint32_t const position : {0u, 4u, 1000u, 0xFFFFFFFFu}) array->RemoveAt(position);
  EXPECT_EQ(Order(*array), (std::vector<std::ptrdiff_t>{0, 1, 2}));
  smart_ptr<Pointers> const none(new Pointers);
  none->RemoveAt(1);
  EXPECT_EQ(none->get_Count(), 0u);
}

TEST_F(ArrayTest, RemovalByPositionMovesTheLaterItemsDown) {
  auto const array = Filled(5);
  array->RemoveAt(2);
  EXPECT_EQ(Order(*array), (std::vector<std::ptrdiff_t>{0, 2, 3, 4}));
  array->RemoveAt(4);
  EXPECT_EQ(Order(*array), (std::vector<std::ptrdiff_t>{0, 2, 3}));
  array->RemoveAt(1);
  EXPECT_EQ(Order(*array), (std::vector<std::ptrdiff_t>{2, 3}));
}

TEST_F(ArrayTest, FindGivesThePositionOfTheFirstEqualItem) {
  auto const array = Filled(3);
  array->Append(&mItems[1]);
  EXPECT_EQ(array->Find(&mItems[0]), 1u);
  EXPECT_EQ(array->Find(&mItems[1]), 2u);
  EXPECT_EQ(array->Find(&mItems[5]), 0u);
}

TEST_F(ArrayTest, TenItemsGrowToTwentyOnTheEleventhAndKeepTheirOrder) {
  auto const array = Filled(10);
  EXPECT_EQ(array->get_Capacity(), 10u);
  array->Append(&mItems[10]);
  EXPECT_EQ(array->get_Capacity(), 20u);
  EXPECT_EQ(Order(*array), (std::vector<std::ptrdiff_t>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
}

TEST_F(ArrayTest, CapacityDoublesAndBecomesTenFromZero) {
  struct Case {
    std::uint32_t mCapacity, mItems, mExpected;
  };
  for (Case const& c : {Case{0, 0, 0}, Case{0, 1, 10}, Case{0, 11, 20}, Case{1, 2, 2},
                        Case{3, 7, 12}, Case{10, 1000, 1280}}) {
    auto const array = Filled(c.mItems, c.mCapacity);
    EXPECT_EQ(array->get_Capacity(), c.mExpected) << c.mCapacity << " " << c.mItems;
    EXPECT_EQ(array->get_Count(), c.mItems);
  }
}

TEST_F(ArrayTest, AnArrayIsACountedObjectOfNumberOne) {
  auto array = Filled(1);
  EXPECT_EQ(array->get_RefsCount(), 1u);
  EXPECT_EQ(array->QueryInterface(1), array.get());
  EXPECT_EQ(array->get_RefsCount(), 2u);
  EXPECT_EQ(array->QueryInterface(406), nullptr);
  EXPECT_EQ(array->Release(), 1u);
}

struct Item {
  explicit Item(std::vector<int>& ioDead, int inNumber) : mDead(ioDead), mNumber(inNumber) {}
  ~Item() { mDead.push_back(mNumber); }
  Item(Item const&) = delete;
  Item& operator=(Item const&) = delete;
  std::vector<int>& mDead;
  int mNumber;
};

TEST_F(ArrayTest, AnOwningArrayDeletesWhatLeavesIt) {
  std::vector<int> dead;
  smart_ptr<ArrayOfPtrs<Item*>> array(new ArrayOfPtrs<Item*>(10, true));
  EXPECT_TRUE(array->get_IsOwning());
  for (int i = 1; i <= 3; ++i) array->Append(new Item(dead, i));
  array->RemoveAt(2);
  EXPECT_EQ(dead, (std::vector<int>{2}));
  array.reset();
  EXPECT_EQ(dead, (std::vector<int>{2, 3, 1}));
}

TEST_F(ArrayTest, AnArrayThatDoesNotOwnLeavesItsItemsAlone) {
  std::vector<int> dead;
  Item item(dead, 1);
  smart_ptr<ArrayOfPtrs<Item*>> array(new ArrayOfPtrs<Item*>);
  EXPECT_FALSE(array->get_IsOwning());
  array->Append(&item);
  array->RemoveAt(1);
  array->Append(&item);
  array.reset();
  EXPECT_TRUE(dead.empty());
}

struct ProbesTest : testing::Test {
  int mLive = 0;
  smart_ptr<Probe> mProbe{new Probe(mLive)};
  smart_ptr<Probes> mArray{new Probes};
};

TEST_F(ProbesTest, EachPlaceHoldsOneReference) {
  mArray->Append(mProbe);
  mArray->Append(mProbe.get());
  EXPECT_EQ(mProbe->get_RefsCount(), 3u);
  mArray->RemoveAt(1);
  EXPECT_EQ(mProbe->get_RefsCount(), 2u);
  EXPECT_EQ(mArray->get_Item(0).get(), mProbe.get());
  EXPECT_EQ(mProbe->get_RefsCount(), 2u) << "a temporary item gave its reference back";
  mArray->RemoveAll();
  EXPECT_EQ(mProbe->get_RefsCount(), 1u);
  EXPECT_EQ(mArray->get_Count(), 0u);
}

TEST_F(ProbesTest, AMovedInReferenceIsTakenOver) {
  Probe* const raw = mProbe.get();
  mArray->Append(std::move(mProbe));
  EXPECT_EQ(raw->get_RefsCount(), 1u);
  EXPECT_EQ((*mArray)[0], raw);
  mArray.reset();
  EXPECT_EQ(mLive, 0);
}

TEST_F(ProbesTest, NullItemsAreItemsToo) {
  mArray->Append(smart_ptr<Probe>());
  mArray->Append(mProbe);
  EXPECT_EQ(mArray->get_Count(), 2u);
  EXPECT_FALSE(mArray->get_Item(0));
  EXPECT_EQ(mArray->Find(nullptr), 1u);
  mArray->RemoveAt(1);
  EXPECT_EQ(mArray->get_Item(0).get(), mProbe.get());
}

TEST_F(ProbesTest, GrowthLeavesTheReferencesAlone) {
  for (int i = 0; i < 100; ++i) mArray->Append(mProbe);
  EXPECT_EQ(mProbe->get_RefsCount(), 101u);
  mArray.reset();
  EXPECT_EQ(mProbe->get_RefsCount(), 1u);
}

}  // namespace
