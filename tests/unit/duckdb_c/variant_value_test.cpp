#include <fmt/format.h>
#include <gtest/gtest.h>

#include <string>

#include "Differential.h"
#include "TestConnection.h"
#include "duckdb_c/Types.h"
#include "duckdb_c/ValueText.h"
#include "duckdb_c/VariantReader.h"
#include "duckdb_c/duckdb_completion.h"

namespace lumora::duckdb_c::test {
namespace {

struct Inner {
  std::uint32_t mCode;
  char const* mTypeof;      // of variant_typeof, up to a parenthesis
  char const* mExpression;  // made into a VARIANT
};

// Every code, more than once where its layout has cases.
Inner const kInners[] = {
    {1, "BOOL_TRUE", "true"},
    {2, "BOOL_FALSE", "false"},
    {3, "INT8", "(-7)::TINYINT"},
    {3, "INT8", "(-128)::TINYINT"},
    {4, "INT16", "(-32768)::SMALLINT"},
    {5, "INT32", "(-2147483648)::INTEGER"},
    {6, "INT64", "9223372036854775807"},
    {7, "INT128", "(-170141183460469231731687303715884105728)::HUGEINT"},
    {8, "UINT8", "255::UTINYINT"},
    {9, "UINT16", "65535::USMALLINT"},
    {10, "UINT32", "4294967295::UINTEGER"},
    {11, "UINT64", "18446744073709551615::UBIGINT"},
    {12, "UINT128", "340282366920938463463374607431768211455::UHUGEINT"},
    {13, "FLOAT", "1.5::FLOAT"},
    {13, "FLOAT", "'nan'::FLOAT"},
    {14, "DOUBLE", "-1.7976931348623157e308::DOUBLE"},
    {14, "DOUBLE", "'-infinity'::DOUBLE"},
    {15, "DECIMAL", "(-123.4)::DECIMAL(4,1)"},
    {15, "DECIMAL", "(-12345.6789)::DECIMAL(9,4)"},
    {15, "DECIMAL", "(-999999999999999999)::DECIMAL(18,0)"},
    {15, "DECIMAL", "(-0.00000000000000000000000000000000000001)::DECIMAL(38,38)"},
    {16, "VARCHAR", "''"},
    {16, "VARCHAR", "'it''s \"\xC3\xA9\"'"},
    {16, "VARCHAR", "repeat('long', 100)"},
    {17, "BLOB", "''::BLOB"},
    {17, "BLOB", "'\\x00\\xFFabc'::BLOB"},
    {18, "UUID", "'00000000-0000-0000-8000-000000000001'::UUID"},
    {18, "UUID", "'ffffffff-ffff-ffff-ffff-ffffffffffff'::UUID"},
    {19, "DATE", "'infinity'::DATE"},
    {19, "DATE", "'5877642-06-25 (BC)'::DATE"},
    {20, "TIME_MICROS", "'23:59:59.999999'::TIME"},
    {21, "TIME_NANOS", "'23:59:59.999999999'::TIME_NS"},
    {22, "TIMESTAMP_SEC", "'2020-01-01 01:02:03'::TIMESTAMP_S"},
    {23, "TIMESTAMP_MILIS", "'2020-01-01 01:02:03.123'::TIMESTAMP_MS"},
    {24, "TIMESTAMP_MICROS", "'1677-09-21 00:12:43.145225'::TIMESTAMP"},
    {25, "TIMESTAMP_NANOS", "'2020-01-01 01:02:03.123456789'::TIMESTAMP_NS"},
    {26, "TIME_MICROS_TZ", "'00:00:00+15:59:59'::TIMETZ"},
    {27, "TIMESTAMP_MICROS_TZ", "'2020-01-01 01:02:03.123456+00'::TIMESTAMPTZ"},
    {28, "INTERVAL", "'-1 year 3 days -04:05:06.7'::INTERVAL"},
    {29, "OBJECT", "{'a': 1, 'b c': ['x', NULL], 'd': {'e': DATE '2020-01-01'}}"},
    {30, "ARRAY", "MAP {'k': 1.5}"},
    {29, "OBJECT", "'{}'::JSON"},
    {30, "ARRAY", "[1, NULL, 3]"},
    {30, "ARRAY", "[]::INTEGER[]"},
    {30, "ARRAY", "[{'a': \x27\"\x27}, {'a': NULL}]"},
    {31, "BIGNUM", "'-123456789012345678901234567890123456789012345'::BIGNUM"},
    {31, "BIGNUM", "'0'::BIGNUM"},
    {32, "BITSTRING", "'0'::BIT"},
    {32, "BITSTRING", "'101010101'::BIT"},
    {33, "GEOMETRY", "'POINT (1 2)'::GEOMETRY"},
};

bool IsNested(std::uint32_t inCode) { return inCode == 29 || inCode == 30; }

class VariantOf : public testing::TestWithParam<Inner> {};

TEST_P(VariantOf, HasTheCodeAndTheInnerValue) {
  Inner const& inner = GetParam();
  TestConnection const& connection = SharedConnection();
  const std::string variant = fmt::format("({})::VARIANT", inner.mExpression);
  const ValueHandle value = connection.Value("SELECT " + variant);
  ASSERT_EQ(GetValueTypeId(value.get()), kTypeVariant);
  EXPECT_EQ(connection.Text("SELECT split_part(variant_typeof(" + variant + "), '(', 1)"),
            inner.mTypeof);
  EXPECT_EQ(duckdb_value_variant_type(value.get()), inner.mCode);

  const ValueHandle child(duckdb_value_variant_child(value.get()));
  ASSERT_TRUE(child);
  const std::string of = IsNested(inner.mCode) ? "CAST(" + variant + " AS JSON)"
                                               : fmt::format("({})", inner.mExpression);
  EXPECT_EQ(GetValueText(child.get()), connection.Text("SELECT CAST(" + of + " AS VARCHAR)"));
  EXPECT_EQ(ValueTypeText(child.get()),
            IsNested(inner.mCode) ? "VARCHAR" : connection.Text("SELECT typeof(" + of + ")"));
}

TEST_P(VariantOf, BindsBackAsTheSameVariant) {
  TestConnection const& connection = SharedConnection();
  const std::string variant = fmt::format("({})::VARIANT", GetParam().mExpression);
  const ValueHandle value = connection.Value("SELECT " + variant);
  const PreparedHandle statement = connection.Prepare(fmt::format(
      "SELECT $1 IS NOT DISTINCT FROM {0}, variant_typeof($1) = variant_typeof({0}), typeof($1)",
      variant));
  ASSERT_EQ(duckdb_bind_value(statement.get(), 1, value.get()), DuckDBSuccess);
  ResultHandle result;
  ASSERT_EQ(duckdb_execute_prepared(statement.get(), result.out()), DuckDBSuccess)
      << TextOr(duckdb_result_error(result.ptr()), "");
  const ChunkHandle chunk(duckdb_fetch_chunk(result.get()));
  EXPECT_TRUE(CellFlag(chunk.get(), 0, 0));
  EXPECT_TRUE(CellFlag(chunk.get(), 1, 0));
  EXPECT_EQ(CellText(chunk.get(), 2, 0), "VARIANT");
}

// What a nested child says is read back by the two casts.
TEST_P(VariantOf, TheJsonTextOfANestedOneReadsBack) {
  if (!IsNested(GetParam().mCode)) return;
  const ValueHandle value =
      SharedConnection().Value(fmt::format("SELECT ({})::VARIANT", GetParam().mExpression));
  const ValueHandle child(duckdb_value_variant_child(value.get()));
  const LogicalTypeHandle json(duckdb_create_logical_type(DUCKDB_TYPE_VARCHAR));
  duckdb_logical_type_set_alias(json.get(), "json");
  const ValueHandle as_json(duckdb_cast_value(child.get(), json.get(), nullptr));
  const LogicalTypeHandle type = MakeLogicalType(kTypeVariant);
  const ValueHandle back(duckdb_cast_value(as_json.get(), type.get(), nullptr));
  EXPECT_EQ(duckdb_value_variant_type(back.get()), GetParam().mCode);
  const ValueHandle again(duckdb_value_variant_child(back.get()));
  EXPECT_EQ(GetValueText(again.get()), GetValueText(child.get()));
}

INSTANTIATE_TEST_SUITE_P(EveryCode, VariantOf, testing::ValuesIn(kInners));

TEST(VariantValue, OtherValuesHaveNoCodeAndNoChild) {
  EXPECT_EQ(duckdb_value_variant_type(nullptr), UINT32_MAX);
  EXPECT_EQ(duckdb_value_variant_child(nullptr), nullptr);
  const ValueHandle number(duckdb_create_int32(1));
  EXPECT_EQ(duckdb_value_variant_type(number.get()), UINT32_MAX);
  EXPECT_EQ(duckdb_value_variant_child(number.get()), nullptr);
  const ValueHandle null(duckdb_create_null_value());
  EXPECT_EQ(duckdb_value_variant_type(null.get()), UINT32_MAX);
}

TEST(VariantValue, ANullVariantIsOfCodeNull) {
  const ValueHandle value = SharedConnection().Value("SELECT NULL::VARIANT");
  ASSERT_TRUE(duckdb_is_null_value(value.get()));
  EXPECT_EQ(duckdb_value_variant_type(value.get()), 0U);
  const ValueHandle child(duckdb_value_variant_child(value.get()));
  EXPECT_TRUE(duckdb_is_null_value(child.get()));
}

TEST(VariantValue, ANulByteInATextSurvives) {
  const ValueHandle value = SharedConnection().Value("SELECT ('a' || chr(0) || 'b')::VARIANT");
  const ValueHandle child(duckdb_value_variant_child(value.get()));
  EXPECT_EQ(GetValueText(child.get()), std::string("a\0b", 3));
}

TEST(VariantValue, EveryCodeInOneColumnIsReadFromItsVector) {
  TestConnection const connection;
  std::string rows = "(0, NULL::VARIANT, 0)";
  std::size_t id = 1;
  for (Inner const& inner : kInners) {
    rows += fmt::format(", ({}, ({})::VARIANT, {})", id++, inner.mExpression, inner.mCode);
  }
  connection.Query("CREATE TABLE t AS SELECT * FROM (VALUES " + rows + ") v(id, x, code)");
  EXPECT_EQ(ExpectCellsEqualSql(connection, "t", "x"), id);
  ResultHandle result = connection.Query("SELECT x, code::VARCHAR FROM t ORDER BY id");
  ForEachChunk(result, [&](duckdb_data_chunk inChunk) {
    const idx_t size = duckdb_data_chunk_get_size(inChunk);
    const VariantReader reader(duckdb_data_chunk_get_vector(inChunk, 0), size);
    EXPECT_TRUE(reader.IsNull(0));
    EXPECT_TRUE(reader.IsNull(size));
    for (idx_t row = 1; row < size; ++row) {
      const std::optional<VariantCell> cell = reader.Read(row);
      ASSERT_TRUE(cell) << row;
      EXPECT_EQ(std::to_string(static_cast<int>(cell->mCode)), CellText(inChunk, 1, row));
    }
  });
}

}  // namespace
}  // namespace lumora::duckdb_c::test
