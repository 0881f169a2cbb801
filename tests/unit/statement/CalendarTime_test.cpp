#include "statement/CalendarTime.h"

#include <gtest/gtest.h>

#include <exception>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "support/FakeDatabase.h"
#include "support/Rounds.h"
#include "support/Seed.h"

namespace lumora {
namespace {

using test::Rounds;

constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();

struct Day {
  std::int32_t mYear;
  std::int16_t mMonth;
  std::int16_t mDay;
};

std::string SeenAs(std::optional<duckdb_date> const& inDate) {
  return inDate ? std::to_string(inDate->days) : "none";
}

std::string SeenAs(std::optional<duckdb_timestamp> const& inStamp) {
  return inStamp ? std::to_string(inStamp->micros) : "none";
}

std::string Ours(Day const& inDay) {
  return SeenAs(MakeDate(inDay.mYear, inDay.mMonth, inDay.mDay));
}

// DuckDB's make_date and make_timestamp in SQL report errors as any query does.
std::string OfDuckDB(test::FakeDatabase& ioDatabase, std::string const& inSql) {
  try {
    return ioDatabase.QueryText(inSql);
  } catch (std::exception const&) {
    return "none";
  }
}

std::string OfDuckDB(test::FakeDatabase& ioDatabase, Day const& inDay) {
  return OfDuckDB(ioDatabase, "SELECT make_date(" + std::to_string(inDay.mYear) + ", " +
                                  std::to_string(inDay.mMonth) + ", " + std::to_string(inDay.mDay) +
                                  ") - DATE '1970-01-01'");
}

std::string OfDuckDB(test::FakeDatabase& ioDatabase, tarn::DateTimeParts const& inParts) {
  std::string sql = "SELECT epoch_us(make_timestamp(";
  for (std::int32_t const part :
       {inParts.mYear, std::int32_t{inParts.mMonth}, std::int32_t{inParts.mDay},
        std::int32_t{inParts.mHour}, std::int32_t{inParts.mMinute}}) {
    sql += std::to_string(part) + ", ";
  }
  return OfDuckDB(ioDatabase, sql + std::to_string(inParts.mSecond) + " + " +
                                  std::to_string(inParts.mMillisecond) + " / 1000.0))");
}

TEST(MakeDate, RefusesWhatIsNotInTheCalendar) {
  for (Day const& day : {Day{2023, 2, 29}, Day{1900, 2, 29}, Day{-100, 2, 29}, Day{2024, 13, 1},
                         Day{2024, 0, 1}, Day{2024, 1, 0}, Day{2024, 4, 31}, Day{2024, 257, 1},
                         Day{2024, 1, 300}, Day{2024, -1, 1}, Day{2024, 1, -1}}) {
    EXPECT_EQ(Ours(day), "none") << day.mYear << ' ' << day.mMonth << ' ' << day.mDay;
  }
}

TEST(MakeDate, EndsWhereDuckDBsDatesEnd) {
  test::FakeDatabase database;
  for (Day const& day :
       {Day{-5877641, 6, 24}, Day{5881580, 7, 11}, Day{kLeast, 1, 1}, Day{kMost, 12, 31}}) {
    EXPECT_EQ(Ours(day), "none") << day.mYear;
    EXPECT_EQ(OfDuckDB(database, day), "none") << day.mYear;
  }
  for (Day const& day : {Day{-5877641, 6, 25}, Day{5881580, 7, 10}}) {
    EXPECT_NE(Ours(day), "none") << day.mYear;
    EXPECT_EQ(Ours(day), OfDuckDB(database, day)) << day.mYear;
  }
}

TEST(MakeDate, AgreesWithDuckDBOnRandomDates) {
  test::FakeDatabase database;
  std::mt19937 random(static_cast<unsigned>(test::get_Seed("MakeDate")));
  for (int i = 0; i < Rounds(500, 200); ++i) {
    std::int32_t const reach = i % 2 == 0 ? 3000 : 5'900'000;
    Day const day{std::uniform_int_distribution<std::int32_t>(-reach, reach)(random),
                  static_cast<std::int16_t>(random() % 14),
                  static_cast<std::int16_t>(random() % 33)};
    ASSERT_EQ(Ours(day), OfDuckDB(database, day))
        << day.mYear << ' ' << day.mMonth << ' ' << day.mDay;
  }
}

TEST(MakeTimestamp, RefusesWhatDoesNotFitDuckDBsParts) {
  for (tarn::DateTimeParts const& parts :
       std::vector<tarn::DateTimeParts>{{2024, 2, 30, 0, 0, 0, 0},
                                        {2024, 1, 1, 300, 0, 0, 0},
                                        {2024, 1, 1, 0, -200, 0, 0},
                                        {2024, 1, 1, 0, 0, 128, 0},
                                        {5000000, 1, 1, 0, 0, 0, 0},
                                        {kLeast, 1, 1, 0, 0, 0, 0},
                                        {kMost, 12, 31, 23, 59, 59, 999}}) {
    EXPECT_EQ(SeenAs(MakeTimestamp(parts)), "none") << parts.mYear << ' ' << parts.mHour;
  }
}

TEST(MakeTimestamp, EndsWhereDuckDBsTimestampsEnd) {
  test::FakeDatabase database;
  for (tarn::DateTimeParts const& parts : std::vector<tarn::DateTimeParts>{
           {-290308, 12, 21, 23, 59, 59, 999}, {294247, 1, 10, 4, 0, 54, 776}}) {
    EXPECT_EQ(SeenAs(MakeTimestamp(parts)), "none") << parts.mYear;
    EXPECT_EQ(OfDuckDB(database, parts), "none") << parts.mYear;
  }
  for (tarn::DateTimeParts const& parts : std::vector<tarn::DateTimeParts>{
           {-290308, 12, 22, 0, 0, 0, 0}, {294247, 1, 10, 4, 0, 54, 775}}) {
    EXPECT_NE(SeenAs(MakeTimestamp(parts)), "none") << parts.mYear;
    EXPECT_EQ(SeenAs(MakeTimestamp(parts)), OfDuckDB(database, parts)) << parts.mYear;
  }
}

TEST(MakeTimestamp, AgreesWithDuckDBOnRandomTimes) {
  test::FakeDatabase database;
  std::mt19937 random(static_cast<unsigned>(test::get_Seed("MakeTimestamp")));
  auto const below = [&random](unsigned inLimit) {
    return static_cast<std::int16_t>(random() % inLimit);
  };
  for (int i = 0; i < Rounds(500, 200); ++i) {
    std::int32_t const reach = i % 2 == 0 ? 3000 : 300'000;
    std::int32_t const year = std::uniform_int_distribution<std::int32_t>(-reach, reach)(random);
    tarn::DateTimeParts const parts{year,      below(14), below(32),  below(24),
                                    below(60), below(60), below(1000)};
    ASSERT_EQ(SeenAs(MakeTimestamp(parts)), OfDuckDB(database, parts))
        << year << ' ' << parts.mMonth << ' ' << parts.mDay << ' ' << parts.mHour << ':'
        << parts.mMinute << ':' << parts.mSecond << '.' << parts.mMillisecond;
  }
}

TEST(MakeTimestamp, CarriesOverWhatIsMoreThanAClockShows) {
  EXPECT_EQ(SeenAs(MakeTimestamp({1970, 1, 1, 0, 0, -1, 0})), "-1000000");
  EXPECT_EQ(SeenAs(MakeTimestamp({1970, 1, 1, 25, 61, 61, 1001})),
            std::to_string((((25 * 60 + 61) * 60 + 61) * 1000LL + 1001) * 1000));
}

}  // namespace
}  // namespace lumora
