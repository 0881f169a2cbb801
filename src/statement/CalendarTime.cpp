#include "statement/CalendarTime.h"

#include <chrono>
#include <limits>

namespace lumora {
namespace {

constexpr std::int64_t kYearsOfACycle = 400;
constexpr std::int64_t kDaysOfACycle = 146'097;
constexpr std::int64_t kMicrosOfASecond = 1'000'000;
constexpr std::int64_t kMicrosOfADay = 86'400 * kMicrosOfASecond;

// The largest number of either sign stands for an infinity.
constexpr std::int64_t kLastDay = std::numeric_limits<std::int32_t>::max() - 1;
constexpr std::int64_t kLastMicrosecond = std::numeric_limits<std::int64_t>::max() - 1;

// Days since 1970. The standard library's calendar reaches less far than DuckDB's, and repeats
// every 400 years.
std::optional<std::int64_t> DayNumber(std::int32_t inYear, std::int16_t inMonth,
                                      std::int16_t inDay) {
  if (inMonth < 1 || inMonth > 12 || inDay < 1 || inDay > 31) return std::nullopt;
  std::int64_t cycle = inYear / kYearsOfACycle;
  std::int64_t rest = inYear % kYearsOfACycle;
  if (rest < 0) {
    --cycle;
    rest += kYearsOfACycle;
  }
  auto const day = std::chrono::year(static_cast<int>(rest)) / int{inMonth} / int{inDay};
  if (!day.ok()) return std::nullopt;
  return cycle * kDaysOfACycle + std::chrono::sys_days(day).time_since_epoch().count();
}

bool IsWithin(std::int64_t inNumber, std::int64_t inLimit) {
  return inNumber >= -inLimit && inNumber <= inLimit;
}

bool FitsInByte(std::int16_t inPart) { return inPart >= INT8_MIN && inPart <= INT8_MAX; }

}  // namespace

std::optional<duckdb_date> MakeDate(std::int32_t inYear, std::int16_t inMonth, std::int16_t inDay) {
  auto const day = DayNumber(inYear, inMonth, inDay);
  if (!day || !IsWithin(*day, kLastDay)) return std::nullopt;
  return duckdb_date{static_cast<std::int32_t>(*day)};
}

std::optional<duckdb_timestamp> MakeTimestamp(tarn::DateTimeParts const& inParts) {
  auto const day = DayNumber(inParts.mYear, inParts.mMonth, inParts.mDay);
  if (!day || !IsWithin(*day, kLastMicrosecond / kMicrosOfADay)) return std::nullopt;
  if (!FitsInByte(inParts.mHour) || !FitsInByte(inParts.mMinute) || !FitsInByte(inParts.mSecond)) {
    return std::nullopt;
  }
  std::int64_t const seconds =
      (std::int64_t{inParts.mHour} * 60 + inParts.mMinute) * 60 + inParts.mSecond;
  std::int64_t const time = seconds * kMicrosOfASecond + std::int64_t{inParts.mMillisecond} * 1000;
  std::int64_t const start = *day * kMicrosOfADay;
  bool const overflows =
      time > 0 ? start > kLastMicrosecond - time : start < -kLastMicrosecond - time;
  if (overflows) return std::nullopt;
  return duckdb_timestamp{start + time};
}

}  // namespace lumora
