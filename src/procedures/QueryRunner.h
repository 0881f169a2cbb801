#pragma once

#include <string>

#include "procedures/SqlBuilding.h"
#include "tarn/ExtensionApi.h"

namespace lumora::procedures {

// Runs a query on a database of the call's own and hands the host a cursor over its rows. inUri
// empty = an in-memory database. Throws what OpenProcedureDatabase, RunQuery and
// ProcedureCursorState throw, and std::runtime_error "Unable to create DuckDB cursor." when the
// host refuses it; then everything is released.
lumora_cursor run_procedure_query(void* inContext, std::string const& inUri,
                                  InnerQuery const& inQuery);

}  // namespace lumora::procedures
