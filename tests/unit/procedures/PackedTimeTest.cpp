#include "procedures/PackedTime.h"

#include <gtest/gtest.h>

namespace lumora::procedures {
namespace {

TEST(PackedTime, PutsEveryPartIntoItsField) {
  duckdb_timestamp_struct const when{{2024, 3, 5}, {14, 7, 9, 123456}};
  std::uint64_t const packed = PackDateTime(when);
  std::uint64_t const date = packed >> 32;
  EXPECT_EQ(date & 0x1F, 5U);
  EXPECT_EQ(date >> 5 & 0x0F, 3U);
  EXPECT_EQ(date >> 9, 2024U);
  EXPECT_EQ(packed & 0x7FFF, 123U);
  EXPECT_EQ(packed >> 15 & 0x3F, 9U);
  EXPECT_EQ(packed >> 21 & 0x3F, 7U);
  EXPECT_EQ(packed >> 27 & 0x1F, 14U);
  EXPECT_EQ(PackDate(when.date), static_cast<std::uint32_t>(date));
  EXPECT_EQ(PackTime(when.time), static_cast<std::uint32_t>(packed));
}

TEST(PackedTime, DropsMicroseconds) {
  EXPECT_EQ(PackTime({0, 0, 0, 999}), 0U);
  EXPECT_EQ(PackTime({0, 0, 0, 999999}), 999U);
  EXPECT_EQ(PackTime({24, 0, 0, 0}), 24U << 27);
}

TEST(PackedTime, KeepsTheLow23BitsOfTheYear) {
  EXPECT_EQ(PackDate({-1, 1, 1}) >> 9, 0x7FFFFFU);
  EXPECT_EQ(PackDate({-290308, 12, 22}) >> 9, static_cast<std::uint32_t>(-290308) & 0x7FFFFFU);
  EXPECT_EQ(PackDate({5881580, 7, 11}) >> 9, 5881580U);
}

TEST(PackedTime, PartsThatDoNotFitNeverSpill) {
  EXPECT_EQ(PackDate({0, -1, -1}), 0x1FFU);
  EXPECT_EQ(PackTime({0, -1, 0, 0}), 0x3FU << 21);
  EXPECT_EQ(PackTime({0, 0, -1, 0}), 0x3FU << 15);
  EXPECT_EQ(PackTime({0, 0, 0, -1000}), 0x7FFFU);
  EXPECT_EQ(PackTime({-1, 0, 0, 0}), 0x1FU << 27);
}

}  // namespace
}  // namespace lumora::procedures
