#pragma once

#include <duckdb.h>

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "cursor/HostValues.h"
#include "duckdb_c/ColumnText.h"
#include "duckdb_c/Handles.h"
#include "duckdb_c/Types.h"
#include "duckdb_c/VariantReader.h"
#include "tarn/NewValue.h"

namespace lumora {

// What a reading function sees of its column.
struct ColumnData {
  // Of the chunk; null without one.
  void const* mValues = nullptr;
  std::uint64_t const* mValidity = nullptr;  // null = no NULLs
  duckdb_data_chunk mChunk = nullptr;
  duckdb_vector mVector = nullptr;

  // Of the column.
  idx_t mColumn = 0;
  duckdb_c::TypeId mType = 0;
  std::uint8_t mScale = 0;                           // DECIMAL
  duckdb_c::LogicalTypeHandle mEnum;                 // ENUM: where the labels come from
  std::vector<std::optional<tarn::String>> mLabels;  // ENUM: those that were met

  // Of the chunk again, for what is not read from its bits.
  bool mIsRendered = false;  // mText was asked for
  duckdb_c::ColumnText mText;
  duckdb_c::VariantReader mVariant;  // VARIANT

  ColumnData() = default;
  ColumnData(ColumnData&&) = default;
  ColumnData& operator=(ColumnData&&) = default;
};

// A new value with one reference, which the caller adopts: in a register, where a smart_ptr would
// go through memory.
using NewValue = tarn::I_Value*;
using ReadFunction = NewValue (*)(ColumnData& ioColumn, idx_t inRow);

// Reads the cells of one result column straight from the chunks' vectors, by a function that is
// chosen once. Its values are those of ConvertCell; what cannot be had from the bits is rendered by
// DuckDB once for each chunk, when the first such cell is asked for. One thread at a time.
class ColumnReader {
 public:
  // The column of that index in every chunk.
  ColumnReader(duckdb_c::LogicalTypeHandle&& ioType, idx_t inColumn);

  // The chunk to read from now on, or null; it must live until the next call.
  void put_Chunk(duckdb_data_chunk inChunk);

  // A new value for a row of the chunk; the caller owns it.
  ValuePtr Read(idx_t inRow) { return ValuePtr::adopt(ReadNew(inRow)); }

 private:
  NewValue ReadNew(idx_t inRow) {
    std::uint64_t const* const validity = mData.mValidity;
    if (validity && !(validity[inRow / 64] >> (inRow % 64) & 1)) return tarn::NewValueNull();
    return mRead(mData, inRow);
  }

  ReadFunction mRead;
  ColumnData mData;
};

inline NewValue NewText(std::string_view inText) {
  return tarn::NewValueString(inText.data(), inText.size());
}

// The reading functions of the types that have no place in the main table of ColumnReader.
NewValue ReadByDefinition(ColumnData& ioColumn, idx_t inRow);
// Has DuckDB render the column into mText unless that is done for this chunk. False: there is no
// text for the row. A column is always rendered in the same way.
bool Render(ColumnData& ioColumn, duckdb_c::Rendering inRendering, idx_t inRow);
NewValue ReadVariant(ColumnData& ioColumn, idx_t inRow);
// Null: the type's text is not written from its bits.
ReadFunction FindTextReader(duckdb_c::TypeId inType) noexcept;

}  // namespace lumora
