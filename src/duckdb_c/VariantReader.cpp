#include "duckdb_c/VariantReader.h"

#include <array>

#include "duckdb_c/DuckDBText.h"
#include "duckdb_c/Types.h"

namespace lumora::duckdb_c {
namespace {

// A place in a row's bytes that only moves within them.
class ByteCursor {
 public:
  ByteCursor(std::string_view inBytes, std::size_t inOffset) noexcept
      : mRest(inOffset <= inBytes.size() ? inBytes.substr(inOffset) : std::string_view()),
        mIsValid(inOffset <= inBytes.size()) {}

  bool Take(std::size_t inCount, std::string_view& outBytes) noexcept {
    if (!mIsValid || inCount > mRest.size()) return false;
    outBytes = mRest.substr(0, inCount);
    mRest.remove_prefix(inCount);
    return true;
  }

  // Seven bits a byte, low ones first; the high bit says that more follow. At most 32 bits.
  bool TakeVarint(std::uint32_t& outValue) noexcept {
    std::uint64_t value = 0;
    std::string_view byte;
    for (unsigned shift = 0; shift < 35; shift += 7) {
      if (!Take(1, byte)) return false;
      const auto bits = static_cast<std::uint8_t>(byte[0]);
      value |= static_cast<std::uint64_t>(bits & 0x7FU) << shift;
      if ((bits & 0x80U) != 0) continue;
      outValue = static_cast<std::uint32_t>(value);
      return value <= UINT32_MAX;
    }
    return false;
  }

 private:
  std::string_view mRest;
  bool mIsValid;
};

// Where a row's children may stand.
struct ChildRange {
  std::uint64_t mCount = 0;
};

using ReadPayload = bool (*)(ByteCursor&, ChildRange, VariantCell&) noexcept;

bool ReadNothing(ByteCursor&, ChildRange, VariantCell&) noexcept { return true; }

template <std::size_t TSize>
bool ReadFixed(ByteCursor& ioCursor, ChildRange, VariantCell& outCell) noexcept {
  return ioCursor.Take(TSize, outCell.mBytes);
}

bool ReadCounted(ByteCursor& ioCursor, ChildRange, VariantCell& outCell) noexcept {
  std::uint32_t length = 0;
  return ioCursor.TakeVarint(length) && ioCursor.Take(length, outCell.mBytes);
}

std::size_t DecimalSize(std::uint32_t inWidth) noexcept {
  if (inWidth <= 4) return 2;
  if (inWidth <= 9) return 4;
  return inWidth <= 18 ? 8 : 16;
}

bool ReadDecimal(ByteCursor& ioCursor, ChildRange, VariantCell& outCell) noexcept {
  constexpr std::uint32_t kMaxWidth = 38;
  std::uint32_t width = 0;
  std::uint32_t scale = 0;
  if (!ioCursor.TakeVarint(width) || !ioCursor.TakeVarint(scale)) return false;
  if (width == 0 || width > kMaxWidth || scale > width) return false;
  outCell.mWidth = static_cast<std::uint8_t>(width);
  outCell.mScale = static_cast<std::uint8_t>(scale);
  return ioCursor.Take(DecimalSize(width), outCell.mBytes);
}

bool ReadChildren(ByteCursor& ioCursor, ChildRange inChildren, VariantCell& outCell) noexcept {
  std::uint32_t count = 0;
  std::uint32_t first = 0;
  if (!ioCursor.TakeVarint(count)) return false;
  if (count != 0 && !ioCursor.TakeVarint(first)) return false;
  outCell.mChildCount = count;
  return first <= inChildren.mCount && count <= inChildren.mCount - first;
}

constexpr std::array<ReadPayload, kVariantCodeCount> kPayloads = {
    ReadNothing,  ReadNothing,  ReadNothing,                                 // null, true, false
    ReadFixed<1>, ReadFixed<2>, ReadFixed<4>,  ReadFixed<8>, ReadFixed<16>,  // signed
    ReadFixed<1>, ReadFixed<2>, ReadFixed<4>,  ReadFixed<8>, ReadFixed<16>,  // unsigned
    ReadFixed<4>, ReadFixed<8>, ReadDecimal,                  // float, double, decimal
    ReadCounted,  ReadCounted,  ReadFixed<16>,                // varchar, blob, uuid
    ReadFixed<4>, ReadFixed<8>, ReadFixed<8>,                 // date, time, time in nanoseconds
    ReadFixed<8>, ReadFixed<8>, ReadFixed<8>,  ReadFixed<8>,  // timestamps: s, ms, us, ns
    ReadFixed<8>, ReadFixed<8>, ReadFixed<16>,  // time and timestamp with zone, interval
    ReadChildren, ReadChildren,                 // object, array
    ReadCounted,  ReadCounted,  ReadCounted,    // bignum, bit string, geometry
};

template <typename T>
std::span<T const> DataOf(duckdb_vector inVector, idx_t inSize) noexcept {
  const auto* const data =
      static_cast<T const*>(inVector ? duckdb_vector_get_data(inVector) : nullptr);
  return data ? std::span<T const>(data, inSize) : std::span<T const>();
}

bool IsVariantVector(duckdb_vector inVector) noexcept {
  if (!inVector) return false;
  const LogicalTypeHandle type(duckdb_vector_get_column_type(inVector));
  return GetTypeId(type.get()) == kTypeVariant;
}

// Whether a row's entries lie within a list of so many.
bool IsWithin(duckdb_list_entry const& inEntry, std::size_t inCount) noexcept {
  return inEntry.offset <= inCount && inEntry.length <= inCount - inEntry.offset;
}

}  // namespace

duckdb_hugeint GetVariantDecimal(VariantCell const& inCell) noexcept {
  if (inCell.mBytes.size() == sizeof(duckdb_hugeint)) return inCell.As<duckdb_hugeint>();
  std::int64_t value = inCell.As<std::int64_t>();
  if (inCell.mBytes.size() == sizeof(std::int16_t)) value = inCell.As<std::int16_t>();
  if (inCell.mBytes.size() == sizeof(std::int32_t)) value = inCell.As<std::int32_t>();
  return {static_cast<std::uint64_t>(value), value < 0 ? -1 : 0};
}

VariantReader::VariantReader(duckdb_vector inVector, idx_t inSize) noexcept {
  if (!IsVariantVector(inVector)) return;
  // The children of the vector by their fixed places: keys, children, values, data.
  const duckdb_vector children = duckdb_struct_vector_get_child(inVector, 1);
  const duckdb_vector values = duckdb_struct_vector_get_child(inVector, 2);
  const duckdb_vector data = duckdb_struct_vector_get_child(inVector, 3);
  if (!children || !values || !data) return;
  const duckdb_vector entries = duckdb_list_vector_get_child(values);
  const idx_t entry_count = duckdb_list_vector_get_size(values);
  if (!entries) return;
  if (const std::uint64_t* const validity = duckdb_vector_get_validity(inVector)) {
    mColumns.mValidity = {validity, (inSize + 63) / 64};
  }
  mColumns.mValues = DataOf<duckdb_list_entry>(values, inSize);
  mColumns.mChildren = DataOf<duckdb_list_entry>(children, inSize);
  mColumns.mChildEntryCount = duckdb_list_vector_get_size(children);
  mColumns.mData = DataOf<duckdb_string_t>(data, inSize);
  mColumns.mTypeIds = DataOf<std::uint8_t>(duckdb_struct_vector_get_child(entries, 0), entry_count);
  mColumns.mByteOffsets =
      DataOf<std::uint32_t>(duckdb_struct_vector_get_child(entries, 1), entry_count);
}

bool VariantReader::IsNull(idx_t inRow) const noexcept {
  if (inRow >= get_RowCount()) return true;
  if (mColumns.mValidity.empty()) return false;
  const idx_t word = inRow / 64;
  return word >= mColumns.mValidity.size() || (mColumns.mValidity[word] >> (inRow % 64) & 1U) == 0;
}

std::optional<VariantCell> VariantReader::Read(idx_t inRow) const noexcept {
  if (IsNull(inRow) || inRow >= mColumns.mData.size() || inRow >= mColumns.mChildren.size()) {
    return std::nullopt;
  }
  const duckdb_list_entry& entry = mColumns.mValues[inRow];
  const std::size_t entry_count = std::min(mColumns.mTypeIds.size(), mColumns.mByteOffsets.size());
  // DuckDB makes such a row of a union in a union that holds NULL, and calls it VARIANT_NULL.
  if (entry.length == 0) return VariantCell();
  if (!IsWithin(entry, entry_count)) return std::nullopt;
  const std::uint8_t code = mColumns.mTypeIds[entry.offset];
  if (code >= kPayloads.size()) return std::nullopt;

  VariantCell cell;
  cell.mCode = static_cast<VariantCode>(code);
  ChildRange children;
  if (IsWithin(mColumns.mChildren[inRow], mColumns.mChildEntryCount)) {
    children.mCount = mColumns.mChildren[inRow].length;
  }
  ByteCursor cursor(TextOf(mColumns.mData[inRow]), mColumns.mByteOffsets[entry.offset]);
  if (!kPayloads[code](cursor, children, cell)) return std::nullopt;
  return cell;
}

}  // namespace lumora::duckdb_c
