#pragma once

#include <cstdint>

#include "duckdb_c/Types.h"
#include "tarn/ExtensionApi.h"

// How the procedures see types: DuckDB's identifiers, the runtime types by whose layout cells are
// read, and the host's value kinds. All functions are total; the texts are literals.
namespace lumora::procedures {

using duckdb_c::TypeId;

// "UNKNOWN" for an identifier without a name.
char const* duckdb_type_name(TypeId inType) noexcept;
// BOOLEAN to TIME, VARCHAR and BLOB stand for themselves, the rest for one of them.
TypeId runtime_type_of(TypeId inType) noexcept;
lumora_value_kind host_kind_of(TypeId inRuntimeType) noexcept;
// "unknown" for a number that is no kind.
char const* host_kind_name(std::int32_t inKind) noexcept;

}  // namespace lumora::procedures
