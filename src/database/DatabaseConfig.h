#pragma once

#include <string>
#include <utility>
#include <vector>

#include "duckdb_c/DatabaseFile.h"
#include "tarn/lsql/I_DuckDBDatabase.h"

// DuckDB's configuration out of the host's settings.
namespace lumora {

using ConfigEntry = std::pair<std::string, std::string>;  // name and value, UTF-8
using ConfigEntries = std::vector<ConfigEntry>;

// What the host's settings say; a value that means DuckDB's default is not there.
ConfigEntries SettingsEntries(tarn::lsql::DuckDBSettings const& inSettings);

// Access token and user agent; nothing without a token.
ConfigEntries RemoteEntries(tarn::String const& inToken, tarn::String const& inUserAgent);

// A configuration with these entries and the access. Throws std::runtime_error "Failed to create
// DuckDB config"; when DuckDB refuses an entry it returns the empty handle and says so in outError.
duckdb_c::ConfigHandle MakeConfig(ConfigEntries const& inEntries, duckdb_c::Access inAccess,
                                  std::string& outError);

}  // namespace lumora
