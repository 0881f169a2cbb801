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

bool DuckDBCursor_server::NextRecord() {
  lumora::EngineLockGuard guard;
  CheckValid();
  if (mChunkRow + 1 < mChunkSize) {
    ++mChunkRow;
    return true;
  }
  return NextChunk();
}

bool DuckDBCursor_server::NextChunk() {
  for (std::uint32_t c = 0; c < get_ColumnCount(); ++c) get_Reader(c).put_Chunk(nullptr);
  mChunk.reset();
  mChunkSize = 0;
  mChunkRow = 0;
  mChunk = FetchChunk();
  if (!mChunk) return false;
  for (std::uint32_t c = 0; c < get_ColumnCount(); ++c) get_Reader(c).put_Chunk(mChunk.get());
  mChunkSize = duckdb_data_chunk_get_size(mChunk.get());
  return true;
}

smart_ptr<I_Value> DuckDBCursor_server::get_Value(std::uint32_t inColumnIndex) {
  CheckValid();
  CheckColumnIndex(inColumnIndex);
  if (!mChunk) Fail(errors::kNoData);
  if (mChunkRow >= mChunkSize) Fail(errors::kPosition);
  return get_Reader(inColumnIndex).Read(mChunkRow);
}

}  // namespace tarn::lsql
