#include "procedures/SqlBuilding.h"

#include <stdexcept>

#include "procedures/Arguments.h"
#include "procedures/HostApi.h"

namespace lumora::procedures {
namespace {

std::string Quote(std::string_view inText, char inQuote) {
  std::string quoted;
  quoted.reserve(inText.size() + 2);
  quoted += inQuote;
  for (char const c : inText) {
    if (c == inQuote) quoted += c;
    quoted += c;
  }
  quoted += inQuote;
  return quoted;
}

std::string QuoteNames(std::span<std::string const> inNames, char const* inSeparator) {
  std::string list;
  for (auto const& name : inNames) {
    if (!list.empty()) list += inSeparator;
    list += quote_identifier(name);
  }
  return list;
}

std::string Where(std::string_view inFilter) {
  auto const filter = trim(inFilter);
  return filter.empty() ? std::string() : std::string(" WHERE ").append(filter);
}

// The type that a column of inType is cast to, or null for none.
char const* CastTarget(TypeId inType) noexcept {
  TypeId const runtimeType = runtime_type_of(inType);
  return runtimeType == inType ? nullptr : duckdb_type_name(runtimeType);
}

}  // namespace

std::string quote_literal(std::string_view inText) { return Quote(inText, '\''); }
std::string quote_identifier(std::string_view inText) { return Quote(inText, '"'); }

std::string ParquetSource(std::string_view inUri) {
  return "read_parquet(" + quote_literal(inUri) + ")";
}

std::string FetchParquetSql(std::string_view inUri, std::span<std::string const> inColumns,
                            std::string_view inFilter) {
  std::string const columns = inColumns.empty() ? "*" : QuoteNames(inColumns, ", ");
  return "SELECT " + columns + " FROM " + ParquetSource(inUri) + Where(inFilter);
}

std::string FetchDuckDBSql(std::span<std::string const> inTableName) {
  return "SELECT * FROM " + QuoteNames(inTableName, ".");
}

std::string ParquetSchemaSql(std::string_view inUri) {
  return "SELECT * FROM " + ParquetSource(inUri) + " LIMIT 0";
}

std::string ParquetMetadataSql(std::string_view inUri) {
  return "SELECT * FROM parquet_metadata(" + quote_literal(inUri) + ")";
}

std::string ParquetCountSql(std::string_view inUri, std::string_view inFilter) {
  return "SELECT count(*) AS count FROM " + ParquetSource(inUri) + Where(inFilter);
}

std::string build_projection(ColumnRecord const& inColumn) {
  std::string const name = quote_identifier(inColumn.mName);
  char const* const target = CastTarget(inColumn.mRuntimeType);
  return target ? "CAST(" + name + " AS " + target + ") AS " + name : name;
}

std::string build_probe_sql(std::string_view inInner) {
  return std::string("SELECT * FROM (").append(inInner).append(") AS parquet_source LIMIT 0");
}

std::string build_outer_sql(std::string_view inInner, std::span<ColumnRecord const> inColumns,
                            std::string_view inLimit) {
  std::string sql = "SELECT ";
  for (std::size_t i = 0; i < inColumns.size(); ++i) {
    if (i > 0) sql += ", ";
    sql += build_projection(inColumns[i]);
  }
  sql.append(" FROM (").append(inInner).append(") AS parquet_source");
  if (!inLimit.empty()) sql.append(" LIMIT ").append(inLimit);
  return sql;
}

InnerQuery build_fetch_parquet_sql(void* inContext, lumora_value const* inArgs) {
  auto const count = host_api::arg_count(inContext);
  if (count < 1) throw std::invalid_argument("fetch_parquet requires parquet file path.");
  std::string const uri = require_text_arg(inContext, inArgs[0], "fetch_parquet");
  std::vector<std::string> columns;
  if (count > 1) columns = parse_column_list(inContext, inArgs[1]);
  std::string filter;
  if (count > 2) filter = read_text_arg(inContext, inArgs[2]);

  InnerQuery query;
  query.mSql = FetchParquetSql(uri, columns, filter);
  if (count > 3) query.mLimit = parse_limit_arg(inContext, inArgs[3]);
  return query;
}

InnerQuery build_parquet_count_sql(void* inContext, lumora_value const* inArgs) {
  std::string const uri = require_text_arg(inContext, inArgs[0], "parquet_count");
  std::string filter;
  if (host_api::arg_count(inContext) > 1) filter = read_text_arg(inContext, inArgs[1]);
  return {ParquetCountSql(uri, filter), {}};
}

InnerQuery build_fetch_duckdb_sql(void* inContext, lumora_value const* inArgs,
                                  std::string& outUri) {
  auto const count = host_api::arg_count(inContext);
  if (count < 2) {
    throw std::invalid_argument(
        "fetch_duckdb requires database URI and DuckDB table or view name.");
  }
  outUri = require_text_arg(inContext, inArgs[0], "fetch_duckdb");
  auto const name = ParseTableName(require_text_arg(inContext, inArgs[1], "fetch_duckdb"));

  InnerQuery query;
  query.mSql = FetchDuckDBSql(name);
  if (count > 2) query.mLimit = parse_limit_arg(inContext, inArgs[2]);
  return query;
}

}  // namespace lumora::procedures
