#pragma once

#include <cstdint>

#include "tarn/ExtensionApi.h"

namespace lumora::procedures {

// Registers one table procedure with the host. All texts live as long as the library. A refusal is
// reported through the host's error entry and is not fatal.
void register_table_procedure(void* inContext, char const* inName, std::uint32_t inMinArgs,
                              std::uint32_t inMaxArgs, char const* inSignature,
                              char const* inDescription, lumora_procedure_handler inHandler);

// Registers fetch_parquet, parquet_schema, parquet_metadata, parquet_count and fetch_duckdb, in
// this order. inContext is the host's registration context, handed back unchanged.
void RegisterProcedures(void* inContext);

}  // namespace lumora::procedures
