#include <fmt/format.h>

#include <set>

#include "support/DatabaseTest.h"
#include "support/TestValue.h"

// Every cell of every type, read through a cursor and bound back into a column of its type, is the
// same SQL value, but for the ones that the host's kinds cannot carry.
namespace {

using namespace lumora::test;
using namespace std::string_literals;

class RoundTrip : public DatabaseTest {
 protected:
  void SetUp() override {
    mDatabase = Created("r.db");
    Run(mDatabase, "SET TimeZone = 'UTC'");
  }

  std::string Text(std::string const& inSql) {
    auto const cursor = mDatabase->ExecuteQuery(Wide(inSql), 1, nullptr);
    if (!cursor->NextRecord()) return "<no row>";
    return Utf8(cursor->get_Value(0)->get_String());
  }

  // Binds the one cell of the query into a column of its type. Empty: the same value came back;
  // otherwise what came instead.
  std::string ComesBackAs(std::string const& inSql) {
    Run(mDatabase, "CREATE OR REPLACE TEMPORARY TABLE source AS " + inSql);
    auto const cursor = mDatabase->ExecuteQuery(Wide("FROM source"), 2, nullptr);
    if (!cursor->NextRecord()) return "<no row>";
    auto const cell = cursor->get_Value(0);
    cursor->Close();
    Run(mDatabase, "CREATE OR REPLACE TEMPORARY TABLE target AS FROM source LIMIT 0");
    Thrown const thrown = ThrownBy(
        [&] { mDatabase->ExecuteSQL(Wide("INSERT INTO target VALUES (?)"), MakeRow({cell})); });
    if (thrown.mCode != 0 || !thrown.mClass.empty()) return "error: " + thrown.mText2;
    bool const isSame = Text(
                            "SELECT (SELECT x FROM source t(x)) IS NOT DISTINCT FROM (SELECT x "
                            "FROM target t(x))") == "true";
    return isSame ? "" : "other: " + Text("SELECT CAST(x AS VARCHAR) FROM target t(x)");
  }

  Database mDatabase;
};

TEST_F(RoundTrip, KeepsTheLeastAndGreatestValueOfEveryType) {
  // A DECIMAL is a double in the host, which holds 15 digits. The text of a UNION does not say
  // which member it is of.
  std::set<std::string> const exceptions = {"dec_18_6 0", "dec_18_6 1", "dec38_10 0", "dec38_10 1",
                                            "union 1"};
  auto const columns = mDatabase->ExecuteQuery(
      Wide("SELECT column_name FROM (DESCRIBE FROM test_all_types())"), 1, nullptr);
  int same = 0;
  while (columns->NextRecord()) {
    std::string const name = Utf8(columns->get_Value(0)->get_String());
    for (int row = 0; row < 3; ++row) {
      std::string const back = ComesBackAs("SELECT \"" + name + "\" FROM test_all_types() OFFSET " +
                                           std::to_string(row) + " LIMIT 1");
      if (back.empty()) ++same;
      bool const isException = exceptions.contains(name + " " + std::to_string(row));
      EXPECT_EQ(back.empty(), !isException) << name << ' ' << row << ": " << back;
    }
  }
  EXPECT_GT(same, 120);
}

TEST_F(RoundTrip, KeepsVariants) {
  for (char const* const sql : {"NULL",
                                "true",
                                "5::TINYINT",
                                "-5::SMALLINT",
                                "5::INTEGER",
                                "5::BIGINT",
                                "5::HUGEINT",
                                "255::UTINYINT",
                                "5::USMALLINT",
                                "5::UINTEGER",
                                "5::UBIGINT",
                                "5::UHUGEINT",
                                "0.5::FLOAT",
                                "0.5::DOUBLE",
                                "-12.345::DECIMAL(5,3)",
                                "'text'",
                                "'\\x00ab'::BLOB",
                                "'00112233-4455-6677-8899-aabbccddeeff'::UUID",
                                "DATE '2024-02-29'",
                                "TIME '23:59:59.999999'",
                                "TIMESTAMP '2024-02-29 01:02:03.123456'",
                                "'2024-02-29 01:02:03'::TIMESTAMP_S",
                                "'2024-02-29 01:02:03.123456789'::TIMESTAMP_NS",
                                "'2024-02-29 01:02:03.5+00'::TIMESTAMPTZ",
                                "'01:02:03+05'::TIMETZ",
                                "INTERVAL '1 year 2 days 3 seconds'",
                                "{'a': 1, 'b': 'x'}",
                                "[1, 2, 3]",
                                "'0101'::BIT",
                                "123456789012345678901234567890::BIGNUM"}) {
    EXPECT_EQ(ComesBackAs(std::string("SELECT CAST(") + sql + " AS VARIANT)"), "") << sql;
  }
}

// As KeepsVariants, but what kind of VARIANT it is afterwards.
TEST_F(RoundTrip, KeepsTheKindOfAVariantButForTheWidthOfADecimal) {
  struct Case {
    char const* mSql;
    char const* mOther;  // the kind that it comes back as; null: its own
  };
  for (Case const& test : {
           Case{"true", nullptr},
           Case{"5::TINYINT", nullptr},
           Case{"-5::SMALLINT", nullptr},
           Case{"5::INTEGER", nullptr},
           Case{"5::BIGINT", nullptr},
           Case{"5::HUGEINT", nullptr},
           Case{"255::UTINYINT", nullptr},
           Case{"5::USMALLINT", nullptr},
           Case{"5::UINTEGER", nullptr},
           Case{"5::UBIGINT", nullptr},
           Case{"5::UHUGEINT", nullptr},
           Case{"0.5::FLOAT", nullptr},
           Case{"0.5::DOUBLE", nullptr},
           Case{"-12.345::DECIMAL(5,3)", nullptr},
           Case{"'text'", nullptr},
           Case{"'\\x00ab'::BLOB", nullptr},
           Case{"'00112233-4455-6677-8899-aabbccddeeff'::UUID", nullptr},
           Case{"DATE '2024-02-29'", nullptr},
           Case{"TIME '23:59:59.999999'", nullptr},
           Case{"TIMESTAMP '2024-02-29 01:02:03.123456'", nullptr},
           Case{"'2024-02-29 01:02:03'::TIMESTAMP_S", nullptr},
           Case{"'2024-02-29 01:02:03.123456789'::TIMESTAMP_NS", nullptr},
           Case{"'2024-02-29 01:02:03.5+00'::TIMESTAMPTZ", nullptr},
           Case{"'01:02:03+05'::TIMETZ", nullptr},
           Case{"INTERVAL '1 year 2 days 3 seconds'", nullptr},
           Case{"{'a': 1, 'b': 'x'}", nullptr},
           Case{"[1, 2, 3]", nullptr},
           Case{"'0101'::BIT", nullptr},
           Case{"123456789012345678901234567890::BIGNUM", nullptr},
           Case{"'a,b'::VARCHAR", nullptr},
           Case{"-12.345::DECIMAL(18,3)", "DECIMAL(5, 3)"},
           Case{"'2024-02-29 01:02:03.123'::TIMESTAMP_MS", nullptr},
           Case{"'01:02:03.123456789'::TIME_NS", nullptr},
           Case{"'POINT(1 2)'::GEOMETRY", nullptr},
           Case{"'[1]'::JSON", nullptr},
       }) {
    std::string const sql = std::string("SELECT CAST(") + test.mSql + " AS VARIANT)";
    EXPECT_EQ(ComesBackAs(sql), "") << sql;
    std::string const was = Text("SELECT variant_typeof(x) FROM source t(x)");
    std::string const is = Text("SELECT variant_typeof(x) FROM target t(x)");
    EXPECT_EQ(is, test.mOther ? test.mOther : was) << sql;
    EXPECT_NE(was, test.mOther ? test.mOther : "") << sql;
  }
}

TEST_F(RoundTrip, RefusesAVariantsInfiniteDatesWhichTheHostsCannotHold) {
  EXPECT_EQ(ComesBackAs("SELECT CAST(DATE 'infinity' AS VARIANT)"),
            "error: A date part is out of range");
}

// A text of digits with the point before the last so many of them.
std::string WithPoint(std::string inDigits, int inScale) {
  bool const isNegative = inDigits.starts_with('-');
  std::string digits = inDigits.substr(isNegative ? 1 : 0);
  auto const scale = static_cast<std::size_t>(inScale);
  if (digits.size() < scale) digits.insert(0, scale - digits.size(), '0');
  return (isNegative ? "-" : "") + digits.insert(digits.size() - scale, ".");
}

// A DECIMAL is a double in the host; SQL tells what that makes of it.
TEST_F(RoundTrip, KeepsDecimalsOfFifteenDigitsAndRoundsWiderOnesAsSqlDoes) {
  int rounded = 0;
  for (int width = 1; width <= 38; ++width) {
    std::string const nines(static_cast<std::size_t>(width), '9');
    std::string const mixed = "31415926535897932384626433832795028841"s.substr(0, nines.size());
    for (int const scale : {0, width / 2, width}) {
      for (std::string const& digits : {nines, "-" + nines, mixed, "0"s, "-7"s}) {
        std::string const type = fmt::format("DECIMAL({}, {})", width, scale);
        std::string const cell = fmt::format("'{}'::{}", WithPoint(digits, scale), type);
        std::string const asDouble = fmt::format("TRY_CAST(CAST({} AS DOUBLE) AS {})", cell, type);
        std::string const back = ComesBackAs("SELECT " + cell + " AS x");
        std::string expected;
        if (Text("SELECT " + asDouble + " IS DISTINCT FROM " + cell) == "true") {
          ++rounded;
          EXPECT_GT(width, 15) << cell;
          expected = Text("SELECT coalesce('other: ' || " + asDouble + ", 'error: ')");
        }
        EXPECT_THAT(back, testing::StartsWith(expected)) << cell;
        EXPECT_EQ(back.empty(), expected.empty()) << cell;
      }
    }
  }
  EXPECT_GT(rounded, 100);
}

// The envelope spells every byte of a letter beyond ASCII as a character of its own, and is read as
// it is spelt.
TEST_F(RoundTrip, GivesLettersBeyondAsciiInsideANestedVariantBackByteByByte) {
  EXPECT_EQ(ComesBackAs("SELECT CAST({'a': 'é'} AS VARIANT)"), "other: {'a': Ã©}");
  EXPECT_EQ(ComesBackAs("SELECT CAST('é' AS VARIANT)"), "");
}

}  // namespace
