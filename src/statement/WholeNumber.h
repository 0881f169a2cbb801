#pragma once

#include <utility>

#include "statement/ParameterCell.h"

namespace lumora {
namespace detail {

template <typename TTarget, typename TNumber>
bool SetIfFits(ParameterCell& outCell, duckdb_c::TypeId inType, TNumber inNumber) {
  if (!std::in_range<TTarget>(inNumber)) return false;
  outCell.Set(inType, static_cast<TTarget>(inNumber));
  return true;
}

}  // namespace detail

// Sets the cell to the number in that integer type. False, and nothing is done, when the type is
// none, or the number does not fit.
template <typename TNumber>
bool SetWholeNumber(ParameterCell& outCell, duckdb_c::TypeId inType, TNumber inNumber) {
  using detail::SetIfFits;
  switch (inType) {
    case DUCKDB_TYPE_TINYINT:
      return SetIfFits<std::int8_t>(outCell, inType, inNumber);
    case DUCKDB_TYPE_SMALLINT:
      return SetIfFits<std::int16_t>(outCell, inType, inNumber);
    case DUCKDB_TYPE_INTEGER:
      return SetIfFits<std::int32_t>(outCell, inType, inNumber);
    case DUCKDB_TYPE_BIGINT:
      return SetIfFits<std::int64_t>(outCell, inType, inNumber);
    case DUCKDB_TYPE_UTINYINT:
      return SetIfFits<std::uint8_t>(outCell, inType, inNumber);
    case DUCKDB_TYPE_USMALLINT:
      return SetIfFits<std::uint16_t>(outCell, inType, inNumber);
    case DUCKDB_TYPE_UINTEGER:
      return SetIfFits<std::uint32_t>(outCell, inType, inNumber);
    case DUCKDB_TYPE_UBIGINT:
      return SetIfFits<std::uint64_t>(outCell, inType, inNumber);
    default:
      return false;
  }
}

}  // namespace lumora
