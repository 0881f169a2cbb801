#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

#include "cursor/ColumnReader.h"
#include "cursor/CursorErrors.h"
#include "cursor/I_DatabaseLink.h"
#include "duckdb_c/Handles.h"
#include "tarn/ForeignPlugin.h"
#include "tarn/lsql/I_DuckDBCursor.h"
#include "tarn/noncopyable.h"

namespace tarn::lsql {

// What both cursors share: the result, which has this one owner, the column descriptions, the place
// in the database's cursor registry, and the reference count. Interfaces 408 and 608.
//
// A cursor is valid while it has a database and a result. It loses the result by Invalidate, Close
// or its last Release, whichever comes first; the column descriptions stay.
class DuckDBCursor_imp : public I_DuckDBCursor, public ForeignPlugin_imp, public noncopyable {
 public:
  std::uint32_t AddRef() final;
  // The last one takes the engine lock, leaves the registry and gives DuckDB's handles up while the
  // object is still whole, and only then deletes it.
  std::uint32_t Release() final;
  void* QueryInterface(std::uint32_t inInterfaceId) final;
  std::uint32_t get_RefsCount() const final;

  std::uint32_t get_ColumnCount() const final;
  String const& get_ColumnName(std::uint32_t inColumnIndex) const final;
  String const& get_ColumnTypeName(std::uint32_t inColumnIndex) const final;
  std::uint32_t get_ColumnType(std::uint32_t inColumnIndex) const final;

  smart_ptr<I_DuckDBDatabase> get_Database() final;
  void Invalidate() final;
  void Close() final;

 protected:
  // Takes the result over, reads the columns and registers. Errors as MakeCursor.
  DuckDBCursor_imp(lumora::I_DatabaseLink* inDatabase, lumora::duckdb_c::ResultHandle&& ioResult);
  ~DuckDBCursor_imp() override;

  void CheckValid() const {
    if (!mIsValid.load(std::memory_order_acquire)) FailInvalid();
  }
  void CheckColumnIndex(std::uint32_t inColumnIndex) const {
    if (inColumnIndex >= mColumnCount) Fail(lumora::cursor_errors::kColumnIndex);
  }
  // Throws xDuckDBError 0x72501 (database path, message).
  [[noreturn]] void Fail(char const* inMessage) const;

  // The next chunk of the result; empty at its end. Counts the rows, and throws when the result
  // ended before its last row. Only on a valid cursor, under the engine lock or while constructing.
  lumora::duckdb_c::ChunkHandle FetchChunk();

  // One for each column.
  lumora::ColumnReader* get_Readers() { return mReaders.data(); }
  // Tells all readers of the chunk to read from; null = none.
  void put_ReadersChunk(duckdb_data_chunk inChunk);

 private:
  [[noreturn]] static void FailInvalid();
  void ReadColumns();
  void CheckComplete();
  void Detach();  // both halves of Close; the caller holds the engine lock

  RefsCount mRefCount;

  // Both the database and the result are there. Written under the engine lock, read without it.
  std::atomic<bool> mIsValid;

  // Guarded by the engine lock.
  lumora::I_DatabaseLink* mDatabase;  // null once it closed, or the cursor did
  // The database that still lists this cursor although somebody else invalidated it; else null.
  lumora::I_DatabaseLink* mListedBy = nullptr;
  lumora::duckdb_c::ResultHandle mResult;
  idx_t mRowsFetched = 0;

  // Constant after construction (the readers' chunk state apart).
  std::uint32_t mColumnCount = 0;
  std::vector<String> mColumnNames;
  std::vector<String> mColumnTypeNames;
  std::vector<std::uint32_t> mColumnTypes;
  std::vector<lumora::ColumnReader> mReaders;
};

}  // namespace tarn::lsql
