#include "support/ProcedureCalls.h"

namespace lumora::test {
namespace {

// Every column of test_all_types() through every procedure that can carry it. What is asked of the
// cells of plain types is their true value, and of all others that reading them stays inside what
// DuckDB filled, which the address sanitizer watches.
class AllTypes : public Procedures {
 protected:
  struct Column {
    std::string mName;
    std::string mType;
  };

  std::vector<Column> Columns() {
    std::vector<Column> columns;
    for (auto const& row : mOracle.Texts("DESCRIBE SELECT * FROM test_all_types()")) {
      columns.push_back({row[0], row[1]});
    }
    return columns;
  }
  static std::string Select(Column const& inColumn, int inTimes) {
    return "SELECT \"" + inColumn.mName + "\" AS c FROM test_all_types(), range(" +
           std::to_string(inTimes) + ")";
  }
  // Types whose text is the same by DuckDB's cast and by TextOf.
  static bool HasTrueText(std::string const& inType) {
    for (char const* const type : {"BOOLEAN", "TINYINT", "SMALLINT", "INTEGER", "BIGINT",
                                   "UTINYINT", "USMALLINT", "UINTEGER", "UBIGINT", "VARCHAR"}) {
      if (inType == type) return true;
    }
    return false;
  }
  // Reads all cells forwards and backwards.
  void Walk(HostCursor& ioCursor, Column const& inColumn, std::vector<Texts> const& inExpected) {
    SCOPED_TRACE(inColumn.mName);
    auto const rows = TextsOf(ioCursor);
    ASSERT_EQ(rows.size(), inExpected.size());
    if (HasTrueText(inColumn.mType)) EXPECT_EQ(rows, inExpected);
    for (std::size_t row = 0; row < rows.size(); ++row) {
      if (inExpected[row][0] == "NULL") EXPECT_EQ(rows[row][0], "NULL") << row;
    }
    for (std::int64_t row = ioCursor.get_RowCount() - 1; row >= 0; --row) {
      ASSERT_TRUE(ioCursor.Seek(row));
      EXPECT_EQ(TextOf(ioCursor.Get(0)), rows[static_cast<std::size_t>(row)][0]);
    }
  }

  Oracle mOracle;
};

TEST_F(AllTypes, ThroughFetchDuckDBWithShortAndWithFullChunks) {
  struct Table {
    std::string mName;
    Column mColumn;
    std::vector<Texts> mExpected;
  };
  std::vector<Table> tables;
  std::string const path = mFolder.At("o.duckdb");
  mOracle.Run("ATTACH " + Quoted(path) + " AS f (STORAGE_VERSION 'latest')");
  for (auto const& column : Columns()) {
    for (int const times : {1, 1500}) {
      std::string const name = "t" + std::to_string(tables.size());
      mOracle.Run("CREATE TABLE f." + name + " AS " + Select(column, times));
      tables.push_back({name, column, mOracle.Texts("SELECT * FROM f." + name)});
    }
  }
  mOracle.Run("DETACH f");
  ASSERT_GT(tables.size(), 100U);
  for (auto const& table : tables) {
    Walk(*Open("fetch_duckdb", {Text(path), Text(table.mName)}), table.mColumn, table.mExpected);
  }
}

TEST_F(AllTypes, ThroughTheParquetProcedures) {
  int walked = 0;
  for (auto const& column : Columns()) {
    std::string const path = mFolder.At("t" + std::to_string(walked) + ".parquet");
    try {
      mOracle.Run("COPY (" + Select(column, 700) + ") TO " + Quoted(path) + " (FORMAT parquet)");
    } catch (std::exception const&) {
      continue;  // a type that DuckDB cannot write to such a file
    }
    ++walked;
    SCOPED_TRACE(column.mName);
    std::string const source = "read_parquet(" + Quoted(path) + ")";
    auto const type = mOracle.Texts("DESCRIBE SELECT * FROM " + source)[0][1];
    auto const cursor = Open("fetch_parquet", {Text(path)});
    Walk(*cursor, {column.mName, type}, mOracle.Texts("SELECT * FROM " + source));
    EXPECT_EQ(TextsOf(*Open("parquet_schema", {Text(path)}))[0][1], "c");
    EXPECT_FALSE(TextsOf(*Open("parquet_metadata", {Text(path)})).empty());
    EXPECT_EQ(TextsOf(*Open("parquet_count", {Text(path)})), (std::vector<Texts>{{"2100"}}));
  }
  EXPECT_GT(walked, 30);
}

}  // namespace
}  // namespace lumora::test
