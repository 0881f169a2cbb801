#include "cursor/TextFormat.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>

// What no cell of DuckDB's holds; what they hold is compared with DuckDB elsewhere.
namespace {

using namespace lumora::text_format;

constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kDay = 86400;

template <typename T>
std::optional<std::string> Written(char* (*inFormat)(T, char*) noexcept, T inValue) {
  char text[kTextCapacity];
  char const* const end = inFormat(inValue, text);
  return end ? std::optional<std::string>(std::string(static_cast<char const*>(text), end))
             : std::nullopt;
}

TEST(TextFormat, RefusesTimesOutsideOfADay) {
  EXPECT_FALSE(Written<duckdb_time>(FormatTime, {-1}));
  EXPECT_FALSE(Written<duckdb_time>(FormatTime, {kDay * 1000000 + 1}));
  EXPECT_FALSE(Written<std::int64_t>(FormatTimeNs, -1));
  EXPECT_FALSE(Written<std::int64_t>(FormatTimeNs, kDay * 1000000000 + 1));
  EXPECT_FALSE(Written<duckdb_time_tz>(FormatTimeTz, {~std::uint64_t{0}}));
  EXPECT_FALSE(Written<duckdb_time_tz>(FormatTimeTz, {0xFFFFFF}));
}

TEST(TextFormat, RefusesTimestampsWhoseDateDoesNotFit) {
  EXPECT_FALSE(Written<duckdb_timestamp_s>(FormatTimestampS, {kLeast}));
  EXPECT_FALSE(Written<duckdb_timestamp_s>(FormatTimestampS,
                                           {std::numeric_limits<std::int64_t>::max() - 1}));
}

TEST(TextFormat, WritesTheLeastOfEveryNumberWithoutOverflow) {
  EXPECT_EQ(Written<duckdb_timestamp>(FormatTimestamp, {kLeast}),
            "290309-12-21 (BC) 19:59:05.224192");
  EXPECT_EQ(Written<duckdb_timestamp_ns>(FormatTimestampNs, {kLeast}),
            "1677-09-21 00:12:43.145224192");
  EXPECT_EQ(
      Written<duckdb_interval>(FormatInterval, {std::numeric_limits<std::int32_t>::min(),
                                                std::numeric_limits<std::int32_t>::min(), kLeast}),
      "-178956970 years -8 months -2147483648 days -2562047788:00:54.775808");
  EXPECT_EQ(Written<duckdb_hugeint>(FormatHugeint, {0, kLeast}),
            "-170141183460469231731687303715884105728");
  EXPECT_EQ(Written<duckdb_date>(FormatDate, {std::numeric_limits<std::int32_t>::min()}),
            "5877642-06-23 (BC)");
}

TEST(TextFormat, PutsThePointOfADecimalWhereTheScaleSays) {
  char text[kTextCapacity];
  auto const decimal = [&text](std::int64_t inValue, std::uint8_t inScale,
                               std::uint8_t inWidth = 38) {
    duckdb_hugeint const wide = {static_cast<std::uint64_t>(inValue), inValue < 0 ? -1 : 0};
    char const* const end = FormatDecimal(wide, inWidth, inScale, text);
    return std::string(static_cast<char const*>(text), end);
  };
  EXPECT_EQ(decimal(0, 0), "0");
  EXPECT_EQ(decimal(0, 3), "0.000");
  EXPECT_EQ(decimal(-1, 3), "-0.001");
  EXPECT_EQ(decimal(-12345, 3), "-12.345");
  EXPECT_EQ(decimal(12345, 0), "12345");
  EXPECT_EQ(decimal(5, 37), "0." + std::string(36, '0') + "5");
  EXPECT_EQ(decimal(-5, 1, 1), "-.5");
  EXPECT_EQ(decimal(5, 38), "." + std::string(37, '0') + "5");
}

}  // namespace
