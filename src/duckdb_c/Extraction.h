#pragma once

#include <duckdb.h>

#include <string>
#include <string_view>

#include "duckdb_c/Handles.h"

// Extracted statements that know the text they came from. DuckDB's own handle does not keep it, so
// it is remembered beside the handle until the ExtractedHandle gives the handle up;
// duckdb_extracted_statement_sql answers for such handles alone.
namespace lumora::duckdb_c {

struct Extraction {
  // Releases the remembered text with the statements. Empty when nothing was extracted.
  ExtractedHandle mStatements;
  idx_t mCount = 0;
  // DuckDB's text of a syntax error, as DuckDB gives it; empty when there is none. A text without
  // any statement (nothing but blanks and comments) gives no statements and no error.
  std::string mError;
};

// duckdb_extract_statements of a UTF-8 text. The connection must stay open for the length of the
// call. A text with a NUL byte is refused: DuckDB would take what stands before it for the whole
// script.
Extraction ExtractStatements(duckdb_connection inConnection, std::string_view inText);

}  // namespace lumora::duckdb_c
