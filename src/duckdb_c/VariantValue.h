#pragma once

#include <duckdb.h>

#include <cstdint>

#include "duckdb_c/Handles.h"

namespace lumora::duckdb_c {

// duckdb_value_variant_type and duckdb_value_variant_child for those who must tell want of memory
// (std::bad_alloc) from a value that DuckDB cannot give (UINT32_MAX, null).
std::uint32_t GetVariantType(duckdb_value inValue);
ValueHandle GetVariantChild(duckdb_value inValue);

}  // namespace lumora::duckdb_c
