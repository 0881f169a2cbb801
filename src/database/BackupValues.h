#pragma once

#include <duckdb.h>

#include <map>
#include <string>
#include <vector>

#include "database/BackupCatalog.h"
#include "database/BackupScript.h"

// Values that DuckDB does not write to Parquet as they are, or cannot load from there: INTERVAL
// loses its microseconds, TIME WITH TIME ZONE its zone, and a fixed-size array inside a struct is
// refused. Tables with columns of such types are loaded from their file, as a restore does, and
// compared.
namespace lumora {

// A table with columns of such types.
struct DelicateTable {
  std::string mName;                  // quoted SQL name
  std::vector<std::string> mColumns;  // quoted
  std::vector<std::string> mTypes;
};

// By the name as of CopiedTable.
using DelicateTables = std::map<std::string, DelicateTable>;
DelicateTables FindDelicateTables(CatalogColumns const& inColumns, Catalog const& inCatalog);

// Row count and checksum of the delicate columns of each table; a text for one that cannot be read.
using Checksums = std::map<std::string, std::string>;
Checksums ReadChecksums(duckdb_connection inConnection, DelicateTables const& inTables);

// Why the files that the COPY statements name would not bring the values back; empty when they do.
// inTrial has the tables, without rows; inBefore and inAfter are the source's checksums around the
// export.
std::string CompareFiles(duckdb_connection inTrial, Statements const& inCopies,
                         DelicateTables const& inTables, Checksums const& inBefore,
                         Checksums const& inAfter);

}  // namespace lumora
