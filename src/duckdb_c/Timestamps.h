#pragma once

#include <duckdb.h>

#include <cstdint>
#include <limits>

namespace lumora::duckdb_c {

// Whether DuckDB can take a timestamp apart. Hazard: for the infinities, and for what lies before
// its first whole day, duckdb_from_timestamp lets an exception out of a C function. Remedy: ask
// before. Pure; any thread.
constexpr bool HasParts(duckdb_timestamp inTimestamp) noexcept {
  using Limits = std::numeric_limits<std::int64_t>;
  constexpr std::int64_t kDay = 86'400'000'000;
  constexpr std::int64_t kFirst = Limits::min() / kDay * kDay;
  return inTimestamp.micros >= kFirst && inTimestamp.micros != Limits::max();
}

}  // namespace lumora::duckdb_c
