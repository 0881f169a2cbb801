#include "cursor/DuckDBCursor_client.h"

#include <utility>

#include "cursor/CursorErrors.h"

namespace tarn::lsql {

namespace duckdb_c = lumora::duckdb_c;
namespace errors = lumora::cursor_errors;

DuckDBCursor_client::DuckDBCursor_client(lumora::I_DatabaseLink* inDatabase,
                                         duckdb_c::ResultHandle&& ioResult)
    : DuckDBCursor_imp(inDatabase, std::move(ioResult)), mRows(new ValueRows) {
  while (duckdb_c::ChunkHandle const chunk = FetchChunk()) AppendRows(chunk.get());
}

void DuckDBCursor_client::AppendRows(duckdb_data_chunk inChunk) {
  std::uint32_t const columns = get_ColumnCount();
  put_ReadersChunk(inChunk);
  idx_t const size = duckdb_data_chunk_get_size(inChunk);
  lumora::ColumnReader* const readers = get_Readers();
  for (idx_t r = 0; r < size; ++r) {
    smart_ptr<ValueRow> row(new ValueRow(columns));
    for (std::uint32_t c = 0; c < columns; ++c) row->Append(readers[c].Read(r));
    mRows->Append(std::move(row));
  }
}

std::uint32_t DuckDBCursor_client::get_RecordCount() {
  CheckValid();
  return mRows->get_Count();
}

std::uint32_t DuckDBCursor_client::get_CurrentRecord() {
  CheckValid();
  return mCurrentRecord;
}

bool DuckDBCursor_client::put_CurrentRecord(std::uint32_t inRecord) {
  CheckValid();
  if (inRecord == 0 || inRecord > mRows->get_Count()) return false;
  mCurrentRecord = inRecord;
  return true;
}

bool DuckDBCursor_client::FirstRecord() { return put_CurrentRecord(1); }

bool DuckDBCursor_client::LastRecord() {
  CheckValid();
  mCurrentRecord = mRows->get_Count();
  return mCurrentRecord != 0;
}

bool DuckDBCursor_client::NextRecord() {
  CheckValid();
  if (mRows->get_Count() <= mCurrentRecord) return false;
  ++mCurrentRecord;
  return true;
}

bool DuckDBCursor_client::PrevRecord() {
  CheckValid();
  if (mCurrentRecord < 2) return false;
  --mCurrentRecord;
  return true;
}

smart_ptr<I_Value> DuckDBCursor_client::get_Value(std::uint32_t inColumnIndex) {
  CheckValid();
  CheckColumnIndex(inColumnIndex);
  if (mCurrentRecord == 0) Fail(errors::kNoCurrentRecord);
  // The host has the rows, too, and may have taken some out.
  ValueRow* const row =
      mCurrentRecord <= mRows->get_Count() ? (*mRows)[mCurrentRecord - 1] : nullptr;
  if (!row || inColumnIndex >= row->get_Count()) Fail(errors::kPosition);
  return row->get_Item(inColumnIndex);
}

}  // namespace tarn::lsql
