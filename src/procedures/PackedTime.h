#pragma once

#include <duckdb.h>

#include <cstdint>

// Dates and times as the host's value constructors take them. A part that does not fit its field is
// cut to it, so that it never spills into its neighbour.
namespace lumora::procedures {

// Day in bits 0-4, month in 5-8, the low 23 bits of the year in 9-31.
inline std::uint32_t PackDate(duckdb_date_struct const& inDate) noexcept {
  return (static_cast<std::uint32_t>(inDate.day) & 0x1F) |
         (static_cast<std::uint32_t>(inDate.month) & 0x0F) << 5 |
         static_cast<std::uint32_t>(inDate.year) << 9;
}

// Milliseconds (the rest of the microseconds is dropped) in bits 0-14, seconds in 15-20, minutes in
// 21-26, hours in 27-31.
inline std::uint32_t PackTime(duckdb_time_struct const& inTime) noexcept {
  return (static_cast<std::uint32_t>(inTime.micros / 1000) & 0x7FFF) |
         (static_cast<std::uint32_t>(inTime.sec) & 0x3F) << 15 |
         (static_cast<std::uint32_t>(inTime.min) & 0x3F) << 21 |
         static_cast<std::uint32_t>(inTime.hour) << 27;
}

// The date in the high half, the time in the low half.
inline std::uint64_t PackDateTime(duckdb_timestamp_struct const& inTimestamp) noexcept {
  return static_cast<std::uint64_t>(PackDate(inTimestamp.date)) << 32 | PackTime(inTimestamp.time);
}

}  // namespace lumora::procedures
