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
  std::uint32_t mWritable = 1;   // 0 = open read-only
  std::uint32_t mThreads = 0;    // 0 = DuckDB's default
  std::uint32_t mMaxMemory = 0;  // in megabytes (10^6 bytes); 0 = DuckDB's default
  String mTempDirectory;         // empty = DuckDB's default
  bool mExternalAccess = true;   // DuckDB's enable_external_access
};

// One DuckDB database: a file, an in-memory database, or a remote one. Interface number 406.
//
// A new object is closed, and the last Release closes it. Errors are xDuckDBError 0x72501 with
// texts (path, message), the message DuckDB's where it gives one, unless an operation says
// otherwise. After a failed Create or Open the object is closed. All operations run under the
// engine lock (Backup's export apart) and may be called from any thread. What was put holds from
// the next Create or Open on.
class LSHARED_API I_DuckDBDatabase : public I_Unknown {
 public:
  virtual void put_BlockSize(std::uint32_t inBytes) = 0;  // for Create; 0 = DuckDB's default
  // How many database objects of this process have the file open.
  virtual std::uint32_t get_ConnectionCount() = 0;
  // A local file is there. False for a remote and for an in-memory database, and while no extension
  // object is installed.
  virtual bool get_Exists() = 0;
  virtual bool get_IsOpen() = 0;
  virtual bool get_IsReadOnly() = 0;  // false while closed
  virtual String get_Path() = 0;      // the location's, as it was given
  virtual String get_Key() = 0;       // the location's; one for every spelling of a path
  // Access token (not empty = a remote database) and user agent; for Open.
  virtual void SetRemoteAccess(String inToken, String inUserAgent) = 0;
  virtual void put_StorageVersion(String inVersion) = 0;  // for Create ("v1.5.0", "latest")
  // For a closed object. An open one is closed by Create and Open, which forgets them.
  virtual void put_Settings(DuckDBSettings const& inSettings) = 0;

  // Drops what is there (with Drop's errors) and makes a new, empty database. Fails with DuckDB's
  // message, "Unknown DuckDB database open error" or "Failed to create DuckDB connection", and then
  // leaves no file. std::runtime_error "Failed to create DuckDB config".
  virtual void Create() = 0;
  // Closes first, then opens read-write, or read-only when the settings say so or read-write is
  // refused. A local file must be there: "File does not exist". Any other failure is xException
  // 0x99000 with DuckDB's message, "Failed to open DuckDB database" or "Failed to create DuckDB
  // connection"; std::runtime_error "Failed to create DuckDB config".
  virtual void Open() = 0;
  // Closes the children (results, then cursors, then statements, the youngest first), then the
  // database. The settings are forgotten. Nothing when closed.
  virtual void Close() = 0;
  // Closes and removes the file with what DuckDB keeps beside it. While others have it open:
  // "Can not be dropped. <count> connections are alive.", and nothing is removed.
  virtual void Drop() = 0;

  // Exports the database into a new folder inside ioFolder (in: the wished folder or null; out:
  // the folder that was used, also after a failed export, which removes nothing). "DuckDBDatabase
  // is not open", "DuckDBDatabase backup folder is not available", "Unknown DuckDB backup error".
  virtual void Backup(smart_ptr<I_Location>& ioFolder) = 0;

  // Statements, cursors and results are the database's children: it knows them without a reference,
  // they it too, and its Close closes them. The host may hold them for longer.
  //
  // A new statement over a text, which is not looked at yet. "DuckDBDatabase is not open".
  virtual smart_ptr<I_DuckDBStatement> CreateStatement(String const& inSql) = 0;
  // Closes the statement. "DuckDBDatabase is not open", "DuckDBStatement does not belong to this
  // database".
  virtual void UnregisterStatement(I_DuckDBStatement* inStatement) = 0;
  // The children's own calls. Null, and unregistering what is not there, are ignored.
  virtual void RegisterCursor(I_DuckDBCursor* inCursor) = 0;
  virtual void UnregisterCursor(I_DuckDBCursor* inCursor) = 0;
  virtual void RegisterQueryResult(I_DuckDBQueryResult* inResult) = 0;
  virtual void UnregisterQueryResult(I_DuckDBQueryResult* inResult) = 0;
  virtual void Flush() = 0;  // nothing: DuckDB commits by itself

  // Runs a script for its effect. With parameters (not null, not empty; element i is parameter i +
  // 1) the text is one statement. When a statement of a script fails in its execution, "ROLLBACK"
  // is run, and the results so far are released. "DuckDBDatabase is not open"; the fixed texts
  // where DuckDB gives none stand in docs/errors.md.
  virtual void ExecuteSQL(String const& inSql, smart_ptr<ValueRow> inParameters) = 0;
  // Runs a script and keeps every statement's outcome: the first, which hands the others on. Fails
  // as ExecuteSQL does. Cursor kind: I_DuckDBCursor.h.
  virtual smart_ptr<I_DuckDBQueryResult> Execute(String const& inSql, std::uint32_t inCursorKind,
                                                 smart_ptr<ValueRow> inParameters) = 0;
  // Runs one query. Fails as ExecuteSQL does, and with "Query doesn't return a single result" and
  // "Query doesn't return a result"; what was run then stays done.
  virtual smart_ptr<I_DuckDBCursor> ExecuteQuery(String const& inSql, std::uint32_t inCursorKind,
                                                 smart_ptr<ValueRow> inParameters) = 0;
};

}  // namespace tarn::lsql
