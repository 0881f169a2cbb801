#include "procedures/ProcedureCursor.h"

#include <algorithm>
#include <stdexcept>

namespace lumora::procedures {
namespace {

ProcedureCursorState& StateOf(void* inState) noexcept {
  return *static_cast<ProcedureCursorState*>(inState);
}

// --- callbacks: no exception leaves them ---

void Destroy(void* /*inContext*/, void* inState) { delete &StateOf(inState); }

lumora_value GetValue(void* inContext, void* inState, std::int32_t inColumn) {
  try {
    return StateOf(inState).GetValue(inContext, inColumn);
  } catch (...) {
    return nullptr;
  }
}

std::int32_t Seek(void* /*inContext*/, void* inState, std::int64_t inRow) {
  try {
    return StateOf(inState).Seek(inRow) ? 0 : -1;
  } catch (...) {
    return -1;
  }
}

std::int32_t Next(void* /*inContext*/, void* inState) {
  try {
    return StateOf(inState).Next() ? 0 : -1;
  } catch (...) {
    return -1;
  }
}

std::int64_t RowCount(void* /*inContext*/, void* inState) {
  return StateOf(inState).get_RowCount();
}

}  // namespace

ProcedureCursorState::ProcedureCursorState(ProcedureDatabase inDatabase,
                                           duckdb_c::ResultHandle inResult,
                                           std::vector<ColumnRecord> inColumns)
    : mDatabase(std::move(inDatabase)),
      mResult(std::move(inResult)),
      mColumns(std::move(inColumns)) {
  IndexChunks();
  Describe();
}

void ProcedureCursorState::IndexChunks() {
  idx_t const count = duckdb_result_chunk_count(mResult.get());
  mFirstRows.reserve(count);
  for (idx_t i = 0; i < count; ++i) {
    duckdb_c::ChunkHandle const chunk(duckdb_result_get_chunk(mResult.get(), i));
    if (!chunk) throw std::runtime_error("Unable to access DuckDB result chunk.");
    mFirstRows.push_back(mRowCount);
    mRowCount += static_cast<std::int64_t>(duckdb_data_chunk_get_size(chunk.get()));
  }
}

void ProcedureCursorState::Describe() {
  for (auto const& column : mColumns) {
    mColumnNames.push_back(column.mName.c_str());
    mColumnKinds.push_back(column.mKind);
  }
  mCells.reserve(mColumns.size());
  mDefinition.user_data = this;
  mDefinition.column_count = static_cast<std::uint32_t>(mColumns.size());
  mDefinition.column_names = mColumnNames.data();
  mDefinition.column_kinds = mColumnKinds.data();
  mDefinition.destroy = Destroy;
  mDefinition.get_value = procedures::GetValue;
  mDefinition.seek = procedures::Seek;
  mDefinition.next = procedures::Next;
  mDefinition.row_count = RowCount;
}

bool ProcedureCursorState::Seek(std::int64_t inRow) {
  if (inRow < 0 || inRow >= mRowCount) return false;
  // An empty chunk starts where the next one does; the last that starts here has the row.
  auto const behind = std::upper_bound(mFirstRows.begin(), mFirstRows.end(), inRow);
  auto const chunk = static_cast<std::size_t>(behind - mFirstRows.begin()) - 1;
  if (mChunk && mChunkIndex != chunk) DropChunk();
  if (!mChunk && !LoadChunk(chunk)) return false;
  mRow = inRow;
  mRowInChunk = static_cast<idx_t>(inRow - mFirstRows[chunk]);
  mIsPositioned = true;
  return true;
}

bool ProcedureCursorState::Next() { return Seek(mIsPositioned ? mRow + 1 : 0); }

bool ProcedureCursorState::LoadChunk(std::size_t inChunk) {
  duckdb_c::ChunkHandle chunk(duckdb_result_get_chunk(mResult.get(), inChunk));
  if (!chunk) return false;
  idx_t const rows = duckdb_data_chunk_get_size(chunk.get());
  idx_t const columns =
      std::min<idx_t>(mColumns.size(), duckdb_data_chunk_get_column_count(chunk.get()));
  // Room for every column was reserved, so that nothing below throws with half of them there.
  for (idx_t i = 0; i < columns; ++i) {
    duckdb_vector const vector = duckdb_data_chunk_get_vector(chunk.get(), i);
    mCells.push_back(MakeCellColumn(vector, rows, mColumns[i].mRuntimeType));
  }
  mChunk = std::move(chunk);
  mChunkIndex = inChunk;
  return true;
}

void ProcedureCursorState::DropChunk() noexcept {
  mCells.clear();
  mChunk.reset();
  mIsPositioned = false;
}

}  // namespace lumora::procedures
