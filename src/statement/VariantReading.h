#pragma once

#include <string>

#include "duckdb_c/Handles.h"
#include "tarn/Value.h"

namespace lumora {

// The envelope's mark; a JSON object without this member is no envelope.
bool IsVariantEnvelope(tarn::I_ValueJSON const& inObject);

// The value that an envelope carries, of the type that it names.
// Errors: xDuckDBError 0x72501 with texts ("variant", message); for INT8 std::invalid_argument and
// std::out_of_range.
duckdb_c::ValueHandle ReadVariantEnvelope(tarn::I_ValueJSON const& inObject);

// The same from the two texts (UTF-8).
duckdb_c::ValueHandle ReadVariant(std::string const& inTypeName, std::string const& inText);

}  // namespace lumora
