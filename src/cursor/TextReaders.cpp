#include <array>

#include "cursor/ColumnReader.h"
#include "cursor/TextFormat.h"

namespace lumora {

namespace {

template <typename T, char* (*TFormat)(T, char*) noexcept>
NewValue ReadFormatted(ColumnData& ioColumn, idx_t inRow) {
  char text[text_format::kTextCapacity];
  char const* const end = TFormat(static_cast<T const*>(ioColumn.mValues)[inRow], text);
  if (!end) return ReadByDefinition(ioColumn, inRow);
  return NewText(std::string_view(text, static_cast<std::size_t>(end - text)));
}

NewValue ReadVarchar(ColumnData& ioColumn, idx_t inRow) {
  auto const& text = static_cast<duckdb_string_t const*>(ioColumn.mValues)[inRow];
  std::uint32_t const length = text.value.inlined.length;
  bool const isInlined = length <= sizeof(text.value.inlined.inlined);
  return NewText(
      std::string_view(isInlined ? text.value.inlined.inlined : text.value.pointer.ptr, length));
}

}  // namespace

ReadFunction FindTextReader(duckdb_c::TypeId inType) noexcept {
  using namespace text_format;
  switch (inType) {
    case DUCKDB_TYPE_VARCHAR:
      return ReadVarchar;
    case DUCKDB_TYPE_DATE:
      return ReadFormatted<duckdb_date, FormatDate>;
    case DUCKDB_TYPE_TIME:
      return ReadFormatted<duckdb_time, FormatTime>;
    case DUCKDB_TYPE_TIME_NS:
      return ReadFormatted<std::int64_t, FormatTimeNs>;
    case DUCKDB_TYPE_TIME_TZ:
      return ReadFormatted<duckdb_time_tz, FormatTimeTz>;
    case DUCKDB_TYPE_TIMESTAMP:
      return ReadFormatted<duckdb_timestamp, FormatTimestamp>;
    case DUCKDB_TYPE_TIMESTAMP_S:
      return ReadFormatted<duckdb_timestamp_s, FormatTimestampS>;
    case DUCKDB_TYPE_TIMESTAMP_MS:
      return ReadFormatted<duckdb_timestamp_ms, FormatTimestampMs>;
    case DUCKDB_TYPE_TIMESTAMP_NS:
      return ReadFormatted<duckdb_timestamp_ns, FormatTimestampNs>;
    case DUCKDB_TYPE_TIMESTAMP_TZ:
      return ReadFormatted<duckdb_timestamp, FormatTimestampTz>;
    case DUCKDB_TYPE_INTERVAL:
      return ReadFormatted<duckdb_interval, FormatInterval>;
    case DUCKDB_TYPE_HUGEINT:
      return ReadFormatted<duckdb_hugeint, FormatHugeint>;
    case DUCKDB_TYPE_UHUGEINT:
      return ReadFormatted<duckdb_uhugeint, FormatUhugeint>;
    case DUCKDB_TYPE_UUID:
      return ReadFormatted<duckdb_hugeint, FormatUuid>;
    default:
      return nullptr;
  }
}

}  // namespace lumora
