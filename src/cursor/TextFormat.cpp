#include "cursor/TextFormat.h"

#include <cstring>
#include <limits>
#include <string_view>

namespace lumora::text_format {

namespace {

__extension__ using UInt128 = unsigned __int128;

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::int64_t kMicros = 1000000;
constexpr std::int64_t kNanos = 1000000000;

char* Put(char* outText, std::string_view inText) noexcept {
  std::memcpy(outText, inText.data(), inText.size());
  return outText + inText.size();
}

char* PutTwo(char* outText, std::int64_t inNumber) noexcept {
  outText[0] = static_cast<char>('0' + inNumber / 10);
  outText[1] = static_cast<char>('0' + inNumber % 10);
  return outText + 2;
}

// At least inDigits digits, zeros in front.
char* PutNumber(char* outText, std::uint64_t inNumber, int inDigits = 1) noexcept {
  char digits[20];
  int count = 0;
  for (; inNumber != 0 || count < inDigits; inNumber /= 10) {
    digits[count++] = static_cast<char>('0' + inNumber % 10);
  }
  while (count != 0) *outText++ = digits[--count];
  return outText;
}

char* PutSigned(char* outText, std::int64_t inNumber) noexcept {
  if (inNumber >= 0) return PutNumber(outText, static_cast<std::uint64_t>(inNumber));
  *outText++ = '-';
  return PutNumber(outText, 0 - static_cast<std::uint64_t>(inNumber));
}

// A point and the digits of a fraction below one, without the zeros at the end; nothing for 0.
char* PutFraction(char* outText, std::int64_t inFraction, int inDigits) noexcept {
  if (inFraction == 0) return outText;
  for (; inFraction % 10 == 0; inFraction /= 10) --inDigits;
  *outText++ = '.';
  return PutNumber(outText, static_cast<std::uint64_t>(inFraction), inDigits);
}

char* PutClock(char* outText, std::int64_t inSeconds) noexcept {
  std::int64_t const hours = inSeconds / 3600;
  outText = hours < 100 ? PutTwo(outText, hours) : PutSigned(outText, hours);
  *outText++ = ':';
  outText = PutTwo(outText, inSeconds / 60 % 60);
  *outText++ = ':';
  return PutTwo(outText, inSeconds % 60);
}

struct CivilDate {
  std::int64_t mYear;  // 0 = 1 BC
  unsigned mMonth;
  unsigned mDay;
};

// Days since 1970-01-01 in the proleptic Gregorian calendar. The year is counted from March, so
// that the leap day is its last, and in eras of 400 years, which all have 146097 days.
CivilDate FromDays(std::int64_t inDays) noexcept {
  std::int64_t const days = inDays + 719468;
  std::int64_t const era = (days >= 0 ? days : days - 146096) / 146097;
  auto const dayOfEra = static_cast<unsigned>(days - era * 146097);
  unsigned const yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  unsigned const dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  unsigned const month = (5 * dayOfYear + 2) / 153;
  unsigned const day = dayOfYear - (153 * month + 2) / 5 + 1;
  return {era * 400 + yearOfEra + (month >= 10 ? 1 : 0), month < 10 ? month + 3 : month - 9, day};
}

char* PutDate(char* outText, std::int64_t inDays) noexcept {
  CivilDate const date = FromDays(inDays);
  bool const isBC = date.mYear <= 0;
  outText = PutNumber(outText, static_cast<std::uint64_t>(isBC ? 1 - date.mYear : date.mYear), 4);
  *outText++ = '-';
  outText = PutTwo(outText, date.mMonth);
  *outText++ = '-';
  outText = PutTwo(outText, date.mDay);
  return isBC ? Put(outText, " (BC)") : outText;
}

// The end of the text when the value is one of the two infinities, else null.
template <typename T>
char* PutInfinity(char* outText, T inValue) noexcept {
  constexpr T kInfinity = std::numeric_limits<T>::max();
  if (inValue == kInfinity) return Put(outText, "infinity");
  if (inValue == -kInfinity) return Put(outText, "-infinity");
  return nullptr;
}

// A count of units since 1970 as date and time; inDigits: digits of a second that the unit has.
char* PutTimestamp(char* outText, std::int64_t inValue, std::int64_t inUnitsPerSecond,
                   int inDigits) noexcept {
  if (char* const end = PutInfinity(outText, inValue)) return end;
  std::int64_t const perDay = kSecondsPerDay * inUnitsPerSecond;
  std::int64_t days = inValue / perDay;
  std::int64_t rest = inValue % perDay;
  if (rest < 0) {
    rest += perDay;
    --days;
  }
  if (days < std::numeric_limits<std::int32_t>::min() ||
      days > std::numeric_limits<std::int32_t>::max()) {
    return nullptr;
  }
  outText = PutDate(outText, days);
  *outText++ = ' ';
  outText = PutClock(outText, rest / inUnitsPerSecond);
  return PutFraction(outText, rest % inUnitsPerSecond, inDigits);
}

char* PutUnsigned128(char* outText, UInt128 inValue) noexcept {
  constexpr std::uint64_t kChunk = 10000000000000000000U;  // 10^19
  if (inValue < kChunk) return PutNumber(outText, static_cast<std::uint64_t>(inValue));
  UInt128 const high = inValue / kChunk;
  outText = PutUnsigned128(outText, high);
  return PutNumber(outText, static_cast<std::uint64_t>(inValue % kChunk), 19);
}

UInt128 Magnitude(duckdb_hugeint inValue) noexcept {
  UInt128 const bits =
      static_cast<UInt128>(static_cast<std::uint64_t>(inValue.upper)) << 64 | inValue.lower;
  return inValue.upper < 0 ? 0 - bits : bits;
}

char* PutUnit(char* outText, char const* inStart, std::int64_t inCount,
              std::string_view inName) noexcept {
  if (inCount == 0) return outText;
  if (outText != inStart) *outText++ = ' ';
  outText = Put(PutSigned(outText, inCount), inName);
  if (inCount != 1 && inCount != -1) *outText++ = 's';
  return outText;
}

}  // namespace

char* FormatDate(duckdb_date inDate, char* outText) noexcept {
  if (char* const end = PutInfinity(outText, inDate.days)) return end;
  return PutDate(outText, inDate.days);
}

char* FormatTime(duckdb_time inTime, char* outText) noexcept {
  if (inTime.micros < 0 || inTime.micros > kSecondsPerDay * kMicros) return nullptr;
  return PutFraction(PutClock(outText, inTime.micros / kMicros), inTime.micros % kMicros, 6);
}

char* FormatTimeNs(std::int64_t inNanos, char* outText) noexcept {
  if (inNanos < 0 || inNanos > kSecondsPerDay * kNanos) return nullptr;
  return PutFraction(PutClock(outText, inNanos / kNanos), inNanos % kNanos, 9);
}

// The low 24 bits hold how far the offset is below the greatest one, so that the bits sort by time.
// DuckDB leaves minutes and seconds of the offset out one by one when they are 0.
char* FormatTimeTz(duckdb_time_tz inTime, char* outText) noexcept {
  constexpr std::int64_t kGreatestOffset = 16 * 3600 - 1;
  char* end = FormatTime({static_cast<std::int64_t>(inTime.bits >> 24)}, outText);
  std::int64_t const offset = kGreatestOffset - static_cast<std::int64_t>(inTime.bits & 0xFFFFFF);
  if (!end || offset < -kGreatestOffset) return nullptr;
  *end++ = offset < 0 ? '-' : '+';
  std::int64_t const seconds = offset < 0 ? -offset : offset;
  end = PutTwo(end, seconds / 3600);
  for (std::int64_t const part : {seconds / 60 % 60, seconds % 60}) {
    if (part == 0) continue;
    *end++ = ':';
    end = PutTwo(end, part);
  }
  return end;
}

char* FormatTimestamp(duckdb_timestamp inTimestamp, char* outText) noexcept {
  return PutTimestamp(outText, inTimestamp.micros, kMicros, 6);
}

char* FormatTimestampS(duckdb_timestamp_s inTimestamp, char* outText) noexcept {
  return PutTimestamp(outText, inTimestamp.seconds, 1, 0);
}

char* FormatTimestampMs(duckdb_timestamp_ms inTimestamp, char* outText) noexcept {
  return PutTimestamp(outText, inTimestamp.millis, 1000, 3);
}

char* FormatTimestampNs(duckdb_timestamp_ns inTimestamp, char* outText) noexcept {
  return PutTimestamp(outText, inTimestamp.nanos, kNanos, 9);
}

char* FormatTimestampTz(duckdb_timestamp inTimestamp, char* outText) noexcept {
  if (char* const end = PutInfinity(outText, inTimestamp.micros)) return end;
  char* const end = FormatTimestamp(inTimestamp, outText);
  return end ? Put(end, "+00") : nullptr;
}

char* FormatInterval(duckdb_interval inInterval, char* outText) noexcept {
  char* end = PutUnit(outText, outText, inInterval.months / 12, " year");
  end = PutUnit(end, outText, inInterval.months % 12, " month");
  end = PutUnit(end, outText, inInterval.days, " day");
  if (inInterval.micros == 0) return end == outText ? Put(end, "00:00:00") : end;
  if (end != outText) *end++ = ' ';
  if (inInterval.micros < 0) *end++ = '-';
  // The smallest count has no positive twin: whole and fraction are turned positive one by one.
  std::int64_t const sign = inInterval.micros < 0 ? -1 : 1;
  end = PutClock(end, inInterval.micros / kMicros * sign);
  return PutFraction(end, inInterval.micros % kMicros * sign, 6);
}

char* FormatHugeint(duckdb_hugeint inValue, char* outText) noexcept {
  if (inValue.upper < 0) *outText++ = '-';
  return PutUnsigned128(outText, Magnitude(inValue));
}

char* FormatUhugeint(duckdb_uhugeint inValue, char* outText) noexcept {
  return PutUnsigned128(outText, static_cast<UInt128>(inValue.upper) << 64 | inValue.lower);
}

char* FormatUuid(duckdb_hugeint inValue, char* outText) noexcept {
  constexpr char kDigits[] = "0123456789abcdef";
  std::uint64_t const halves[2] = {
      static_cast<std::uint64_t>(inValue.upper) ^ (std::uint64_t{1} << 63), inValue.lower};
  for (int i = 0; i < 32; ++i) {
    if (i == 8 || i == 12 || i == 16 || i == 20) *outText++ = '-';
    *outText++ = kDigits[halves[i / 16] >> (60 - i % 16 * 4) & 15];
  }
  return outText;
}

char* FormatDecimal(duckdb_hugeint inValue, std::uint8_t inWidth, std::uint8_t inScale,
                    char* outText) noexcept {
  UInt128 power = 1;
  for (int i = 0; i < inScale; ++i) power *= 10;
  UInt128 const magnitude = Magnitude(inValue);
  if (inValue.upper < 0) *outText++ = '-';
  UInt128 const whole = magnitude / power;
  if (inWidth > inScale || whole != 0) outText = PutUnsigned128(outText, whole);
  if (inScale == 0) return outText;
  *outText++ = '.';
  UInt128 rest = magnitude % power;
  for (int i = inScale; i > 0; --i, rest /= 10) {
    outText[i - 1] = static_cast<char>('0' + static_cast<int>(rest % 10));
  }
  return outText + inScale;
}

}  // namespace lumora::text_format
