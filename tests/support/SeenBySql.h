#pragma once

#include <string>

#include "duckdb_c/Handles.h"

namespace lumora::test {

// What SQL sees of a value that is bound: "TYPE:text", the text "<null>" for NULL and JSON for a
// VARIANT. DuckDB's message when it fails.
std::string SeenBySql(duckdb_c::ValueHandle const& inValue);

}  // namespace lumora::test
