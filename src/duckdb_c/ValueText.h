#pragma once

#include <duckdb.h>

#include <string>

namespace lumora::duckdb_c {

// DuckDB's text of a value, whole: the same as duckdb_get_varchar gives, but NUL bytes inside the
// text do not cut it. Empty for a null handle and for a NULL value. The value stays the caller's.
// No query is run; may be called from any thread.
std::string GetValueText(duckdb_value inValue);

}  // namespace lumora::duckdb_c
