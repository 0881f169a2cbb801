#pragma once

#include <duckdb.h>

#include <string_view>

#include "duckdb_c/Handles.h"

// Small makers of values. They run no query and may be called from any thread.
namespace lumora::duckdb_c {

// The value cast to the type by DuckDB's built-in casts, the type's alias included. Null when the
// cast fails or the type is incomplete.
ValueHandle RetypeValue(duckdb_logical_type inType, duckdb_value inValue);

// NULL of that type; where DuckDB cannot make one, NULL without a type.
ValueHandle MakeTypedNull(duckdb_logical_type inType);

// A vector of one row that is the value; null when DuckDB cannot make one of its type.
VectorHandle MakeVectorOf(duckdb_value inValue);

// A BIGNUM from the bytes that vectors hold: three of head, then the magnitude, high byte first,
// all of them inverted when it is negative. Null when the bytes are not of that form.
ValueHandle MakeBignum(std::string_view inBytes);

}  // namespace lumora::duckdb_c
