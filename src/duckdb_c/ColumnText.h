#pragma once

#include <duckdb.h>

#include <cstdint>
#include <memory>
#include <string_view>

#include "duckdb_c/Handles.h"

// DuckDB's own text of a whole column of a chunk, at the price of one small query on a private
// in-memory database (TimeZone UTC), so that it equals what SQL's CAST says for each cell.
namespace lumora::duckdb_c {

enum class Rendering {
  kText,         // CAST(x AS VARCHAR)
  kJson,         // CAST(x AS JSON)
  kVariantType,  // variant_typeof(x)
};

// The rendered texts of one column. Owns them; views are valid as long as it lives. Movable.
class ColumnText {
 public:
  ColumnText() = default;

  // False: DuckDB could not render the column. The other operations then see no rows.
  explicit operator bool() const noexcept { return mIsRendered; }
  idx_t get_RowCount() const noexcept { return mRowCount; }
  // True for a NULL cell and for a row past the end.
  bool IsNull(idx_t inRow) const noexcept;
  // UTF-8; empty for a NULL cell and for a row past the end.
  std::string_view get_Text(idx_t inRow) const noexcept;

 private:
  friend ColumnText RenderColumn(duckdb_vector, idx_t, Rendering);

  // The chunk's memory is the database's, so the chunk goes first and the database last.
  std::shared_ptr<void> mDatabase;
  ResultHandle mResult;
  ChunkHandle mChunk;
  duckdb_string_t const* mData = nullptr;
  std::uint64_t* mValidity = nullptr;
  idx_t mRowCount = 0;
  bool mIsRendered = false;
};

// Renders the first inSize rows, at most DuckDB's vector size, of a flat vector. The vector is only
// read and stays the caller's. May be called from any thread, while no other thread uses the
// vector; threads do not wait for each other.
ColumnText RenderColumn(duckdb_vector inVector, idx_t inSize, Rendering inRendering);

}  // namespace lumora::duckdb_c
