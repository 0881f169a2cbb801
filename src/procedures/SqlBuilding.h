#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "procedures/TypeTables.h"

// The SQL of the procedures. Paths and names are quoted; a filter is the caller's own SQL and goes
// in as it is.
namespace lumora::procedures {

// What the procedures know of a result column.
struct ColumnRecord {
  std::string mName;
  TypeId mRuntimeType = 0;
  lumora_value_kind mKind = lumora_kind_text;
};

// A query as the caller meant it, before the runner wraps it, and its row limit ("" = none).
struct InnerQuery {
  std::string mSql;
  std::string mLimit;
};

// --- pure ---

std::string quote_literal(std::string_view inText);
std::string quote_identifier(std::string_view inText);

// read_parquet('<uri>')
std::string ParquetSource(std::string_view inUri);
// inColumns empty = all. The filter is trimmed; a blank one adds nothing.
std::string FetchParquetSql(std::string_view inUri, std::span<std::string const> inColumns,
                            std::string_view inFilter);
std::string FetchDuckDBSql(std::span<std::string const> inTableName);
std::string ParquetSchemaSql(std::string_view inUri);
std::string ParquetMetadataSql(std::string_view inUri);
std::string ParquetCountSql(std::string_view inUri, std::string_view inFilter);

// How a column of that type is selected. For a runtime type, which is all that the runner passes,
// this is the bare quoted name: cells are delivered as DuckDB stores them.
std::string build_projection(ColumnRecord const& inColumn);
// The query that tells the columns and yields no rows.
std::string build_probe_sql(std::string_view inInner);
// The query that runs.
std::string build_outer_sql(std::string_view inInner, std::span<ColumnRecord const> inColumns,
                            std::string_view inLimit);

// --- from a call's arguments; std::invalid_argument as in Arguments.h ---

InnerQuery build_fetch_parquet_sql(void* inContext, lumora_value const* inArgs);
InnerQuery build_parquet_count_sql(void* inContext, lumora_value const* inArgs);
InnerQuery build_fetch_duckdb_sql(void* inContext, lumora_value const* inArgs, std::string& outUri);

}  // namespace lumora::procedures
