#include "database/BackupCatalog.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

#include "database/BackupQuery.h"

namespace lumora {

namespace {

// Each gives (name for a user, what it is like) and ends in a WHERE to which the database is added.
// Views are told by their columns and not by their text, which DuckDB may write in another way.
constexpr std::array kCatalogQueries = {
    R"(SELECT 'schema ' || schema_name, '' FROM duckdb_schemas() WHERE NOT internal)",
    R"(SELECT 'table ' || schema_name || '.' || table_name, '' FROM duckdb_tables()
       WHERE NOT internal AND NOT temporary)",
    R"(SELECT 'constraint of table ' || schema_name || '.' || table_name,
       concat_ws(' ', constraint_type, expression, constraint_column_names, referenced_table,
       referenced_column_names) FROM duckdb_constraints() WHERE true)",
    R"(SELECT 'view ' || schema_name || '.' || view_name, '' FROM duckdb_views()
       WHERE NOT internal AND NOT temporary)",
    R"(SELECT 'index ' || schema_name || '.' || index_name,
       concat_ws(' ', table_name, is_unique, expressions) FROM duckdb_indexes() WHERE true)",
    R"(SELECT 'sequence ' || schema_name || '.' || sequence_name,
       concat_ws(' ', increment_by, min_value, max_value, cycle) FROM duckdb_sequences()
       WHERE NOT temporary)",
    R"(SELECT 'macro ' || schema_name || '.' || function_name,
       concat_ws(' ', function_type, parameters) FROM duckdb_functions()
       WHERE NOT internal AND function_type IN ('macro', 'table_macro'))",
    R"(SELECT 'type ' || schema_name || '.' || type_name, concat_ws(' ', logical_type, labels)
       FROM duckdb_types() WHERE NOT internal)",
};

// Each gives (COMMENT ON what, comment); q(name) stands for the SQL that quotes the name.
constexpr std::array kCommentQueries = {
    R"(SELECT 'COMMENT ON TABLE ' || q(schema_name) || '.' || q(table_name), comment
       FROM duckdb_tables() WHERE NOT internal AND NOT temporary)",
    R"(SELECT 'COMMENT ON VIEW ' || q(schema_name) || '.' || q(view_name), comment
       FROM duckdb_views() WHERE NOT internal AND NOT temporary)",
    R"(SELECT 'COMMENT ON INDEX ' || q(schema_name) || '.' || q(index_name), comment
       FROM duckdb_indexes() WHERE true)",
    R"(SELECT 'COMMENT ON SEQUENCE ' || q(schema_name) || '.' || q(sequence_name), comment
       FROM duckdb_sequences() WHERE NOT temporary)",
    R"(SELECT 'COMMENT ON TYPE ' || q(schema_name) || '.' || q(type_name), comment
       FROM duckdb_types() WHERE NOT internal)",
    R"(SELECT 'COMMENT ON MACRO ' || CASE function_type WHEN 'table_macro' THEN 'TABLE ' ELSE '' END
       || q(schema_name) || '.' || q(function_name), comment FROM duckdb_functions()
       WHERE NOT internal AND function_type IN ('macro', 'table_macro'))",
};

bool IsAsked(std::string_view inQuery, bool inMacros) {
  return inMacros || inQuery.find("duckdb_functions") == inQuery.npos;
}

constexpr char const* kOfDatabase = " AND database_name = current_database()";
constexpr char const* kQuoteName = R"('"' || replace($1, '"', '""') || '"')";

// Calls inRow(first, second) for each row of a query of two texts.
template <typename TRow>
void ForEachPair(duckdb_connection inConnection, std::string const& inSql, TRow const& inRow) {
  std::string ignored;
  ForEachRow(inConnection, inSql, ignored,
             [&](std::vector<std::string> const& row) { inRow(row[0], row[1]); });
}

// Replaces q(name) by the SQL that quotes the name.
std::string WithQuotedNames(std::string inSql) {
  for (std::size_t at = inSql.find("q("); at != std::string::npos; at = inSql.find("q(", at)) {
    std::size_t const end = inSql.find(')', at);
    std::string quoted = kQuoteName;
    quoted.replace(quoted.find("$1"), 2, inSql.substr(at + 2, end - at - 2));
    inSql.replace(at, end + 1 - at, quoted);
    at += quoted.size();
  }
  return inSql;
}

}  // namespace

CatalogColumns ReadColumns(duckdb_connection inConnection) {
  CatalogColumns columns;
  std::string ignored;
  ForEachRow(inConnection,
             std::string(R"(SELECT schema_name, table_name, column_name, data_type,
                 concat_ws(' ', column_index, data_type, is_nullable, column_default), comment
                 FROM duckdb_columns() WHERE NOT internal)") +
                 kOfDatabase + " ORDER BY table_oid, column_index",
             ignored, [&](std::vector<std::string> const& row) {
               columns.push_back({row[0], row[1], row[2], row[3], row[4], row[5]});
             });
  return columns;
}

std::string QuoteName(std::string const& inName) {
  std::string quoted = "\"";
  for (char const unit : inName) quoted.append(unit == '"' ? 2 : 1, unit);
  return quoted += '"';
}

Catalog ReadCatalog(duckdb_connection inConnection, CatalogColumns const& inColumns,
                    bool inMacros) {
  Catalog catalog;
  for (CatalogColumn const& column : inColumns) {
    catalog.emplace("column " + column.mSchema + "." + column.mTable + "." + column.mName,
                    column.mLike);
  }
  for (char const* const query : kCatalogQueries) {
    if (!IsAsked(query, inMacros)) continue;
    ForEachPair(
        inConnection, std::string(query) + kOfDatabase,
        [&](std::string const& name, std::string const& like) { catalog.emplace(name, like); });
  }
  return catalog;
}

Catalog FindMissing(Catalog const& inSource, Catalog const& inCopy) {
  Catalog missing;
  std::set_difference(inSource.begin(), inSource.end(), inCopy.begin(), inCopy.end(),
                      std::inserter(missing, missing.end()));
  return missing;
}

Statements ReadComments(duckdb_connection inConnection, CatalogColumns const& inColumns,
                        bool inMacros) {
  Statements statements;
  auto const add = [&](std::string const& place, std::string const& comment) {
    std::string quoted = "'";
    for (char const unit : comment) quoted.append(unit == '\'' ? 2 : 1, unit);
    statements.push_back(place + " IS " + quoted + "'");
  };
  for (CatalogColumn const& column : inColumns) {
    if (column.mComment.empty()) continue;
    add("COMMENT ON COLUMN " + QuoteName(column.mSchema) + "." + QuoteName(column.mTable) + "." +
            QuoteName(column.mName),
        column.mComment);
  }
  for (char const* const query : kCommentQueries) {
    if (!IsAsked(query, inMacros)) continue;
    ForEachPair(inConnection, WithQuotedNames(query) + kOfDatabase + " AND comment IS NOT NULL",
                add);
  }
  return statements;
}

std::vector<Statements> ReadEnumValues(duckdb_connection inConnection) {
  std::map<std::string, Statements> types;
  ForEachPair(
      inConnection,
      std::string("SELECT type_oid::VARCHAR, unnest(labels) FROM duckdb_types() "
                  "WHERE NOT internal AND logical_type = 'ENUM'") +
          kOfDatabase,
      [&](std::string const& type, std::string const& value) { types[type].push_back(value); });
  std::vector<Statements> lists;
  lists.reserve(types.size());
  for (auto& [type, values] : types) lists.push_back(std::move(values));
  return lists;
}

std::string ReadStorageVersion(duckdb_connection inConnection) {
  std::string version;
  ForEachPair(inConnection,
              "SELECT tags['storage_version'], '' FROM duckdb_databases() "
              "WHERE database_name = current_database()",
              [&](std::string const& tag, std::string const&) { version = tag; });
  // "v1.5.0+" means that version's format; DuckDB takes it without the sign.
  while (version.ends_with('+')) version.pop_back();
  return version;
}

std::map<std::string, std::set<std::string>> ReadReferences(duckdb_connection inConnection) {
  std::map<std::string, std::set<std::string>> references;
  // A foreign key stays in its schema; the main one is not written.
  ForEachPair(inConnection,
              std::string(R"(SELECT s || table_name, s || referenced_table FROM (SELECT *,
                  CASE schema_name WHEN 'main' THEN '' ELSE schema_name || chr(0) END AS s
                  FROM duckdb_constraints()) WHERE constraint_type = 'FOREIGN KEY')") +
                  kOfDatabase,
              [&](std::string const& table, std::string const& needed) {
                references[table].insert(needed);
              });
  return references;
}

}  // namespace lumora
