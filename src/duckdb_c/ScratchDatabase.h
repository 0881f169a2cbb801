#pragma once

#include <duckdb.h>

#include <cstdint>
#include <memory>
#include <string>

#include "duckdb_c/Handles.h"

// An empty in-memory database to try SQL in, with access to files. It runs on one thread and plans
// without the optimizer, which is the quickest way for what has few rows.
//
// Opening a DuckDB instance costs some 10 ms, attaching an empty database to one a fraction of one.
// So the instance of the last user is kept for the next; what he had in it is detached and gone.
// Any number may be there at a time; one instance is kept. It is closed when the library is
// unloaded and at process exit, like the private database, and one that cannot be cleaned is closed
// at once.
namespace lumora::duckdb_c {

struct ScratchInstance;

// Any thread may make one; it serves one thread at a time.
class ScratchDatabase {
 public:
  // Without a connection when DuckDB refuses; then its text is in outError.
  explicit ScratchDatabase(std::string& outError);
  ~ScratchDatabase();
  ScratchDatabase(ScratchDatabase const&) = delete;
  ScratchDatabase& operator=(ScratchDatabase const&) = delete;

  // Null when DuckDB refused. The current database of the connection is the empty one.
  duckdb_connection get() const noexcept { return mConnection.get(); }

  // From now on with all processors and the optimizer, for more than a moment's work.
  void ExpectMuchWork() noexcept;

 private:
  bool Run(char const* inSql) const noexcept;

  // The connection goes before the instance that it was made from.
  std::unique_ptr<ScratchInstance> mInstance;
  ConnectionHandle mConnection;
  std::string mDetachSql;
  bool mHasManyThreads = false;
};

// For the end of the extension, before its code is unloaded. Any thread may call it at any time.
void CloseScratchDatabase() noexcept;

}  // namespace lumora::duckdb_c
