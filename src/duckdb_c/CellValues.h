#pragma once

#include <duckdb.h>

#include "duckdb_c/Handles.h"

namespace lumora::duckdb_c {

// The cell of a flat vector as a value of its exact type, rebuilt from the vector's memory. The row
// must lie within the vector. Types that the C API cannot build (VARIANT, GEOMETRY, newer ones) go
// through the private database; null when that fails.
ValueHandle MakeCellValue(duckdb_vector inVector, idx_t inSize, idx_t inRow);

// duckdb_data_chunk_get_value for those who must tell want of memory (std::bad_alloc) from a cell
// that DuckDB cannot give (null).
ValueHandle GetCellValue(duckdb_data_chunk inChunk, idx_t inColumn, idx_t inRow);

}  // namespace lumora::duckdb_c
