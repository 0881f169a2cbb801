#include "procedures/QueryRunner.h"

#include <memory>
#include <stdexcept>

#include "procedures/HostApi.h"
#include "procedures/ProcedureCursor.h"

namespace lumora::procedures {
namespace {

ColumnRecord DescribeColumn(duckdb_result* inResult, idx_t inColumn) {
  ColumnRecord column;
  char const* const name = duckdb_column_name(inResult, inColumn);
  column.mName = name ? name : "Column" + std::to_string(inColumn + 1);
  column.mRuntimeType = runtime_type_of(duckdb_c::GetColumnTypeId(inResult, inColumn));
  column.mKind = host_kind_of(column.mRuntimeType);
  return column;
}

std::vector<ColumnRecord> ProbeColumns(duckdb_connection inConnection, std::string const& inInner) {
  auto probe = RunQuery(inConnection, build_probe_sql(inInner));
  std::vector<ColumnRecord> columns;
  idx_t const count = duckdb_column_count(probe.ptr());
  columns.reserve(count);
  for (idx_t i = 0; i < count; ++i) columns.push_back(DescribeColumn(probe.ptr(), i));
  return columns;
}

}  // namespace

lumora_cursor run_procedure_query(void* inContext, std::string const& inUri,
                                  InnerQuery const& inQuery) {
  ProcedureDatabase database = OpenProcedureDatabase(inUri);
  duckdb_connection const connection = database.mConnection.get();
  auto columns = ProbeColumns(connection, inQuery.mSql);
  auto result = RunQuery(connection, build_outer_sql(inQuery.mSql, columns, inQuery.mLimit));
  auto state = std::make_unique<ProcedureCursorState>(std::move(database), std::move(result),
                                                      std::move(columns));

  lumora_cursor cursor = nullptr;
  if (host_api::create_callback_cursor(inContext, state->get_Definition(), cursor) != 0) {
    throw std::runtime_error("Unable to create DuckDB cursor.");
  }
  // The host's cursor destroys it from here on.
  static_cast<void>(state.release());
  return cursor;
}

}  // namespace lumora::procedures
