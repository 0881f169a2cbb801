#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

#include "support/Process.h"

namespace lumora::test {
namespace {

// The names that a run of nm lists last on each line, without their versions.
std::set<std::string> Names(std::string const& inOption) {
  auto const result = RunProcess({"/usr/bin/env", "nm", "-D", inOption, LUMORA_EXTENSION_PATH});
  EXPECT_EQ(result.mExitCode, 0) << result.mErrors;
  std::istringstream lines(result.mOutput);
  std::set<std::string> names;
  for (std::string line; std::getline(lines, line);) {
    std::string const name = line.substr(line.find_last_of(' ') + 1);
    names.insert(name.substr(0, name.find('@')));
  }
  return names;
}

TEST(Exports, AreTheTwoEntryPointsAndNothingElse) {
  EXPECT_EQ(Names("--defined-only"),
            (std::set<std::string>{"lumora_extension_bind_api", "lumora_extension_init"}));
}

TEST(Imports, FromDuckDBAreFunctionsOfItsCInterface) {
  auto const names = Names("--undefined-only");
  EXPECT_EQ(names.count("duckdb_query"), 1U);
  for (auto const& name : names) {
    EXPECT_EQ(name.find("6duckdb"), std::string::npos) << name << " is a C++ symbol of DuckDB's";
  }
}

}  // namespace
}  // namespace lumora::test
