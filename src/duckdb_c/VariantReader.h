#pragma once

#include <duckdb.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>

// Typed access to the rows of a VARIANT vector, straight from its memory.
//
// Hazard: the rows are offsets into bytes that a file brought in. Remedy: every offset and length
// is checked against what the vector holds before anything is read; a row that does not add up has
// no value.
namespace lumora::duckdb_c {

// What a VARIANT may hold inside; the numbers are DuckDB's.
enum class VariantCode : std::uint8_t {
  kNull = 0,
  kTrue = 1,
  kFalse = 2,
  kInt8 = 3,
  kInt16 = 4,
  kInt32 = 5,
  kInt64 = 6,
  kInt128 = 7,
  kUInt8 = 8,
  kUInt16 = 9,
  kUInt32 = 10,
  kUInt64 = 11,
  kUInt128 = 12,
  kFloat = 13,
  kDouble = 14,
  kDecimal = 15,
  kVarchar = 16,
  kBlob = 17,
  kUuid = 18,
  kDate = 19,
  kTimeMicros = 20,
  kTimeNanos = 21,
  kTimestampSec = 22,
  kTimestampMilis = 23,
  kTimestampMicros = 24,
  kTimestampNanos = 25,
  kTimeMicrosTz = 26,
  kTimestampMicrosTz = 27,
  kInterval = 28,
  kObject = 29,
  kArray = 30,
  kBignum = 31,
  kBitstring = 32,
  kGeometry = 33,
};

inline constexpr std::uint32_t kVariantCodeCount = 34;

// One row's value. The bytes belong to the vector.
struct VariantCell {
  VariantCode mCode = VariantCode::kNull;
  // Little-endian and unaligned. For fixed-width codes exactly the value in DuckDB's in-memory
  // layout; for text, blob, bignum, bit string and geometry the bytes without their length; for a
  // decimal its integer of 2, 4, 8 or 16 bytes; empty for null, booleans, objects and arrays.
  std::string_view mBytes;
  std::uint8_t mWidth = 0;        // of a decimal
  std::uint8_t mScale = 0;        // of a decimal
  std::uint32_t mChildCount = 0;  // of an object or array

  // The bytes as a value of that layout. The caller asks for the type that the code implies;
  // another size gives the zero value.
  template <typename T>
  T As() const noexcept {
    T value{};
    if (mBytes.size() == sizeof(T)) std::memcpy(&value, mBytes.data(), sizeof(T));
    return value;
  }
};

// The integer of a decimal cell, sign-extended.
duckdb_hugeint GetVariantDecimal(VariantCell const& inCell) noexcept;

// What a VARIANT vector is made of. Spans are what may be read; nothing outside of them is.
struct VariantColumns {
  std::span<std::uint64_t const> mValidity;    // empty: every row is valid
  std::span<duckdb_list_entry const> mValues;  // of each row: its entries in the next two
  std::span<std::uint8_t const> mTypeIds;
  std::span<std::uint32_t const> mByteOffsets;
  std::span<duckdb_list_entry const> mChildren;  // of each row: its entries of the child list
  std::size_t mChildEntryCount = 0;              // how many entries the child list has
  std::span<duckdb_string_t const> mData;        // of each row: its bytes
};

class VariantReader {
 public:
  VariantReader() = default;
  explicit VariantReader(VariantColumns const& inColumns) noexcept : mColumns(inColumns) {}
  // The first inSize rows of a flat VARIANT vector. The vector must stay as it is while the reader
  // or a cell is used. A null or other vector gives a reader without rows.
  VariantReader(duckdb_vector inVector, idx_t inSize) noexcept;

  idx_t get_RowCount() const noexcept { return mColumns.mValues.size(); }

  // True for SQL NULL and for a row past the end.
  bool IsNull(idx_t inRow) const noexcept;

  // The row's value. Empty for SQL NULL, a row past the end, an unknown code, and bytes that are
  // cut or wrong; IsNull tells the first two from the others. A variant that holds null inside
  // has the code kNull.
  std::optional<VariantCell> Read(idx_t inRow) const noexcept;

 private:
  VariantColumns mColumns;
};

}  // namespace lumora::duckdb_c
