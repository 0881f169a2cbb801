#include <array>

#include "cursor/ColumnReader.h"
#include "cursor/TextFormat.h"
#include "cursor/VariantEnvelope.h"
#include "duckdb_c/JsonText.h"

// Reads VARIANT cells from the bytes of their vector: typed values where the host has a kind, else
// the envelope with DuckDB's text, written here where the bits allow it.
namespace lumora {

namespace {

using duckdb_c::VariantCell;
using CellFunction = NewValue (*)(ColumnData& ioColumn, idx_t inRow, VariantCell const& inCell);

NewValue Envelope(VariantCell const& inCell, std::string_view inText) {
  return MakeVariantEnvelope(VariantTypeName(static_cast<std::uint32_t>(inCell.mCode)), inText)
      .detach();
}

// Bits that this library has no text for: DuckDB has.
NewValue ByDefinition(ColumnData& ioColumn, idx_t inRow, VariantCell const&) {
  return ReadByDefinition(ioColumn, inRow);
}

NewValue Null(ColumnData&, idx_t, VariantCell const&) { return tarn::NewValueNull(); }

template <bool TValue>
NewValue Constant(ColumnData&, idx_t, VariantCell const&) {
  return tarn::NewValueBoolean(TValue);
}

template <typename T, auto TMake>
NewValue Typed(ColumnData& ioColumn, idx_t inRow, VariantCell const& inCell) {
  if (inCell.mBytes.size() != sizeof(T)) return ByDefinition(ioColumn, inRow, inCell);
  return TMake(inCell.As<T>());
}

NewValue Text(ColumnData&, idx_t, VariantCell const& inCell) { return NewText(inCell.mBytes); }

NewValue Blob(ColumnData&, idx_t, VariantCell const& inCell) {
  return MakeBlobValue(inCell.mBytes.data(), inCell.mBytes.size()).detach();
}

NewValue NewDate(duckdb_date inDate) { return MakeDateValue(inDate).detach(); }

NewValue DateTimeOfMillis(ColumnData& ioColumn, idx_t inRow, VariantCell const& inCell) {
  // A VARIANT keeps milliseconds as DuckDB does in memory; far from 1970 the microseconds overflow,
  // which is for the definition to deal with.
  constexpr std::int64_t kSafe = std::int64_t{1} << 52;
  auto const millis = inCell.As<std::int64_t>();
  if (inCell.mBytes.size() != sizeof millis || millis < -kSafe || millis > kSafe) {
    return ByDefinition(ioColumn, inRow, inCell);
  }
  return MakeDateTimeValue({millis * 1000}).detach();
}

template <typename T, char* (*TFormat)(T, char*) noexcept>
NewValue Formatted(ColumnData& ioColumn, idx_t inRow, VariantCell const& inCell) {
  char text[text_format::kTextCapacity];
  char const* const end =
      inCell.mBytes.size() == sizeof(T) ? TFormat(inCell.As<T>(), text) : nullptr;
  if (!end) return ByDefinition(ioColumn, inRow, inCell);
  return Envelope(inCell, std::string_view(text, static_cast<std::size_t>(end - text)));
}

char* FormatInt8(std::int8_t inValue, char* outText) noexcept {
  duckdb_hugeint const wide = {static_cast<std::uint64_t>(inValue), inValue < 0 ? -1 : 0};
  return text_format::FormatHugeint(wide, outText);
}

NewValue Decimal(ColumnData&, idx_t, VariantCell const& inCell) {
  char text[text_format::kTextCapacity];
  char const* const end = text_format::FormatDecimal(duckdb_c::GetVariantDecimal(inCell),
                                                     inCell.mWidth, inCell.mScale, text);
  return Envelope(inCell, std::string_view(text, static_cast<std::size_t>(end - text)));
}

NewValue Json(ColumnData& ioColumn, idx_t inRow, VariantCell const& inCell) {
  if (!Render(ioColumn, duckdb_c::Rendering::kJson, inRow)) {
    return ByDefinition(ioColumn, inRow, inCell);
  }
  return Envelope(inCell, duckdb_c::WithWholeNumbers(ioColumn.mText.get_Text(inRow)));
}

// By variant type code.
constexpr auto kCellFunctions = [] {
  using namespace text_format;
  std::array<CellFunction, duckdb_c::kVariantCodeCount> table{};
  table.fill(ByDefinition);
  auto const set = [&table](duckdb_c::VariantCode inCode, CellFunction inFunction) {
    table[static_cast<std::size_t>(inCode)] = inFunction;
  };
  using enum duckdb_c::VariantCode;
  set(kNull, Null);
  set(kTrue, Constant<true>);
  set(kFalse, Constant<false>);
  set(kInt8, Formatted<std::int8_t, FormatInt8>);
  set(kInt16, Typed<std::int16_t, tarn::NewValueShort>);
  set(kInt32, Typed<std::int32_t, tarn::NewValueLong>);
  set(kInt64, Typed<std::int64_t, tarn::NewValueLLong>);
  set(kInt128, Formatted<duckdb_hugeint, FormatHugeint>);
  set(kUInt8, Typed<std::uint8_t, tarn::NewValueByte>);
  set(kUInt16, Typed<std::uint16_t, tarn::NewValueUShort>);
  set(kUInt32, Typed<std::uint32_t, tarn::NewValueULong>);
  set(kUInt64, Typed<std::uint64_t, tarn::NewValueULLong>);
  set(kUInt128, Formatted<duckdb_uhugeint, FormatUhugeint>);
  set(kFloat, Typed<float, tarn::NewValueFloat>);
  set(kDouble, Typed<double, tarn::NewValueDouble>);
  set(kDecimal, Decimal);
  set(kVarchar, Text);
  set(kBlob, Blob);
  set(kUuid, Formatted<duckdb_hugeint, FormatUuid>);
  set(kDate, Typed<duckdb_date, NewDate>);
  set(kTimeMicros, Formatted<duckdb_time, FormatTime>);
  set(kTimeNanos, Formatted<std::int64_t, FormatTimeNs>);
  set(kTimestampSec, Formatted<duckdb_timestamp_s, FormatTimestampS>);
  set(kTimestampMilis, DateTimeOfMillis);
  set(kTimestampMicros, Formatted<duckdb_timestamp, FormatTimestamp>);
  set(kTimestampNanos, Formatted<duckdb_timestamp_ns, FormatTimestampNs>);
  set(kTimeMicrosTz, Formatted<duckdb_time_tz, FormatTimeTz>);
  set(kTimestampMicrosTz, Formatted<duckdb_timestamp, FormatTimestampTz>);
  set(kInterval, Formatted<duckdb_interval, FormatInterval>);
  set(kObject, Json);
  set(kArray, Json);
  return table;
}();

}  // namespace

NewValue ReadVariant(ColumnData& ioColumn, idx_t inRow) {
  std::optional<VariantCell> const cell = ioColumn.mVariant.Read(inRow);
  if (!cell) return ReadByDefinition(ioColumn, inRow);
  return kCellFunctions[static_cast<std::size_t>(cell->mCode)](ioColumn, inRow, *cell);
}

}  // namespace lumora
