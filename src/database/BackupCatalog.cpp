#include "database/BackupCatalog.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "database/BackupQuery.h"

namespace lumora {

namespace {

struct KindQuery {
  CatalogKind mKind;
  // Gives (kind, name for a user, what it is like, COMMENT ON what, comment) and ends in a WHERE to
  // which the database is added. q(name) stands for the SQL that quotes the name.
  char const* mSql;
};

// Views are told by their columns and not by their text, which DuckDB may write in another way.
constexpr std::array kKindQueries = {
    KindQuery{kSchemas, R"('schema ' || schema_name, '', '', NULL
       FROM duckdb_schemas() WHERE NOT internal)"},
    KindQuery{kTables, R"('table ' || schema_name || '.' || table_name, '',
       'TABLE ' || q(schema_name) || '.' || q(table_name), comment
       FROM duckdb_tables() WHERE NOT internal AND NOT temporary)"},
    KindQuery{kConstraints, R"('constraint of table ' || schema_name || '.' || table_name,
       concat_ws(' ', constraint_type, expression, constraint_column_names, referenced_table,
       referenced_column_names), '', NULL FROM duckdb_constraints() WHERE true)"},
    KindQuery{kViews, R"('view ' || schema_name || '.' || view_name, '',
       'VIEW ' || q(schema_name) || '.' || q(view_name), comment
       FROM duckdb_views() WHERE NOT internal AND NOT temporary)"},
    KindQuery{kIndexes, R"('index ' || schema_name || '.' || index_name,
       concat_ws(' ', table_name, is_unique, expressions),
       'INDEX ' || q(schema_name) || '.' || q(index_name), comment
       FROM duckdb_indexes() WHERE true)"},
    KindQuery{kSequences, R"('sequence ' || schema_name || '.' || sequence_name,
       concat_ws(' ', increment_by, min_value, max_value, cycle),
       'SEQUENCE ' || q(schema_name) || '.' || q(sequence_name), comment
       FROM duckdb_sequences() WHERE NOT temporary)"},
    KindQuery{kTypes, R"('type ' || schema_name || '.' || type_name,
       concat_ws(' ', logical_type, labels), 'TYPE ' || q(schema_name) || '.' || q(type_name),
       comment FROM duckdb_types() WHERE NOT internal)"},
    KindQuery{kMacros, R"('macro ' || schema_name || '.' || function_name,
       concat_ws(' ', function_type, parameters),
       'MACRO ' || CASE function_type WHEN 'table_macro' THEN 'TABLE ' ELSE '' END
       || q(schema_name) || '.' || q(function_name), comment FROM duckdb_functions()
       WHERE NOT internal AND function_type IN ('macro', 'table_macro'))"},
};

constexpr char const* kOfDatabase = " AND database_name = current_database()";
constexpr char const* kQuoteName = R"('"' || replace($1, '"', '""') || '"')";
constexpr char const* kStorageVersion =
    "SELECT 0, tags['storage_version'], '', '', NULL FROM duckdb_databases() WHERE true";

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

// One query for all kinds: planning several costs more than running them.
std::string BuildObjectsSql(std::uint32_t inKinds) {
  std::string sql =
      std::string("SELECT kind::VARCHAR, name, alike, place, remark::VARCHAR FROM (") +
      kStorageVersion + kOfDatabase;
  for (KindQuery const& query : kKindQueries) {
    if (!(inKinds & query.mKind)) continue;
    sql += " UNION ALL SELECT " + std::to_string(query.mKind) + ", " + WithQuotedNames(query.mSql) +
           kOfDatabase;
  }
  return sql + ") AS objects(kind, name, alike, place, remark)";
}

std::string BuildComment(std::string const& inPlace, std::string const& inComment) {
  std::string quoted = "'";
  for (char const unit : inComment) quoted.append(unit == '\'' ? 2 : 1, unit);
  return "COMMENT ON " + inPlace + " IS " + quoted + "'";
}

// "v1.5.0+" means that version's format; DuckDB takes it without the sign.
std::string WithoutPlus(std::string ioVersion) {
  while (ioVersion.ends_with('+')) ioVersion.pop_back();
  return ioVersion;
}

// Calls inRow(first, second) for each row of a query of two texts.
template <typename TRow>
void ForEachPair(duckdb_connection inConnection, std::string const& inSql, std::string& outError,
                 TRow const& inRow) {
  ForEachRow(inConnection, inSql, outError,
             [&](std::vector<std::string> const& row) { inRow(row[0], row[1]); });
}

void AddColumns(CatalogColumns const& inColumns, CatalogObjects& ioObjects) {
  for (CatalogColumn const& column : inColumns) {
    ioObjects.mItems.emplace("column " + column.mSchema + "." + column.mTable + "." + column.mName,
                             column.mLike);
    if (column.mComment.empty()) continue;
    ioObjects.mComments.push_back(BuildComment("COLUMN " + QuoteName(column.mSchema) + "." +
                                                   QuoteName(column.mTable) + "." +
                                                   QuoteName(column.mName),
                                               column.mComment));
  }
}

}  // namespace

CatalogColumns ReadColumns(duckdb_connection inConnection, std::string& outError) {
  CatalogColumns columns;
  ForEachRow(inConnection,
             std::string(R"(SELECT schema_name, table_name, column_name, data_type,
                 concat_ws(' ', column_index, data_type, is_nullable, column_default), comment
                 FROM duckdb_columns() WHERE NOT internal)") +
                 kOfDatabase + " ORDER BY table_oid, column_index",
             outError, [&](std::vector<std::string> const& row) {
               columns.push_back({row[0], row[1], row[2], row[3], row[4], row[5]});
             });
  return columns;
}

std::string QuoteName(std::string const& inName) {
  std::string quoted = "\"";
  for (char const unit : inName) quoted.append(unit == '"' ? 2 : 1, unit);
  return quoted += '"';
}

CatalogObjects ReadObjects(duckdb_connection inConnection, CatalogColumns const& inColumns,
                           std::uint32_t inKinds) {
  CatalogObjects objects;
  auto const add = [&](std::vector<std::string> const& row) {
    auto const kind = static_cast<std::uint32_t>(std::stoul(row[0]));
    objects.mKinds |= kind;
    if (kind == 0) {
      objects.mStorageVersion = WithoutPlus(row[1]);
      return;
    }
    objects.mItems.emplace(row[1], row[2]);
    if (!row[4].empty()) objects.mComments.push_back(BuildComment(row[3], row[4]));
  };
  if (ForEachRow(inConnection, BuildObjectsSql(inKinds), objects.mError, add)) {
    AddColumns(inColumns, objects);
  }
  return objects;
}

Catalog FindMissing(Catalog const& inSource, Catalog const& inCopy) {
  Catalog missing;
  std::set_difference(inSource.begin(), inSource.end(), inCopy.begin(), inCopy.end(),
                      std::inserter(missing, missing.end()));
  return missing;
}

std::vector<Statements> ReadEnumValues(duckdb_connection inConnection, std::string& outError) {
  std::map<std::string, Statements> types;
  ForEachPair(inConnection,
              std::string("SELECT type_oid::VARCHAR, unnest(labels) FROM duckdb_types() "
                          "WHERE NOT internal AND logical_type = 'ENUM'") +
                  kOfDatabase,
              outError, [&](std::string const& type, std::string const& value) {
                types[type].push_back(value);
              });
  std::vector<Statements> lists;
  lists.reserve(types.size());
  for (auto& [type, values] : types) lists.push_back(std::move(values));
  return lists;
}

std::map<std::string, std::set<std::string>> ReadReferences(duckdb_connection inConnection,
                                                            std::string& outError) {
  std::map<std::string, std::set<std::string>> references;
  // A foreign key stays in its schema; the main one is not written.
  ForEachPair(inConnection,
              std::string(R"(SELECT s || table_name, s || referenced_table FROM (SELECT *,
                  CASE schema_name WHEN 'main' THEN '' ELSE schema_name || chr(0) END AS s
                  FROM duckdb_constraints()) WHERE constraint_type = 'FOREIGN KEY')") +
                  kOfDatabase,
              outError, [&](std::string const& table, std::string const& needed) {
                references[table].insert(needed);
              });
  return references;
}

}  // namespace lumora
