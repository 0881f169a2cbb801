#pragma once

#include <cstdlib>
#include <string>

#include "duckdb_c/Handles.h"

namespace lumora::fuzz {

// A DuckDB in memory of the fuzzer's own, to compare with: made once, kept to the end.
class Sql {
 public:
  static Sql& Instance() {
    static auto* const instance = new Sql;
    return *instance;
  }

  duckdb_connection get() const { return mConnection.get(); }

  // False when it fails.
  bool Run(std::string const& inSql, duckdb_c::ResultHandle& outResult) const {
    return duckdb_query(get(), inSql.c_str(), outResult.out()) == DuckDBSuccess;
  }
  bool Run(std::string const& inSql) const {
    duckdb_c::ResultHandle result;
    return Run(inSql, result);
  }

  // Runs a statement with parameters; false when it fails.
  template <typename... TValues>
  bool Execute(duckdb_prepared_statement inStatement, duckdb_c::ResultHandle& outResult,
               TValues const&... inValues) const {
    idx_t position = 0;
    bool const isBound =
        ((duckdb_bind_value(inStatement, ++position, inValues.get()) == DuckDBSuccess) && ...);
    return isBound && duckdb_execute_prepared(inStatement, outResult.out()) == DuckDBSuccess;
  }

 private:
  Sql() {
    bool const isOpen = duckdb_open(nullptr, mDatabase.out()) == DuckDBSuccess &&
                        duckdb_connect(mDatabase.get(), mConnection.out()) == DuckDBSuccess;
    if (!isOpen || !Run("SET threads = 1") || !Run("SET TimeZone = 'UTC'")) std::abort();
  }

  duckdb_c::DatabaseHandle mDatabase;
  duckdb_c::ConnectionHandle mConnection;
};

// The text of the first cell of a result of VARCHAR; "<null>" for NULL.
inline std::string FirstText(duckdb_result const& inResult) {
  duckdb_c::ChunkHandle const chunk(duckdb_fetch_chunk(inResult));
  if (!chunk || duckdb_data_chunk_get_size(chunk.get()) == 0) return "<no row>";
  duckdb_vector const vector = duckdb_data_chunk_get_vector(chunk.get(), 0);
  if (!duckdb_validity_row_is_valid(duckdb_vector_get_validity(vector), 0)) return "<null>";
  auto* const cells = static_cast<duckdb_string_t*>(duckdb_vector_get_data(vector));
  return {duckdb_string_t_data(cells), duckdb_string_t_length(cells[0])};
}

}  // namespace lumora::fuzz
