#pragma once

#include <memory>
#include <string>

#include "duckdb_c/DatabaseFile.h"
#include "duckdb_c/Handles.h"

namespace lumora::procedures {

// The database and the connection of one procedure call. They are released in the right order, the
// connection first.
struct ProcedureDatabase {
  std::shared_ptr<duckdb_c::OpenDatabase> mDatabase;
  duckdb_c::ConnectionHandle mConnection;
};

// inUri empty = a private in-memory database. A local file must be there; nothing is created.
// std::runtime_error: "Unable to open DuckDB database.", "Unable to connect to DuckDB database.",
// both with "in-memory" when inUri is empty. std::invalid_argument for a NUL byte in inUri.
ProcedureDatabase OpenProcedureDatabase(std::string const& inUri);

// Runs one query to its end. std::runtime_error with DuckDB's text, or "DuckDB query failed.";
// std::invalid_argument for a NUL byte in inSql.
duckdb_c::ResultHandle RunQuery(duckdb_connection inConnection, std::string const& inSql);

}  // namespace lumora::procedures
