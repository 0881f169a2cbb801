#pragma once

#include <duckdb.h>

#include <string>

namespace lumora {

// Exports the connection's current database into a folder (UTF-8) and makes sure that the folder
// can be imported again: the statements of its scripts are put into an order that works, what
// DuckDB does not export but SQL can say (comments) is added, and the schema is tried in a private
// database and compared with the source. Costs no pass over the data.
//
// Returns DuckDB's text when the export fails ("Unknown DuckDB backup error" when it gives none),
// or why the backup that was written would not bring everything back; empty when all is well.
// Nothing that was written is removed. Takes no lock: the connection must stay alive, and no other
// thread needs to be kept from using it.
std::string ExportDatabase(duckdb_connection inConnection, std::string const& inFolder);

}  // namespace lumora
