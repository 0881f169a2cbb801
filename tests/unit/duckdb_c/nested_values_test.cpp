#include <fmt/format.h>
#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

#include "RandomTypes.h"
#include "TestConnection.h"
#include "duckdb_c/ValueText.h"
#include "duckdb_c/duckdb_completion.h"
#include "support/Seed.h"

namespace lumora::duckdb_c::test {
namespace {

constexpr std::size_t kTypes = lumora::test::kIsSlow ? 2000 : 10000;
// Of a table's columns. Deep types are large, and DuckDB's work on them with them; most are
// shallow.
constexpr std::size_t kDepths[] = {0, 0, 1, 1, 1, 1, 1, 2, 2, 2, 2, 2, 2, 3, 3, 3, 3, 4, 5, 6};
constexpr std::size_t kColumnsATable = std::size(kDepths);
constexpr std::size_t kRows = 2;

// One table of random columns, and the check of all of its cells against SQL.
class RandomTable {
 public:
  RandomTable(TestConnection const& inConnection, RandomTypes& ioTypes)
      : mConnection(inConnection) {
    for (std::size_t index = 0; index < kColumnsATable; ++index) {
      mColumns.push_back(ioTypes.MakeColumn(kDepths[index], kRows));
    }
    Create();
  }

  void Check() {
    std::string sql = "SELECT ";
    for (std::size_t index = 0; index < mColumns.size(); ++index) {
      sql += fmt::format("c{0}, CAST(c{0} AS VARCHAR), typeof(c{0}), ", index);
    }
    ResultHandle result = mConnection.Query(sql + "id FROM t ORDER BY id");
    const ChunkHandle chunk(duckdb_fetch_chunk(result.get()));
    ASSERT_TRUE(chunk);
    for (idx_t row = 0; row < kRows; ++row) CheckRow(chunk.get(), row);
  }

 private:
  void Create() {
    std::string rows;
    for (std::size_t row = 0; row < kRows; ++row) {
      rows += row == 0 ? "SELECT 0::UBIGINT AS id" : fmt::format(" UNION ALL SELECT {}", row);
      for (std::size_t index = 0; index < mColumns.size(); ++index) {
        rows += fmt::format(", {} AS c{}", mColumns[index].mValues[row], index);
      }
    }
    mConnection.Query("CREATE OR REPLACE TABLE t AS " + rows);
  }

  void CheckRow(duckdb_data_chunk inChunk, idx_t inRow) {
    std::vector<ValueHandle> values;
    for (idx_t index = 0; index < mColumns.size(); ++index) {
      const idx_t column = index * 3;
      const ValueHandle& value =
          values.emplace_back(duckdb_data_chunk_get_value(inChunk, column, inRow));
      SCOPED_TRACE(mColumns[index].mType + " " + mColumns[index].mValues[inRow]);
      ASSERT_TRUE(value);
      const std::string text = CellText(inChunk, column + 1, inRow);
      EXPECT_EQ(duckdb_is_null_value(value.get()) ? "(NULL)" : GetValueText(value.get()), text);
      EXPECT_EQ(ValueTypeText(value.get()), CellText(inChunk, column + 2, inRow));
    }
    CheckBound(values, inRow);
  }

  // All columns of a row at once: bound back, they are the same.
  void CheckBound(std::vector<ValueHandle> const& inValues, idx_t inRow) {
    std::string sql = "SELECT ";
    for (std::size_t index = 0; index < inValues.size(); ++index) {
      sql += fmt::format("${} IS NOT DISTINCT FROM c{}, typeof(${}) = typeof(c{}), ", index + 1,
                         index, index + 1, index);
    }
    const PreparedHandle statement =
        mConnection.Prepare(sql + fmt::format("id FROM t WHERE id = {}", inRow));
    for (std::size_t index = 0; index < inValues.size(); ++index) {
      ASSERT_EQ(duckdb_bind_value(statement.get(), index + 1, inValues[index].get()),
                DuckDBSuccess);
    }
    ResultHandle result;
    ASSERT_EQ(duckdb_execute_prepared(statement.get(), result.out()), DuckDBSuccess)
        << TextOr(duckdb_result_error(result.ptr()), "");
    const ChunkHandle chunk(duckdb_fetch_chunk(result.get()));
    for (std::size_t index = 0; index < inValues.size(); ++index) {
      SCOPED_TRACE(mColumns[index].mType + " " + mColumns[index].mValues[inRow]);
      EXPECT_TRUE(CellFlag(chunk.get(), 2 * index, 0)) << "another value";
      EXPECT_TRUE(CellFlag(chunk.get(), 2 * index + 1, 0)) << "another type";
    }
  }

  TestConnection const& mConnection;
  std::vector<RandomColumn> mColumns;
};

TEST(NestedValues, RandomTypesAndValuesAreRebuiltExactly) {
  const TestConnection connection;
  RandomTypes types(lumora::test::get_Seed("NestedValues"));
  for (std::size_t done = 0; done < kTypes && !testing::Test::HasFailure();
       done += kColumnsATable) {
    RandomTable(connection, types).Check();
  }
}

}  // namespace
}  // namespace lumora::duckdb_c::test
