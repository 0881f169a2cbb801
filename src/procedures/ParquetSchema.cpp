#include "procedures/ParquetSchema.h"

#include <array>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "procedures/HostApi.h"
#include "procedures/ProcedureDatabase.h"
#include "procedures/SqlBuilding.h"

namespace lumora::procedures {
namespace {

constexpr std::size_t kColumns = 6;
constexpr char const* kColumnNames[kColumns] = {
    "ordinal", "name", "duckdb_type", "runtime_type", "lumora_type", "lumora_type_name",
};
using Row = std::array<lumora_value, kColumns>;

lumora_value NewText(void* inContext, char const* inText) {
  return host_api::value_new_text(inContext, inText, std::strlen(inText));
}

Row MakeRow(void* inContext, duckdb_result* inResult, idx_t inColumn) {
  char const* const name = duckdb_column_name(inResult, inColumn);
  TypeId const type = duckdb_c::GetColumnTypeId(inResult, inColumn);
  TypeId const runtimeType = runtime_type_of(type);
  lumora_value_kind const kind = host_kind_of(runtimeType);
  return {
      host_api::value_new_int64(inContext, static_cast<std::int64_t>(inColumn) + 1),
      NewText(inContext, name ? name : ""),
      NewText(inContext, duckdb_type_name(type)),
      NewText(inContext, duckdb_type_name(runtimeType)),
      host_api::value_new_int64(inContext, kind),
      NewText(inContext, host_kind_name(kind)),
  };
}

}  // namespace

lumora_cursor MakeParquetSchemaCursor(void* inContext, std::string const& inUri) {
  ProcedureDatabase const database = OpenProcedureDatabase("");
  auto result = RunQuery(database.mConnection.get(), ParquetSchemaSql(inUri));

  // Value handles cannot be given back: the host's table has no entry for it, what was made for a
  // call and is not taken over ends with the call. To leave none behind for a reason of ours, all
  // room is there before the first one is made.
  idx_t const count = duckdb_column_count(result.ptr());
  std::vector<Row> rows(count);
  std::vector<lumora_value*> pointers(count);
  for (idx_t i = 0; i < count; ++i) {
    rows[i] = MakeRow(inContext, result.ptr(), i);
    pointers[i] = rows[i].data();
  }

  // A host that refuses the cursor has not taken them over either; they end with the call.
  lumora_cursor cursor = nullptr;
  if (host_api::create_row_cursor(inContext, kColumns, count, kColumnNames, pointers.data(),
                                  cursor) != 0) {
    throw std::runtime_error("Unable to create cursor.");
  }
  return cursor;
}

}  // namespace lumora::procedures
