#include <fmt/format.h>
#include <gtest/gtest.h>

#include <string>

#include "TestConnection.h"
#include "duckdb_c/Types.h"
#include "duckdb_c/ValueText.h"
#include "duckdb_c/Values.h"
#include "duckdb_c/duckdb_completion.h"

namespace lumora::duckdb_c::test {
namespace {

struct CastResult {
  ValueHandle mValue;
  std::string mError;
};

CastResult Cast(duckdb_value inValue, duckdb_logical_type inType) {
  CastResult result;
  TextHandle error;
  result.mValue = ValueHandle(duckdb_cast_value(inValue, inType, error.out()));
  result.mError = TextOr(error.get(), "");
  EXPECT_NE(static_cast<bool>(result.mValue), static_cast<bool>(error)) << result.mError;
  return result;
}

ValueHandle Text(std::string_view inText) {
  return ValueHandle(duckdb_create_varchar_length(inText.data(), inText.size()));
}

// The type of an expression, by SQL.
LogicalTypeHandle TypeOf(std::string const& inExpression) {
  ResultHandle result = SharedConnection().Query("SELECT " + inExpression);
  return LogicalTypeHandle(duckdb_column_logical_type(result.ptr(), 0));
}

LogicalTypeHandle JsonType(char const* inAlias) {
  LogicalTypeHandle type(duckdb_create_logical_type(DUCKDB_TYPE_VARCHAR));
  duckdb_logical_type_set_alias(type.get(), inAlias);
  return type;
}

TEST(CastValue, NullHandlesAreRefusedWithAMessage) {
  const LogicalTypeHandle type = MakeLogicalType(DUCKDB_TYPE_HUGEINT);
  const ValueHandle value = Text("1");
  EXPECT_FALSE(Cast(nullptr, type.get()).mError.empty());
  EXPECT_FALSE(Cast(value.get(), nullptr).mError.empty());
  EXPECT_EQ(duckdb_cast_value(nullptr, nullptr, nullptr), nullptr);
  EXPECT_EQ(duckdb_cast_value(value.get(), nullptr, nullptr), nullptr);
}

struct Refused {
  char const* mText;
  TypeId mType;
  char const* mMessage;
};

class RefusedCast : public testing::TestWithParam<Refused> {};

TEST_P(RefusedCast, GivesDuckDBsMessageAsPlainText) {
  const ValueHandle value = Text(GetParam().mText);
  const LogicalTypeHandle type = MakeLogicalType(GetParam().mType);
  const CastResult result = Cast(value.get(), type.get());
  EXPECT_FALSE(result.mValue);
  EXPECT_NE(result.mError.find(GetParam().mMessage), std::string::npos) << result.mError;
  // Nothing of our own statement, no JSON, no kind of error before it.
  EXPECT_EQ(result.mError.find("capture"), std::string::npos) << result.mError;
  EXPECT_EQ(result.mError.find("Error:"), std::string::npos) << result.mError;
  EXPECT_NE(result.mError.front(), '{');
  EXPECT_EQ(duckdb_cast_value(value.get(), type.get(), nullptr), nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, RefusedCast,
    testing::Values(Refused{"abc", DUCKDB_TYPE_HUGEINT, "Could not convert string 'abc' to INT128"},
                    Refused{"", DUCKDB_TYPE_UUID, "INT128"},
                    Refused{"12:61", DUCKDB_TYPE_TIME, "12:61"},
                    Refused{"2020-13-01", DUCKDB_TYPE_TIMESTAMP_NS, "2020-13-01"},
                    Refused{"x", DUCKDB_TYPE_BIGNUM, "x"}, Refused{"2", DUCKDB_TYPE_BIT, "2"},
                    Refused{"POINT(", kTypeGeometry, "Failed to parse geometry"},
                    Refused{"-1", DUCKDB_TYPE_UHUGEINT, "-1"},
                    Refused{"1 fortnight", DUCKDB_TYPE_INTERVAL, "fortnight"}));

TEST(CastValue, ATypeThatIsNotCompleteIsRefused) {
  const ValueHandle value = Text("1");
  const LogicalTypeHandle invalid(duckdb_create_logical_type(DUCKDB_TYPE_INVALID));
  const LogicalTypeHandle any(duckdb_create_logical_type(DUCKDB_TYPE_ANY));
  EXPECT_FALSE(Cast(value.get(), invalid.get()).mError.empty());
  EXPECT_FALSE(Cast(value.get(), any.get()).mError.empty());
}

TEST(CastValue, AfterAFailureTheNextCastWorks) {
  const LogicalTypeHandle type = MakeLogicalType(DUCKDB_TYPE_HUGEINT);
  const ValueHandle bad = Text("abc");
  const ValueHandle good = Text("170141183460469231731687303715884105727");
  EXPECT_FALSE(Cast(bad.get(), type.get()).mValue);
  EXPECT_EQ(GetValueText(Cast(good.get(), type.get()).mValue.get()),
            "170141183460469231731687303715884105727");
}

TEST(CastValue, InvalidUtf8NeverBecomesAValue) {
  const LogicalTypeHandle type = MakeLogicalType(DUCKDB_TYPE_VARCHAR);
  const ValueHandle value = Text("\xFF\xFE");
  EXPECT_FALSE(value && Cast(value.get(), type.get()).mValue);
}

TEST(CastValue, TenMegabytesOfTextAreCast) {
  const std::string json = "\"" + std::string(10U << 20U, 'x') + "\"";
  const ValueHandle value = Text(json);
  const CastResult result = Cast(value.get(), JsonType("JSON").get());
  EXPECT_EQ(GetValueText(result.mValue.get()), json) << result.mError;
}

TEST(CastValue, ANulByteInATextSurvives) {
  const ValueHandle value = Text(std::string_view("a\0b", 3));
  const LogicalTypeHandle type = MakeLogicalType(DUCKDB_TYPE_VARCHAR);
  EXPECT_EQ(GetValueText(Cast(value.get(), type.get()).mValue.get()), std::string("a\0b", 3));
}

TEST(CastValue, NullStaysNullAndGetsTheType) {
  const ValueHandle null(duckdb_create_null_value());
  const LogicalTypeHandle type = MakeLogicalType(DUCKDB_TYPE_UUID);
  const CastResult result = Cast(null.get(), type.get());
  EXPECT_TRUE(duckdb_is_null_value(result.mValue.get())) << result.mError;
  EXPECT_EQ(ValueTypeText(result.mValue.get()), "UUID");
}

struct Accepted {
  char const* mText;
  char const* mType;
};

class AcceptedCast : public testing::TestWithParam<Accepted> {};

TEST_P(AcceptedCast, IsWhatSqlMakesOfIt) {
  auto const& [text, type_text] = GetParam();
  const std::string expression = fmt::format("CAST('{}' AS {})", text, type_text);
  const LogicalTypeHandle type = TypeOf(expression);
  const ValueHandle value = Text(text);
  const CastResult result = Cast(value.get(), type.get());
  ASSERT_TRUE(result.mValue) << result.mError;
  EXPECT_EQ(ValueTypeText(result.mValue.get()),
            SharedConnection().Text("SELECT typeof(" + expression + ")"));
  EXPECT_EQ(GetValueText(result.mValue.get()),
            SharedConnection().Text("SELECT CAST(" + expression + " AS VARCHAR)"));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, AcceptedCast,
    testing::Values(Accepted{"true", "BOOLEAN"}, Accepted{"-128", "TINYINT"},
                    Accepted{"-170141183460469231731687303715884105728", "HUGEINT"},
                    Accepted{"340282366920938463463374607431768211455", "UHUGEINT"},
                    Accepted{"00000000-0000-0000-8000-000000000001", "UUID"},
                    Accepted{"23:59:59.123456", "TIME"}, Accepted{"23:59:59.123456789", "TIME_NS"},
                    Accepted{"12:00:00+15:59:59", "TIMETZ"},
                    Accepted{"290309-12-22 (BC) 00:00:00", "TIMESTAMP"},
                    Accepted{"infinity", "TIMESTAMP_S"}, Accepted{"2020-01-01", "TIMESTAMP_MS"},
                    Accepted{"2020-01-01 00:00:00.123456789", "TIMESTAMP_NS"},
                    Accepted{"2020-06-01 12:00:00+02", "TIMESTAMPTZ"},
                    Accepted{"1 year 2 months 3 days 04:05:06.7", "INTERVAL"},
                    Accepted{"0101", "BIT"},
                    Accepted{"-123456789012345678901234567890123", "BIGNUM"},
                    Accepted{"-12.345", "DECIMAL(5,3)"}, Accepted{"0.1", "DECIMAL(38,38)"},
                    Accepted{"{\"a\": [1, null]}", "JSON"}, Accepted{"text", "VARIANT"},
                    Accepted{"POINT (1 2)", "GEOMETRY"},
                    Accepted{"POINT (1 2)", "GEOMETRY('OGC:CRS84')"},
                    Accepted{"b", "ENUM('a', 'b')"}, Accepted{"[1, NULL, 3]", "INTEGER[]"},
                    Accepted{"[1, 2]", "INTEGER[2]"}, Accepted{"{a=1}", "MAP(VARCHAR, INTEGER)"},
                    Accepted{"{''x y'': 1, ''select'': z}", "STRUCT(\"x y\" INT, \"select\" TEXT)"},
                    Accepted{"7", "UNION(i INTEGER, t VARCHAR)"}));

TEST(CastValue, TextAsJsonInWhateverCaseThenVariantIsAnObject) {
  for (char const* const alias : {"json", "JSON", "Json"}) {
    const ValueHandle text = Text("{\"a\": [1, \"x\", null]}");
    const CastResult json = Cast(text.get(), JsonType(alias).get());
    ASSERT_TRUE(json.mValue) << json.mError;
    const CastResult variant = Cast(json.mValue.get(), MakeLogicalType(kTypeVariant).get());
    ASSERT_TRUE(variant.mValue) << variant.mError;
    EXPECT_EQ(ValueTypeText(variant.mValue.get()), "VARIANT");
    EXPECT_EQ(duckdb_value_variant_type(variant.mValue.get()), 29U);
  }
}

TEST(CastValue, JsonThatIsNoneIsRefused) {
  const ValueHandle text = Text("{\"a\":");
  EXPECT_NE(Cast(text.get(), JsonType("json").get()).mError.find("Malformed JSON"),
            std::string::npos);
}

TEST(CastValue, ATypeWithAnAliasOfItsOwnKeepsIt) {
  const LogicalTypeHandle type(duckdb_create_decimal_type(6, 2));
  duckdb_logical_type_set_alias(type.get(), "money");
  const ValueHandle text = Text("12.34");
  const CastResult result = Cast(text.get(), type.get());
  EXPECT_EQ(ValueTypeText(result.mValue.get()), "money") << result.mError;
  EXPECT_EQ(GetValueText(result.mValue.get()), "12.34");
}

TEST(CastValue, MoreTargetTypesThanStatementsAreKeptAllWork) {
  const ValueHandle text = Text("1");
  for (std::uint8_t width = 1; width <= 38; ++width) {
    for (const std::uint8_t scale : {std::uint8_t{0}, static_cast<std::uint8_t>(width - 1)}) {
      const LogicalTypeHandle type(duckdb_create_decimal_type(width, scale));
      const CastResult result = Cast(text.get(), type.get());
      EXPECT_EQ(ValueTypeText(result.mValue.get()), fmt::format("DECIMAL({},{})", width, scale))
          << result.mError;
    }
  }
}

}  // namespace
}  // namespace lumora::duckdb_c::test
