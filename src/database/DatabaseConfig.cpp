#include "database/DatabaseConfig.h"

#include <fmt/format.h>

#include <stdexcept>

#include "database/DatabaseErrors.h"

namespace lumora {

using duckdb_c::Access;
using duckdb_c::ConfigHandle;

ConfigEntries SettingsEntries(tarn::lsql::DuckDBSettings const& inSettings) {
  ConfigEntries entries;
  if (inSettings.mThreads != 0)
    entries.emplace_back("threads", fmt::to_string(inSettings.mThreads));
  if (inSettings.mMaxMemory != 0) {
    entries.emplace_back("max_memory", fmt::format("{}MB", inSettings.mMaxMemory));
  }
  if (!inSettings.mTempDirectory.isEmpty()) {
    entries.emplace_back("temp_directory", ToUtf8(inSettings.mTempDirectory));
  }
  entries.emplace_back("enable_external_access", inSettings.mExternalAccess ? "true" : "false");
  return entries;
}

ConfigEntries RemoteEntries(tarn::String const& inToken, tarn::String const& inUserAgent) {
  ConfigEntries entries;
  if (inToken.isEmpty()) return entries;
  entries.emplace_back("motherduck_token", ToUtf8(inToken));
  if (!inUserAgent.isEmpty()) entries.emplace_back("custom_user_agent", ToUtf8(inUserAgent));
  return entries;
}

ConfigHandle MakeConfig(ConfigEntries const& inEntries, Access inAccess, std::string& outError) {
  ConfigHandle config;
  if (duckdb_create_config(config.out()) != DuckDBSuccess) throw std::runtime_error(kNoConfig);
  ConfigEntries entries = inEntries;
  entries.emplace_back("access_mode", inAccess == Access::kReadOnly ? "READ_ONLY" : "READ_WRITE");
  for (auto const& [name, value] : entries) {
    if (duckdb_set_config(config.get(), name.c_str(), value.c_str()) == DuckDBSuccess) continue;
    // DuckDB has no text for this one, and a token must not show up in a message.
    outError = fmt::format("DuckDB refuses the value of the setting \"{}\"", name);
    return {};
  }
  return config;
}

}  // namespace lumora
