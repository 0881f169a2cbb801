#include "database/BackupValues.h"

#include <regex>

#include "database/BackupQuery.h"

namespace lumora {

namespace {

std::string ChecksumSql(std::string const& inSource, DelicateTable const& inTable) {
  std::string values;
  for (std::string const& column : inTable.mColumns) {
    if (!values.empty()) values += ", ";
    values += "CAST(" + column + " AS VARCHAR)";
  }
  return "SELECT concat_ws(' ', count(*), sum(hash(" + values + "))) FROM " + inSource;
}

std::string Checksum(duckdb_connection inConnection, std::string const& inSql,
                     std::string& outError) {
  std::string sum;
  ForEachRow(inConnection, inSql, outError,
             [&](std::vector<std::string> const& row) { sum = row[0]; });
  return sum;
}

// The literal with the file's path in "COPY … FROM '…' (…".
std::string FileLiteral(std::string const& inCopy) {
  std::size_t const from = inCopy.rfind(" FROM '");
  std::size_t const end = inCopy.rfind("' (");
  if (from == std::string::npos || end == std::string::npos || end <= from) return {};
  std::size_t const start = from + 6;
  return inCopy.substr(start, end + 1 - start);
}

// The names of a file's columns, quoted; generated columns are not in it.
std::string FileColumns(duckdb_connection inConnection, std::string const& inFile,
                        std::string& outError) {
  std::string names;
  ForEachRow(inConnection,
             "SELECT '\"' || replace(column_name, '\"', '\"\"') || '\"' FROM "
             "(DESCRIBE SELECT * FROM read_parquet(" +
                 inFile + "))",
             outError, [&](std::vector<std::string> const& row) {
               names += (names.empty() ? "" : ", ") + row[0];
             });
  return names;
}

// Loads the file as a restore would, into a table without constraints, for its checksum.
std::string LoadedChecksum(duckdb_connection inTrial, std::string const& inCopy,
                           DelicateTable const& inTable, std::string& outError) {
  std::string const file = FileLiteral(inCopy);
  std::string const columns = FileColumns(inTrial, file, outError);
  std::string sum;
  if (outError.empty() &&
      RunQuery(inTrial,
               "CREATE OR REPLACE TEMP TABLE lumora_loaded AS SELECT " + columns + " FROM " +
                   inTable.mName + " LIMIT 0",
               outError) &&
      RunQuery(inTrial, "COPY temp.lumora_loaded" + inCopy.substr(inCopy.rfind(" FROM '")),
               outError)) {
    sum = Checksum(inTrial, ChecksumSql("temp.lumora_loaded", inTable), outError);
  }
  std::string ignored;
  RunQuery(inTrial, "DROP TABLE IF EXISTS temp.lumora_loaded", ignored);
  return sum;
}

}  // namespace

DelicateTables FindDelicateTables(CatalogColumns const& inColumns, Catalog const& inCatalog) {
  static std::regex const delicate(
      R"(HUGEINT|INTERVAL|VARIANT|\[[0-9]+\]|(^|[^A-Z_])TIME WITH TIME ZONE)");
  DelicateTables tables;
  for (CatalogColumn const& column : inColumns) {
    bool const isTable = inCatalog.contains({"table " + column.mSchema + "." + column.mTable, ""});
    if (!isTable || !std::regex_search(column.mType, delicate)) continue;
    std::string const key =
        column.mSchema == "main" ? column.mTable : column.mSchema + '\0' + column.mTable;
    DelicateTable& table = tables[key];
    table.mName = QuoteName(column.mSchema) + "." + QuoteName(column.mTable);
    table.mColumns.push_back(QuoteName(column.mName));
    table.mTypes.push_back(column.mType);
  }
  return tables;
}

Checksums ReadChecksums(duckdb_connection inConnection, DelicateTables const& inTables) {
  Checksums sums;
  for (auto const& [key, table] : inTables) {
    std::string error;
    sums[key] = Checksum(inConnection, ChecksumSql(table.mName, table), error) + error;
  }
  return sums;
}

std::string CompareFiles(duckdb_connection inTrial, Statements const& inCopies,
                         DelicateTables const& inTables, Checksums const& inBefore,
                         Checksums const& inAfter) {
  for (std::string const& copy : inCopies) {
    std::string const key = CopiedTable(copy);
    auto const table = inTables.find(key);
    if (key.empty() || table == inTables.end()) continue;
    std::string error;
    std::string const sum = LoadedChecksum(inTrial, copy, table->second, error);
    if (!error.empty()) return error;
    auto const before = inBefore.find(key);
    auto const after = inAfter.find(key);
    bool const known = before != inBefore.end() && after != inAfter.end();
    if (known && (sum == before->second || sum == after->second)) continue;
    std::string const which = "table " + table->second.mName + " (column " +
                              table->second.mColumns.front() + " " + table->second.mTypes.front() +
                              ")";
    return known && before->second == after->second
               ? "Parquet does not hold the values of " + which + " as they are"
               : which + " was changed during the export and could not be compared with its file";
  }
  return {};
}

}  // namespace lumora
