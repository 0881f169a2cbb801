#pragma once

#include "RowSource.h"
#include "tarn/Value.h"
#include "tarn/lsql/I_DuckDBCursor.h"
#include "tarn/smart_ptr.h"

namespace lumora::shell {

// The rows of a database cursor. Errors are those of the cursor, as StatementError.
class DatabaseRows final : public RowSource {
 public:
  // inIsClient: the cursor counts its records and moves freely. The cursor is closed at the end.
  DatabaseRows(tarn::smart_ptr<tarn::lsql::I_DuckDBCursor> inCursor, bool inIsClient);
  ~DatabaseRows() override;
  DatabaseRows(DatabaseRows const&) = delete;
  DatabaseRows& operator=(DatabaseRows const&) = delete;

  std::vector<Column> const& get_Columns() const override { return mColumns; }
  bool Next() override;
  void Read(std::vector<Cell>& ioCells) override;
  std::optional<std::uint64_t> get_Count() override;
  bool Seek(std::uint64_t inRow) override;

 private:
  tarn::smart_ptr<tarn::lsql::I_DuckDBCursor> mCursor;
  bool mIsClient;
  std::vector<Column> mColumns;
};

// A host value as a cell; null stands for NULL.
Cell ToCell(tarn::I_Value* inValue);

// A column of that duckdb_type holds numbers.
bool IsNumberType(std::uint32_t inType);

}  // namespace lumora::shell
