#include "statement/RowBatch.h"

#include <algorithm>
#include <cstring>

namespace lumora {
namespace {

bool IsAscii(std::string const& inText) {
  unsigned char bits = 0;
  for (char const c : inText) bits |= static_cast<unsigned char>(c);
  return bits < 0x80;
}

// So that a batch stays within its bounds.
constexpr std::size_t kLongestText = std::size_t{16} << 20;

// Hazard: DuckDB takes a text of other bytes than UTF-8 into a vector as NULL, where it refuses to
// make a value of it.
bool IsGoodText(ParameterCell& inCell) {
  if (inCell.mText.size() > kLongestText) return false;
  return inCell.mType != DUCKDB_TYPE_VARCHAR || IsAscii(inCell.mText) || MakeValue(inCell);
}

std::size_t StartOf(std::vector<std::size_t> const& inEnds, std::size_t inCell) {
  return inCell == 0 ? 0 : inEnds[inCell - 1];
}

}  // namespace

bool RowBatch::Put(std::uint32_t inColumn, ParameterCell& inCell) {
  if (inColumn >= mColumns.size()) return false;
  Column& column = mColumns[inColumn];
  bool const isNull = inCell.mType == ParameterCell::kNull;
  if (!isNull && inCell.mType != column.mType) {
    CellType const* const type = FindCellType(inCell.mType);
    if (!type || column.mType != ParameterCell::kNull) return false;
    SetType(column, *type);
  }
  if (!isNull && column.mSize == 0 && !IsGoodText(inCell)) return false;
  MakeRoom(column);
  std::size_t const cell = column.mCells++;
  column.mNulls[cell] = isNull ? 1 : 0;
  if (isNull) {
    column.mHasNull = true;
  } else if (column.mSize != 0) {
    std::memcpy(&column.mBits[cell * column.mSize], inCell.mBits.data(), column.mSize);
  } else {
    column.mTexts += inCell.mText;
    mBytes += inCell.mText.size();
  }
  if (!column.mEnds.empty()) column.mEnds[cell] = column.mTexts.size();
  return true;
}

// The cells that are there are NULL.
void RowBatch::SetType(Column& ioColumn, CellType const& inType) {
  ioColumn.mType = inType.mType;
  ioColumn.mSize = inType.mSize;
  ioColumn.mBits.resize(ioColumn.mNulls.size() * inType.mSize);
  ioColumn.mEnds.assign(inType.mSize == 0 ? ioColumn.mNulls.size() : 0, 0);
}

void RowBatch::MakeRoom(Column& ioColumn) {
  std::size_t const room = ioColumn.mNulls.size();
  if (ioColumn.mCells < room) return;
  std::size_t const wanted = std::max<std::size_t>(1024, room * 2);
  ioColumn.mNulls.resize(wanted);
  ioColumn.mBits.resize(wanted * ioColumn.mSize);
  bool const isText = ioColumn.mType != ParameterCell::kNull && ioColumn.mSize == 0;
  ioColumn.mEnds.resize(isText ? wanted : 0);
}

void RowBatch::Shrink(Column& ioColumn, std::size_t inCells) {
  ioColumn.mCells = inCells;
  if (!ioColumn.mEnds.empty()) ioColumn.mTexts.resize(StartOf(ioColumn.mEnds, inCells));
}

void RowBatch::DropUnfinished() {
  for (Column& column : mColumns) {
    if (column.mCells > mRows) Shrink(column, mRows);
  }
}

void RowBatch::Clear() {
  for (Column& column : mColumns) {
    Shrink(column, 0);
    column.mType = ParameterCell::kNull;
    column.mSize = 0;
    column.mEnds.clear();
    column.mHasNull = false;
  }
  mRows = 0;
  mBytes = 0;
}

void RowBatch::Get(std::uint32_t inColumn, std::uint32_t inRow, ParameterCell& outCell) const {
  Column const& column = mColumns[inColumn];
  if (column.mNulls[inRow] != 0) return outCell.SetNull();
  if (column.mSize == 0) {
    std::size_t const start = StartOf(column.mEnds, inRow);
    return outCell.SetText(column.mType, column.mTexts.substr(start, column.mEnds[inRow] - start));
  }
  outCell.mType = column.mType;
  std::memcpy(outCell.mBits.data(), &column.mBits[inRow * column.mSize], column.mSize);
}

void RowBatch::Fill(duckdb_data_chunk outChunk, std::uint32_t inFirst,
                    std::uint32_t inCount) const {
  duckdb_data_chunk_reset(outChunk);
  for (std::uint32_t i = 0; i < mColumns.size(); ++i) {
    FillColumn(mColumns[i], duckdb_data_chunk_get_vector(outChunk, i), inFirst, inCount);
  }
  duckdb_data_chunk_set_size(outChunk, inCount);
}

void RowBatch::FillColumn(Column const& inColumn, duckdb_vector outVector, std::uint32_t inFirst,
                          std::uint32_t inCount) {
  if (inColumn.mHasNull) {
    duckdb_vector_ensure_validity_writable(outVector);
    auto* const validity = duckdb_vector_get_validity(outVector);
    for (std::uint32_t i = 0; i < inCount; ++i) {
      if (inColumn.mNulls[inFirst + i] != 0) duckdb_validity_set_row_invalid(validity, i);
    }
  }
  if (inColumn.mType == ParameterCell::kNull) return;
  if (inColumn.mSize != 0) {
    std::memcpy(duckdb_vector_get_data(outVector), &inColumn.mBits[inFirst * inColumn.mSize],
                inCount * inColumn.mSize);
    return;
  }
  for (std::uint32_t i = 0; i < inCount; ++i) {
    if (inColumn.mNulls[inFirst + i] != 0) continue;
    std::size_t const start = StartOf(inColumn.mEnds, inFirst + i);
    duckdb_vector_assign_string_element_len(outVector, i, inColumn.mTexts.data() + start,
                                            inColumn.mEnds[inFirst + i] - start);
  }
}

}  // namespace lumora
