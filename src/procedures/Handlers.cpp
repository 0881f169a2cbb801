#include "procedures/Handlers.h"

#include "procedures/Arguments.h"
#include "procedures/HandlerFrame.h"
#include "procedures/ParquetSchema.h"
#include "procedures/QueryRunner.h"

namespace lumora::procedures {

lumora_cursor HandleFetchParquet(void* inContext, lumora_value const* inArgs) {
  return RunHandler(inContext, "Unexpected error while reading parquet file.", [&] {
    return run_procedure_query(inContext, "", build_fetch_parquet_sql(inContext, inArgs));
  });
}

lumora_cursor HandleParquetSchema(void* inContext, lumora_value const* inArgs) {
  return RunHandler(inContext, "Unexpected error while reading parquet schema.", [&] {
    return MakeParquetSchemaCursor(inContext,
                                   require_text_arg(inContext, inArgs[0], "parquet_schema"));
  });
}

lumora_cursor HandleParquetMetadata(void* inContext, lumora_value const* inArgs) {
  return RunHandler(inContext, "Unexpected error while reading parquet metadata.", [&] {
    auto const uri = require_text_arg(inContext, inArgs[0], "parquet_metadata");
    return run_procedure_query(inContext, "", {ParquetMetadataSql(uri), {}});
  });
}

lumora_cursor HandleParquetCount(void* inContext, lumora_value const* inArgs) {
  return RunHandler(inContext, "Unexpected error while counting parquet rows.", [&] {
    return run_procedure_query(inContext, "", build_parquet_count_sql(inContext, inArgs));
  });
}

lumora_cursor HandleFetchDuckDB(void* inContext, lumora_value const* inArgs) {
  return RunHandler(inContext, "Unexpected error while reading DuckDB table or view.", [&] {
    std::string uri;
    auto const query = build_fetch_duckdb_sql(inContext, inArgs, uri);
    return run_procedure_query(inContext, uri, query);
  });
}

}  // namespace lumora::procedures
