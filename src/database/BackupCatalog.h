#pragma once

#include <duckdb.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "database/BackupScript.h"

// What a database's catalog holds, in a form that two databases can be compared by.
namespace lumora {

// A column of a table or view of the user's.
struct CatalogColumn {
  std::string mSchema;
  std::string mTable;
  std::string mName;
  std::string mType;
  std::string mLike;     // position, type, nullability and default
  std::string mComment;  // empty when there is none
};
using CatalogColumns = std::vector<CatalogColumn>;

// Those of the connection's current database, in order. Dear: DuckDB lists its own too; so it is
// asked once, and the answer handed to those who need it.
CatalogColumns ReadColumns(duckdb_connection inConnection);

// "name" with its quotes doubled.
std::string QuoteName(std::string const& inName);

// Each object as its name for a user ("column \"main\".\"t\".\"a\"") and what it is like.
using CatalogItem = std::pair<std::string, std::string>;
using Catalog = std::set<CatalogItem>;

// The user's objects of the connection's current database: schemas, tables, columns, constraints,
// views, indexes, sequences and types, and macros if asked for: DuckDB lists thousands of functions
// to find them. Empty when DuckDB refuses.
Catalog ReadCatalog(duckdb_connection inConnection, CatalogColumns const& inColumns, bool inMacros);

// The objects of a catalog that a copy of it does not have.
Catalog FindMissing(Catalog const& inSource, Catalog const& inCopy);

// What EXPORT does not write, or writes wrongly.
// COMMENT ON statements; those of macros if asked for.
Statements ReadComments(duckdb_connection inConnection, CatalogColumns const& inColumns,
                        bool inMacros);
std::vector<Statements> ReadEnumValues(duckdb_connection inConnection);
std::string ReadStorageVersion(duckdb_connection inConnection);  // "v1.5.0"; empty in memory

// For each table the tables that it refers to, named as of CopiedTable.
std::map<std::string, std::set<std::string>> ReadReferences(duckdb_connection inConnection);

}  // namespace lumora
