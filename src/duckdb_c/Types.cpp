#include "duckdb_c/Types.h"

#include "duckdb_c/PrivateDatabase.h"

namespace lumora::duckdb_c {
namespace {

// Newer than the header.
constexpr std::uint32_t kLibraryGeometry = 40;
constexpr std::uint32_t kLibraryVariant = 41;

duckdb_type AsLibraryType(std::uint32_t inNumber) noexcept {
  return static_cast<duckdb_type>(inNumber);
}

}  // namespace

TypeId TypeIdFromLibrary(duckdb_type inType) noexcept {
  const auto number = static_cast<std::uint32_t>(inType);
  if (number == kLibraryVariant) return kTypeVariant;
  return number == kLibraryGeometry ? kTypeGeometry : number;
}

duckdb_type TypeIdToLibrary(TypeId inType) noexcept {
  if (inType == kTypeVariant) return AsLibraryType(kLibraryVariant);
  return AsLibraryType(inType == kTypeGeometry ? kLibraryGeometry : inType);
}

TypeId GetTypeId(duckdb_logical_type inType) noexcept {
  return inType ? TypeIdFromLibrary(duckdb_get_type_id(inType)) : 0;
}

TypeId GetColumnTypeId(duckdb_result* inResult, idx_t inColumn) noexcept {
  return inResult ? TypeIdFromLibrary(duckdb_column_type(inResult, inColumn)) : 0;
}

TypeId GetValueTypeId(duckdb_value inValue) noexcept {
  // The type belongs to the value.
  return inValue ? GetTypeId(duckdb_get_value_type(inValue)) : 0;
}

// Hazard: DuckDB's own maker gives a VARIANT type without its parts, of which no vector and no list
// can be made. Remedy: the type of a VARIANT value out of SQL.
LogicalTypeHandle MakeLogicalType(TypeId inType) {
  // What the enumeration cannot hold must not be made into one.
  constexpr TypeId kHighest = 63;
  if (inType == DUCKDB_TYPE_INVALID || inType > kHighest) return {};
  if (inType == kTypeVariant) return MakeVariantType();
  LogicalTypeHandle type(duckdb_create_logical_type(TypeIdToLibrary(inType)));
  // DuckDB answers INVALID for an identifier that it does not know or that needs parameters.
  if (GetTypeId(type.get()) != inType) type.reset();
  return type;
}

}  // namespace lumora::duckdb_c
