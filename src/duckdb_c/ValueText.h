#pragma once

#include <duckdb.h>

#include <optional>
#include <string>

namespace lumora::duckdb_c {

// DuckDB's text of a value, whole: what CAST(x AS VARCHAR) says in UTC, and what duckdb_get_varchar
// gives, but NUL bytes inside the text do not cut it. Empty for a null handle and for a NULL value;
// none when DuckDB cannot tell it. The value stays the caller's. May be called from any thread.
//
// No query is run, but for a type with a named type inside a nested one (a list of JSON): there
// duckdb_get_varchar writes other quotes than SQL does, and SQL is right.
std::optional<std::string> GetValueText(duckdb_value inValue);

}  // namespace lumora::duckdb_c
