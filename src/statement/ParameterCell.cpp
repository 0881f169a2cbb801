#include "statement/ParameterCell.h"

#include <utility>

namespace lumora {
namespace {

using duckdb_c::TypeId;
using duckdb_c::ValueHandle;

template <typename T, auto TCreate>
ValueHandle MakeScalar(ParameterCell const& inCell) {
  return ValueHandle(TCreate(inCell.get<T>()));
}

ValueHandle MakeText(ParameterCell const& inCell) {
  return ValueHandle(duckdb_create_varchar_length(inCell.mText.data(), inCell.mText.size()));
}

ValueHandle MakeBlob(ParameterCell const& inCell) {
  return ValueHandle(duckdb_create_blob(reinterpret_cast<std::uint8_t const*>(inCell.mText.data()),
                                        inCell.mText.size()));
}

template <typename T, auto TCreate>
constexpr CellType Fixed(TypeId inType, char const* inSqlName) {
  return {inType, sizeof(T), inSqlName, MakeScalar<T, TCreate>};
}

constexpr std::array kCellTypes = {
    Fixed<bool, duckdb_create_bool>(DUCKDB_TYPE_BOOLEAN, "BOOLEAN"),
    Fixed<std::int8_t, duckdb_create_int8>(DUCKDB_TYPE_TINYINT, "TINYINT"),
    Fixed<std::int16_t, duckdb_create_int16>(DUCKDB_TYPE_SMALLINT, "SMALLINT"),
    Fixed<std::int32_t, duckdb_create_int32>(DUCKDB_TYPE_INTEGER, "INTEGER"),
    Fixed<std::int64_t, duckdb_create_int64>(DUCKDB_TYPE_BIGINT, "BIGINT"),
    Fixed<std::uint8_t, duckdb_create_uint8>(DUCKDB_TYPE_UTINYINT, "UTINYINT"),
    Fixed<std::uint16_t, duckdb_create_uint16>(DUCKDB_TYPE_USMALLINT, "USMALLINT"),
    Fixed<std::uint32_t, duckdb_create_uint32>(DUCKDB_TYPE_UINTEGER, "UINTEGER"),
    Fixed<std::uint64_t, duckdb_create_uint64>(DUCKDB_TYPE_UBIGINT, "UBIGINT"),
    Fixed<float, duckdb_create_float>(DUCKDB_TYPE_FLOAT, "FLOAT"),
    Fixed<double, duckdb_create_double>(DUCKDB_TYPE_DOUBLE, "DOUBLE"),
    Fixed<duckdb_timestamp, duckdb_create_timestamp>(DUCKDB_TYPE_TIMESTAMP, "TIMESTAMP"),
    Fixed<duckdb_date, duckdb_create_date>(DUCKDB_TYPE_DATE, "DATE"),
    CellType{DUCKDB_TYPE_VARCHAR, 0, "VARCHAR", MakeText},
    CellType{DUCKDB_TYPE_BLOB, 0, "BLOB", MakeBlob},
    Fixed<duckdb_timestamp_ms, duckdb_create_timestamp_ms>(DUCKDB_TYPE_TIMESTAMP_MS,
                                                           "TIMESTAMP_MS"),
};

constexpr std::size_t kHighest = DUCKDB_TYPE_TIMESTAMP_MS;

constexpr auto MakeIndex() {
  std::array<CellType const*, kHighest + 1> index{};
  for (CellType const& type : kCellTypes) index[type.mType] = &type;
  return index;
}

constexpr auto kIndex = MakeIndex();

}  // namespace

CellType const* FindCellType(TypeId inType) noexcept {
  return inType <= kHighest ? kIndex[inType] : nullptr;
}

ValueHandle MakeValue(ParameterCell& ioCell) {
  if (ioCell.mType == ParameterCell::kMadeValue) return std::move(ioCell.mValue);
  CellType const* const type = FindCellType(ioCell.mType);
  return type ? type->mMake(ioCell) : ValueHandle(duckdb_create_null_value());
}

}  // namespace lumora
