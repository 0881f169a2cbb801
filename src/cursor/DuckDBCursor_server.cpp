#include "cursor/DuckDBCursor_server.h"

#include <utility>

#include "cursor/CursorErrors.h"
#include "duckdb_c/EngineLockGuard.h"

namespace tarn::lsql {

namespace duckdb_c = lumora::duckdb_c;
namespace errors = lumora::cursor_errors;

DuckDBCursor_server::DuckDBCursor_server(lumora::I_DatabaseLink* inDatabase,
                                         duckdb_c::ResultHandle&& ioResult)
    : DuckDBCursor_imp(inDatabase, std::move(ioResult)) {}

void DuckDBCursor_server::Refuse(char const* inMessage) const {
  CheckValid();
  Fail(inMessage);
}

std::uint32_t DuckDBCursor_server::get_RecordCount() { Refuse(errors::kNoRecordCount); }
std::uint32_t DuckDBCursor_server::get_CurrentRecord() { Refuse(errors::kNoGetCurrentRecord); }
bool DuckDBCursor_server::put_CurrentRecord(std::uint32_t) { Refuse(errors::kNoPutCurrentRecord); }
bool DuckDBCursor_server::FirstRecord() { Refuse(errors::kNoFirstRecord); }
bool DuckDBCursor_server::LastRecord() { Refuse(errors::kNoLastRecord); }
bool DuckDBCursor_server::PrevRecord() { Refuse(errors::kNoPrevRecord); }

// A step inside the chunk touches nothing but this cursor's own position, which the host
// serialises: the lock is for DuckDB's result, and would cost as much as reading the row.
bool DuckDBCursor_server::NextRecord() {
  CheckValid();
  if (mChunkRow + 1 < mChunkSize) {
    ++mChunkRow;
    return true;
  }
  lumora::EngineLockGuard guard;
  CheckValid();
  return NextChunk();
}

bool DuckDBCursor_server::NextChunk() {
  put_ReadersChunk(nullptr);
  mChunk.reset();
  mChunkSize = 0;
  mChunkRow = 0;
  mChunk = FetchChunk();
  if (!mChunk) return false;
  put_ReadersChunk(mChunk.get());
  mChunkSize = duckdb_data_chunk_get_size(mChunk.get());
  return true;
}

smart_ptr<I_Value> DuckDBCursor_server::get_Value(std::uint32_t inColumnIndex) {
  CheckValid();
  CheckColumnIndex(inColumnIndex);
  if (mChunkRow >= mChunkSize) Fail(mChunk ? errors::kPosition : errors::kNoData);
  return get_Readers()[inColumnIndex].Read(mChunkRow);
}

}  // namespace tarn::lsql
