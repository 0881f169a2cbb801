#include <fmt/format.h>
#include <gtest/gtest.h>

#include "Differential.h"
#include "TestConnection.h"
#include "duckdb_c/Types.h"
#include "duckdb_c/ValueText.h"
#include "duckdb_c/duckdb_completion.h"

namespace lumora::duckdb_c::test {
namespace {

TEST(CellValues, NoChunkNoValue) { EXPECT_EQ(duckdb_data_chunk_get_value(nullptr, 0, 0), nullptr); }

TEST(CellValues, AColumnOrRowPastTheEndHasNoValue) {
  const TestConnection connection;
  ResultHandle result = connection.Query("SELECT 1, 2");
  const ChunkHandle chunk(duckdb_fetch_chunk(result.get()));
  EXPECT_EQ(duckdb_data_chunk_get_value(chunk.get(), 2, 0), nullptr);
  EXPECT_EQ(duckdb_data_chunk_get_value(chunk.get(), 0, 1), nullptr);
  EXPECT_EQ(duckdb_data_chunk_get_value(chunk.get(), UINT64_MAX, UINT64_MAX), nullptr);
}

// The largest TIMESTAMP WITH TIME ZONE is replaced: for it SQL's own text is a millisecond beside
// the stored value, and differs from duckdb_get_varchar.
TEST(CellValues, EveryTypeThatDuckDBTestsIsRebuiltExactly) {
  const TestConnection connection;
  connection.Query(
      "CREATE TABLE t AS SELECT row_number() OVER () - 1 AS id, * FROM test_all_types()");
  connection.Query(
      "UPDATE t SET timestamp_tz = '9999-12-31 23:59:59.999999+00' "
      "WHERE isfinite(timestamp_tz) AND timestamp_tz > '200000-01-01'::TIMESTAMPTZ");
  ResultHandle columns =
      connection.Query("SELECT column_name FROM (DESCRIBE t) WHERE column_name <> 'id'");
  std::size_t column_count = 0;
  ForEachChunk(columns, [&](duckdb_data_chunk inChunk) {
    for (idx_t row = 0; row < duckdb_data_chunk_get_size(inChunk); ++row) {
      const std::string name = CellText(inChunk, 0, row);
      SCOPED_TRACE(name);
      EXPECT_EQ(ExpectCellsEqualSql(connection, "t", '"' + name + '"'), 3U);
      ++column_count;
    }
  });
  EXPECT_GT(column_count, 40U);
}

}  // namespace
}  // namespace lumora::duckdb_c::test
