#pragma once

#include <string>
#include <string_view>

namespace lumora::duckdb_c {

// DuckDB's JSON text of a VARIANT as JSON that every reader takes: DuckDB writes a DECIMAL whose
// digits are all behind the point without a digit before it ("{"a":.5}"), which no JSON reader
// takes, its own included. Everything else stays as it is. Pure; any thread.
std::string WithWholeNumbers(std::string_view inJson);

}  // namespace lumora::duckdb_c
