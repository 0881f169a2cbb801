#include "statement/RowBatch.h"

#include <algorithm>
#include <cstring>

namespace lumora {
namespace {

bool IsAscii(std::string const& inText) {
  return std::none_of(inText.begin(), inText.end(),
                      [](char c) { return static_cast<signed char>(c) < 0; });
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
  if (inCell.mType == ParameterCell::kNull) {
    Resize(column, column.mNulls.size() + 1);
    column.mHasNull = true;
    return true;
  }
  CellType const* const type = FindCellType(inCell.mType);
  if (!type || (type->mSize == 0 && !IsGoodText(inCell))) return false;
  if (column.mType == ParameterCell::kNull) {
    column.mType = inCell.mType;
    column.mSize = type->mSize;
    Resize(column, column.mNulls.size());
  }
  if (column.mType != inCell.mType) return false;
  column.mNulls.push_back(0);
  if (column.mSize != 0) {
    column.mBits.insert(column.mBits.end(), inCell.mBits.begin(),
                        inCell.mBits.begin() + static_cast<std::ptrdiff_t>(column.mSize));
  } else {
    column.mTexts += inCell.mText;
    column.mEnds.push_back(column.mTexts.size());
    mBytes += inCell.mText.size();
  }
  return true;
}

// New cells are NULL.
void RowBatch::Resize(Column& ioColumn, std::size_t inCells) {
  ioColumn.mNulls.resize(inCells, 1);
  if (ioColumn.mType == ParameterCell::kNull) return;
  if (ioColumn.mSize != 0) {
    ioColumn.mBits.resize(inCells * ioColumn.mSize);
    return;
  }
  ioColumn.mEnds.resize(inCells, ioColumn.mTexts.size());
  ioColumn.mTexts.resize(StartOf(ioColumn.mEnds, inCells));
}

void RowBatch::DropUnfinished() {
  for (Column& column : mColumns) {
    if (column.mNulls.size() > mRows) Resize(column, mRows);
  }
}

void RowBatch::Clear() {
  for (Column& column : mColumns) {
    Resize(column, 0);
    column.mType = ParameterCell::kNull;
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
