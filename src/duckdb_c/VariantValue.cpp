#include "duckdb_c/VariantValue.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "duckdb_c/ColumnText.h"
#include "duckdb_c/JsonText.h"
#include "duckdb_c/Types.h"
#include "duckdb_c/Values.h"
#include "duckdb_c/VariantReader.h"
#include "duckdb_c/duckdb_completion.h"

namespace lumora::duckdb_c {
namespace {

using MakeChild = ValueHandle (*)(VariantCell const&);

ValueHandle MakeNull(VariantCell const&) { return ValueHandle(duckdb_create_null_value()); }

template <bool TValue>
ValueHandle MakeBoolean(VariantCell const&) {
  return ValueHandle(duckdb_create_bool(TValue));
}

template <typename T, duckdb_value (*TCreate)(T)>
ValueHandle MakeFixed(VariantCell const& inCell) {
  return ValueHandle(TCreate(inCell.As<T>()));
}

ValueHandle MakeDecimal(VariantCell const& inCell) {
  return ValueHandle(
      duckdb_create_decimal({inCell.mWidth, inCell.mScale, GetVariantDecimal(inCell)}));
}

ValueHandle MakeText(VariantCell const& inCell) {
  return ValueHandle(duckdb_create_varchar_length(inCell.mBytes.data(), inCell.mBytes.size()));
}

std::uint8_t const* BytesOf(VariantCell const& inCell) noexcept {
  return reinterpret_cast<std::uint8_t const*>(inCell.mBytes.data());
}

ValueHandle MakeBlob(VariantCell const& inCell) {
  return ValueHandle(duckdb_create_blob(BytesOf(inCell), inCell.mBytes.size()));
}

// The highest bit is kept flipped, as in vectors.
ValueHandle MakeUuid(VariantCell const& inCell) {
  auto stored = inCell.As<duckdb_uhugeint>();
  stored.upper ^= std::uint64_t{1} << 63;
  return ValueHandle(duckdb_create_uuid(stored));
}

ValueHandle MakeBignumChild(VariantCell const& inCell) { return MakeBignum(inCell.mBytes); }

// Hazard: DuckDB reads the first byte for the number of padding bits, whatever it says.
ValueHandle MakeBit(VariantCell const& inCell) {
  const auto* const bytes = BytesOf(inCell);
  if (inCell.mBytes.size() < 2 || bytes[0] > 7) return {};
  return ValueHandle(
      duckdb_create_bit(duckdb_bit{const_cast<std::uint8_t*>(bytes), inCell.mBytes.size()}));
}

// Objects, arrays and geometries are made of the whole value.
constexpr MakeChild kOfWhole = nullptr;

constexpr std::array<MakeChild, kVariantCodeCount> kChildren = {
    MakeNull,
    MakeBoolean<true>,
    MakeBoolean<false>,
    MakeFixed<std::int8_t, duckdb_create_int8>,
    MakeFixed<std::int16_t, duckdb_create_int16>,
    MakeFixed<std::int32_t, duckdb_create_int32>,
    MakeFixed<std::int64_t, duckdb_create_int64>,
    MakeFixed<duckdb_hugeint, duckdb_create_hugeint>,
    MakeFixed<std::uint8_t, duckdb_create_uint8>,
    MakeFixed<std::uint16_t, duckdb_create_uint16>,
    MakeFixed<std::uint32_t, duckdb_create_uint32>,
    MakeFixed<std::uint64_t, duckdb_create_uint64>,
    MakeFixed<duckdb_uhugeint, duckdb_create_uhugeint>,
    MakeFixed<float, duckdb_create_float>,
    MakeFixed<double, duckdb_create_double>,
    MakeDecimal,
    MakeText,
    MakeBlob,
    MakeUuid,
    MakeFixed<duckdb_date, duckdb_create_date>,
    MakeFixed<duckdb_time, duckdb_create_time>,
    MakeFixed<duckdb_time_ns, duckdb_create_time_ns>,
    MakeFixed<duckdb_timestamp_s, duckdb_create_timestamp_s>,
    MakeFixed<duckdb_timestamp_ms, duckdb_create_timestamp_ms>,
    MakeFixed<duckdb_timestamp, duckdb_create_timestamp>,
    MakeFixed<duckdb_timestamp_ns, duckdb_create_timestamp_ns>,
    MakeFixed<duckdb_time_tz, duckdb_create_time_tz_value>,
    MakeFixed<duckdb_timestamp, duckdb_create_timestamp_tz>,
    MakeFixed<duckdb_interval, duckdb_create_interval>,
    kOfWhole,
    kOfWhole,
    MakeBignumChild,
    MakeBit,
    kOfWhole,
};

// JSON is the one text that DuckDB reads back into the same object or array.
ValueHandle MakeJsonText(duckdb_vector inVector) {
  const ColumnText text = RenderColumn(inVector, 1, Rendering::kJson);
  if (!text || text.IsNull(0)) return {};
  const std::string json = WithWholeNumbers(text.get_Text(0));
  return ValueHandle(duckdb_create_varchar_length(json.data(), json.size()));
}

ValueHandle MakeGeometry(duckdb_value inValue) {
  const LogicalTypeHandle type = MakeLogicalType(kTypeGeometry);
  return ValueHandle(duckdb_cast_value(inValue, type.get(), nullptr));
}

// A VARIANT value opened: the vector that holds it, and its cell.
struct OpenVariant {
  VectorHandle mVector;
  std::optional<VariantCell> mCell;
};

OpenVariant Open(duckdb_value inValue) {
  OpenVariant variant;
  if (GetValueTypeId(inValue) != kTypeVariant) return variant;
  if (duckdb_is_null_value(inValue)) {
    variant.mCell.emplace();
    return variant;
  }
  variant.mVector = MakeVectorOf(inValue);
  variant.mCell = VariantReader(variant.mVector.get(), 1).Read(0);
  return variant;
}

}  // namespace

std::uint32_t GetVariantType(duckdb_value inValue) {
  const OpenVariant variant = Open(inValue);
  return variant.mCell ? static_cast<std::uint32_t>(variant.mCell->mCode) : UINT32_MAX;
}

ValueHandle GetVariantChild(duckdb_value inValue) {
  const OpenVariant variant = Open(inValue);
  if (!variant.mCell) return {};
  const VariantCell& cell = *variant.mCell;
  if (cell.mCode == VariantCode::kGeometry) return MakeGeometry(inValue);
  const MakeChild make = kChildren[static_cast<std::size_t>(cell.mCode)];
  return make ? make(cell) : MakeJsonText(variant.mVector.get());
}

}  // namespace lumora::duckdb_c

uint32_t duckdb_value_variant_type(duckdb_value value) {
  try {
    return lumora::duckdb_c::GetVariantType(value);
  } catch (...) {
    return UINT32_MAX;
  }
}

duckdb_value duckdb_value_variant_child(duckdb_value value) {
  try {
    return lumora::duckdb_c::GetVariantChild(value).release();
  } catch (...) {
    return nullptr;
  }
}
