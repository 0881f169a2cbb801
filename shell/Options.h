#pragma once

#include <cstddef>
#include <string>
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

struct Options {
  std::vector<ScriptOption> mScripts;
  Mode mMode = Mode::kBox;
  std::size_t mMaxRows = 40;
  std::string mExtensionPath;  // empty = the default one
  bool mShowVersion = false;
};

// The options of a command line, or what to print instead of running and the exit code of that.
struct UsageAnswer {
  std::string mText;
  bool mIsError = false;
};
using ParsedOptions = std::variant<Options, UsageAnswer>;
ParsedOptions ParseOptions(int inCount, char const* const* inArguments);

}  // namespace lumora::shell
