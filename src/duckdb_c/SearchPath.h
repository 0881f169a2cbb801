#pragma once

#include <duckdb.h>

#include <optional>
#include <string>

namespace lumora::duckdb_c {

// Where the connection looks for names that do not say their schema, as USE and SET search_path
// leave it; empty where nobody has said. Nothing when DuckDB does not tell. Costs a microsecond or
// two; the connection must stay open for the length of the call.
std::optional<std::string> GetSearchPath(duckdb_connection inConnection);

}  // namespace lumora::duckdb_c
