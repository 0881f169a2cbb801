#pragma once

#include <string>

#include "tarn/ExtensionApi.h"

namespace lumora::procedures {

// A host cursor with one row for each column of a Parquet file: ordinal, name, duckdb_type,
// runtime_type, lumora_type, lumora_type_name. It holds host values alone; no database stays open.
// Throws what OpenProcedureDatabase and RunQuery throw, and std::runtime_error "Unable to create
// cursor.".
lumora_cursor MakeParquetSchemaCursor(void* inContext, std::string const& inUri);

}  // namespace lumora::procedures
