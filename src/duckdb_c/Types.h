#pragma once

#include <duckdb.h>

#include <cstdint>

#include "duckdb_c/Handles.h"

// DuckDB type identifiers as this system knows them. The stock library says 41 for VARIANT where
// everything outside this room, the host included, says 60; GEOMETRY is 40 on both sides and newer
// than the header. Every identifier that comes from or goes to the library passes through here.
namespace lumora::duckdb_c {

using TypeId = std::uint32_t;

inline constexpr TypeId kTypeGeometry = 40;
inline constexpr TypeId kTypeVariant = 60;

TypeId TypeIdFromLibrary(duckdb_type inType) noexcept;
duckdb_type TypeIdToLibrary(TypeId inType) noexcept;

// The identifier of a logical type, of a result's column, and of a value; 0 for a null handle.
TypeId GetTypeId(duckdb_logical_type inType) noexcept;
TypeId GetColumnTypeId(duckdb_result* inResult, idx_t inColumn) noexcept;
TypeId GetValueTypeId(duckdb_value inValue) noexcept;

// A logical type that needs no parameters, GEOMETRY and VARIANT included. Null handle where DuckDB
// has no such type.
LogicalTypeHandle MakeLogicalType(TypeId inType);

}  // namespace lumora::duckdb_c
