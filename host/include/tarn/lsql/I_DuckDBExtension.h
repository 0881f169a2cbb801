#pragma once

#include "tarn/Array.h"
#include "tarn/I_Unknown.h"
#include "tarn/Location.h"
#include "tarn/lsql/I_DuckDBCursor.h"
#include "tarn/lsql/I_DuckDBDatabase.h"
#include "tarn/smart_ptr.h"

namespace tarn::lsql {

// The one object through which the host reaches DuckDB. Every operation may be called from any
// thread.
class LSHARED_API I_DuckDBExtension : public I_Unknown {
 public:
  // DuckDB's version ("v1.5.6"); owned by DuckDB.
  virtual char const* get_LibraryVersion() = 0;
  // A new, closed database object. A null location: xDBError 0x51501.
  virtual smart_ptr<I_DuckDBDatabase> CreateDatabase(smart_ptr<I_Location> inLocation) = 0;
  // The rows of a client-side cursor, its own ones; null for any other cursor and for null.
  virtual smart_ptr<ValueRows> get_CursorRows(smart_ptr<I_DuckDBCursor> inCursor) = 0;
  virtual bool get_IsClientCursor(smart_ptr<I_DuckDBCursor> inCursor) = 0;
  // Some database object of this process has the database of that key (or path) open.
  virtual bool get_IsDatabaseOpen(String const& inPath) = 0;
  // The file is empty or holds "DUCK" at bytes 8 to 11. False when it cannot be read.
  virtual bool IsDuckDBFile(smart_ptr<I_Location> inLocation) = 0;
  virtual bool IsInMemoryPath(String const& inPath) = 0;  // exactly ":memory:"
  // A database at inLocation, closed, from a backup folder; what was there is replaced. Null
  // target: xDBError 0x51501; backup null or not there: xDBError 0x66000. Any other failure is the
  // database's: xDuckDBError 0x72501 (target's path, message), and what was there is as it was.
  virtual smart_ptr<I_DuckDBDatabase> RestoreDatabase(smart_ptr<I_Location> inLocation,
                                                      smart_ptr<I_Location> inBackupLocation) = 0;
};

// The installed extension object. Setting replaces (and releases) the one before; null removes it.
LSHARED_API void SetDuckDBExtension(smart_ptr<I_DuckDBExtension> inExtension);
LSHARED_API smart_ptr<I_DuckDBExtension> GetDuckDBExtension();

}  // namespace tarn::lsql
