#include "cursor/MakeCursor.h"

#include <utility>

#include "cursor/DuckDBCursor_client.h"
#include "cursor/DuckDBCursor_server.h"
#include "duckdb_c/EngineLockGuard.h"

namespace tarn::lsql {

smart_ptr<I_DuckDBCursor> MakeCursor(lumora::I_DatabaseLink* inDatabase,
                                     lumora::duckdb_c::ResultHandle&& ioResult,
                                     std::uint32_t inCursorKind) {
  // A database that closes on another thread would find a cursor in its registry whose subclass
  // is not constructed yet.
  lumora::EngineLockGuard guard;
  if (inCursorKind == kCursorClient) {
    return smart_ptr<I_DuckDBCursor>(new DuckDBCursor_client(inDatabase, std::move(ioResult)));
  }
  return smart_ptr<I_DuckDBCursor>(new DuckDBCursor_server(inDatabase, std::move(ioResult)));
}

}  // namespace tarn::lsql
