#include "duckdb_c/TypeText.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <string>

#include "TestConnection.h"
#include "duckdb_c/Types.h"
#include "duckdb_c/duckdb_completion.h"

namespace lumora::duckdb_c::test {
namespace {

TEST(TypeText, ANullHandleHasNoText) { EXPECT_EQ(duckdb_logical_type_to_string(nullptr), nullptr); }

TEST(TypeText, ATypeThatDuckDBDoesNotKnowHasNoText) {
  const LogicalTypeHandle type(duckdb_create_logical_type(DUCKDB_TYPE_INVALID));
  EXPECT_EQ(duckdb_logical_type_to_string(type.get()), nullptr);
}

TEST(TypeText, AfterATypeWithoutTextOthersStillHaveTheirs) {
  const LogicalTypeHandle invalid(duckdb_create_logical_type(DUCKDB_TYPE_INVALID));
  EXPECT_EQ(duckdb_logical_type_to_string(invalid.get()), nullptr);
  const LogicalTypeHandle geometry = MakeLogicalType(kTypeGeometry);
  EXPECT_EQ(TypeText(geometry.get()), "GEOMETRY");
}

class TypeTextOf : public testing::TestWithParam<char const*> {};

TEST_P(TypeTextOf, EqualsTypeof) {
  TestConnection const& connection = SharedConnection();
  const std::string sql = fmt::format("SELECT CAST(NULL AS {})", GetParam());
  ResultHandle result = connection.Query(sql);
  const LogicalTypeHandle type(duckdb_column_logical_type(result.ptr(), 0));
  EXPECT_EQ(TypeText(type.get()),
            connection.Text(fmt::format("SELECT typeof(CAST(NULL AS {}))", GetParam())));
}

INSTANTIATE_TEST_SUITE_P(
    Types, TypeTextOf,
    testing::Values("BOOLEAN", "TINYINT", "SMALLINT", "INTEGER", "BIGINT", "HUGEINT", "UTINYINT",
                    "USMALLINT", "UINTEGER", "UBIGINT", "UHUGEINT", "FLOAT", "DOUBLE",
                    "DECIMAL(1,0)", "DECIMAL(38,38)", "DECIMAL(9,3)", "VARCHAR", "BLOB", "BIT",
                    "BIGNUM", "UUID", "DATE", "TIME", "TIME_NS", "TIMETZ", "TIMESTAMP",
                    "TIMESTAMP_S", "TIMESTAMP_MS", "TIMESTAMP_NS", "TIMESTAMPTZ", "INTERVAL",
                    "VARIANT", "GEOMETRY", "GEOMETRY('OGC:CRS84')", "GEOMETRY('OGC:CRS84')[]",
                    "JSON", "JSON[]", "STRUCT(j JSON)", "INTEGER[]", "INTEGER[][3][]",
                    "MAP(VARCHAR, STRUCT(a INTEGER)[])", "UNION(a INTEGER, \"b c\" VARCHAR[])",
                    "ENUM('a', 'it''s', '\"q\"', '')", "ENUM('\xC3\xA9', 'x y')[]",
                    "STRUCT(\"A b\" INT, \"c\"\"d\" INT, \"e.f\" INT, \"\xC3\xA9\" INT, A INT)",
                    "STRUCT(\"1a\" INT, a1 INT, _x INT, \"a-b\" INT, \"a$b\" INT)",
                    "STRUCT(a STRUCT(b MAP(INT, UNION(x VARIANT, y BIGNUM))))"));

TEST(TypeTextOfNames, EveryKeywordIsQuotedAsTypeofQuotesIt) {
  TestConnection const& connection = SharedConnection();
  ResultHandle result = connection.Query(
      "SELECT k, upper(k) FROM (SELECT DISTINCT keyword_name AS k FROM duckdb_keywords()) "
      "UNION ALL SELECT 'date', 'Date'");
  std::size_t count = 0;
  ForEachChunk(result, [&](duckdb_data_chunk inChunk) {
    for (idx_t row = 0; row < duckdb_data_chunk_get_size(inChunk); ++row) {
      for (const idx_t column : {idx_t{0}, idx_t{1}}) {
        const std::string name = CellText(inChunk, column, row);
        EXPECT_EQ(fmt::format("STRUCT({} INTEGER)", QuoteNameInType(name)),
                  connection.Text(fmt::format("SELECT typeof({{'{}': 1}})", name)));
        ++count;
      }
    }
  });
  EXPECT_GT(count, 800U);
}

TEST(TypeTextOfRows, MembersWithoutNamesAreTypesAlone) {
  TestConnection const& connection = SharedConnection();
  ResultHandle result = connection.Query("SELECT row(1, 'a', row(2))");
  const LogicalTypeHandle type(duckdb_column_logical_type(result.ptr(), 0));
  EXPECT_EQ(TypeText(type.get()), connection.Text("SELECT typeof(row(1, 'a', row(2)))"));
}

TEST(TypeTextOfAliases, AnAliasStandsForTheWholeType) {
  const LogicalTypeHandle type(duckdb_create_decimal_type(5, 2));
  duckdb_logical_type_set_alias(type.get(), "my \"money");
  EXPECT_EQ(TypeText(type.get()), "my \"money");
  const LogicalTypeHandle list(duckdb_create_list_type(type.get()));
  EXPECT_EQ(TypeText(list.get()), "my \"money[]");
}

TEST(Types, VariantIsSixtyOutsideAndTheLibrarysInside) {
  TestConnection const& connection = SharedConnection();
  ResultHandle result = connection.Query("SELECT 1::VARIANT, 'POINT(1 2)'::GEOMETRY, 1, 'a'");
  EXPECT_EQ(GetColumnTypeId(result.ptr(), 0), kTypeVariant);
  EXPECT_EQ(GetColumnTypeId(result.ptr(), 1), kTypeGeometry);
  EXPECT_EQ(GetColumnTypeId(result.ptr(), 2), TypeId{DUCKDB_TYPE_INTEGER});
  EXPECT_EQ(TypeIdToLibrary(kTypeVariant), duckdb_column_type(result.ptr(), 0));
  EXPECT_EQ(TypeIdToLibrary(kTypeGeometry), duckdb_column_type(result.ptr(), 1));
  const ValueHandle value = connection.Value("SELECT 1::VARIANT");
  EXPECT_EQ(GetValueTypeId(value.get()), kTypeVariant);
}

TEST(Types, NullHandlesAreOfNoType) {
  EXPECT_EQ(GetTypeId(nullptr), 0U);
  EXPECT_EQ(GetValueTypeId(nullptr), 0U);
  EXPECT_EQ(GetColumnTypeId(nullptr, 0), 0U);
}

TEST(Types, EveryTypeWithoutParametersIsMadeAndNoOther) {
  for (TypeId id = 0; id < 100; ++id) {
    const LogicalTypeHandle type = MakeLogicalType(id);
    if (type) {
      EXPECT_EQ(GetTypeId(type.get()), id);
    }
  }
  for (const TypeId id :
       {TypeId{DUCKDB_TYPE_HUGEINT}, TypeId{DUCKDB_TYPE_TIME_NS}, kTypeGeometry, kTypeVariant}) {
    EXPECT_TRUE(MakeLogicalType(id)) << id;
  }
  for (const TypeId id : {0U, 19U, 23U, 24U, 25U, 26U, 28U, 33U, 41U, 1000U, UINT32_MAX}) {
    EXPECT_FALSE(MakeLogicalType(id)) << id;
  }
}

}  // namespace
}  // namespace lumora::duckdb_c::test
