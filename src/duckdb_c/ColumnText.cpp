#include "duckdb_c/ColumnText.h"

#include <fmt/format.h>

#include <string>

#include "duckdb_c/DuckDBText.h"
#include "duckdb_c/PrivateDatabase.h"
#include "duckdb_c/ScalarCells.h"
#include "duckdb_c/Types.h"

namespace lumora::duckdb_c {
namespace {

std::string MakeSql(Rendering inRendering, std::string const& inEmit) {
  char const* expression = "CAST(x AS VARCHAR)";
  if (inRendering == Rendering::kJson) expression = "CAST(x AS JSON)";
  if (inRendering == Rendering::kVariantType) expression = "variant_typeof(x)";
  return fmt::format("SELECT {} FROM {}()", expression, inEmit);
}

// Hazard: a prepared statement keeps the column's type. Remedy: it is kept for types that the
// identifier tells completely, and the identifier is part of the statement; all others are prepared
// anew.
bool IsToldByIdentifier(duckdb_logical_type inType) {
  const TypeId id = GetTypeId(inType);
  if (TextHandle(duckdb_logical_type_get_alias(inType))) return false;
  return id == kTypeVariant ||
         (FindScalarMaker(id) != nullptr && id != DUCKDB_TYPE_DECIMAL && id != DUCKDB_TYPE_ENUM);
}

bool Run(PrivateConnection& ioConnection, duckdb_logical_type inType, std::string const& inSql,
         ResultHandle& outResult) {
  std::string error;
  if (!IsToldByIdentifier(inType)) return ioConnection.Query(inSql, outResult, error);
  const std::string kept = fmt::format("{} /* {} */", inSql, GetTypeId(inType));
  const duckdb_prepared_statement statement = ioConnection.Prepare(kept, error);
  return statement && ioConnection.Execute(statement, {}, outResult, error);
}

}  // namespace

bool ColumnText::IsNull(idx_t inRow) const noexcept {
  return inRow >= mRowCount || !duckdb_validity_row_is_valid(mValidity, inRow);
}

std::string_view ColumnText::get_Text(idx_t inRow) const noexcept {
  return IsNull(inRow) ? std::string_view() : TextOf(mData[inRow]);
}

ColumnText RenderColumn(duckdb_vector inVector, idx_t inSize, Rendering inRendering) {
  ColumnText text;
  if (!inVector || inSize > duckdb_vector_size()) return text;
  const LogicalTypeHandle type(duckdb_vector_get_column_type(inVector));
  WithPrivateConnection([&](PrivateConnection& ioConnection) {
    ioConnection.put_Source({inVector, inSize, std::nullopt, type.get()});
    const std::string sql = MakeSql(inRendering, ioConnection.get_EmitName());
    if (!Run(ioConnection, type.get(), sql, text.mResult)) return false;
    text.mDatabase = ioConnection.get_Instance();
    return true;
  });
  if (!text.mDatabase) return text;
  text.mChunk = ChunkHandle(duckdb_fetch_chunk(text.mResult.get()));
  const idx_t size = text.mChunk ? duckdb_data_chunk_get_size(text.mChunk.get()) : 0;
  text.mIsRendered = size == inSize;
  if (text.mIsRendered && text.mChunk) {
    const duckdb_vector vector = duckdb_data_chunk_get_vector(text.mChunk.get(), 0);
    text.mData = static_cast<duckdb_string_t const*>(duckdb_vector_get_data(vector));
    text.mValidity = duckdb_vector_get_validity(vector);
    text.mRowCount = size;
  }
  return text;
}

}  // namespace lumora::duckdb_c
