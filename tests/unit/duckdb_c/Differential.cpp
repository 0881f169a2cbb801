#include "Differential.h"

#include <fmt/format.h>

#include "duckdb_c/Types.h"
#include "duckdb_c/ValueText.h"
#include "duckdb_c/duckdb_completion.h"

namespace lumora::duckdb_c::test {
namespace {

struct Cell {
  idx_t mId = 0;
  std::string mText;
  std::string mType;
  ValueHandle mValue;
};

std::vector<Cell> ReadCells(TestConnection const& inConnection, std::string const& inTable,
                            std::string const& inColumn) {
  ResultHandle result = inConnection.Query(fmt::format(
      "SELECT {0}, CAST({0} AS VARCHAR), typeof({0}) FROM {1} ORDER BY id", inColumn, inTable));
  std::vector<Cell> cells;
  ForEachChunk(result, [&](duckdb_data_chunk inChunk) {
    const idx_t size = duckdb_data_chunk_get_size(inChunk);
    for (idx_t row = 0; row < size; ++row) {
      cells.push_back({cells.size(), CellText(inChunk, 1, row), CellText(inChunk, 2, row),
                       ValueHandle(duckdb_data_chunk_get_value(inChunk, 0, row))});
    }
  });
  return cells;
}

// What must be true of the parameter against the cell itself.
void ExpectBindsBack(PreparedHandle const& inCheck, Cell const& inCell) {
  ASSERT_EQ(duckdb_bind_value(inCheck.get(), 1, inCell.mValue.get()), DuckDBSuccess)
      << inCell.mType << " " << inCell.mText;
  ASSERT_EQ(duckdb_bind_uint64(inCheck.get(), 2, inCell.mId), DuckDBSuccess);
  ResultHandle result;
  ASSERT_EQ(duckdb_execute_prepared(inCheck.get(), result.out()), DuckDBSuccess)
      << TextOr(duckdb_result_error(result.ptr()), "") << inCell.mType << " " << inCell.mText;
  const ChunkHandle chunk(duckdb_fetch_chunk(result.get()));
  ASSERT_TRUE(chunk);
  EXPECT_TRUE(CellFlag(chunk.get(), 0, 0)) << "differs: " << inCell.mType << " " << inCell.mText;
  EXPECT_EQ(CellText(chunk.get(), 1, 0), inCell.mType) << inCell.mText;
}

}  // namespace

std::size_t ExpectCellsEqualSql(TestConnection const& inConnection, std::string const& inTable,
                                std::string const& inColumn) {
  const std::vector<Cell> cells = ReadCells(inConnection, inTable, inColumn);
  const PreparedHandle check = inConnection.Prepare(fmt::format(
      "SELECT $1 IS NOT DISTINCT FROM {}, typeof($1) FROM {} WHERE id = $2", inColumn, inTable));
  for (Cell const& cell : cells) {
    EXPECT_TRUE(cell.mValue) << cell.mType << " " << cell.mText;
    if (!cell.mValue) continue;
    EXPECT_EQ(ValueTypeText(cell.mValue.get()), cell.mType);
    if (duckdb_is_null_value(cell.mValue.get())) {
      EXPECT_EQ(cell.mText, "(NULL)") << cell.mType;
    } else {
      EXPECT_EQ(GetValueText(cell.mValue.get()), cell.mText) << cell.mType;
    }
    ExpectBindsBack(check, cell);
  }
  return cells.size();
}

}  // namespace lumora::duckdb_c::test
