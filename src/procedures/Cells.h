#pragma once

#include <duckdb.h>

#include <cstdint>

#include "procedures/TypeTables.h"

// Reading cells straight out of the vectors of a chunk.
//
// A cell is read with the layout of its column's runtime type, whatever DuckDB's type of the column
// is: a DECIMAL's integer is taken as a double, and so on. Hazard: the layouts differ in width, and
// a string record holds a pointer that the bytes of another type only look like. Remedy: how a
// column may be read is decided once for each chunk from the vector's real type, so that every read
// stays inside the rows that DuckDB filled and follows no pointer that DuckDB did not write.
namespace lumora::procedures {

struct CellColumn;
using CellReader = lumora_value (*)(void* inContext, CellColumn const& inColumn, idx_t inRow);

// How the cells of one column of one chunk are read. Refers into the chunk; valid while it lives.
struct CellColumn {
  std::uint8_t const* mData = nullptr;
  std::uint64_t const* mValidity = nullptr;  // null = every row is valid
  CellReader mReader = nullptr;
  idx_t mReadableRows = 0;  // rows from here on have no cell of the runtime type's width
};

// inRows = the size of the vector's chunk.
CellColumn MakeCellColumn(duckdb_vector inVector, idx_t inRows, TypeId inRuntimeType);

// A new host value, or null for NULL and for a cell that cannot be read. May throw what the host's
// value constructors throw.
inline lumora_value ReadCell(void* inContext, CellColumn const& inColumn, idx_t inRow) {
  if (inRow >= inColumn.mReadableRows) return nullptr;
  // DuckDB's own test is a call for each cell; the layout of the mask is part of its C API.
  if (inColumn.mValidity && !(inColumn.mValidity[inRow / 64] >> (inRow % 64) & 1)) return nullptr;
  return inColumn.mReader(inContext, inColumn, inRow);
}

// --- pure ---

// What a vector of a type holds for each row.
struct CellStorage {
  std::uint32_t mWidth = 0;  // bytes a row; 0 = the vector has no data of its own
  bool mHasRecords = false;  // they are string records written by DuckDB
};

// The storage of a type; no data for a type that is not known. inInternalType is the type that
// values of a DECIMAL or ENUM type are stored as, ignored for all others.
CellStorage StorageOf(TypeId inType, TypeId inInternalType) noexcept;

// How many rows, from the first, can be read with cells of inCellWidth bytes out of inRows rows of
// inStoredWidth bytes.
idx_t CountReadableRows(idx_t inRows, std::uint32_t inStoredWidth,
                        std::uint32_t inCellWidth) noexcept;

}  // namespace lumora::procedures
