#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cursor/I_DatabaseLink.h"
#include "duckdb_c/Handles.h"
#include "tarn/lsql/I_DuckDBDatabase.h"

namespace lumora::test {

// A database object with nothing behind it but one in-memory DuckDB and lists of its children, for
// rooms below the database's own. It lives where the test puts it: its last Release deletes
// nothing. Operations that a child never calls throw std::logic_error. Not synchronised.
class FakeDatabase final : public tarn::lsql::I_DuckDBDatabase, public I_DatabaseLink {
 public:
  FakeDatabase();

  // The result of one statement; throws std::runtime_error with DuckDB's text when it fails.
  duckdb_c::ResultHandle Query(std::string const& inSql);
  // The first column of the first row, cast to text by DuckDB.
  std::string QueryText(std::string const& inSql);

  // What the database does with its cursors when it closes, last registered first.
  void CloseCursors();

  std::vector<tarn::lsql::I_DuckDBCursor*> mCursors;
  std::vector<tarn::lsql::I_DuckDBQueryResult*> mResults;
  std::vector<tarn::lsql::I_DuckDBStatement*> mStatements;
  bool mIsInvalidatingCursors = false;
  bool mIsDying = false;  // get_Self answers null
  std::string mPath = "fake.duckdb";
  // Called with each cursor that leaves its list, while it is whole.
  std::function<void(tarn::lsql::I_DuckDBCursor&)> mOnUnregister;

  tarn::smart_ptr<I_DuckDBDatabase> get_Self() override;
  I_DuckDBDatabase& get_Interface() override { return *this; }
  bool get_IsInvalidatingCursors() const override { return mIsInvalidatingCursors; }
  std::shared_ptr<duckdb_c::ConnectionHandle> get_Connection() override { return mConnection; }

  std::uint32_t AddRef() override { return mRefs.Increment(); }
  std::uint32_t Release() override { return mRefs.Decrement(); }
  void* QueryInterface(std::uint32_t) override { return nullptr; }
  std::uint32_t get_RefsCount() const override { return mRefs.get(); }

  void put_BlockSize(std::uint32_t) override;
  std::uint32_t get_ConnectionCount() override;
  bool get_Exists() override;
  bool get_IsOpen() override { return true; }
  bool get_IsReadOnly() override { return false; }
  tarn::String get_Path() override { return tarn::String(mPath.c_str()); }
  tarn::String get_Key() override { return tarn::String("fake.duckdb"); }
  void SetRemoteAccess(tarn::String, tarn::String) override;
  void put_StorageVersion(tarn::String) override;
  void put_Settings(tarn::lsql::DuckDBSettings const&) override;
  void Create() override;
  void Open() override;
  void Close() override;
  void Drop() override;
  void Backup(tarn::smart_ptr<tarn::I_Location>&) override;
  tarn::smart_ptr<tarn::lsql::I_DuckDBStatement> CreateStatement(tarn::String const&) override;
  void UnregisterStatement(tarn::lsql::I_DuckDBStatement*) override;
  void RegisterCursor(tarn::lsql::I_DuckDBCursor*) override;
  void UnregisterCursor(tarn::lsql::I_DuckDBCursor*) override;
  void RegisterQueryResult(tarn::lsql::I_DuckDBQueryResult*) override;
  void UnregisterQueryResult(tarn::lsql::I_DuckDBQueryResult*) override;
  void Flush() override {}
  void ExecuteSQL(tarn::String const&, tarn::smart_ptr<tarn::ValueRow>) override;
  tarn::smart_ptr<tarn::lsql::I_DuckDBQueryResult> Execute(
      tarn::String const&, std::uint32_t, tarn::smart_ptr<tarn::ValueRow>) override;
  tarn::smart_ptr<tarn::lsql::I_DuckDBCursor> ExecuteQuery(
      tarn::String const&, std::uint32_t, tarn::smart_ptr<tarn::ValueRow>) override;

 private:
  tarn::RefsCount mRefs;
  duckdb_c::DatabaseHandle mDuckDB;
  std::shared_ptr<duckdb_c::ConnectionHandle> mConnection;
};

}  // namespace lumora::test
