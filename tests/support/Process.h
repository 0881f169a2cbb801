#pragma once

#include <string>
#include <vector>

namespace lumora::test {

struct ProcessResult {
  int mExitCode = -1;  // 128 + the signal's number when one ended it
  std::string mOutput;
  std::string mErrors;
};

// Runs an executable to its end with the given standard input and returns what it wrote. Variables
// ("NAME=value") are set beside those of the test itself. A process that still runs after two
// minutes is killed.
ProcessResult RunProcess(std::vector<std::string> const& inCommand, std::string const& inInput = {},
                         std::vector<std::string> const& inVariables = {});

}  // namespace lumora::test
