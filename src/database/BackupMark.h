#pragma once

#include <string>

// Tells a backup that was cut short from a whole one.
//
// Hazard: what an export leaves when its process is killed, or its disk is full, can be a folder
// that DuckDB imports without an error: all tables, and no rows in them, when the loading script
// was made but not yet written. Remedy: a file in the folder that is there from before the export
// begins until its end. A folder of another hand has none.
namespace lumora {

// Both throw tarn::xException (path, the system's message). The folder is a path in UTF-8.
void BeginBackup(std::string const& inFolder);
void EndBackup(std::string const& inFolder);

bool IsUnfinishedBackup(std::string const& inFolder);

}  // namespace lumora
