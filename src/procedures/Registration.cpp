#include "procedures/Registration.h"

#include <string>

#include "procedures/Handlers.h"
#include "procedures/HostApi.h"

namespace lumora::procedures {

void register_table_procedure(void* inContext, char const* inName, std::uint32_t inMinArgs,
                              std::uint32_t inMaxArgs, char const* inSignature,
                              char const* inDescription, lumora_procedure_handler inHandler) {
  lumora_procedure_def const definition{inName,        inMinArgs, inMaxArgs, inSignature,
                                        inDescription, nullptr,   nullptr,   inHandler};
  if (host_api::register_procedure(inContext, definition) == 0) return;
  host_api::report_error(inContext, std::string("Cannot register ") + inName + " procedure.");
}

void RegisterProcedures(void* inContext) {
  struct {
    char const* mName;
    std::uint32_t mMinArgs;
    std::uint32_t mMaxArgs;
    char const* mSignature;
    char const* mDescription;
    lumora_procedure_handler mHandler;
  } const procedures[] = {
      {"fetch_parquet", 1, 4, "uri [, columns [, where [, limit]]]", "Reads a parquet file.",
       HandleFetchParquet},
      {"parquet_schema", 1, 1, "uri", "Returns parquet column schema.", HandleParquetSchema},
      {"parquet_metadata", 1, 1, "uri", "Returns parquet file metadata.", HandleParquetMetadata},
      {"parquet_count", 1, 2, "uri [, where]", "Returns parquet row count.", HandleParquetCount},
      {"fetch_duckdb", 2, 3, "uri, table_or_view [, limit]",
       "Returns rows from a DuckDB table or view.", HandleFetchDuckDB},
  };
  for (auto const& procedure : procedures) {
    register_table_procedure(inContext, procedure.mName, procedure.mMinArgs, procedure.mMaxArgs,
                             procedure.mSignature, procedure.mDescription, procedure.mHandler);
  }
}

}  // namespace lumora::procedures
