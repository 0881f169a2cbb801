#include "cursor/ValueConversion.h"

#include <fmt/format.h>

#include <array>
#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "cursor/CursorErrors.h"
#include "cursor/TextFormat.h"
#include "cursor/VariantEnvelope.h"
#include "duckdb_c/CellValues.h"
#include "duckdb_c/Handles.h"
#include "duckdb_c/Timestamps.h"
#include "duckdb_c/ValueText.h"
#include "duckdb_c/VariantReader.h"
#include "duckdb_c/VariantValue.h"
#include "tarn/Exceptions.h"

namespace lumora {

namespace {

// Hazard: what DuckDB could not give would be taken for NULL, or for an empty text.
[[noreturn]] void ThrowUnreadable() {
  throw tarn::lsql::xDuckDBError(cursor_errors::kCode, cursor_errors::kUnknownDatabase,
                                 cursor_errors::kUnreadable);
}

std::string TextOf(duckdb_value inValue) {
  std::optional<std::string> text = duckdb_c::GetValueText(inValue);
  if (!text) ThrowUnreadable();
  return *std::move(text);
}

using Conversion = ValuePtr (*)(duckdb_value);
using VariantConversion = ValuePtr (*)(duckdb_value, std::uint32_t);

template <auto TMake, auto TGet>
ValuePtr Scalar(duckdb_value inValue) {
  return TMake(TGet(inValue));
}

ValuePtr Text(duckdb_value inValue) { return MakeStringValue(std::string_view(TextOf(inValue))); }

ValuePtr Null(duckdb_value) { return MakeNullValue(); }

ValuePtr Blob(duckdb_value inValue) {
  duckdb_blob const blob = duckdb_get_blob(inValue);
  duckdb_c::BytesHandle const bytes(blob.data);
  return MakeBlobValue(blob.data, blob.size);
}

// By DuckDB type identifier; what is not listed is text.
constexpr auto kConversions = [] {
  std::array<Conversion, duckdb_c::kTypeVariant> table{};
  table.fill(Text);
  table[DUCKDB_TYPE_BOOLEAN] = Scalar<MakeBooleanValue, duckdb_get_bool>;
  table[DUCKDB_TYPE_TINYINT] = Scalar<MakeShortValue, duckdb_get_int16>;
  table[DUCKDB_TYPE_SMALLINT] = Scalar<MakeShortValue, duckdb_get_int16>;
  table[DUCKDB_TYPE_INTEGER] = Scalar<MakeLongValue, duckdb_get_int32>;
  table[DUCKDB_TYPE_BIGINT] = Scalar<MakeLLongValue, duckdb_get_int64>;
  table[DUCKDB_TYPE_UTINYINT] = Scalar<MakeByteValue, duckdb_get_uint8>;
  table[DUCKDB_TYPE_USMALLINT] = Scalar<MakeUShortValue, duckdb_get_uint16>;
  table[DUCKDB_TYPE_UINTEGER] = Scalar<MakeULongValue, duckdb_get_uint32>;
  table[DUCKDB_TYPE_UBIGINT] = Scalar<MakeULLongValue, duckdb_get_uint64>;
  table[DUCKDB_TYPE_FLOAT] = Scalar<MakeFloatValue, duckdb_get_float>;
  table[DUCKDB_TYPE_DOUBLE] = Scalar<MakeDoubleValue, duckdb_get_double>;
  table[DUCKDB_TYPE_DECIMAL] = Scalar<MakeDoubleValue, duckdb_get_double>;
  table[DUCKDB_TYPE_BLOB] = Blob;
  table[DUCKDB_TYPE_SQLNULL] = Null;
  return table;
}();

template <Conversion TConvert>
ValuePtr Typed(duckdb_value inChild, std::uint32_t) {
  return TConvert(inChild);
}

template <bool TValue>
ValuePtr Constant(duckdb_value, std::uint32_t) {
  return MakeBooleanValue(TValue);
}

ValuePtr Int8(duckdb_value inChild, std::uint32_t inCode) {
  return MakeVariantEnvelope(VariantTypeName(inCode),
                             fmt::to_string(static_cast<int>(duckdb_get_int8(inChild))));
}

ValuePtr Envelope(duckdb_value inChild, std::uint32_t inCode) {
  return MakeVariantEnvelope(VariantTypeName(inCode), TextOf(inChild));
}

// A TIMESTAMP_MS without parts for a DateTime (the infinities, and what lies before DuckDB's first
// day) is an envelope. DuckDB cannot be asked for its text: that call, too, lets an exception out.
ValuePtr DateTime(duckdb_value inChild, std::uint32_t inCode) {
  if (duckdb_c::GetValueTypeId(inChild) == DUCKDB_TYPE_TIMESTAMP_MS) {
    constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max() / 1000;
    duckdb_timestamp_ms const stamp = duckdb_get_timestamp_ms(inChild);
    bool const fits = stamp.millis >= -kGreatest && stamp.millis <= kGreatest;
    if (!fits || !duckdb_c::HasParts({stamp.millis * 1000})) {
      char text[text_format::kTextCapacity];
      char const* const end = text_format::FormatTimestampMs(stamp, text);
      if (!end) ThrowUnreadable();
      return MakeVariantEnvelope(VariantTypeName(inCode),
                                 std::string_view(text, static_cast<std::size_t>(end - text)));
    }
  }
  return MakeDateTimeValue(duckdb_get_timestamp(inChild));
}

// By variant type code; what is not listed, and every code past the end, is an envelope.
constexpr auto kVariantConversions = [] {
  std::array<VariantConversion, duckdb_c::kVariantCodeCount> table{};
  table.fill(Envelope);
  auto const set = [&table](duckdb_c::VariantCode inCode, VariantConversion inConversion) {
    table[static_cast<std::size_t>(inCode)] = inConversion;
  };
  using enum duckdb_c::VariantCode;
  set(kNull, Typed<Null>);
  set(kTrue, Constant<true>);
  set(kFalse, Constant<false>);
  set(kInt8, Int8);
  set(kInt16, Typed<Scalar<MakeShortValue, duckdb_get_int16>>);
  set(kInt32, Typed<Scalar<MakeLongValue, duckdb_get_int32>>);
  set(kInt64, Typed<Scalar<MakeLLongValue, duckdb_get_int64>>);
  set(kUInt8, Typed<Scalar<MakeByteValue, duckdb_get_uint8>>);
  set(kUInt16, Typed<Scalar<MakeUShortValue, duckdb_get_uint16>>);
  set(kUInt32, Typed<Scalar<MakeULongValue, duckdb_get_uint32>>);
  set(kUInt64, Typed<Scalar<MakeULLongValue, duckdb_get_uint64>>);
  set(kFloat, Typed<Scalar<MakeFloatValue, duckdb_get_float>>);
  set(kDouble, Typed<Scalar<MakeDoubleValue, duckdb_get_double>>);
  set(kVarchar, Typed<Text>);
  set(kBlob, Typed<Blob>);
  set(kDate, Typed<Scalar<MakeDateValue, duckdb_get_date>>);
  set(kTimestampMilis, DateTime);
  return table;
}();

}  // namespace

ValuePtr ConvertDuckDBValue(duckdb_value inValue, std::uint32_t const* inVariantType) {
  if (!inValue || duckdb_is_null_value(inValue)) return MakeNullValue();
  duckdb_c::TypeId const type = duckdb_c::GetValueTypeId(inValue);
  if (type < kConversions.size()) return kConversions[type](inValue);
  if (type == duckdb_c::kTypeVariant && inVariantType) {
    duckdb_c::ValueHandle const child = duckdb_c::GetVariantChild(inValue);
    if (!child) ThrowUnreadable();
    return ConvertVariantValue(child.get(), *inVariantType);
  }
  return Text(inValue);
}

ValuePtr ConvertVariantValue(duckdb_value inChild, std::uint32_t inVariantType) {
  if (!inChild || duckdb_is_null_value(inChild)) return MakeNullValue();
  if (inVariantType < kVariantConversions.size()) {
    return kVariantConversions[inVariantType](inChild, inVariantType);
  }
  return Envelope(inChild, inVariantType);
}

ValuePtr ConvertCell(duckdb_data_chunk inChunk, idx_t inColumn, idx_t inRow,
                     duckdb_c::TypeId inType) {
  duckdb_c::ValueHandle const value = duckdb_c::GetCellValue(inChunk, inColumn, inRow);
  if (!value) ThrowUnreadable();
  if (inType != duckdb_c::kTypeVariant) return ConvertDuckDBValue(value.get(), nullptr);
  std::uint32_t const code = duckdb_c::GetVariantType(value.get());
  // Signed: the "no code" of 2^32 - 1 counts as a code.
  bool const hasCode =
      static_cast<std::int32_t>(code) < static_cast<std::int32_t>(duckdb_c::kVariantCodeCount);
  return ConvertDuckDBValue(value.get(), hasCode ? &code : nullptr);
}

}  // namespace lumora
