#pragma once

#include <duckdb.h>

#include <map>
#include <set>
#include <string>

#include "database/BackupScript.h"

// What a database's catalog holds, in a form that two databases can be compared by.
namespace lumora {

// Each object as its name for a user ("column \"main\".\"t\".\"a\"") and what it is like.
using CatalogItem = std::pair<std::string, std::string>;
using Catalog = std::set<CatalogItem>;

// The user's objects of the connection's current database: schemas, tables, columns, constraints,
// views, indexes, sequences, macros and types. Empty when DuckDB refuses.
Catalog ReadCatalog(duckdb_connection inConnection);

// The first object that is in both states of the source and not in the copy; empty when there is
// none. An object that came or went between the two states may be in the copy or not.
std::string FindMissing(Catalog const& inBefore, Catalog const& inAfter, Catalog const& inCopy);

// What EXPORT does not write, or writes wrongly.
Statements ReadComments(duckdb_connection inConnection);  // COMMENT ON statements
std::vector<Statements> ReadEnumValues(duckdb_connection inConnection);
std::string ReadStorageVersion(duckdb_connection inConnection);  // "v1.5.0"; empty in memory

// For each table the tables that it refers to, named as of CopiedTable.
std::map<std::string, std::set<std::string>> ReadReferences(duckdb_connection inConnection);

}  // namespace lumora
