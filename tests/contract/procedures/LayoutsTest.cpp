#include <fmt/format.h>

#include <cmath>

#include "support/ProcedureCalls.h"

namespace lumora::test {
namespace {

using namespace std::string_literals;

// The cells of a column, each from a file with one view over one value, so that types count that no
// table of an older storage version holds.
class Layouts : public Procedures {
 protected:
  std::optional<HostValue> Cell(std::string const& inSql) {
    auto const path = MakeDatabase(fmt::format("{}.duckdb", mFiles++),
                                   "CREATE VIEW v AS SELECT " + inSql + " AS c");
    auto const cursor = Open("fetch_duckdb", {Text(path), Text("v")});
    EXPECT_TRUE(cursor->Next()) << inSql;
    return cursor->Get(0);
  }
  std::string CellText(std::string const& inSql) { return TextOf(Cell(inSql)); }

 private:
  int mFiles = 0;
};

std::string Date(std::int32_t inYear, std::uint32_t inMonth, std::uint32_t inDay) {
  return fmt::format("d{:08x}", static_cast<std::uint32_t>(inYear) << 9 | inMonth << 5 | inDay);
}

// A count of microseconds, of which the hours are cut to their field.
std::string Time(std::uint64_t inMicros) {
  std::uint64_t const hours = inMicros / 3'600'000'000 & 31;
  return fmt::format("t{:08x}", hours << 27 | inMicros / 60'000'000 % 60 << 21 |
                                    inMicros / 1'000'000 % 60 << 15 | inMicros / 1000 % 1000);
}

// --- plain types at the ends of their ranges ---

TEST_F(Layouts, OfRealNumbersAreWidenedAndKeepWhatIsNoOrdinaryNumber) {
  std::pair<char const*, double> const cells[] = {
      {"0.1::FLOAT", static_cast<double>(0.1F)},
      {"1e-45::FLOAT", static_cast<double>(1e-45F)},
      {"(-3.4028235e38)::FLOAT", static_cast<double>(-3.4028235e38F)},
      {"'-inf'::FLOAT", -HUGE_VAL},
      {"'-0.0'::FLOAT", -0.0},
      {"5e-324::DOUBLE", 5e-324},
      {"'-0.0'::DOUBLE", -0.0},
      {"'inf'::DOUBLE", HUGE_VAL},
  };
  for (auto const& [sql, number] : cells) {
    auto const cell = Cell(sql);
    ASSERT_TRUE(cell) << sql;
    EXPECT_EQ(cell->mKind, kDouble) << sql;
    EXPECT_EQ(cell->mDouble, number) << sql;
    EXPECT_EQ(std::signbit(cell->mDouble), std::signbit(number)) << sql;
  }
  for (char const* const sql : {"'nan'::FLOAT", "'nan'::DOUBLE"}) {
    EXPECT_TRUE(std::isnan(Cell(sql)->mDouble)) << sql;
  }
}

TEST_F(Layouts, OfDatesArePackedWithTheLowBitsOfTheirYear) {
  EXPECT_EQ(CellText("DATE '1970-01-01'"), Date(1970, 1, 1));
  EXPECT_EQ(CellText("DATE '0001-01-01'"), Date(1, 1, 1));
  EXPECT_EQ(CellText("DATE '0001-12-31 (BC)'"), Date(0, 12, 31));
  EXPECT_EQ(CellText("DATE '0044-03-15 (BC)'"), Date(-43, 3, 15));
  EXPECT_EQ(CellText("DATE '5877642-06-25 (BC)'"), Date(-5877641, 6, 25));
  EXPECT_EQ(CellText("DATE '5881580-07-10'"), Date(5881580, 7, 10));
  EXPECT_EQ(CellText("'infinity'::DATE"), Date(5881580, 7, 11));
  EXPECT_EQ(CellText("'-infinity'::DATE"), Date(-5877641, 6, 24));
}

TEST_F(Layouts, OfTimesArePackedUpToTheEndOfTheDay) {
  EXPECT_EQ(CellText("TIME '00:00:00'"), Time(0));
  EXPECT_EQ(CellText("TIME '00:00:00.000999'"), Time(0));
  EXPECT_EQ(CellText("TIME '23:59:59.999999'"), Time(86'399'999'999));
  EXPECT_EQ(CellText("TIME '24:00:00'"), Time(86'400'000'000));
}

TEST_F(Layouts, OfTimestampsBefore1970CountTheirPartsForwards) {
  EXPECT_EQ(CellText("TIMESTAMP '1969-12-31 23:59:59.999999'"),
            "s" + Date(1969, 12, 31).substr(1) + Time(86'399'999'999).substr(1));
  EXPECT_EQ(CellText("'290309-12-22 (BC) 00:00:00'::TIMESTAMP"),
            "s" + Date(-290308, 12, 22).substr(1) + Time(0).substr(1));
}

// --- types that are read as another one: the bytes are taken as they stand ---

TEST_F(Layouts, OfOtherTimestampsAreTheirCountTakenForMicroseconds) {
  std::pair<char const*, char const*> const cells[] = {
      {"'2024-03-05 14:07:09'::TIMESTAMP_S", "epoch(c)::BIGINT"},
      {"'1969-12-31 23:59:59'::TIMESTAMP_S", "epoch(c)::BIGINT"},
      {"'2024-03-05 14:07:09.123'::TIMESTAMP_MS", "epoch_ms(c)"},
      {"'1969-12-31 23:59:59.999'::TIMESTAMP_MS", "epoch_ms(c)"},
      {"'1972-03-05 14:07:09.123456789'::TIMESTAMP_NS", "epoch_ns(c)"},
      {"make_timestamp_ns(-1)", "epoch_ns(c)"},
      {"'2024-03-05 14:07:09.123456+02'::TIMESTAMPTZ", "epoch_us(c)"},
  };
  for (auto const& [sql, count] : cells) {
    std::string const packed = Oracle().Text(
        "SELECT 's' || lpad(lower(hex((year(s)::UBIGINT << 41) | (month(s)::UBIGINT << 37) | "
        "(day(s)::UBIGINT << 32) | (hour(s)::UBIGINT << 27) | (minute(s)::UBIGINT << 21) | "
        "(second(s)::UBIGINT << 15) | (millisecond(s) % 1000)::UBIGINT)), 16, '0') FROM (SELECT "
        "make_timestamp(" +
        std::string(count) + ") AS s FROM (SELECT " + sql + " AS c))");
    EXPECT_EQ(CellText(sql), packed) << sql;
  }
}

TEST_F(Layouts, OfOtherTimesAreTheirBitsTakenForMicroseconds) {
  EXPECT_EQ(CellText("'00:00:01.002003004'::TIME_NS"), Time(1'002'003'004));
  EXPECT_EQ(CellText("'23:59:59.999999999'::TIME_NS"), Time(86'399'999'999'999));
  // The offset stands in the low 24 bits, counted down from the greatest one.
  EXPECT_EQ(CellText("'00:00:00+15:59:59'::TIMETZ"), Time(0));
  EXPECT_EQ(CellText("'00:00:00+00'::TIMETZ"), Time(57'599));
  EXPECT_EQ(CellText("'00:00:00.000001+15:59:59'::TIMETZ"), Time(std::uint64_t{1} << 24));
  EXPECT_EQ(CellText("'12:00:00-15:59:59'::TIMETZ"),
            Time(std::uint64_t{43'200'000'000} << 24 | 115'198));
}

TEST_F(Layouts, OfTypesWithStringRecordsAreTheBytesOfTheRecord) {
  EXPECT_EQ(CellText("'101'::BIT"), "\x05\xFD");
  EXPECT_EQ(CellText("5::BIGNUM"), "\x80\x00\x01\x05"s);
  EXPECT_EQ(CellText("'{\"a\": 1}'::JSON"), "{\"a\": 1}");
}

// The first four bytes are a length. What is too long to stand inside the record is no cell.
TEST_F(Layouts, OfOtherTypesThatAreReadAsTextAreWhatLooksLikeAText) {
  EXPECT_EQ(CellText("5::HUGEINT"), std::string(5, '\0'));
  EXPECT_EQ(CellText("2::UHUGEINT"), std::string(2, '\0'));
  EXPECT_EQ(CellText("13::HUGEINT"), "NULL");
  EXPECT_EQ(CellText("INTERVAL '3 months 1 day'"), "\x01\0\0"s);
  EXPECT_EQ(CellText("'00000000-0000-0000-0000-00000000000c'::UUID"),
            std::string(11, '\0') + '\x80');
  EXPECT_EQ(CellText("[7]"), "");
  EXPECT_EQ(CellText("map([1], [2])"), "");
}

// DuckDB keeps nothing there, or less than a record.
TEST_F(Layouts, OfTypesWithoutRoomForARecordAreNull) {
  for (char const* const sql : {"'b'::ENUM('a', 'b')", "{'a': 1}", "union_value(a := 1)",
                                "array_value(1, 2)", "1::VARIANT", "NULL"}) {
    EXPECT_EQ(CellText(sql), "NULL") << sql;
  }
}

}  // namespace
}  // namespace lumora::test
