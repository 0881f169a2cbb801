#pragma once

#include <duckdb.h>

#include <cstdint>
#include <optional>

#include "tarn/Value.h"

// Dates and times of the calendar as DuckDB stores them. Pure; any thread.
//
// Hazard: DuckDB's own functions for this report a date that is none, or one out of its range, by a
// C++ exception across a C call, which a program of another compiler than DuckDB's cannot catch: a
// host's value would end the process. Hence the arithmetic is here.
namespace lumora {

// Year 0 is 1 BC. Nothing for a day that is not in the calendar and for one outside of
// -5877641-06-25 to 5881580-07-10.
std::optional<duckdb_date> MakeDate(std::int32_t inYear, std::int16_t inMonth, std::int16_t inDay);

// Nothing for such a day, for an hour, minute or second outside of -128 to 127 (any of them may be
// more than a clock shows, and carries over), and where microseconds since 1970 do not reach; that
// the day's beginning must be within their reach is DuckDB's rule.
std::optional<duckdb_timestamp> MakeTimestamp(tarn::DateTimeParts const& inParts);

}  // namespace lumora
