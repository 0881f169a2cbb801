#pragma once

#include <duckdb.h>

#include <string>
#include <vector>

#include "duckdb_c/DuckDBText.h"
#include "duckdb_c/Handles.h"

namespace lumora::duckdb_c {

inline constexpr char kQueryFailed[] = "DuckDB query failed.";

// Runs a query whose rows do not matter. False with DuckDB's text in outError when it fails;
// inUnknown when there is no text.
inline bool RunQuery(duckdb_connection inConnection, std::string const& inSql,
                     std::string& outError, char const* inUnknown = kQueryFailed) {
  ResultHandle result;
  if (duckdb_query(inConnection, inSql.c_str(), result.out()) == DuckDBSuccess) return true;
  outError = TextOr(duckdb_result_error(result.ptr()), inUnknown);
  return false;
}

// What COPY and INSERT answer, for example, is a number, and read as a text it were an address.
inline bool HasTextsAlone(duckdb_result& ioResult) {
  for (idx_t column = 0; column < duckdb_column_count(&ioResult); ++column) {
    if (duckdb_column_type(&ioResult, column) != DUCKDB_TYPE_VARCHAR) return false;
  }
  return true;
}

// Runs a query of VARCHAR columns and calls inRow(std::vector<std::string> const&) for each row;
// NULL is the empty text. False with a text in outError when the query fails, has a column of
// another type, or its rows end early: an empty answer that is none must not pass for one.
template <typename TRow>
bool ForEachRow(duckdb_connection inConnection, std::string const& inSql, std::string& outError,
                TRow const& inRow) {
  ResultHandle result;
  if (duckdb_query(inConnection, inSql.c_str(), result.out()) != DuckDBSuccess) {
    outError = TextOr(duckdb_result_error(result.ptr()), kQueryFailed);
    return false;
  }
  if (!HasTextsAlone(*result.ptr())) {
    outError = "The result has columns that are no texts";
    return false;
  }
  std::vector<std::string> row(duckdb_column_count(result.ptr()));
  idx_t missing = duckdb_row_count(result.ptr());
  while (ChunkHandle const chunk{duckdb_fetch_chunk(result.get())}) {
    missing -= duckdb_data_chunk_get_size(chunk.get());
    for (idx_t i = 0; i < duckdb_data_chunk_get_size(chunk.get()); ++i) {
      for (idx_t column = 0; column < row.size(); ++column) {
        duckdb_vector const vector = duckdb_data_chunk_get_vector(chunk.get(), column);
        auto* const validity = duckdb_vector_get_validity(vector);
        bool const isNull = validity && !duckdb_validity_row_is_valid(validity, i);
        auto const* const texts = static_cast<duckdb_string_t*>(duckdb_vector_get_data(vector));
        row[column] = isNull ? std::string() : std::string(TextOf(texts[i]));
      }
      inRow(row);
    }
  }
  // DuckDB tells a lack of memory as it tells the end: with no chunk.
  if (missing != 0) outError = "The result ended before its last record";
  return missing == 0;
}

}  // namespace lumora::duckdb_c
