// The manual page tells what lumora itself tells.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <set>

#include "ShellRunner.h"

namespace lumora::test {
namespace {

std::set<std::string> OptionsIn(std::string const& inText) {
  std::regex const option("--[a-z][a-z-]*");
  std::set<std::string> options;
  for (std::sregex_iterator found(inText.begin(), inText.end(), option), end; found != end;
       ++found) {
    options.insert(found->str());
  }
  return options;
}

TEST(LumoraManPage, NamesEveryOptionAndNoOther) {
  std::ifstream file(LUMORA_SOURCE_DIR "/docs/lumora.1");
  std::string const page{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  ProcessResult const help = RunLumora({"--help"});
  EXPECT_EQ(help.mExitCode, 0);
  EXPECT_GT(OptionsIn(help.mOutput).size(), 15U);
  EXPECT_EQ(OptionsIn(std::regex_replace(page, std::regex(R"(\\-)"), "-")),
            OptionsIn(help.mOutput));
  EXPECT_EQ(help.mOutput.find("NONNEGATIVE"), std::string::npos);
}

}  // namespace
}  // namespace lumora::test
