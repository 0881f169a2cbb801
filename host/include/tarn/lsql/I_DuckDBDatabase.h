#pragma once

#include "tarn/Array.h"
#include "tarn/I_Unknown.h"
#include "tarn/Location.h"
#include "tarn/String.h"
#include "tarn/lsql/I_DuckDBCursor.h"
#include "tarn/lsql/I_DuckDBQueryResult.h"
#include "tarn/lsql/I_DuckDBStatement.h"
#include "tarn/smart_ptr.h"

namespace tarn::lsql {

// The settings of put_Settings; they hold until the next Close.
struct DuckDBSettings {
  std::uint32_t mWritable = 1;      // 0 = open read-only
  std::uint32_t mThreads = 0;       // 0 = DuckDB's default
  std::uint32_t mMaxMemory = 0;     // in megabytes (10^6 bytes); 0 = DuckDB's default
  String mTempDirectory;            // empty = DuckDB's default
  bool mExternalAccess = true;      // DuckDB's enable_external_access
};

// One DuckDB database: a file, an in-memory database, or a remote one. Interface number 406.
//
// A new object is closed. Errors are xDuckDBError 0x72501 with texts (path, message), a failed
// Open xException 0x99000 with DuckDB's text, unless an operation says otherwise. All operations
// run under the engine lock and may be called from any thread.
class LSHARED_API I_DuckDBDatabase : public I_Unknown {
 public:
  virtual void put_BlockSize(std::uint32_t inBytes) = 0;  // for Create; 0 = DuckDB's default
  // How many database objects of this process have the file open.
  virtual std::uint32_t get_ConnectionCount() = 0;
  virtual bool get_Exists() = 0;  // a local file is there
  virtual bool get_IsOpen() = 0;
  virtual bool get_IsReadOnly() = 0;
  virtual String get_Path() = 0;
  virtual String get_Key() = 0;
  // Access token (not empty = a remote database) and user agent; for Open.
  virtual void SetRemoteAccess(String inToken, String inUserAgent) = 0;
  virtual void put_StorageVersion(String inVersion) = 0;  // for Create ("v1.5.0", "latest")
  virtual void put_Settings(DuckDBSettings const& inSettings) = 0;

  // A new, empty database in place of what is there. Fails when the file is in use.
  virtual void Create() = 0;
  // Opens read-write, or read-only when the settings say so or read-write is refused. A local file
  // must be there: "File does not exist".
  virtual void Open() = 0;
  // Closes the children (results, cursors, statements), then the database. Nothing when closed.
  virtual void Close() = 0;
  // Closes and removes the file with what DuckDB keeps beside it. While others have it open:
  // "Can not be dropped. <count> connections are alive."
  virtual void Drop() = 0;

  // Exports the database into a new folder inside ioFolder (in: the wished folder or null; out:
  // the folder that was used). "DuckDBDatabase backup folder is not available".
  virtual void Backup(smart_ptr<I_Location>& ioFolder) = 0;

  virtual smart_ptr<I_DuckDBStatement> CreateStatement(String const& inSql) = 0;
  virtual void UnregisterStatement(I_DuckDBStatement* inStatement) = 0;
  virtual void RegisterCursor(I_DuckDBCursor* inCursor) = 0;
  virtual void UnregisterCursor(I_DuckDBCursor* inCursor) = 0;
  virtual void RegisterQueryResult(I_DuckDBQueryResult* inResult) = 0;
  virtual void UnregisterQueryResult(I_DuckDBQueryResult* inResult) = 0;
  virtual void Flush() = 0;  // nothing: DuckDB commits by itself

  // Runs a script for its effect. With parameters (not null, not empty) the text is one statement.
  // A failing script is rolled back.
  virtual void ExecuteSQL(String const& inSql, smart_ptr<ValueRow> inParameters) = 0;
  // Runs a script and keeps every statement's outcome.
  virtual smart_ptr<I_DuckDBQueryResult> Execute(String const& inSql, std::uint32_t inCursorKind,
                                                 smart_ptr<ValueRow> inParameters) = 0;
  // Runs one query. "Query doesn't return a single result", "Query doesn't return a result".
  virtual smart_ptr<I_DuckDBCursor> ExecuteQuery(String const& inSql, std::uint32_t inCursorKind,
                                                 smart_ptr<ValueRow> inParameters) = 0;
};

}  // namespace tarn::lsql
