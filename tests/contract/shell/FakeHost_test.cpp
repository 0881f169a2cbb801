// What lumora does as a host, whatever the extension is.
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "ShellRunner.h"

namespace lumora::test {
namespace {

std::string const kNotice = "a procedure was refused\n";

TEST(LumoraAsHost, EndsWithTwoWhenTheCommandLineIsWrong) {
  std::vector<std::vector<std::string>> const cases = {
      {"--nonsense"},         {"-c"},          {"--mode"},          {"--mode", "table"},
      {"--max-rows", "many"}, {"--extension"}, {"--max-rows", "-1"}};
  for (auto const& arguments : cases) {
    ProcessResult const result = RunLumora(arguments);
    EXPECT_EQ(result.mExitCode, 2) << arguments[0];
    EXPECT_EQ(result.mOutput, "") << arguments[0];
    EXPECT_NE(result.mErrors, "") << arguments[0];
  }
}

TEST(LumoraAsHost, EndsWithTwoWhenTheExtensionCannotBeLoaded) {
  for (std::string const path : {"/nowhere/x.so", LUMORA_SHELL_PATH, "/proc", "x.so"}) {
    ProcessResult const result = RunLumora({"--extension", path, "-c", "CALL echo()"});
    EXPECT_EQ(result.mExitCode, 2) << path;
    EXPECT_EQ(result.mOutput, "");
    EXPECT_NE(result.mErrors.find("cannot load the extension " + path), std::string::npos)
        << result.mErrors;
  }
}

TEST(LumoraAsHost, RefusesALibraryWithoutEntryPoints) {
  ProcessResult const result = RunLumora({"--extension", "/lib/x86_64-linux-gnu/libm.so.6"});
  EXPECT_EQ(result.mExitCode, 2);
  EXPECT_NE(result.mErrors.find("it has no function lumora_extension_bind_api"), std::string::npos)
      << result.mErrors;
}

TEST(LumoraAsHost, ShowsWhatTheExtensionReportedWhileItStarted) {
  ProcessResult const result = RunWithFake({"-c", "CALL echo()"});
  EXPECT_EQ(result.mExitCode, 0);
  EXPECT_EQ(result.mErrors, kNotice);
}

TEST(LumoraAsHost, TellsTheHelpTextForAWrongNumberOfArguments) {
  for (char const* sql : {"CALL count()", "CALL count(1, 2, 3)"}) {
    ProcessResult const result = RunWithFake({"-c", sql});
    EXPECT_EQ(result.mExitCode, 1);
    EXPECT_EQ(result.mOutput, "");
    EXPECT_NE(result.mErrors.find("count(rows [, failing row]): A test."), std::string::npos)
        << result.mErrors;
  }
}

struct FailingCall {
  char const* mSql;
  char const* mErrors;
};

TEST(LumoraAsHost, EndsWithOneAndTheMessageWhenAStatementFails) {
  FailingCall const cases[] = {
      {"CALL fail()", "Error: it \\x1b[31mfailed\n"},
      {"CALL silent()", "Error: silent gave no rows and no error message\n"},
      {"CALL echo(1",
       "Syntax Error: expected ')' behind the arguments, found the end (line 1, "
       "column 12)\nline 1: CALL echo(1\n                   ^\n"},
  };
  for (FailingCall const& c : cases) {
    ProcessResult const result = RunWithFake({"-c", c.mSql});
    EXPECT_EQ(result.mExitCode, 1) << c.mSql;
    EXPECT_EQ(result.mOutput, "") << c.mSql;
    EXPECT_EQ(result.mErrors, kNotice + c.mErrors);
  }
}

TEST(LumoraAsHost, TellsMisuseByTheExtensionAndGoesOn) {
  ProcessResult const result = RunWithFake({"-c", "CALL misuse()"});
  EXPECT_EQ(result.mExitCode, 1);
  EXPECT_NE(result.mErrors.find("function 0 of the host is not defined for extensions"),
            std::string::npos)
      << result.mErrors;
}

TEST(LumoraAsHost, StopsAtTheFirstFailingStatement) {
  ProcessResult const result = RunWithFake(
      {"--mode", "csv", "-c", "CALL echo(1); CALL fail(); CALL echo(2)", "-c", "CALL echo(3)"});
  EXPECT_EQ(result.mExitCode, 1);
  EXPECT_EQ(result.mOutput, "kind,text,items\r\n7,1,0\r\n");
}

TEST(LumoraAsHost, DestroysACursorWhoseRowFails) {
  ProcessResult const result = RunWithFake({"-c", "CALL count(10, 3)"});
  EXPECT_EQ(result.mExitCode, 1);
  EXPECT_EQ(result.mErrors, kNotice + "destroyed\nError: row lost\n");
}

TEST(LumoraAsHost, PassesEveryKindOfArgument) {
  ProcessResult const result = RunWithFake(
      {"--mode", "csv", "-c",
       "CALL echo('it''s', -5, 18446744073709551615, 2.5, NULL, TRUE, [1, 'a', NULL])"});
  EXPECT_EQ(result.mOutput,
            "kind,text,items\r\n10,it's,0\r\n7,-5,0\r\n12,18446744073709551615,0\r\n6,2.5,0\r\n"
            "9,,0\r\n2,true,0\r\n1,,3\r\n");
  EXPECT_EQ(result.mExitCode, 0);
}

TEST(LumoraAsHost, ReadsScriptsFromOptionsFilesAndStandardInputInOrder) {
  std::string const file = testing::TempDir() + "lumora_script.sql";
  std::ofstream(file) << "CALL echo('file');\n";
  ProcessResult const mixed = RunWithFake(
      {"--mode", "jsonlines", "-c", "CALL echo('first')", "-f", file, "-c", "CALL echo('last');"});
  EXPECT_EQ(mixed.mOutput,
            "{\"kind\":10,\"text\":\"first\",\"items\":0}\n"
            "{\"kind\":10,\"text\":\"file\",\"items\":0}\n"
            "{\"kind\":10,\"text\":\"last\",\"items\":0}\n");
  ProcessResult const piped = RunWithFake({"--mode", "csv"}, "CALL echo(1);\nCALL echo(2)\n");
  EXPECT_EQ(piped.mOutput, "kind,text,items\r\n7,1,0\r\nkind,text,items\r\n7,2,0\r\n");
  ProcessResult const both =
      RunWithFake({"--mode", "jsonlines", "-f", "-", "-f", file, "-f", "-"}, "CALL echo('input')");
  EXPECT_EQ(both.mExitCode, 0);
  EXPECT_EQ(both.mOutput,
            "{\"kind\":10,\"text\":\"input\",\"items\":0}\n"
            "{\"kind\":10,\"text\":\"file\",\"items\":0}\n");
  std::remove(file.c_str());
  ProcessResult const missing = RunWithFake({"-f", file});
  EXPECT_EQ(missing.mExitCode, 1);
  EXPECT_NE(missing.mErrors.find(file), std::string::npos);
}

TEST(LumoraAsHost, ShowsNoTextThatATerminalObeys) {
  for (std::string const mode : {"box", "line", "markdown", "json", "jsonlines"}) {
    ProcessResult const result = RunWithFake({"--mode", mode, "-c", "CALL hostile()"});
    EXPECT_EQ(result.mExitCode, 0);
    for (char const c : {'\x1b', '\x07', '\x08', '\x7f', '\r', '\t'}) {
      EXPECT_EQ(result.mOutput.find(c), std::string::npos) << mode << " " << int{c};
    }
    EXPECT_EQ(result.mOutput.find("\xC2\x9B"), std::string::npos) << mode;
    EXPECT_EQ(result.mOutput.find("\xE2\x80\xAE"), std::string::npos) << mode;
  }
}

TEST(LumoraAsHost, ElidesTheMiddleOfALongBox) {
  ProcessResult const result = RunWithFake({"--max-rows", "4", "-c", "CALL count(1000000)"});
  EXPECT_EQ(result.mOutput,
            "┌────────┬────────────┐\n"
            "│      n │ text       │\n"
            "│  int64 │ text       │\n"
            "├────────┼────────────┤\n"
            "│      0 │ NULL       │\n"
            "│      1 │ row 1      │\n"
            "│      … │ …          │\n"
            "│ 999998 │ row 999998 │\n"
            "│ 999999 │ NULL       │\n"
            "└────────┴────────────┘\n"
            "1,000,000 rows (4 shown)\n");
}

TEST(LumoraAsHost, EndsQuietlyWhenTheReaderOfItsOutputHasGone) {
  ProcessResult const result =
      RunProcess({"/bin/bash", "-c",
                  "'" LUMORA_SHELL_PATH "' --extension '" LUMORA_FAKE_EXTENSION_PATH
                  "' --mode csv -c 'CALL count(1000000)' | head -n 2; echo \"${PIPESTATUS[0]}\""});
  EXPECT_EQ(result.mOutput, "n,text\r\n0,\r\n0\n");
  EXPECT_EQ(result.mErrors, kNotice + "destroyed\n");
}

TEST(LumoraAsHost, EndsWithOneWhenTheOutputCannotBeWritten) {
  ProcessResult const result =
      RunProcess({"/bin/bash", "-c",
                  "'" LUMORA_SHELL_PATH "' --extension '" LUMORA_FAKE_EXTENSION_PATH
                  "' -c 'CALL echo(1)' > /dev/full"});
  EXPECT_EQ(result.mExitCode, 1);
  EXPECT_NE(result.mErrors.find("cannot write the output: No space left on device"),
            std::string::npos)
      << result.mErrors;
}

}  // namespace
}  // namespace lumora::test
