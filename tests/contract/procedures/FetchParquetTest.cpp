#include <cstring>

#include "support/ProcedureCalls.h"

namespace lumora::test {
namespace {

class FetchParquet : public Procedures {
 protected:
  std::vector<Texts> Fetch(Args const& inArgs) { return TextsOf(*Open("fetch_parquet", inArgs)); }
};

// --- failures first ---

TEST_F(FetchParquet, WithoutAPathSaysSo) {
  EXPECT_EQ(ErrorOf("fetch_parquet", {}), "fetch_parquet requires parquet file path.");
  std::string const message = "fetch_parquet requires a text argument.";
  EXPECT_EQ(ErrorOf("fetch_parquet", {nullptr}), message);
  EXPECT_EQ(ErrorOf("fetch_parquet", {Null()}), message);
  EXPECT_EQ(ErrorOf("fetch_parquet", {Text("")}), message);
}

TEST_F(FetchParquet, ReportsWhatDuckDBSays) {
  auto const path = Text(MakeParquet("o.parquet", "SELECT 1 AS id"));
  EXPECT_NE(ErrorOf("fetch_parquet", {Text(mFolder.At("none.parquet"))}).find("none.parquet"),
            std::string::npos);
  EXPECT_NE(ErrorOf("fetch_parquet", {path, Text("nope")}).find("nope"), std::string::npos);
  EXPECT_NE(ErrorOf("fetch_parquet", {path, Null(), Text("id >")}).find("Parser Error"),
            std::string::npos);
  EXPECT_EQ(mFolder.Names(), std::set<std::string>{"o.parquet"});
}

TEST_F(FetchParquet, ReportsAnErrorThatOnlyTheRowsShow) {
  auto const path = Text(MakeParquet("o.parquet", "SELECT 'x' AS id"));
  EXPECT_NE(ErrorOf("fetch_parquet", {path, Null(), Text("CAST(id AS INTEGER) > 0")})
                .find("Conversion Error"),
            std::string::npos);
}

TEST_F(FetchParquet, RefusesBadLimits) {
  auto const path = Text(MakeParquet("o.parquet", "SELECT 1 AS id"));
  auto const error = [&](ValuePtr const& inLimit) {
    return ErrorOf("fetch_parquet", {path, Null(), Null(), inLimit});
  };
  EXPECT_EQ(error(Int(-1)), "limit must not be negative");
  EXPECT_EQ(error(Text("12abc")), "limit must be an integer");
  EXPECT_EQ(error(Text("abc")), "invalid stoll argument");
  EXPECT_EQ(error(Text("")), "invalid stoll argument");
  EXPECT_EQ(error(Text("12345678901234567890")), "stoll argument out of range");
  EXPECT_EQ(error(WithoutText(kDate)), "invalid stoll argument");
}

// --- rows ---

TEST_F(FetchParquet, GivesColumnsRowsAndNullsOfAFile) {
  std::string const query =
      "SELECT range AS id, CASE WHEN range % 3 = 1 THEN NULL ELSE 'n' || range END AS name, "
      "CAST(range % 2 = 0 AS BOOLEAN) AS even FROM range(5000)";
  auto const cursor = Open("fetch_parquet", {Text(MakeParquet("o.parquet", query))});
  EXPECT_EQ(cursor->get_Names(), (Texts{"id", "name", "even"}));
  EXPECT_EQ(cursor->get_Kinds(), (std::vector<std::int32_t>{kInt64, kText, kBool}));
  EXPECT_EQ(cursor->get_RowCount(), 5000);
  EXPECT_EQ(TextsOf(*cursor), Oracle().Texts(query));
}

TEST_F(FetchParquet, GivesEveryPlainTypeItsTrueValueAndKind) {
  std::string const query =
      "SELECT * FROM (VALUES (true, (-128)::TINYINT, (-32768)::SMALLINT, (-2147483648)::INTEGER, "
      "(-9223372036854775808)::BIGINT, 255::UTINYINT, 65535::USMALLINT, 4294967295::UINTEGER, "
      "18446744073709551615::UBIGINT, 'text longer than twelve', 0.5::FLOAT, -0.25::DOUBLE), "
      "(false, 127, 32767, 2147483647, 9223372036854775807, 0, 0, 0, 0, 'é', 2.0, 1e300), "
      "(NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL)) "
      "t(b, i1, i2, i4, i8, u1, u2, u4, u8, v, f, d)";
  auto const cursor = Open("fetch_parquet", {Text(MakeParquet("o.parquet", query))});
  EXPECT_EQ(cursor->get_Kinds(),
            (std::vector<std::int32_t>{kBool, kInt64, kInt64, kInt64, kInt64, kUint64, kUint64,
                                       kUint64, kUint64, kText, kDouble, kDouble}));
  auto rows = TextsOf(*cursor);
  EXPECT_EQ(rows[0].back(), "-0.25");
  EXPECT_EQ(rows[1].back(), "1e+300");
  auto expected = Oracle().Texts(query);
  for (auto* const table : {&rows, &expected}) {
    for (auto& row : *table) row.resize(10);
  }
  EXPECT_EQ(rows, expected);
}

TEST_F(FetchParquet, PacksDatesAndTimes) {
  std::string const path =
      MakeParquet("o.parquet",
                  "SELECT TIMESTAMP '2024-03-05 14:07:09.123456' AS s, DATE '1969-12-31' AS d, "
                  "TIME '23:59:59.999999' AS t");
  auto const cursor = Open("fetch_parquet", {Text(path)});
  EXPECT_EQ(cursor->get_Kinds(), (std::vector<std::int32_t>{kDateTime, kDate, kTime}));
  ASSERT_TRUE(cursor->Next());
  std::uint64_t const date = 2024U << 9 | 3U << 5 | 5U;
  std::uint64_t const time = 14U << 27 | 7U << 21 | 9U << 15 | 123U;
  EXPECT_EQ(cursor->Get(0)->mBits, date << 32 | time);
  EXPECT_EQ(cursor->Get(1)->mBits, 1969U << 9 | 12U << 5 | 31U);
  EXPECT_EQ(cursor->Get(2)->mBits, 23U << 27 | 59U << 21 | 59U << 15 | 999U);
}

TEST_F(FetchParquet, PacksEveryDayAndSecondAsDuckDBTakesThemApart) {
  std::string const query =
      "SELECT TIMESTAMP '1582-01-01' + INTERVAL (range * 7919 + range // 3) MINUTE + "
      "INTERVAL (range * 977) MILLISECOND AS s FROM range(20000)";
  auto const parts = Oracle().Texts(
      "SELECT (year(s)::UBIGINT << 41) | (month(s)::UBIGINT << 37) | (day(s)::UBIGINT << 32) | "
      "(hour(s)::UBIGINT << 27) | (minute(s)::UBIGINT << 21) | (second(s)::UBIGINT << 15) | "
      "(millisecond(s) % 1000)::UBIGINT FROM (" +
      query + ")");
  auto const cursor = Open("fetch_parquet", {Text(MakeParquet("o.parquet", query))});
  ASSERT_EQ(cursor->get_RowCount(), 20000);
  for (auto const& row : parts) {
    ASSERT_TRUE(cursor->Next());
    ASSERT_EQ(std::to_string(cursor->Get(0)->mBits), row[0]);
  }
}

TEST_F(FetchParquet, GivesDecimalsAsTheBitsOfTheirIntegers) {
  std::string const path = MakeParquet("o.parquet", "SELECT 1.25::DECIMAL(18,2) AS price");
  auto const cursor = Open("fetch_parquet", {Text(path)});
  EXPECT_EQ(cursor->get_Kinds(), std::vector<std::int32_t>{kDouble});
  ASSERT_TRUE(cursor->Next());
  double const value = cursor->Get(0)->mDouble;
  std::int64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  EXPECT_EQ(bits, 125);
}

TEST_F(FetchParquet, TakesNanosecondsForMicroseconds) {
  std::string const path =
      MakeParquet("o.parquet", "SELECT TIMESTAMP_NS '1970-01-01 00:00:01.002003004' AS s");
  auto const cursor = Open("fetch_parquet", {Text(path)});
  EXPECT_EQ(cursor->get_Kinds(), std::vector<std::int32_t>{kDateTime});
  ASSERT_TRUE(cursor->Next());
  // 1002003004 microseconds: 16 minutes, 42 seconds, 3 milliseconds.
  EXPECT_EQ(cursor->Get(0)->mBits,
            (std::uint64_t{1970} << 9 | 1U << 5 | 1U) << 32 | 16U << 21 | 42U << 15 | 3U);
}

TEST_F(FetchParquet, GivesEmptyTextsAndTextsWithNulBytesWhole) {
  std::string const path =
      MakeParquet("o.parquet", "SELECT '' AS e, 'a' || chr(0) || 'b' AS n, ''::BLOB AS b");
  auto const cursor = Open("fetch_parquet", {Text(path)});
  ASSERT_TRUE(cursor->Next());
  EXPECT_EQ(cursor->Get(0)->mText, "");
  EXPECT_EQ(cursor->Get(1)->mText, std::string("a\0b", 3));
  EXPECT_EQ(cursor->Get(2)->mKind, kBinary);
}

// --- arguments ---

TEST_F(FetchParquet, SelectsTheNamedColumnsInTheirOrder) {
  auto const path = Text(MakeParquet("o.parquet", "SELECT 1 AS a, 2 AS b, 3 AS x"));
  EXPECT_EQ(Fetch({path, Text(" b , ,a ")}), (std::vector<Texts>{{"2", "1"}}));
  EXPECT_EQ(Fetch({path, Text(" * ")}), (std::vector<Texts>{{"1", "2", "3"}}));
  EXPECT_EQ(Fetch({path, Text("")}), (std::vector<Texts>{{"1", "2", "3"}}));
  EXPECT_EQ(Fetch({path, Array({Text("x"), Null(), Text(" "), nullptr})}),
            (std::vector<Texts>{{"3"}}));
  EXPECT_EQ(Fetch({path, Array({})}), (std::vector<Texts>{{"1", "2", "3"}}));
}

TEST_F(FetchParquet, FiltersWithTheCallersSql) {
  auto const path =
      Text(MakeParquet("o.parquet", "SELECT range AS id, 'n' || range AS name FROM range(10)"));
  EXPECT_EQ(Fetch({path, Text("name"), Text(" id > 7 "), Null()}),
            (std::vector<Texts>{{"n8"}, {"n9"}}));
  EXPECT_EQ(Fetch({path, Null(), Text(" \t ")}).size(), 10U);
  EXPECT_EQ(Fetch({path, Null(), Null()}).size(), 10U);
  EXPECT_EQ(Fetch({path, Null(), nullptr}).size(), 10U);
  EXPECT_EQ(Fetch({path, Null(), Text("name = 'n3'")}), (std::vector<Texts>{{"3", "n3"}}));
}

TEST_F(FetchParquet, LimitsRowsByNumbersOfEveryKindAndByText) {
  auto const path = Text(MakeParquet("o.parquet", "SELECT range AS id FROM range(5000)"));
  auto const count = [&](ValuePtr const& inLimit) {
    return Open("fetch_parquet", {path, Null(), Null(), inLimit})->get_RowCount();
  };
  EXPECT_EQ(count(Int(7)), 7);
  EXPECT_EQ(count(Uint(4999)), 4999);
  EXPECT_EQ(count(Text("+7")), 7);
  EXPECT_EQ(count(Text(" 007 ")), 7);
  EXPECT_EQ(count(Other(kDouble, "3")), 3);
  EXPECT_EQ(count(Int(INT64_MAX)), 5000);
  EXPECT_EQ(count(Null()), 5000);
  EXPECT_EQ(count(nullptr), 5000);
}

TEST_F(FetchParquet, WithLimitZeroOrNoMatchHasColumnsAndNoRows) {
  auto const path = Text(MakeParquet("o.parquet", "SELECT range AS id FROM range(10)"));
  for (Args const& args :
       {Args{path, Null(), Null(), Int(0)}, Args{path, Null(), Text("id > 99"), Null()}}) {
    auto const cursor = Open("fetch_parquet", args);
    EXPECT_EQ(cursor->get_RowCount(), 0);
    EXPECT_EQ(cursor->get_Names(), Texts{"id"});
    EXPECT_EQ(cursor->get_Kinds(), std::vector<std::int32_t>{kInt64});
    EXPECT_FALSE(cursor->Next());
    EXPECT_FALSE(cursor->Seek(0));
    EXPECT_FALSE(cursor->Get(0).has_value());
  }
}

TEST_F(FetchParquet, QuotesPathsAndNames) {
  auto const path = Text(MakeParquet(
      "O'Brien \"x\".parquet", "SELECT 1 AS \"say \"\"hi\"\"\", 2 AS \"a'b\", 3 AS \"\"\"\""));
  auto const cursor = Open("fetch_parquet", {path});
  EXPECT_EQ(cursor->get_Names(), (Texts{"say \"hi\"", "a'b", "\""}));
  EXPECT_EQ(TextsOf(*cursor), (std::vector<Texts>{{"1", "2", "3"}}));
  EXPECT_EQ(Fetch({path, Text("a'b, say \"hi\"")}), (std::vector<Texts>{{"2", "1"}}));
}

TEST_F(FetchParquet, ReadsManyFilesByAPattern) {
  MakeParquet("p1.parquet", "SELECT 1 AS id");
  MakeParquet("p2.parquet", "SELECT 2 AS id");
  EXPECT_EQ(Fetch({Text(mFolder.At("p*.parquet"))}).size(), 2U);
}

}  // namespace
}  // namespace lumora::test
