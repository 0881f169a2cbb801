#pragma once

#include "cursor/DuckDBCursor_imp.h"

namespace tarn::lsql {

// Holds one chunk of the result at a time and makes a host value when it is asked for one. Forward
// only; what needs the record count or another way is refused.
class DuckDBCursor_server final : public DuckDBCursor_imp {
 public:
  DuckDBCursor_server(lumora::I_DatabaseLink* inDatabase,
                      lumora::duckdb_c::ResultHandle&& ioResult);

  std::uint32_t get_RecordCount() override;
  std::uint32_t get_CurrentRecord() override;
  bool put_CurrentRecord(std::uint32_t inRecord) override;
  bool FirstRecord() override;
  bool LastRecord() override;
  bool NextRecord() override;
  bool PrevRecord() override;
  smart_ptr<I_Value> get_Value(std::uint32_t inColumnIndex) override;

 private:
  [[noreturn]] void Refuse(char const* inMessage) const;
  bool NextChunk();

  // The chunk stays with the object after Close and Invalidate.
  lumora::duckdb_c::ChunkHandle mChunk;
  idx_t mChunkSize = 0;
  idx_t mChunkRow = 0;  // 0-based row of the current record in the chunk
};

}  // namespace tarn::lsql
