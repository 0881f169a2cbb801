#pragma once

#include "tarn/Location.h"
#include "tarn/smart_ptr.h"

namespace tarn {

// The backup marker's file extension and content. Read at each backup.
LSHARED_API extern char const* glDuckDB_backup_sfx;

namespace lsql {

// The host's hooks, read at each backup; set them while no backup runs.
//
// When set and when it returns a location, that is the folder of all backups. Null at first.
LSHARED_API extern smart_ptr<I_Location> (*gServerBackupLocation)();

// Makes the location of one new backup inside the folder. The default names it by the moment
// ("2026-11-21_03-20-00", with "_2" and so on behind it when that is taken) and makes the folder.
LSHARED_API extern smart_ptr<I_Location> (*gCreateBackupLocation)(smart_ptr<I_Location> inFolder);

}  // namespace lsql
}  // namespace tarn
