#pragma once

#include <string>

#include "tarn/String.h"

// What the database room says when something is wrong. Texts of DuckDB's own come first where there
// are any.
namespace lumora {

inline constexpr std::uint32_t kDuckDBError = 0x72501;
inline constexpr std::uint32_t kOpenError = 0x99000;

inline constexpr char const* kNotOpen = "DuckDBDatabase is not open";
inline constexpr char const* kForeignStatement = "DuckDBStatement does not belong to this database";
// Why a database may not be dropped or replaced; formats of the number of users, of "process 12".
inline constexpr char const kInUse[] = "Can not be dropped. {} connections are alive.";
inline constexpr char const kInUseBy[] = "Can not be dropped. It is in use by {}.";
inline constexpr char const* kIsFolder = "Can not be dropped. It is a folder.";
inline constexpr char const* kIsNoFile = "Can not be dropped. It is not a regular file.";
inline constexpr char const* kNoBackupFolder = "DuckDBDatabase backup folder is not available";
inline constexpr char const* kUnfinishedBackup = "The backup was cut short and cannot be restored";
inline constexpr char const* kNoFile = "File does not exist";
inline constexpr char const* kNoConfig = "Failed to create DuckDB config";
inline constexpr char const* kNoConnection = "Failed to create DuckDB connection";
inline constexpr char const* kCreateFailed = "Unknown DuckDB database open error";
inline constexpr char const* kOpenFailed = "Failed to open DuckDB database";

tarn::String ToHostText(std::string const& inText);
std::string ToUtf8(tarn::String const& inText);

// xDuckDBError 0x72501 with the texts (path, message).
[[noreturn]] void ThrowDuckDBError(tarn::String const& inPath, std::string const& inMessage);

// xException 0x99000 with the message.
[[noreturn]] void ThrowOpenError(std::string const& inMessage);

}  // namespace lumora
