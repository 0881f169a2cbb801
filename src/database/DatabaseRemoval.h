#pragma once

#include <string>

namespace lumora {

// Removes the database file at a local path (UTF-8, links are followed) and what DuckDB keeps
// beside it: the log, the leftovers of an interrupted checkpoint, and its own files in the folder
// for temporary data. Nothing else. Opens no DuckDB database. The caller holds a FileReservation.
//
// The file goes first: if the process is killed in between, the database is gone, and what is left
// is removed by the next call. The other way round an old state of the database would come back.
//
// Returns why it could not be done; empty when nothing is left. A folder, a device, a pipe, and a
// file that another process has locked are refused and stay.
std::string RemoveDatabaseFiles(std::string const& inPath);

}  // namespace lumora
