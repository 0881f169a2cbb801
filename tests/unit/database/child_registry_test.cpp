#include "database/ChildRegistry.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

TEST(ChildRegistry, IsEmptyAtFirst) {
  lumora::ChildRegistry<int> children;
  int stranger = 0;
  EXPECT_FALSE(children.Remove(&stranger));
  EXPECT_EQ(children.TakeLast(), nullptr);
}

TEST(ChildRegistry, GivesTheYoungestFirstAndKeepsTheOrderOfTheOthers) {
  lumora::ChildRegistry<int> children;
  std::vector<int> items(25);
  for (int& item : items) children.Add(&item);
  EXPECT_TRUE(children.Remove(&items[3]));
  EXPECT_FALSE(children.Remove(&items[3]));
  EXPECT_FALSE(children.Remove(nullptr));
  for (std::size_t i = items.size(); i-- > 0;) {
    if (i != 3) EXPECT_EQ(children.TakeLast(), &items[i]);
  }
  EXPECT_EQ(children.TakeLast(), nullptr);
}

}  // namespace
