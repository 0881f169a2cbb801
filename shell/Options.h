#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Formats.h"

namespace lumora::shell {

// One -c or -f, in the order of the command line.
struct ScriptOption {
  enum class Kind { kCommand, kFile };
  Kind mKind = Kind::kCommand;
  std::string mText;  // the SQL text, or the file's path
};

// How databases are opened and created.
struct OpenOptions {
  bool mReadOnly = false;
  std::uint32_t mThreads = 0;    // 0 = DuckDB's default
  std::uint32_t mMaxMemory = 0;  // in megabytes; 0 = DuckDB's default
  std::string mTempFolder;       // empty = DuckDB's default
  bool mExternalAccess = true;
  std::string mStorageVersion;   // of a database that is created; empty = DuckDB's default
  std::uint32_t mBlockSize = 0;  // the same, in bytes
  std::string mToken;
  std::string mUserAgent;
};

struct Options {
  std::vector<ScriptOption> mScripts;
  std::string mDatabase;  // empty = in memory
  bool mCreate = false;
  OpenOptions mOpen;
  Mode mMode = Mode::kBox;
  std::uint32_t mCursorKind = 1;
  std::optional<std::size_t> mMaxRows;
  std::vector<std::string> mParameters;
  std::string mExtensionPath;  // empty = the default one
  bool mShowVersion = false;
};

// The options of a command line, or what to print instead of running.
struct UsageAnswer {
  std::string mText;
  bool mIsError = false;
};
using ParsedOptions = std::variant<Options, UsageAnswer>;
ParsedOptions ParseOptions(int inCount, char const* const* inArguments);

// "client" or "server" as the cursor kind.
std::optional<std::uint32_t> ParseCursorKind(std::string_view inName);
char const* CursorKindName(std::uint32_t inKind);

// "500MB", "2 GB", "1.5GiB", "800" (megabytes) in megabytes, at least 1. Pure.
std::optional<std::uint32_t> ParseMegabytes(std::string_view inText);

}  // namespace lumora::shell
