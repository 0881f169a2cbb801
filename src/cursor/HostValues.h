#pragma once

#include <duckdb.h>

#include <cstdint>
#include <string_view>
#include <utility>

#include "tarn/Value.h"
#include "tarn/smart_ptr.h"

// The host values of cells, one maker a kind: by the host's factories and setters. The
// caller owns what is returned. Throw std::bad_alloc alone. Any thread.
namespace lumora {

using ValuePtr = tarn::smart_ptr<tarn::I_Value>;

// A cell that is NULL, whatever its column's type: a Boolean that is null.
inline ValuePtr MakeNullValue() {
  ValuePtr value(tarn::CreateValueBoolean(true, nullptr, nullptr));
  value->put_IsNull(true);
  return value;
}

namespace detail {
using ValueFactory = tarn::I_Value* (*)(bool, void const*, void const*);

template <ValueFactory TFactory, auto TPut>
struct ScalarMaker {
  template <typename T>
  ValuePtr operator()(T inValue) const {
    ValuePtr value(TFactory(false, nullptr, nullptr));
    ((*value).*TPut)(inValue);
    return value;
  }
};
}  // namespace detail

inline constexpr detail::ScalarMaker<tarn::CreateValueBoolean, &tarn::I_Value::put_Boolean>
    MakeBooleanValue;
inline constexpr detail::ScalarMaker<tarn::CreateValueByte, &tarn::I_Value::put_Byte> MakeByteValue;
inline constexpr detail::ScalarMaker<tarn::CreateValueShort, &tarn::I_Value::put_Short>
    MakeShortValue;
inline constexpr detail::ScalarMaker<tarn::CreateValueUShort, &tarn::I_Value::put_UShort>
    MakeUShortValue;
inline constexpr detail::ScalarMaker<tarn::CreateValueLong, &tarn::I_Value::put_Long> MakeLongValue;
inline constexpr detail::ScalarMaker<tarn::CreateValueULong, &tarn::I_Value::put_ULong>
    MakeULongValue;
inline constexpr detail::ScalarMaker<tarn::CreateValueLLong, &tarn::I_Value::put_LLong>
    MakeLLongValue;
inline constexpr detail::ScalarMaker<tarn::CreateValueULLong, &tarn::I_Value::put_ULLong>
    MakeULLongValue;
inline constexpr detail::ScalarMaker<tarn::CreateValueFloat, &tarn::I_Value::put_Float>
    MakeFloatValue;
inline constexpr detail::ScalarMaker<tarn::CreateValueDouble, &tarn::I_Value::put_Double>
    MakeDoubleValue;

// A String value; its declared size is that of the text with its terminator.
ValuePtr MakeStringValue(tarn::String&& ioText);
// The same of a UTF-8 text, NUL bytes included.
ValuePtr MakeStringValue(std::string_view inText);

// Bytes, kept whole, as a FixedBinary value.
ValuePtr MakeBlobValue(void const* inBytes, idx_t inSize);

ValuePtr MakeDateValue(duckdb_date inDate);
// To the millisecond; what is below is dropped. The timestamp has parts (duckdb_c/Timestamps.h).
ValuePtr MakeDateTimeValue(duckdb_timestamp inTimestamp);

}  // namespace lumora
