#include "duckdb_c/ColumnText.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "TestConnection.h"
#include "duckdb_c/Types.h"

namespace lumora::duckdb_c::test {
namespace {

TEST(ColumnText, NoVectorNoText) {
  const ColumnText text = RenderColumn(nullptr, 0, Rendering::kText);
  EXPECT_FALSE(text);
  EXPECT_TRUE(text.IsNull(0));
  EXPECT_EQ(text.get_Text(0), "");
}

TEST(ColumnText, MoreRowsThanAVectorMayHoldAreRefused) {
  ResultHandle result = SharedConnection().Query("SELECT 1");
  const ChunkHandle chunk(duckdb_fetch_chunk(result.get()));
  const duckdb_vector vector = duckdb_data_chunk_get_vector(chunk.get(), 0);
  EXPECT_FALSE(RenderColumn(vector, duckdb_vector_size() + 1, Rendering::kText));
  EXPECT_FALSE(RenderColumn(vector, UINT64_MAX, Rendering::kText));
}

TEST(ColumnText, WhatDuckDBCannotRenderIsRefusedAndTheNextIsNot) {
  ResultHandle result = SharedConnection().Query("SELECT 'no json', 'true'");
  const ChunkHandle chunk(duckdb_fetch_chunk(result.get()));
  EXPECT_FALSE(RenderColumn(duckdb_data_chunk_get_vector(chunk.get(), 0), 1, Rendering::kJson));
  const ColumnText next =
      RenderColumn(duckdb_data_chunk_get_vector(chunk.get(), 1), 1, Rendering::kJson);
  ASSERT_TRUE(next);
  EXPECT_EQ(next.get_Text(0), "true");
}

TEST(ColumnText, NoRowsAreNoFailure) {
  ResultHandle result = SharedConnection().Query("SELECT 1");
  const ChunkHandle chunk(duckdb_fetch_chunk(result.get()));
  const ColumnText text =
      RenderColumn(duckdb_data_chunk_get_vector(chunk.get(), 0), 0, Rendering::kText);
  EXPECT_TRUE(text);
  EXPECT_EQ(text.get_RowCount(), 0U);
  EXPECT_TRUE(text.IsNull(0));
}

// Renders column 0 of every chunk and compares it with column 1, which SQL rendered.
std::size_t ExpectRendersAs(TestConnection const& inConnection, std::string const& inSql,
                            Rendering inRendering) {
  std::size_t rows = 0;
  ResultHandle result = inConnection.Query(inSql);
  ForEachChunk(result, [&](duckdb_data_chunk inChunk) {
    const idx_t size = duckdb_data_chunk_get_size(inChunk);
    const ColumnText text =
        RenderColumn(duckdb_data_chunk_get_vector(inChunk, 0), size, inRendering);
    ASSERT_TRUE(text) << inSql;
    ASSERT_EQ(text.get_RowCount(), size);
    for (idx_t row = 0; row < size; ++row) {
      const std::string expected = CellText(inChunk, 1, row);
      ASSERT_EQ(text.IsNull(row) ? "(NULL)" : text.get_Text(row), expected) << inSql;
      ++rows;
    }
    EXPECT_TRUE(text.IsNull(size));
  });
  return rows;
}

TEST(ColumnText, EveryTypeIsRenderedAsSqlRendersIt) {
  const TestConnection connection;
  connection.Query("CREATE TABLE t AS SELECT * FROM test_all_types()");
  ResultHandle columns = connection.Query("SELECT column_name FROM (DESCRIBE t)");
  ForEachChunk(columns, [&](duckdb_data_chunk inChunk) {
    for (idx_t row = 0; row < duckdb_data_chunk_get_size(inChunk); ++row) {
      const std::string name = CellText(inChunk, 0, row);
      EXPECT_EQ(
          ExpectRendersAs(connection,
                          fmt::format("SELECT \"{0}\", CAST(\"{0}\" AS VARCHAR) FROM t", name),
                          Rendering::kText),
          3U)
          << name;
    }
  });
}

TEST(ColumnText, ChunksOfVariantsAreRenderedInThreeWays) {
  TestConnection const& connection = SharedConnection();
  static constexpr char const* kRows =
      "(SELECT CASE i % 4 WHEN 0 THEN NULL WHEN 1 THEN i::VARIANT WHEN 2 THEN {'i': i}::VARIANT "
      "ELSE ('text ' || chr(0) || i)::VARIANT END AS x FROM range(5000) t(i))";
  const auto sql = [](char const* inExpression) {
    return fmt::format("SELECT x, {} FROM {}", inExpression, kRows);
  };
  EXPECT_EQ(ExpectRendersAs(connection, sql("CAST(x AS VARCHAR)"), Rendering::kText), 5000U);
  EXPECT_EQ(ExpectRendersAs(connection, sql("CAST(x AS JSON)"), Rendering::kJson), 5000U);
  EXPECT_EQ(ExpectRendersAs(connection, sql("variant_typeof(x)"), Rendering::kVariantType), 5000U);
}

// Statements are kept per type: one type after the other on one connection.
TEST(ColumnText, TypesMayAlternate) {
  TestConnection const& connection = SharedConnection();
  for (int round = 0; round < 3; ++round) {
    for (char const* const expression :
         {"1", "'a'", "1.5", "1.25", "'x'::ENUM('x')", "'y'::ENUM('z', 'y')", "[1]", "['a']",
          "{'a': 1}", "{'b': 'c'}", "5::VARIANT", "'1'::JSON", "NULL", "true", "1::HUGEINT"}) {
      EXPECT_EQ(
          ExpectRendersAs(connection, fmt::format("SELECT {0}, CAST({0} AS VARCHAR)", expression),
                          Rendering::kText),
          1U);
    }
  }
}

TEST(ColumnText, TheTextOutlivesItsSourceAndMoves) {
  ColumnText kept;
  {
    ResultHandle result = SharedConnection().Query("SELECT repeat('x', 100000)::VARIANT");
    const ChunkHandle chunk(duckdb_fetch_chunk(result.get()));
    ColumnText text =
        RenderColumn(duckdb_data_chunk_get_vector(chunk.get(), 0), 1, Rendering::kText);
    kept = std::move(text);
  }
  ASSERT_TRUE(kept);
  EXPECT_EQ(kept.get_Text(0), std::string(100000, 'x'));
}

}  // namespace
}  // namespace lumora::duckdb_c::test
