#pragma once

#include <duckdb.h>

#include <optional>
#include <string>
#include <string_view>

namespace lumora::duckdb_c {

// The text that typeof() gives for a type. Empty for a null handle and for a type that cannot be a
// column's.
std::optional<std::string> GetTypeText(duckdb_logical_type inType);

// A name as DuckDB writes it inside a type: in double quotes where it has to be.
std::string QuoteNameInType(std::string_view inName);

}  // namespace lumora::duckdb_c
