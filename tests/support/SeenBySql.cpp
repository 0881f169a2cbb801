#include "support/SeenBySql.h"

#include "support/FakeDatabase.h"

namespace lumora::test {
namespace {

std::string CellText(duckdb_data_chunk inChunk) {
  duckdb_vector const vector = duckdb_data_chunk_get_vector(inChunk, 0);
  std::uint64_t* const validity = duckdb_vector_get_validity(vector);
  if (validity && !duckdb_validity_row_is_valid(validity, 0)) return "<null>";
  auto* const text = static_cast<duckdb_string_t*>(duckdb_vector_get_data(vector));
  return std::string(duckdb_string_t_data(text), duckdb_string_t_length(*text));
}

std::string Run(char const* inSql, duckdb_c::ValueHandle const& inValue) {
  FakeDatabase database;
  database.Query("SET TimeZone = 'UTC'");
  duckdb_c::PreparedHandle prepared;
  if (duckdb_prepare(database.get_Connection()->get(), inSql, prepared.out()) != DuckDBSuccess ||
      duckdb_bind_value(prepared.get(), 1, inValue.get()) != DuckDBSuccess) {
    return duckdb_c::TextOr(duckdb_prepare_error(prepared.get()), "not bound");
  }
  duckdb_c::ResultHandle result;
  if (duckdb_execute_prepared(prepared.get(), result.out()) != DuckDBSuccess) {
    return duckdb_result_error(result.ptr());
  }
  duckdb_c::ChunkHandle const chunk(duckdb_fetch_chunk(result.get()));
  if (!chunk) return "no row";
  return CellText(chunk.get());
}

}  // namespace

// Two statements: where a parameter is cast and its type is asked for in one, DuckDB 1.5 fails with
// an internal error for a VARCHAR.
std::string SeenBySql(duckdb_c::ValueHandle const& inValue) {
  std::string const type = Run("SELECT typeof($1)", inValue);
  if (type == "VARIANT") {
    return type + ":" + Run("SELECT CAST(CAST($1 AS JSON) AS VARCHAR)", inValue);
  }
  return type + ":" + Run("SELECT CAST($1 AS VARCHAR)", inValue);
}

}  // namespace lumora::test
