// The texts that cells are written as, from any bits, against DuckDB's own text of the value.
#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>

#include "cursor/TextFormat.h"
#include "duckdb_c/Handles.h"
#include "support/Input.h"

namespace {

using lumora::duckdb_c::ValueHandle;
using lumora::fuzz::Input;
using lumora::fuzz::Require;
namespace text_format = lumora::text_format;

struct Bits {
  std::int64_t mHigh;
  std::uint64_t mLow;
};

// DuckDB's text; false when it has none. It says so by a C++ exception, across a C call.
bool AskDuckDB(duckdb_value inValue, std::string& outText) {
  try {
    lumora::duckdb_c::TextHandle const text(duckdb_get_varchar(inValue));
    outText = text.get();
    return true;
  } catch (std::exception const&) {
    return false;
  }
}

template <typename TFormat, typename TMake>
void Check(char const* inType, TFormat inFormat, TMake inMake) {
  std::array<char, text_format::kTextCapacity> buffer;
  char* const end = inFormat(buffer.data());
  if (!end) return;
  Require(end <= buffer.data() + buffer.size(), inType);
  ValueHandle const value(inMake());
  std::string const ours(buffer.data(), end);
  std::string theirs;
  if (!AskDuckDB(value.get(), theirs)) return;
  Require(ours == theirs, std::string(inType) + ": " + ours + " is not " + theirs);
}

void CheckDays(Bits inBits) {
  duckdb_date const date{static_cast<std::int32_t>(inBits.mLow)};
  Check(
      "DATE", [&](char* out) { return text_format::FormatDate(date, out); },
      [&] { return duckdb_create_date(date); });
  duckdb_time const time{inBits.mHigh};
  Check(
      "TIME", [&](char* out) { return text_format::FormatTime(time, out); },
      [&] { return duckdb_create_time(time); });
  duckdb_time_ns const nanos{inBits.mHigh};
  Check(
      "TIME_NS", [&](char* out) { return text_format::FormatTimeNs(nanos.nanos, out); },
      [&] { return duckdb_create_time_ns(nanos); });
  duckdb_time_tz const zoned{inBits.mLow};
  Check(
      "TIMETZ", [&](char* out) { return text_format::FormatTimeTz(zoned, out); },
      [&] { return duckdb_create_time_tz_value(zoned); });
}

void CheckMoments(Bits inBits) {
  duckdb_timestamp const micros{inBits.mHigh};
  Check(
      "TIMESTAMP", [&](char* out) { return text_format::FormatTimestamp(micros, out); },
      [&] { return duckdb_create_timestamp(micros); });
  duckdb_timestamp_s const seconds{inBits.mHigh};
  Check(
      "TIMESTAMP_S", [&](char* out) { return text_format::FormatTimestampS(seconds, out); },
      [&] { return duckdb_create_timestamp_s(seconds); });
  duckdb_timestamp_ms const millis{inBits.mHigh};
  Check(
      "TIMESTAMP_MS", [&](char* out) { return text_format::FormatTimestampMs(millis, out); },
      [&] { return duckdb_create_timestamp_ms(millis); });
  duckdb_timestamp_ns const nanos{inBits.mHigh};
  Check(
      "TIMESTAMP_NS", [&](char* out) { return text_format::FormatTimestampNs(nanos, out); },
      [&] { return duckdb_create_timestamp_ns(nanos); });
  Check(
      "TIMESTAMPTZ", [&](char* out) { return text_format::FormatTimestampTz(micros, out); },
      [&] { return duckdb_create_timestamp_tz(micros); });
}

void CheckNumbers(Bits inBits, std::uint8_t inScale) {
  duckdb_hugeint const huge{inBits.mLow, inBits.mHigh};
  Check(
      "HUGEINT", [&](char* out) { return text_format::FormatHugeint(huge, out); },
      [&] { return duckdb_create_hugeint(huge); });
  duckdb_uhugeint const unsignedHuge{inBits.mLow, static_cast<std::uint64_t>(inBits.mHigh)};
  Check(
      "UHUGEINT", [&](char* out) { return text_format::FormatUhugeint(unsignedHuge, out); },
      [&] { return duckdb_create_uhugeint(unsignedHuge); });
  // A vector has the highest bit flipped, a value has not.
  duckdb_hugeint const flipped{inBits.mLow, inBits.mHigh ^ INT64_MIN};
  Check(
      "UUID", [&](char* out) { return text_format::FormatUuid(flipped, out); },
      [&] { return duckdb_create_uuid(unsignedHuge); });
  std::uint8_t const width = static_cast<std::uint8_t>(inScale % 18 + 1);
  std::uint8_t const scale = static_cast<std::uint8_t>(inScale / 18 % (width + 1));
  std::int64_t limit = 1;
  for (int i = 0; i < width; ++i) limit *= 10;
  duckdb_hugeint const digits{static_cast<std::uint64_t>(inBits.mHigh % limit),
                              inBits.mHigh % limit < 0 ? -1 : 0};
  Check(
      "DECIMAL", [&](char* out) { return text_format::FormatDecimal(digits, width, scale, out); },
      [&] {
        return duckdb_create_decimal({width, scale, digits});
      });
}

void CheckInterval(Bits inBits) {
  duckdb_interval const interval{static_cast<std::int32_t>(inBits.mLow),
                                 static_cast<std::int32_t>(inBits.mLow >> 32), inBits.mHigh};
  Check(
      "INTERVAL", [&](char* out) { return text_format::FormatInterval(interval, out); },
      [&] { return duckdb_create_interval(interval); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* inData, std::size_t inSize) {
  Input input(inData, inSize);
  Bits bits{input.Take<std::int64_t>(), input.Take<std::uint64_t>()};
  auto const scale = input.Take<std::uint8_t>();
  // Shifted down, so that what is near 0 has its turn.
  bits.mHigh >>= input.TakeBelow(64);
  CheckDays(bits);
  CheckMoments(bits);
  if (bits.mHigh != INT64_MIN) CheckNumbers(bits, scale);
  CheckInterval(bits);
  return 0;
}
