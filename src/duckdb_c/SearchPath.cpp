#include "duckdb_c/SearchPath.h"

#include "duckdb_c/Handles.h"

// In the library since 1.5, and not in older headers. The scope may be null.
extern "C" DUCKDB_C_API duckdb_value duckdb_client_context_get_config_option(
    duckdb_client_context context, char const* name, void* out_scope);

namespace lumora::duckdb_c {

std::optional<std::string> GetSearchPath(duckdb_connection inConnection) {
  ClientContextHandle context;
  duckdb_connection_get_client_context(inConnection, context.out());
  if (!context) return std::nullopt;
  ValueHandle const value(
      duckdb_client_context_get_config_option(context.get(), "search_path", nullptr));
  if (!value) return std::nullopt;
  TextHandle const text(duckdb_get_varchar(value.get()));
  if (!text) return std::nullopt;
  return std::string(text.get());
}

}  // namespace lumora::duckdb_c
