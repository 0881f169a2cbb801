#include "procedures/TypeTables.h"

#include <gtest/gtest.h>

#include <string>

#include "duckdb_c/Handles.h"

namespace lumora::procedures {
namespace {

struct TypeCase {
  TypeId mType;
  char const* mName;
  TypeId mRuntimeType;
  int mKind;
};

TypeCase const kCases[] = {
    {0, "INVALID", 17, 10},
    {1, "BOOLEAN", 1, 2},
    {2, "TINYINT", 2, 7},
    {3, "SMALLINT", 3, 7},
    {4, "INTEGER", 4, 7},
    {5, "BIGINT", 5, 7},
    {6, "UTINYINT", 6, 12},
    {7, "USMALLINT", 7, 12},
    {8, "UINTEGER", 8, 12},
    {9, "UBIGINT", 9, 12},
    {10, "FLOAT", 10, 6},
    {11, "DOUBLE", 11, 6},
    {12, "TIMESTAMP", 12, 5},
    {13, "DATE", 13, 4},
    {14, "TIME", 14, 11},
    {15, "INTERVAL", 17, 10},
    {16, "HUGEINT", 17, 10},
    {17, "VARCHAR", 17, 10},
    {18, "BLOB", 18, 3},
    {19, "DECIMAL", 11, 6},
    {20, "TIMESTAMP_S", 12, 5},
    {21, "TIMESTAMP_MS", 12, 5},
    {22, "TIMESTAMP_NS", 12, 5},
    {23, "ENUM", 17, 10},
    {24, "LIST", 17, 10},
    {25, "STRUCT", 17, 10},
    {26, "MAP", 17, 10},
    {27, "UUID", 17, 10},
    {28, "UNION", 17, 10},
    {29, "BIT", 17, 10},
    {30, "TIME_TZ", 14, 11},
    {31, "TIMESTAMP_TZ", 12, 5},
    {32, "UHUGEINT", 17, 10},
    {33, "ARRAY", 17, 10},
    {34, "ANY", 17, 10},
    {35, "BIGNUM", 17, 10},
    {36, "SQLNULL", 17, 10},
    {37, "STRING_LITERAL", 17, 10},
    {38, "INTEGER_LITERAL", 17, 10},
    {39, "TIME_NS", 14, 11},
    {40, "UNKNOWN", 17, 10},
    {41, "UNKNOWN", 17, 10},
    {60, "UNKNOWN", 17, 10},
    {UINT32_MAX, "UNKNOWN", 17, 10},
};

TEST(TypeTables, SayOfEveryTypeItsNameItsRuntimeTypeAndItsKind) {
  for (auto const& row : kCases) {
    EXPECT_STREQ(duckdb_type_name(row.mType), row.mName) << row.mType;
    EXPECT_EQ(runtime_type_of(row.mType), row.mRuntimeType) << row.mName;
    EXPECT_EQ(host_kind_of(runtime_type_of(row.mType)), row.mKind) << row.mName;
  }
}

TEST(TypeTables, TakeAnyTypeThatIsNoRuntimeTypeForText) {
  for (TypeId type = 0; type < 100; ++type) {
    bool const isRuntimeType = (type >= 1 && type <= 14) || type == 17 || type == 18;
    if (!isRuntimeType) EXPECT_EQ(host_kind_of(type), lumora_kind_text) << type;
    EXPECT_EQ(runtime_type_of(type) == type, isRuntimeType) << type;
  }
}

TEST(TypeTables, NameTheKinds) {
  char const* const names[] = {"unknown",  "array",  "bool",   "binary",  "date",
                               "datetime", "double", "int64",  "money",   "null",
                               "text",     "time",   "uint64", "variant", "unknown"};
  for (int kind = 0; kind <= 14; ++kind) EXPECT_STREQ(host_kind_name(kind), names[kind]);
  EXPECT_STREQ(host_kind_name(-1), "unknown");
  EXPECT_STREQ(host_kind_name(INT32_MAX), "unknown");
}

// DuckDB's own name of a type says the same, but for spelling.
TEST(TypeTables, AgreeWithDuckDBsNumbering) {
  struct {
    char const* mSql;
    char const* mName;
  } const types[] = {
      {"TINYINT", "TINYINT"},
      {"UBIGINT", "UBIGINT"},
      {"FLOAT", "FLOAT"},
      {"TIMESTAMP", "TIMESTAMP"},
      {"DATE", "DATE"},
      {"TIME", "TIME"},
      {"INTERVAL", "INTERVAL"},
      {"HUGEINT", "HUGEINT"},
      {"BLOB", "BLOB"},
      {"DECIMAL(18,3)", "DECIMAL"},
      {"TIMESTAMP_S", "TIMESTAMP_S"},
      {"TIMESTAMP_NS", "TIMESTAMP_NS"},
      {"UUID", "UUID"},
      {"INTEGER[]", "LIST"},
      {"INTEGER[3]", "ARRAY"},
      {"TIMETZ", "TIME_TZ"},
      {"TIMESTAMPTZ", "TIMESTAMP_TZ"},
      {"UHUGEINT", "UHUGEINT"},
      {"BIGNUM", "BIGNUM"},
      {"TIME_NS", "TIME_NS"},
      {"BIT", "BIT"},
      {"VARIANT", "UNKNOWN"},
      {"ENUM('a')", "ENUM"},
      {"MAP(INT, INT)", "MAP"},
  };
  duckdb_c::DatabaseHandle database;
  ASSERT_EQ(duckdb_open(nullptr, database.out()), DuckDBSuccess);
  duckdb_c::ConnectionHandle connection;
  ASSERT_EQ(duckdb_connect(database.get(), connection.out()), DuckDBSuccess);
  for (auto const& type : types) {
    auto const sql = std::string("SELECT CAST(NULL AS ") + type.mSql + ")";
    duckdb_c::ResultHandle result;
    ASSERT_EQ(duckdb_query(connection.get(), sql.c_str(), result.out()), DuckDBSuccess) << sql;
    EXPECT_STREQ(duckdb_type_name(duckdb_c::GetColumnTypeId(result.ptr(), 0)), type.mName) << sql;
  }
}

}  // namespace
}  // namespace lumora::procedures
