#include "procedures/Cells.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "duckdb_c/Handles.h"
#include "duckdb_c/Timestamps.h"
#include "procedures/HostApi.h"
#include "procedures/PackedTime.h"

namespace lumora::procedures {
namespace {

// The bytes at the row need not be aligned for T, since the column may be narrower than T.
template <typename T>
T Load(CellColumn const& inColumn, idx_t inRow) noexcept {
  T value;
  std::memcpy(&value, inColumn.mData + inRow * sizeof(T), sizeof(T));
  return value;
}

// --- readers, one for each runtime type ---

lumora_value ReadBool(void* inContext, CellColumn const& inColumn, idx_t inRow) {
  return host_api::value_new_bool(inContext, Load<std::uint8_t>(inColumn, inRow));
}

template <typename T>
lumora_value ReadSigned(void* inContext, CellColumn const& inColumn, idx_t inRow) {
  return host_api::value_new_int64(inContext, Load<T>(inColumn, inRow));
}

template <typename T>
lumora_value ReadUnsigned(void* inContext, CellColumn const& inColumn, idx_t inRow) {
  return host_api::value_new_uint64(inContext, Load<T>(inColumn, inRow));
}

template <typename T>
lumora_value ReadReal(void* inContext, CellColumn const& inColumn, idx_t inRow) {
  return host_api::value_new_double(inContext, static_cast<double>(Load<T>(inColumn, inRow)));
}

lumora_value ReadTimestamp(void* inContext, CellColumn const& inColumn, idx_t inRow) {
  duckdb_timestamp const timestamp{Load<std::int64_t>(inColumn, inRow)};
  if (!duckdb_c::HasParts(timestamp)) return nullptr;
  return host_api::value_new_datetime(inContext, PackDateTime(duckdb_from_timestamp(timestamp)));
}

lumora_value ReadDate(void* inContext, CellColumn const& inColumn, idx_t inRow) {
  duckdb_date const date{Load<std::int32_t>(inColumn, inRow)};
  return host_api::value_new_date(inContext, PackDate(duckdb_from_date(date)));
}

lumora_value ReadTime(void* inContext, CellColumn const& inColumn, idx_t inRow) {
  duckdb_time const time{Load<std::int64_t>(inColumn, inRow)};
  return host_api::value_new_time(inContext, PackTime(duckdb_from_time(time)));
}

using NewBytes = lumora_value (*)(void*, char const*, std::uint64_t);

lumora_value NewText(void* inContext, char const* inBytes, std::uint64_t inLength) {
  return host_api::value_new_text(inContext, inBytes, inLength);
}
lumora_value NewBinary(void* inContext, char const* inBytes, std::uint64_t inLength) {
  return host_api::value_new_binary(inContext, inBytes, inLength);
}

template <NewBytes TNew>
lumora_value ReadRecord(void* inContext, CellColumn const& inColumn, idx_t inRow) {
  auto const record = Load<duckdb_string_t>(inColumn, inRow);
  std::uint32_t const length = record.value.inlined.length;
  bool const isInlined = length <= sizeof(record.value.inlined.inlined);
  return TNew(inContext, isInlined ? record.value.inlined.inlined : record.value.pointer.ptr,
              length);
}

// Cells of a type without string records, taken as such: what claims to lie behind a pointer is no
// cell.
lumora_value ReadInlinedText(void* inContext, CellColumn const& inColumn, idx_t inRow) {
  auto const record = Load<duckdb_string_t>(inColumn, inRow);
  std::uint32_t const length = record.value.inlined.length;
  if (length > sizeof(record.value.inlined.inlined)) return nullptr;
  return NewText(inContext, record.value.inlined.inlined, length);
}

// --- tables ---

struct Layout {
  CellReader mReader;
  std::uint32_t mWidth;
};

constexpr Layout kTextLayout = {ReadRecord<NewText>, sizeof(duckdb_string_t)};

// By runtime type, from BOOLEAN = 1.
constexpr Layout kLayouts[] = {
    {ReadBool, 1},
    {ReadSigned<std::int8_t>, 1},
    {ReadSigned<std::int16_t>, 2},
    {ReadSigned<std::int32_t>, 4},
    {ReadSigned<std::int64_t>, 8},
    {ReadUnsigned<std::uint8_t>, 1},
    {ReadUnsigned<std::uint16_t>, 2},
    {ReadUnsigned<std::uint32_t>, 4},
    {ReadUnsigned<std::uint64_t>, 8},
    {ReadReal<float>, 4},
    {ReadReal<double>, 8},
    {ReadTimestamp, 8},
    {ReadDate, 4},
    {ReadTime, 8},
};
static_assert(std::size(kLayouts) == DUCKDB_TYPE_TIME);

Layout LayoutOf(TypeId inRuntimeType) noexcept {
  if (inRuntimeType >= 1 && inRuntimeType <= std::size(kLayouts)) {
    return kLayouts[inRuntimeType - 1];
  }
  if (inRuntimeType == DUCKDB_TYPE_BLOB) return {ReadRecord<NewBinary>, kTextLayout.mWidth};
  return kTextLayout;
}

constexpr CellStorage kNone = {0, false};
constexpr CellStorage kRecord = {sizeof(duckdb_string_t), true};

// By identifier. NULL, the literals and ANY are no types of stored columns.
constexpr CellStorage kStorage[] = {
    /*  0 INVALID      */ kNone,
    /*  1 BOOLEAN      */ {1, false},
    /*  2 TINYINT      */ {1, false},
    /*  3 SMALLINT     */ {2, false},
    /*  4 INTEGER      */ {4, false},
    /*  5 BIGINT       */ {8, false},
    /*  6 UTINYINT     */ {1, false},
    /*  7 USMALLINT    */ {2, false},
    /*  8 UINTEGER     */ {4, false},
    /*  9 UBIGINT      */ {8, false},
    /* 10 FLOAT        */ {4, false},
    /* 11 DOUBLE       */ {8, false},
    /* 12 TIMESTAMP    */ {8, false},
    /* 13 DATE         */ {4, false},
    /* 14 TIME         */ {8, false},
    /* 15 INTERVAL     */ {16, false},
    /* 16 HUGEINT      */ {16, false},
    /* 17 VARCHAR      */ kRecord,
    /* 18 BLOB         */ kRecord,
    /* 19 DECIMAL      */ kNone,  // by its internal type
    /* 20 TIMESTAMP_S  */ {8, false},
    /* 21 TIMESTAMP_MS */ {8, false},
    /* 22 TIMESTAMP_NS */ {8, false},
    /* 23 ENUM         */ kNone,  // by its internal type
    /* 24 LIST         */ {sizeof(duckdb_list_entry), false},
    /* 25 STRUCT       */ kNone,
    /* 26 MAP          */ {sizeof(duckdb_list_entry), false},
    /* 27 UUID         */ {16, false},
    /* 28 UNION        */ kNone,
    /* 29 BIT          */ kRecord,
    /* 30 TIME_TZ      */ {8, false},
    /* 31 TIMESTAMP_TZ */ {8, false},
    /* 32 UHUGEINT     */ {16, false},
    /* 33 ARRAY        */ kNone,
    /* 34 ANY          */ kNone,
    /* 35 BIGNUM       */ kRecord,
    /* 36 SQLNULL      */ kNone,
    /* 37              */ kNone,
    /* 38              */ kNone,
    /* 39 TIME_NS      */ {8, false},
    /* 40 GEOMETRY     */ kRecord,
};
static_assert(std::size(kStorage) == duckdb_c::kTypeGeometry + 1);

TypeId InternalTypeOf(duckdb_logical_type inType, TypeId inTypeId) noexcept {
  if (inTypeId == DUCKDB_TYPE_DECIMAL) return duckdb_decimal_internal_type(inType);
  if (inTypeId == DUCKDB_TYPE_ENUM) return duckdb_enum_internal_type(inType);
  return DUCKDB_TYPE_INVALID;
}

}  // namespace

CellStorage StorageOf(TypeId inType, TypeId inInternalType) noexcept {
  bool const isStoredAsOther = inType == DUCKDB_TYPE_DECIMAL || inType == DUCKDB_TYPE_ENUM;
  TypeId const type = isStoredAsOther ? inInternalType : inType;
  return type < std::size(kStorage) ? kStorage[type] : kNone;
}

idx_t CountReadableRows(idx_t inRows, std::uint32_t inStoredWidth,
                        std::uint32_t inCellWidth) noexcept {
  return std::min(inRows, inRows * inStoredWidth / inCellWidth);
}

CellColumn MakeCellColumn(duckdb_vector inVector, idx_t inRows, TypeId inRuntimeType) {
  duckdb_c::LogicalTypeHandle const type(duckdb_vector_get_column_type(inVector));
  TypeId const typeId = duckdb_c::GetTypeId(type.get());
  CellStorage const storage = StorageOf(typeId, InternalTypeOf(type.get(), typeId));
  Layout const layout = LayoutOf(inRuntimeType);
  bool const isRecord = layout.mWidth == kTextLayout.mWidth;

  CellColumn column;
  if (storage.mWidth == 0) return column;
  column.mData = static_cast<std::uint8_t const*>(duckdb_vector_get_data(inVector));
  column.mValidity = duckdb_vector_get_validity(inVector);
  column.mReader = isRecord && !storage.mHasRecords ? ReadInlinedText : layout.mReader;
  if (column.mData) {
    column.mReadableRows = CountReadableRows(inRows, storage.mWidth, layout.mWidth);
  }
  return column;
}

}  // namespace lumora::procedures
