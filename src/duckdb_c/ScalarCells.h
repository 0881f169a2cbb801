#pragma once

#include <duckdb.h>

#include "duckdb_c/Handles.h"
#include "duckdb_c/Types.h"

namespace lumora::duckdb_c {

// Makes a value of one entry of a vector's data. The type is the vector's.
using MakeScalar = ValueHandle (*)(duckdb_logical_type inType, void const* inData, idx_t inRow);

// For a type without children that the C API can build; null for every other one.
MakeScalar FindScalarMaker(TypeId inType) noexcept;

}  // namespace lumora::duckdb_c
