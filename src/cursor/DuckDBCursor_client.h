#pragma once

#include "cursor/DuckDBCursor_imp.h"
#include "tarn/Array.h"

namespace tarn::lsql {

// Reads the whole result into host values when it is made, and then moves freely over them.
class DuckDBCursor_client final : public DuckDBCursor_imp {
 public:
  DuckDBCursor_client(lumora::I_DatabaseLink* inDatabase,
                      lumora::duckdb_c::ResultHandle&& ioResult);

  // All rows in the result's order, one value per column each. The cursor keeps a reference; the
  // rows outlive Close and Invalidate.
  smart_ptr<ValueRows> const& get_Rows() const { return mRows; }

  std::uint32_t get_RecordCount() override;
  std::uint32_t get_CurrentRecord() override;
  bool put_CurrentRecord(std::uint32_t inRecord) override;
  bool FirstRecord() override;
  bool LastRecord() override;
  bool NextRecord() override;
  bool PrevRecord() override;
  smart_ptr<I_Value> get_Value(std::uint32_t inColumnIndex) override;

 private:
  void AppendRows(duckdb_data_chunk inChunk);

  smart_ptr<ValueRows> mRows;
  std::uint32_t mCurrentRecord = 0;  // 1-based, 0 = none
};

}  // namespace tarn::lsql
