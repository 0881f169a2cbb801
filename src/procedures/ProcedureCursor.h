#pragma once

#include <duckdb.h>

#include <cstdint>
#include <string>
#include <vector>

#include "duckdb_c/Handles.h"
#include "procedures/Cells.h"
#include "procedures/ProcedureDatabase.h"
#include "procedures/SqlBuilding.h"

namespace lumora::procedures {

// What stands behind one procedure cursor of the host: the database, the connection and the
// materialised result, all of which live as long as the cursor, and the one chunk in hand. Its
// callbacks accept any order of calls; one thread at a time.
class ProcedureCursorState {
 public:
  // Takes over a database and, run on it, a result of those columns. std::runtime_error: "Unable
  // to access DuckDB result chunk.".
  ProcedureCursorState(ProcedureDatabase inDatabase, duckdb_c::ResultHandle inResult,
                       std::vector<ColumnRecord> inColumns);
  ProcedureCursorState(ProcedureCursorState const&) = delete;
  ProcedureCursorState& operator=(ProcedureCursorState const&) = delete;

  // The record for the host; its user data is this object, which its destroy callback deletes.
  lumora_cursor_def const& get_Definition() const noexcept { return mDefinition; }

  // True: at the row. False: no such row, and the position is as it was; or its chunk cannot be
  // had, and there is no position any more.
  bool Seek(std::int64_t inRow);
  bool Next();
  // Null for NULL and for no such cell.
  lumora_value GetValue(void* inContext, std::int32_t inColumn) const {
    // Below 0 becomes past the end. Without a chunk there are no cells.
    auto const column = static_cast<std::uint32_t>(inColumn);
    if (column >= mCells.size()) return nullptr;
    return ReadCell(inContext, mCells[column], mRowInChunk);
  }
  std::int64_t get_RowCount() const noexcept { return mRowCount; }

 private:
  void IndexChunks();
  void Describe();
  bool LoadChunk(std::size_t inChunk);
  void DropChunk() noexcept;

  // Constant after construction. The order is that of release, from the last to the first.
  ProcedureDatabase mDatabase;
  duckdb_c::ResultHandle mResult;
  std::vector<ColumnRecord> mColumns;
  std::vector<char const*> mColumnNames;  // into mColumns
  std::vector<lumora_value_kind> mColumnKinds;
  std::vector<std::int64_t> mFirstRows;  // of every chunk
  std::int64_t mRowCount = 0;
  lumora_cursor_def mDefinition{};

  // The position.
  duckdb_c::ChunkHandle mChunk;
  std::size_t mChunkIndex = 0;
  std::vector<CellColumn> mCells;  // of the chunk in hand; empty without one
  idx_t mRowInChunk = 0;
  std::int64_t mRow = 0;
  bool mIsPositioned = false;
};

}  // namespace lumora::procedures
