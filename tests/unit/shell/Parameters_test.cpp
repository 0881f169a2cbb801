#include "Parameters.h"

#include <gtest/gtest.h>

#include "HostText.h"

namespace lumora::shell {
namespace {

TEST(Parameters, CountsThePlacesOfAStatement) {
  struct Case {
    char const* mSql;
    std::size_t mPlaces;
  };
  Case const cases[] = {
      {"", 0},
      {"SELECT 1", 0},
      {"SELECT '?', \"$1\", $$?$$, $x$ $1 $x$ -- ? $2\n /* ? */", 0},
      {"SELECT ?", 1},
      {"SELECT ?, ?", 2},
      {"SELECT $1, $1", 1},
      {"SELECT $3", 3},
      {"SELECT $a, $b, $A", 2},
      {"SELECT a$1 FROM t", 0},
      {"SELECT '? open", 0},
      {"SELECT $", 0},
      {"SELECT $99999999999999999999999", 1},
  };
  for (Case const& c : cases) EXPECT_EQ(CountPlaces(c.mSql), c.mPlaces) << c.mSql;
}

TEST(Parameters, TellsNumbersTextsAndEnvelopesApart) {
  using tarn::ValueType;
  struct Case {
    char const* mText;
    ValueType mType;
    char const* mShown;
  };
  Case const cases[] = {
      {"5", ValueType::kLLong, "5"},
      {"-9223372036854775808", ValueType::kLLong, "-9223372036854775808"},
      {"18446744073709551615", ValueType::kULLong, "18446744073709551615"},
      {"18446744073709551616", ValueType::kString, "18446744073709551616"},
      {"2.5", ValueType::kDouble, "2.5"},
      {"1e3", ValueType::kDouble, "1000"},
      {"", ValueType::kString, ""},
      {" ", ValueType::kString, " "},
      {"'5'", ValueType::kString, "5"},
      {"'it''s -- fine'", ValueType::kString, "it's -- fine"},
      {"'open", ValueType::kString, "'open"},
      {"it's", ValueType::kString, "it's"},
      {"true", ValueType::kString, "true"},
      {"[1, 2]", ValueType::kString, "[1, 2]"},
      {"5 -- five", ValueType::kString, "5 -- five"},
      {"--5", ValueType::kString, "--5"},
      {"2024-01-01", ValueType::kString, "2024-01-01"},
      {"{\"a\": 1}", ValueType::kString, "{\"a\": 1}"},
      {"{\"duckdb_variant\":true", ValueType::kString, "{\"duckdb_variant\":true"},
      {"{\"duckdb_variant\":true}", ValueType::kJSON, "{\"duckdb_variant\":true}"},
  };
  for (Case const& c : cases) {
    auto const value = MakeParameter(c.mText);
    ASSERT_TRUE(value) << c.mText;
    EXPECT_EQ(value->get_Type(), c.mType) << c.mText;
    EXPECT_EQ(ToUtf8(value->get_String()), c.mShown) << c.mText;
    EXPECT_FALSE(value->get_IsNull()) << c.mText;
  }
  EXPECT_TRUE(MakeParameter("NULL")->get_IsNull());
  EXPECT_TRUE(MakeParameter("null")->get_IsNull());
}

TEST(Parameters, GivesAStatementAsManyAsItHasPlacesFor) {
  std::vector<std::string> const three = {"1", "2", "3"};
  EXPECT_EQ(MakeParameterRow(three, "SELECT 1"), nullptr);
  EXPECT_EQ(MakeParameterRow({}, "SELECT ?"), nullptr);
  EXPECT_EQ(MakeParameterRow(three, "SELECT ?, ?")->get_Count(), 2U);
  EXPECT_EQ(MakeParameterRow(three, "SELECT $9")->get_Count(), 3U);
}

}  // namespace
}  // namespace lumora::shell
