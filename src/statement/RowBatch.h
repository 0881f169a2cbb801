#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "duckdb_c/Handles.h"
#include "statement/ParameterCell.h"

namespace lumora {

// Rows of parameters, each position of one type, in memory of our own: any part of them can be laid
// into DuckDB's chunks, or be read again cell by cell.
class RowBatch {
 public:
  explicit RowBatch(std::uint32_t inColumns) : mColumns(inColumns) {}

  // The next row's cells come in order. False, and nothing is kept, when the cell is not of its
  // column's type, is no value of DuckDB's (a text that is not UTF-8), is longer than 16 MiB, or
  // the column is none.
  bool Put(std::uint32_t inColumn, ParameterCell& inCell);
  // The cells of the last columns make a row; or those put after the last row are taken out again.
  void FinishRow() { ++mRows; }
  void DropUnfinished();
  void Clear();

  std::uint32_t get_Rows() const { return mRows; }
  std::uint32_t get_Columns() const { return static_cast<std::uint32_t>(mColumns.size()); }
  std::size_t get_Bytes() const { return mBytes; }
  // ParameterCell::kNull while all cells are NULL.
  duckdb_c::TypeId get_Type(std::uint32_t inColumn) const { return mColumns[inColumn].mType; }
  bool get_HasNull(std::uint32_t inColumn) const { return mColumns[inColumn].mHasNull; }
  // Of a finished row, or one that was put after it.
  void Get(std::uint32_t inColumn, std::uint32_t inRow, ParameterCell& outCell) const;
  // Fills the empty chunk, whose columns have the batch's types (any type where all is NULL).
  void Fill(duckdb_data_chunk outChunk, std::uint32_t inFirst, std::uint32_t inCount) const;

 private:
  struct Column {
    duckdb_c::TypeId mType = ParameterCell::kNull;
    std::size_t mSize = 0;
    bool mHasNull = false;
    std::size_t mCells = 0;
    std::vector<std::uint8_t> mNulls;  // for each cell, and room for more, as in the others
    std::vector<unsigned char> mBits;  // mSize for each cell
    std::vector<std::size_t> mEnds;    // of each cell in mTexts
    std::string mTexts;
  };
  static void SetType(Column& ioColumn, CellType const& inType);
  static void MakeRoom(Column& ioColumn);
  static void Shrink(Column& ioColumn, std::size_t inCells);
  static void FillColumn(Column const& inColumn, duckdb_vector outVector, std::uint32_t inFirst,
                         std::uint32_t inCount);

  std::vector<Column> mColumns;
  std::uint32_t mRows = 0;
  std::size_t mBytes = 0;
};

}  // namespace lumora
