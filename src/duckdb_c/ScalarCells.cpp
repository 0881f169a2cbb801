#include "duckdb_c/ScalarCells.h"

#include <array>
#include <cstdint>
#include <string_view>

#include "duckdb_c/DuckDBText.h"
#include "duckdb_c/Values.h"

namespace lumora::duckdb_c {
namespace {

template <typename T>
T const& Entry(void const* inData, idx_t inRow) noexcept {
  return static_cast<T const*>(inData)[inRow];
}

template <typename T, duckdb_value (*TCreate)(T)>
ValueHandle MakeFixed(duckdb_logical_type, void const* inData, idx_t inRow) {
  return ValueHandle(TCreate(Entry<T>(inData, inRow)));
}

ValueHandle MakeText(duckdb_logical_type, void const* inData, idx_t inRow) {
  const std::string_view text = TextOf(Entry<duckdb_string_t>(inData, inRow));
  return ValueHandle(duckdb_create_varchar_length(text.data(), text.size()));
}

std::uint8_t const* BytesOf(std::string_view inText) noexcept {
  return reinterpret_cast<std::uint8_t const*>(inText.data());
}

ValueHandle MakeBlob(duckdb_logical_type, void const* inData, idx_t inRow) {
  const std::string_view bytes = TextOf(Entry<duckdb_string_t>(inData, inRow));
  return ValueHandle(duckdb_create_blob(BytesOf(bytes), bytes.size()));
}

// The C API's record has no room for const; the bytes are only read.
ValueHandle MakeBit(duckdb_logical_type, void const* inData, idx_t inRow) {
  const std::string_view bits = TextOf(Entry<duckdb_string_t>(inData, inRow));
  return ValueHandle(
      duckdb_create_bit(duckdb_bit{const_cast<std::uint8_t*>(BytesOf(bits)), bits.size()}));
}

ValueHandle MakeBignumCell(duckdb_logical_type, void const* inData, idx_t inRow) {
  return MakeBignum(TextOf(Entry<duckdb_string_t>(inData, inRow)));
}

// Vectors keep a UUID with its highest bit flipped, so that it sorts as a signed number.
ValueHandle MakeUuid(duckdb_logical_type, void const* inData, idx_t inRow) {
  const auto& stored = Entry<duckdb_uhugeint>(inData, inRow);
  return ValueHandle(
      duckdb_create_uuid(duckdb_uhugeint{stored.lower, stored.upper ^ (std::uint64_t{1} << 63)}));
}

duckdb_hugeint Widened(std::int64_t inValue) noexcept {
  return {static_cast<std::uint64_t>(inValue), inValue < 0 ? -1 : 0};
}

ValueHandle MakeDecimal(duckdb_logical_type inType, void const* inData, idx_t inRow) {
  duckdb_decimal decimal{duckdb_decimal_width(inType), duckdb_decimal_scale(inType), {}};
  switch (duckdb_decimal_internal_type(inType)) {
    case DUCKDB_TYPE_SMALLINT:
      decimal.value = Widened(Entry<std::int16_t>(inData, inRow));
      break;
    case DUCKDB_TYPE_INTEGER:
      decimal.value = Widened(Entry<std::int32_t>(inData, inRow));
      break;
    case DUCKDB_TYPE_BIGINT:
      decimal.value = Widened(Entry<std::int64_t>(inData, inRow));
      break;
    case DUCKDB_TYPE_HUGEINT:
      decimal.value = Entry<duckdb_hugeint>(inData, inRow);
      break;
    default:
      return {};
  }
  return ValueHandle(duckdb_create_decimal(decimal));
}

ValueHandle MakeEnum(duckdb_logical_type inType, void const* inData, idx_t inRow) {
  std::uint64_t index = 0;
  switch (duckdb_enum_internal_type(inType)) {
    case DUCKDB_TYPE_UTINYINT:
      index = Entry<std::uint8_t>(inData, inRow);
      break;
    case DUCKDB_TYPE_USMALLINT:
      index = Entry<std::uint16_t>(inData, inRow);
      break;
    case DUCKDB_TYPE_UINTEGER:
      index = Entry<std::uint32_t>(inData, inRow);
      break;
    default:
      return {};
  }
  return ValueHandle(duckdb_create_enum_value(inType, index));
}

constexpr std::size_t kMakerCount = DUCKDB_TYPE_TIME_NS + 1;

constexpr std::array<MakeScalar, kMakerCount> MakeTable() {
  std::array<MakeScalar, kMakerCount> table{};
  table[DUCKDB_TYPE_BOOLEAN] = MakeFixed<bool, duckdb_create_bool>;
  table[DUCKDB_TYPE_TINYINT] = MakeFixed<std::int8_t, duckdb_create_int8>;
  table[DUCKDB_TYPE_SMALLINT] = MakeFixed<std::int16_t, duckdb_create_int16>;
  table[DUCKDB_TYPE_INTEGER] = MakeFixed<std::int32_t, duckdb_create_int32>;
  table[DUCKDB_TYPE_BIGINT] = MakeFixed<std::int64_t, duckdb_create_int64>;
  table[DUCKDB_TYPE_UTINYINT] = MakeFixed<std::uint8_t, duckdb_create_uint8>;
  table[DUCKDB_TYPE_USMALLINT] = MakeFixed<std::uint16_t, duckdb_create_uint16>;
  table[DUCKDB_TYPE_UINTEGER] = MakeFixed<std::uint32_t, duckdb_create_uint32>;
  table[DUCKDB_TYPE_UBIGINT] = MakeFixed<std::uint64_t, duckdb_create_uint64>;
  table[DUCKDB_TYPE_HUGEINT] = MakeFixed<duckdb_hugeint, duckdb_create_hugeint>;
  table[DUCKDB_TYPE_UHUGEINT] = MakeFixed<duckdb_uhugeint, duckdb_create_uhugeint>;
  table[DUCKDB_TYPE_FLOAT] = MakeFixed<float, duckdb_create_float>;
  table[DUCKDB_TYPE_DOUBLE] = MakeFixed<double, duckdb_create_double>;
  table[DUCKDB_TYPE_DATE] = MakeFixed<duckdb_date, duckdb_create_date>;
  table[DUCKDB_TYPE_TIME] = MakeFixed<duckdb_time, duckdb_create_time>;
  table[DUCKDB_TYPE_TIME_NS] = MakeFixed<duckdb_time_ns, duckdb_create_time_ns>;
  table[DUCKDB_TYPE_TIME_TZ] = MakeFixed<duckdb_time_tz, duckdb_create_time_tz_value>;
  table[DUCKDB_TYPE_TIMESTAMP] = MakeFixed<duckdb_timestamp, duckdb_create_timestamp>;
  table[DUCKDB_TYPE_TIMESTAMP_TZ] = MakeFixed<duckdb_timestamp, duckdb_create_timestamp_tz>;
  table[DUCKDB_TYPE_TIMESTAMP_S] = MakeFixed<duckdb_timestamp_s, duckdb_create_timestamp_s>;
  table[DUCKDB_TYPE_TIMESTAMP_MS] = MakeFixed<duckdb_timestamp_ms, duckdb_create_timestamp_ms>;
  table[DUCKDB_TYPE_TIMESTAMP_NS] = MakeFixed<duckdb_timestamp_ns, duckdb_create_timestamp_ns>;
  table[DUCKDB_TYPE_INTERVAL] = MakeFixed<duckdb_interval, duckdb_create_interval>;
  table[DUCKDB_TYPE_VARCHAR] = MakeText;
  table[DUCKDB_TYPE_BLOB] = MakeBlob;
  table[DUCKDB_TYPE_BIT] = MakeBit;
  table[DUCKDB_TYPE_BIGNUM] = MakeBignumCell;
  table[DUCKDB_TYPE_UUID] = MakeUuid;
  table[DUCKDB_TYPE_DECIMAL] = MakeDecimal;
  table[DUCKDB_TYPE_ENUM] = MakeEnum;
  return table;
}

}  // namespace

MakeScalar FindScalarMaker(TypeId inType) noexcept {
  static constexpr std::array<MakeScalar, kMakerCount> kMakers = MakeTable();
  return inType < kMakers.size() ? kMakers[inType] : nullptr;
}

}  // namespace lumora::duckdb_c
