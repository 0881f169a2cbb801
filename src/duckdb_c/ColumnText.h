#pragma once

#include <duckdb.h>

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

  // False: DuckDB could not render the column; the other operations must not be called.
  explicit operator bool() const noexcept { return static_cast<bool>(mChunk); }
  bool IsNull(idx_t inRow) const noexcept;
  std::string_view get_Text(idx_t inRow) const noexcept;

 private:
  friend ColumnText RenderColumn(duckdb_vector, idx_t, Rendering);
  ChunkHandle mChunk;
  duckdb_string_t* mData = nullptr;
  std::uint64_t* mValidity = nullptr;
};

// Renders the first inSize rows of a vector. The vector is only read and stays the caller's. May be
// called from any thread, while no other thread uses the vector.
ColumnText RenderColumn(duckdb_vector inVector, idx_t inSize, Rendering inRendering);

}  // namespace lumora::duckdb_c
