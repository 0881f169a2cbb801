#pragma once

#include <memory>

#include "cursor/I_DatabaseLink.h"
#include "duckdb_c/Handles.h"
#include "statement/ParameterTypes.h"
#include "tarn/Array.h"

namespace lumora {

// The bind step: clears what is bound and binds the row's element i to parameter i + 1. Nothing
// without a prepared statement; with a null or empty row all parameters stay unbound. A failure
// leaves the parameters before it bound.
//
// A host value may call back into the statement that binds it, and prepare or close that. So the
// handle and the database are looked at anew at every parameter; the variables of the caller must
// outlive the call, and the row must be held by him.
//
// inTypes: exact parameter types that may be used unseen, or null.
//
// Errors: xDuckDBError 0x72501 with texts (database path or "unknown", DuckDB's message,
// "Failed to clear statement bindings", "Failed to bind statement parameter" or ValueError's text);
// an envelope's as ReadVariantEnvelope tells.
void BindRow(duckdb_c::PreparedHandle const& inPrepared, tarn::ValueRow const* inRow,
             I_DatabaseLink* const& inDatabase,
             std::shared_ptr<ParameterTypes const> const& inTypes = {});

}  // namespace lumora
