#include "duckdb_c/Values.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace lumora::duckdb_c {

// A list of one casts its element to the list's type.
ValueHandle RetypeValue(duckdb_logical_type inType, duckdb_value inValue) {
  if (!inType || !inValue) return {};
  ValueHandle list(duckdb_create_list_value(inType, &inValue, 1));
  return list ? ValueHandle(duckdb_get_list_child(list.get(), 0)) : ValueHandle();
}

ValueHandle MakeTypedNull(duckdb_logical_type inType) {
  ValueHandle null(duckdb_create_null_value());
  ValueHandle typed = RetypeValue(inType, null.get());
  return typed ? std::move(typed) : std::move(null);
}

VectorHandle MakeVectorOf(duckdb_value inValue) {
  if (!inValue) return {};
  // The value's type belongs to the value.
  VectorHandle vector(duckdb_create_vector(duckdb_get_value_type(inValue), 1));
  if (vector) duckdb_vector_reference_value(vector.get(), inValue);
  return vector;
}

ValueHandle MakeBignum(std::string_view inBytes) {
  constexpr std::size_t kHead = 3;
  if (inBytes.size() <= kHead) return {};
  const bool negative = (static_cast<std::uint8_t>(inBytes[0]) & 0x80U) == 0;
  std::vector<std::uint8_t> magnitude(inBytes.begin() + kHead, inBytes.end());
  if (negative) {
    std::transform(magnitude.begin(), magnitude.end(), magnitude.begin(),
                   [](std::uint8_t inByte) { return static_cast<std::uint8_t>(~inByte); });
  }
  return ValueHandle(
      duckdb_create_bignum(duckdb_bignum{magnitude.data(), magnitude.size(), negative}));
}

}  // namespace lumora::duckdb_c
