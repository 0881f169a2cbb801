#pragma once

#include <string_view>

namespace lumora::duckdb_c {

// Whether the word is a keyword of the DuckDB library that is loaded, in any category and in
// whatever case. When DuckDB cannot be asked every word counts as one, which only makes more
// quotes.
bool IsKeyword(std::string_view inWord);

}  // namespace lumora::duckdb_c
