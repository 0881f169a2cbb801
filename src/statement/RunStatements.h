#pragma once

#include <string>
#include <vector>

#include "cursor/I_DatabaseLink.h"
#include "duckdb_c/Handles.h"
#include "tarn/Array.h"

namespace lumora {

// Runs SQL on the database's connection; the caller holds the engine lock. One result for each
// statement, in their order, which the caller owns.
//
// With parameters (not null, not empty) the text is one statement, otherwise a script that DuckDB
// splits. When a statement of a script fails in its execution, what is open is rolled back.
//
// Errors: xDuckDBError 0x72501 with texts (database path, DuckDB's message or a fixed one); those
// of parameter binding. Nothing of DuckDB's is left alive then.
std::vector<duckdb_c::ResultHandle> RunStatements(I_DatabaseLink& inDatabase,
                                                  std::string const& inSql,
                                                  tarn::ValueRow const* inParameters);

}  // namespace lumora
