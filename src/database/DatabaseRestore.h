#pragma once

#include <string>

#include "tarn/Location.h"
#include "tarn/lsql/I_DuckDBDatabase.h"

namespace lumora {

// A new database in place of what is at a local path, from a backup folder. The caller holds the
// engine lock.
//
// The new database is built beside the target, under its name and ".lumora-restoring", and takes
// its place by one rename when it is whole, closed and on the disk. So whenever the process is
// killed, the old database is there as a whole or the new one is; what a killed restore left is
// removed by the next. Hazard: a log of the old database would be taken for the new one's. Remedy:
// the old database is opened and closed before, which takes its log in. One that DuckDB cannot open
// any more is set aside with its log under ".lumora-replaced" until the new one is in place;
// ReturnReplaced undoes that after a crash.
//
// Errors: xDuckDBError 0x72501 (target's path, DuckDB's message or a fixed one); the old database
// then is as it was.
void RestoreDatabaseFile(tarn::I_Location& inTarget, std::string const& inBackupFolder);

// Puts a database back that an interrupted restore had set aside while nothing stood in its place
// yet. Nothing to do otherwise. The path is local, UTF-8.
void ReturnReplaced(std::string const& inPath);

// Imports a backup folder (UTF-8) into an open database: "IMPORT DATABASE '…'". A backup of an
// empty database has nothing to import, which DuckDB would call an error.
void ImportBackup(tarn::lsql::I_DuckDBDatabase& inDatabase, std::string const& inFolder);

}  // namespace lumora
