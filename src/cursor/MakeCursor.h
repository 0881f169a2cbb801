#pragma once

#include <cstdint>

#include "cursor/I_DatabaseLink.h"
#include "duckdb_c/Handles.h"
#include "tarn/lsql/I_DuckDBCursor.h"
#include "tarn/smart_ptr.h"

namespace tarn::lsql {

// A cursor over one result with rows: kCursorClient reads it whole before this returns, any other
// kind streams it. The cursor takes the result over and registers with the database; the caller
// holds its only reference. When it throws, the result is destroyed and nothing stays registered.
// Errors: ("unknown", "DuckDBCursor is invalid") without a database. May be called from any thread.
smart_ptr<I_DuckDBCursor> MakeCursor(lumora::I_DatabaseLink* inDatabase,
                                     lumora::duckdb_c::ResultHandle&& ioResult,
                                     std::uint32_t inCursorKind);

}  // namespace tarn::lsql
