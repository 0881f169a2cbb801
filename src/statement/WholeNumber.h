#pragma once

#include <utility>

#include "duckdb_c/Handles.h"
#include "duckdb_c/Types.h"

namespace lumora {
namespace detail {

template <auto TCreate, typename TTarget, typename TNumber>
duckdb_c::ValueHandle MakeIfFits(TNumber inNumber) {
  if (!std::in_range<TTarget>(inNumber)) return {};
  return duckdb_c::ValueHandle(TCreate(static_cast<TTarget>(inNumber)));
}

}  // namespace detail

// The number as a value of that integer type; empty when the type is none, or the number does not
// fit.
template <typename TNumber>
duckdb_c::ValueHandle MakeWholeNumber(TNumber inNumber, duckdb_c::TypeId inType) {
  using namespace detail;
  switch (inType) {
    case DUCKDB_TYPE_TINYINT:
      return MakeIfFits<duckdb_create_int8, std::int8_t>(inNumber);
    case DUCKDB_TYPE_SMALLINT:
      return MakeIfFits<duckdb_create_int16, std::int16_t>(inNumber);
    case DUCKDB_TYPE_INTEGER:
      return MakeIfFits<duckdb_create_int32, std::int32_t>(inNumber);
    case DUCKDB_TYPE_BIGINT:
      return MakeIfFits<duckdb_create_int64, std::int64_t>(inNumber);
    case DUCKDB_TYPE_UTINYINT:
      return MakeIfFits<duckdb_create_uint8, std::uint8_t>(inNumber);
    case DUCKDB_TYPE_USMALLINT:
      return MakeIfFits<duckdb_create_uint16, std::uint16_t>(inNumber);
    case DUCKDB_TYPE_UINTEGER:
      return MakeIfFits<duckdb_create_uint32, std::uint32_t>(inNumber);
    case DUCKDB_TYPE_UBIGINT:
      return MakeIfFits<duckdb_create_uint64, std::uint64_t>(inNumber);
    default:
      return {};
  }
}

}  // namespace lumora
