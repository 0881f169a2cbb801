#pragma once

#include <duckdb.h>

#include <cstdint>
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

// Those of the connection's current database, in order; none, with DuckDB's text in outError, when
// it refuses. Dear: DuckDB lists its own too; so it is asked once, and the answer handed to those
// who need it.
CatalogColumns ReadColumns(duckdb_connection inConnection, std::string& outError);

// "name" with its quotes doubled.
std::string QuoteName(std::string const& inName);

// Each object as its name for a user ("table main.t") and what it is like.
using CatalogItem = std::pair<std::string, std::string>;
using Catalog = std::set<CatalogItem>;

// The kinds of objects that a catalog is asked for, beside columns.
enum CatalogKind : std::uint32_t {
  kSchemas = 1U << 0,
  kTables = 1U << 1,
  kConstraints = 1U << 2,
  kViews = 1U << 3,
  kIndexes = 1U << 4,
  kSequences = 1U << 5,
  kTypes = 1U << 6,
  kMacros = 1U << 7,  // dear: DuckDB lists thousands of functions to find the user's
  kAllButMacros = kMacros - 1,
};

// The user's objects of a connection's current database.
struct CatalogObjects {
  Catalog mItems;               // the columns too
  Statements mComments;         // COMMENT ON statements, which EXPORT does not write; columns too
  std::uint32_t mKinds = 0;     // those of which there are some
  std::string mStorageVersion;  // "v1.5.0"; empty in memory
  std::string mError;           // DuckDB's text when it refused; nothing else is there then
};
CatalogObjects ReadObjects(duckdb_connection inConnection, CatalogColumns const& inColumns,
                           std::uint32_t inKinds);

// The objects of a catalog that a copy of it does not have.
Catalog FindMissing(Catalog const& inSource, Catalog const& inCopy);

// The values of each enum that is a type of the user's. outError: DuckDB's text when it refuses.
std::vector<Statements> ReadEnumValues(duckdb_connection inConnection, std::string& outError);

// For each table the tables that it refers to, named as of CopiedTable. outError as above.
std::map<std::string, std::set<std::string>> ReadReferences(duckdb_connection inConnection,
                                                            std::string& outError);

}  // namespace lumora
