#pragma once

#include <duckdb.h>

#include <cstdint>

#include "cursor/HostValues.h"
#include "duckdb_c/Types.h"

// One DuckDB value as a host value. This is the definition of what a cell looks like to the host;
// ColumnReader makes the same values straight from the vectors.
//
// Scalars with a host kind become typed values, NULL a null Boolean, everything else DuckDB's text.
// The arguments stay the caller's, but reading a value may change its type in place: convert it
// once. The result is the caller's. Any thread. Errors: std::bad_alloc, and xDuckDBError 0x72501
// ("unknown", "DuckDB cannot give the value") for one that is there but cannot be had.
namespace lumora {

// inValue: may be null. inVariantType: the variant type code (0 to 33) of a VARIANT value, or null.
ValuePtr ConvertDuckDBValue(duckdb_value inValue, std::uint32_t const* inVariantType);

// A VARIANT's inner value by its code: typed where the host has a kind, else the envelope.
ValuePtr ConvertVariantValue(duckdb_value inChild, std::uint32_t inVariantType);

// A cell of a chunk by way of its duckdb_value. inType is the column's type identifier.
ValuePtr ConvertCell(duckdb_data_chunk inChunk, idx_t inColumn, idx_t inRow,
                     duckdb_c::TypeId inType);

}  // namespace lumora
