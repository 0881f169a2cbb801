#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tarn/ExtensionApi.h"

// From a call's argument handles to texts, names and limits. A bad argument is a
// std::invalid_argument whose message is meant for the caller of the procedure.
namespace lumora::procedures {

// --- pure ---

// Without the blanks (space, tab, line feed, vertical tab, form feed, carriage return) at both
// ends.
std::string_view trim(std::string_view inText) noexcept;

// Cuts at every comma, quoted or not; pieces are trimmed, empty ones dropped.
std::vector<std::string> split_column_names(std::string_view inText);

// Cuts at full stops outside double quotes; pieces are trimmed and keep their quotes, empty ones
// stay. An unclosed quote: "Invalid DuckDB table or view name.".
std::vector<std::string> split_qualified_name(std::string_view inText);

// A piece in double quotes without them and with doubled quotes made single; any other as it is.
std::string UnquotePiece(std::string_view inPiece);

// The parts of a table or view name, unquoted. A blank name: "fetch_duckdb requires DuckDB table or
// view name."; an empty part or an unclosed quote: "Invalid DuckDB table or view name.".
std::vector<std::string> ParseTableName(std::string_view inText);

// The decimal text of a row limit that was given as text. "invalid stoll argument", "stoll argument
// out of range" (a std::out_of_range), "limit must be an integer", "limit must not be negative".
std::string ParseLimitText(std::string_view inText);

// --- through the host's table ---

// A null handle or SQL NULL.
bool IsNullArg(lumora_value inValue);

// Empty for NULL and for a value without text. Any byte may occur in it.
std::string read_text_arg(void* inContext, lumora_value inValue);

// The same, but empty is an error: "<procedure> requires a text argument.". Not trimmed.
std::string require_text_arg(void* inContext, lumora_value inValue, char const* inProcedure);

// The decimal text of a row limit; empty = no limit (NULL).
std::string parse_limit_arg(void* inContext, lumora_value inValue);

// The columns to select; empty = all of them ("*").
std::vector<std::string> parse_column_list(void* inContext, lumora_value inValue);

}  // namespace lumora::procedures
