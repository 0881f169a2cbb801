#pragma once

#include <duckdb.h>

#include <cstddef>
#include <cstdint>

// DuckDB's text of a value, written from the bits that stand in a vector. Each function writes
// ASCII to outText, which has room for kTextCapacity bytes, and returns the end of the text; null
// when the value is outside of what DuckDB itself can make (the caller then asks DuckDB). Pure; any
// thread.
namespace lumora::text_format {

inline constexpr std::size_t kTextCapacity = 128;

char* FormatDate(duckdb_date inDate, char* outText) noexcept;
char* FormatTime(duckdb_time inTime, char* outText) noexcept;
char* FormatTimeNs(std::int64_t inNanos, char* outText) noexcept;
char* FormatTimeTz(duckdb_time_tz inTime, char* outText) noexcept;

char* FormatTimestamp(duckdb_timestamp inTimestamp, char* outText) noexcept;
char* FormatTimestampS(duckdb_timestamp_s inTimestamp, char* outText) noexcept;
char* FormatTimestampMs(duckdb_timestamp_ms inTimestamp, char* outText) noexcept;
char* FormatTimestampNs(duckdb_timestamp_ns inTimestamp, char* outText) noexcept;
// In UTC, with the offset.
char* FormatTimestampTz(duckdb_timestamp inTimestamp, char* outText) noexcept;

char* FormatInterval(duckdb_interval inInterval, char* outText) noexcept;
char* FormatHugeint(duckdb_hugeint inValue, char* outText) noexcept;
char* FormatUhugeint(duckdb_uhugeint inValue, char* outText) noexcept;
// inValue: as it stands in a vector, with the highest bit flipped.
char* FormatUuid(duckdb_hugeint inValue, char* outText) noexcept;

// inWidth: digits at most; inScale: digits behind the point. Where these are all of them, nothing
// stands before the point (".5").
char* FormatDecimal(duckdb_hugeint inValue, std::uint8_t inWidth, std::uint8_t inScale,
                    char* outText) noexcept;

}  // namespace lumora::text_format
