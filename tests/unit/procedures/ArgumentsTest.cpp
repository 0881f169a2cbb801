#include "procedures/Arguments.h"

#include <stdexcept>

#include "ProcedureFixture.h"

namespace lumora::procedures {
namespace {

using namespace std::string_literals;
using test::Array;
using test::Int;
using test::Null;
using test::Other;
using test::Text;
using test::Uint;
using test::ValuePtr;
using test::WithoutText;
using Names = std::vector<std::string>;

char const kInvalidName[] = "Invalid DuckDB table or view name.";

// --- limits ---

struct LimitCase {
  std::string mText;
  std::string mOutcome;  // the limit, or the message
};

class LimitText : public testing::TestWithParam<LimitCase> {};

TEST_P(LimitText, IsADecimalNumberOrAnError) {
  std::string outcome;
  try {
    outcome = ParseLimitText(GetParam().mText);
  } catch (std::exception const& error) {
    outcome = error.what();
  }
  EXPECT_EQ(outcome, GetParam().mOutcome) << "'" << GetParam().mText << "'";
}

INSTANTIATE_TEST_SUITE_P(
    Table, LimitText,
    testing::Values(
        LimitCase{"", "invalid stoll argument"}, LimitCase{"  ", "invalid stoll argument"},
        LimitCase{"abc", "invalid stoll argument"}, LimitCase{"-", "invalid stoll argument"},
        LimitCase{"+", "invalid stoll argument"}, LimitCase{"+-7", "invalid stoll argument"},
        LimitCase{"- 7", "invalid stoll argument"}, LimitCase{".5", "invalid stoll argument"},
        LimitCase{"\0"s, "invalid stoll argument"},
        LimitCase{"12345678901234567890", "stoll argument out of range"},
        LimitCase{"9223372036854775808", "stoll argument out of range"},
        LimitCase{"-9223372036854775809", "stoll argument out of range"},
        LimitCase{"99999999999999999999abc", "stoll argument out of range"},
        LimitCase{"12abc", "limit must be an integer"},
        LimitCase{"7.0", "limit must be an integer"}, LimitCase{"1e3", "limit must be an integer"},
        LimitCase{"0x10", "limit must be an integer"}, LimitCase{"1 2", "limit must be an integer"},
        LimitCase{"7\0"s, "limit must be an integer"},
        LimitCase{"7\0 7"s, "limit must be an integer"},
        LimitCase{"-5x", "limit must be an integer"}, LimitCase{"-1", "limit must not be negative"},
        LimitCase{"-9223372036854775808", "limit must not be negative"}, LimitCase{"0", "0"},
        LimitCase{"-0", "0"}, LimitCase{"+7", "7"}, LimitCase{" 007 ", "7"},
        LimitCase{"\t\n\v\f\r42\r\n", "42"},
        LimitCase{"9223372036854775807", "9223372036854775807"}));

TEST(LimitText, DistinguishesABadTextFromAnOutOfRangeNumber) {
  EXPECT_THROW(ParseLimitText("abc"), std::invalid_argument);
  EXPECT_THROW(ParseLimitText("12abc"), std::invalid_argument);
  EXPECT_THROW(ParseLimitText("-1"), std::invalid_argument);
  EXPECT_THROW(ParseLimitText("12345678901234567890"), std::out_of_range);
}

using LimitArg = ProcedureTest;

TEST_F(LimitArg, NegativeIntegerIsRefused) {
  EXPECT_EQ(MessageOf([&] { parse_limit_arg(&mContext, Int(-1).get()); }),
            "limit must not be negative");
}

TEST_F(LimitArg, AnyOtherKindIsReadAsText) {
  EXPECT_EQ(parse_limit_arg(&mContext, Other(test::kDouble, " 5 ").get()), "5");
  EXPECT_EQ(MessageOf([&] { parse_limit_arg(&mContext, Array({}).get()); }),
            "invalid stoll argument");
  EXPECT_EQ(MessageOf([&] { parse_limit_arg(&mContext, WithoutText(test::kBool).get()); }),
            "invalid stoll argument");
}

TEST_F(LimitArg, NullIsNoLimit) {
  EXPECT_EQ(parse_limit_arg(&mContext, nullptr), "");
  EXPECT_EQ(parse_limit_arg(&mContext, Null().get()), "");
}

TEST_F(LimitArg, IntegersKeepTheirWholeRange) {
  EXPECT_EQ(parse_limit_arg(&mContext, Int(0).get()), "0");
  EXPECT_EQ(parse_limit_arg(&mContext, Int(INT64_MAX).get()), "9223372036854775807");
  EXPECT_EQ(parse_limit_arg(&mContext, Uint(UINT64_MAX).get()), "18446744073709551615");
}

// --- texts ---

using TextArg = ProcedureTest;

TEST_F(TextArg, RequiredButMissingNullTextlessOrEmptyNamesTheProcedure) {
  std::string const message = "parquet_count requires a text argument.";
  for (auto const& value :
       {ValuePtr(), Null(), Text(""), WithoutText(test::kText), WithoutText(test::kArray)}) {
    EXPECT_EQ(MessageOf<std::invalid_argument>(
                  [&] { require_text_arg(&mContext, value.get(), "parquet_count"); }),
              message);
  }
}

TEST_F(TextArg, OfBlanksPassesUntrimmed) {
  EXPECT_EQ(require_text_arg(&mContext, Text("  ").get(), "parquet_count"), "  ");
}

TEST_F(TextArg, KeepsEmbeddedBytes) {
  std::string const bytes = "a\0b\xFF"s;
  EXPECT_EQ(read_text_arg(&mContext, Text(bytes).get()), bytes);
}

TEST(Trim, RemovesTheSixBlanksAtBothEndsAlone) {
  EXPECT_EQ(trim(""), "");
  EXPECT_EQ(trim(" \t\n\v\f\r"), "");
  EXPECT_EQ(trim("\r\n a\tb \v\f"), "a\tb");
  EXPECT_EQ(trim("\xA0 x"), "\xA0 x");
  EXPECT_EQ(trim("\0 x"s), "\0 x"s);
}

// --- column lists ---

TEST(ColumnNames, AreCutAtEveryCommaEvenInQuotes) {
  EXPECT_EQ(split_column_names(""), Names{});
  EXPECT_EQ(split_column_names(",, ,"), Names{});
  EXPECT_EQ(split_column_names(" a , ,b "), (Names{"a", "b"}));
  EXPECT_EQ(split_column_names("\"x,y\""), (Names{"\"x", "y\""}));
  EXPECT_EQ(split_column_names("a b"), (Names{"a b"}));
  EXPECT_EQ(split_column_names("b,a,b"), (Names{"b", "a", "b"}));
}

using ColumnList = ProcedureTest;

TEST_F(ColumnList, IsEmptyForAllColumns) {
  for (auto const& value : {ValuePtr(), Null(), Text(""), Text(" * "), Text("*"), Text(" , "),
                            WithoutText(test::kText), Array({}), Array({nullptr, Null()})}) {
    EXPECT_EQ(parse_column_list(&mContext, value.get()), Names{});
  }
}

TEST_F(ColumnList, OfATextIsSplit) {
  EXPECT_EQ(parse_column_list(&mContext, Text(" a , ,b ").get()), (Names{"a", "b"}));
  EXPECT_EQ(parse_column_list(&mContext, Text("*, a").get()), (Names{"*", "a"}));
}

TEST_F(ColumnList, OfAnArraySkipsNullTextlessAndBlankItems) {
  auto const list = Array({Text("x"), Null(), nullptr, Text("  "), Text(""),
                           WithoutText(test::kBinary), Text(" y,z "), Int(3)});
  EXPECT_EQ(parse_column_list(&mContext, list.get()), (Names{"x", "y,z", "3"}));
}

// --- table names ---

TEST(QualifiedName, WithAnUnclosedQuoteIsInvalid) {
  for (char const* const name : {"\"", "a.\"b", "\"a\"\"", "a\"b.c"}) {
    EXPECT_EQ(MessageOf<std::invalid_argument>([&] { split_qualified_name(name); }), kInvalidName)
        << name;
  }
}

TEST(QualifiedName, IsCutAtFullStopsOutsideQuotes) {
  EXPECT_EQ(split_qualified_name("a"), (Names{"a"}));
  EXPECT_EQ(split_qualified_name(" a . b "), (Names{"a", "b"}));
  EXPECT_EQ(split_qualified_name("a..b"), (Names{"a", "", "b"}));
  EXPECT_EQ(split_qualified_name("."), (Names{"", ""}));
  EXPECT_EQ(split_qualified_name("\"a.b\".c"), (Names{"\"a.b\"", "c"}));
  EXPECT_EQ(split_qualified_name("\"a\"\".b\".c"), (Names{"\"a\"\".b\"", "c"}));
}

TEST(QualifiedName, PiecesLoseTheirOuterQuotesOnly) {
  EXPECT_EQ(UnquotePiece("a"), "a");
  EXPECT_EQ(UnquotePiece("\""), "\"");
  EXPECT_EQ(UnquotePiece("\"\""), "");
  EXPECT_EQ(UnquotePiece("\"a b\""), "a b");
  EXPECT_EQ(UnquotePiece("\"a\"\"b\""), "a\"b");
  EXPECT_EQ(UnquotePiece("\"a\"b\""), "a\"b");
  EXPECT_EQ(UnquotePiece("\"\"\"\"\"\""), "\"\"");
  EXPECT_EQ(UnquotePiece("a\"b\""), "a\"b\"");
  EXPECT_EQ(UnquotePiece("\"a\" \"b\""), "a\" \"b");
}

TEST(TableName, BlankOrWithAnEmptyPartIsRefused) {
  char const blank[] = "fetch_duckdb requires DuckDB table or view name.";
  EXPECT_EQ(MessageOf([] { ParseTableName(""); }), blank);
  EXPECT_EQ(MessageOf([] { ParseTableName(" \t\n"); }), blank);
  for (char const* const name : {"a..b", ".t", "t.", ".", " . ", "a. .b"}) {
    EXPECT_EQ(MessageOf<std::invalid_argument>([&] { ParseTableName(name); }), kInvalidName)
        << name;
  }
}

TEST(TableName, GivesUnquotedParts) {
  EXPECT_EQ(ParseTableName(" main.Orders "), (Names{"main", "Orders"}));
  EXPECT_EQ(ParseTableName("\"a.b\".c"), (Names{"a.b", "c"}));
  EXPECT_EQ(ParseTableName("\"say \"\"hi\"\"\""), (Names{"say \"hi\""}));
  EXPECT_EQ(ParseTableName("db.main.t"), (Names{"db", "main", "t"}));
}

}  // namespace
}  // namespace lumora::procedures
