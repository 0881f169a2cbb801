#pragma once

#include <string>
#include <vector>

#include "support/Process.h"

namespace lumora::test {

// Runs lumora with these arguments on the extension that knows no database.
inline ProcessResult RunWithFake(std::vector<std::string> const& inArguments,
                                 std::string const& inInput = {}) {
  std::vector<std::string> command = {LUMORA_SHELL_PATH, "--extension", LUMORA_FAKE_EXTENSION_PATH};
  command.insert(command.end(), inArguments.begin(), inArguments.end());
  return RunProcess(command, inInput);
}

// Runs lumora with these arguments on the real extension.
inline ProcessResult RunLumora(std::vector<std::string> const& inArguments,
                               std::string const& inInput = {}) {
  std::vector<std::string> command = {LUMORA_SHELL_PATH};
  command.insert(command.end(), inArguments.begin(), inArguments.end());
  return RunProcess(command, inInput);
}

}  // namespace lumora::test
