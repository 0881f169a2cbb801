#include "duckdb_c/ValueText.h"

#include <gtest/gtest.h>

#include <string>

#include "TestConnection.h"

namespace lumora::duckdb_c::test {
namespace {

TEST(ValueText, NothingAndNullAreEmpty) {
  EXPECT_EQ(GetValueText(nullptr), "");
  const ValueHandle null(duckdb_create_null_value());
  EXPECT_EQ(GetValueText(null.get()), "");
  EXPECT_EQ(GetValueText(SharedConnection().Value("SELECT NULL::INTEGER[]").get()), "");
}

TEST(ValueText, ATextIsNotCutAtANulByte) {
  char const* const expressions[] = {
      "'a' || chr(0) || 'b'",    "['a' || chr(0) || 'b']",          "{'x': chr(0)}",
      "MAP {chr(0): chr(0)}",    "('a' || chr(0) || 'b')::VARIANT", "[chr(0)::VARIANT]",
      "union_value(a := chr(0))"};
  for (const std::string expression : expressions) {
    const ValueHandle value = SharedConnection().Value("SELECT " + expression);
    const std::string expected =
        SharedConnection().Text("SELECT CAST(" + expression + " AS VARCHAR)");
    EXPECT_NE(expected.find('\0'), std::string::npos) << expression;
    EXPECT_EQ(GetValueText(value.get()), expected) << expression;
  }
}

TEST(ValueText, EqualsGetVarcharWhereThatIsWhole) {
  for (char const* const expression :
       {"1", "'text'", "1.50", "DATE '2020-01-01'", "[1, 2]", "{'a': 'x y'}", "'\\x00'::BLOB",
        "1::VARIANT", "'{\"a\": 1}'::JSON", "'POINT (1 2)'::GEOMETRY"}) {
    const ValueHandle value = SharedConnection().Value(std::string("SELECT ") + expression);
    const TextHandle text(duckdb_get_varchar(value.get()));
    EXPECT_EQ(GetValueText(value.get()), TextOr(text.get(), "")) << expression;
  }
}

TEST(ValueText, AListOfJsonIsWrittenAsSqlWritesIt) {
  for (const std::string expression :
       {"['{\"a\": [1]}'::JSON]", "['1'::JSON]::JSON[1]", "{'u': ['{\"a\": [1]}'::JSON]}"}) {
    const ValueHandle value = SharedConnection().Value("SELECT " + expression);
    EXPECT_EQ(GetValueText(value.get()),
              SharedConnection().Text("SELECT CAST(" + expression + " AS VARCHAR)"));
  }
}

TEST(ValueText, TenMegabytesAreWhole) {
  const ValueHandle value = SharedConnection().Value("SELECT repeat('0123456789', 1024 * 1024)");
  EXPECT_EQ(GetValueText(value.get())->size(), 10U << 20U);
}

}  // namespace
}  // namespace lumora::duckdb_c::test
