#pragma once

#include <exception>
#include <memory>
#include <string>

#include "cursor/I_DatabaseLink.h"
#include "database/ChildRegistry.h"
#include "database/DatabaseConfig.h"
#include "database/OpenDatabases.h"
#include "duckdb_c/DatabaseFile.h"
#include "tarn/ForeignPlugin.h"
#include "tarn/I_Unknown.h"
#include "tarn/lsql/I_DuckDBDatabase.h"
#include "tarn/noncopyable.h"

namespace tarn::lsql {

// The database object. Its lifecycle is in DuckDBDatabase.cpp, opening in DuckDBDatabase_open.cpp,
// SQL execution in DuckDBDatabase_sql.cpp, backup in DuckDBDatabase_backup.cpp.
class DuckDBDatabase final : public I_DuckDBDatabase,
                             public ForeignPlugin_imp,
                             public noncopyable,
                             public lumora::I_DatabaseLink {
 public:
  // Closed. The location must not be null.
  explicit DuckDBDatabase(smart_ptr<I_Location> inLocation);
  ~DuckDBDatabase() override;

  std::uint32_t AddRef() override { return mRefCount.Increment(); }
  std::uint32_t Release() override;
  void* QueryInterface(std::uint32_t inInterfaceId) override;
  std::uint32_t get_RefsCount() const override { return mRefCount.get(); }

  void put_BlockSize(std::uint32_t inBytes) override;
  std::uint32_t get_ConnectionCount() override;
  bool get_Exists() override;
  bool get_IsOpen() override;
  bool get_IsReadOnly() override;
  String get_Path() override;
  String get_Key() override;
  void SetRemoteAccess(String inToken, String inUserAgent) override;
  void put_StorageVersion(String inVersion) override;
  void put_Settings(DuckDBSettings const& inSettings) override;

  void Create() override;
  void Open() override;
  void Close() override;
  void Drop() override;
  void Backup(smart_ptr<I_Location>& ioFolder) override;

  smart_ptr<I_DuckDBStatement> CreateStatement(String const& inSql) override;
  void UnregisterStatement(I_DuckDBStatement* inStatement) override;
  void RegisterCursor(I_DuckDBCursor* inCursor) override;
  void UnregisterCursor(I_DuckDBCursor* inCursor) override;
  void RegisterQueryResult(I_DuckDBQueryResult* inResult) override;
  void UnregisterQueryResult(I_DuckDBQueryResult* inResult) override;
  void Flush() override;

  void ExecuteSQL(String const& inSql, smart_ptr<ValueRow> inParameters) override;
  smart_ptr<I_DuckDBQueryResult> Execute(String const& inSql, std::uint32_t inCursorKind,
                                         smart_ptr<ValueRow> inParameters) override;
  smart_ptr<I_DuckDBCursor> ExecuteQuery(String const& inSql, std::uint32_t inCursorKind,
                                         smart_ptr<ValueRow> inParameters) override;

  smart_ptr<I_DuckDBDatabase> get_Self() override;
  I_DuckDBDatabase& get_Interface() override { return *this; }
  bool get_IsInvalidatingCursors() const override { return mIsInvalidatingCursors; }
  // Holds the DuckDB instance too, so that the file stays taken while a call is under way.
  std::shared_ptr<lumora::duckdb_c::ConnectionHandle> get_Connection() override;

 private:
  using Database = std::shared_ptr<lumora::duckdb_c::OpenDatabase>;
  using Access = lumora::duckdb_c::Access;

  [[noreturn]] void Throw(std::string const& inMessage);  // (path, message)
  void CheckOpen();                                       // "DuckDBDatabase is not open"

  bool IsInMemory();
  std::string get_LocalPath();  // UTF-8; empty when there is no file
  Database OpenHandle(lumora::ConfigEntries const& inEntries, Access inAccess, bool inMustExist,
                      std::string& outError);
  Database OpenShared(lumora::ConfigEntries const& inEntries, Access inAccess, bool inMustExist,
                      std::string& outError);
  Database OpenWithFallback(lumora::ConfigEntries const& inEntries, std::string& outError);
  bool Attach(Database inHandle);  // false: no connection
  void CreateNew();
  void OpenExisting();
  void RemoveFiles();
  smart_ptr<I_Location> PrepareBackup(smart_ptr<I_Location>& ioFolder);
  std::exception_ptr CloseChildren();
  void CloseHandle();

  RefsCount mRefCount;
  smart_ptr<I_Location> const mLocation;
  std::shared_ptr<lumora::OpenDatabases> const mOpenDatabases;

  // The rest is guarded by the engine lock.
  String mPath;
  String mToken;
  String mUserAgent;
  std::uint32_t mBlockSize = 0;
  String mStorageVersion;
  DuckDBSettings mSettings;
  bool mHasSettings = false;
  bool mIsReadOnly = false;
  String mOpenKey;  // the key under which the open database is counted
  Database mHandle;
  std::shared_ptr<lumora::duckdb_c::ConnectionHandle> mConnection;
  bool mIsClosingChildren = false;
  bool mIsInvalidatingCursors = false;
  lumora::ChildRegistry<I_DuckDBStatement> mStatements;
  lumora::ChildRegistry<I_DuckDBQueryResult> mQueryResults;
  lumora::ChildRegistry<I_DuckDBCursor> mCursors;
};

}  // namespace tarn::lsql
