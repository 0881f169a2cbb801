// lumora's commands.
#include <gtest/gtest.h>

#include "ShellRunner.h"
#include "support/TempFolder.h"

namespace lumora::test {
namespace {

TEST(LumoraCommands, RefuseWhatTheyDoNotUnderstand) {
  TempFolder const folder;
  std::string const loop = folder.At("loop.sql");
  folder.Write("loop.sql", ".read '" + loop + "'\n");
  struct Case {
    std::string mLine;
    std::string mErrors;
  };
  Case const cases[] = {
      {".nope", "there is no command .nope; .help shows all"},
      {".", "there is no command .; .help shows all"},
      {".create", "usage: .create PATH"},
      {".restore one", "usage: .restore BACKUP PATH"},
      {".mode table", "'table' is none of box, csv, json, jsonlines, line, markdown"},
      {".cursor both", "'both' is neither client nor server"},
      {".timer maybe", "'maybe' is neither on nor off"},
      {".param set 1", ".param: say add VALUE or clear"},
      {".read /nowhere/x.sql", "cannot read /nowhere/x.sql"},
      {".read '" + loop + "'", "files read each other too deep"},
      {".output /nowhere/x", "cannot write /nowhere/x: No such file or directory"},
      {".next", "nothing is prepared"},
      {".prepare", "usage: .prepare SQL"},
      {".drop", "no database is open"},
      {".restore /nowhere/b /nowhere/x", "there is no folder /nowhere/b"},
      {".open 'a", "a quote is not closed"},
      {".open a.db writable", "'writable' is not understood"},
      {".types SELECT nope",
       "(line 1, column 15)\nline 1: .types SELECT nope\n                      ^\n"},
  };
  for (Case const& c : cases) {
    ProcessResult const result = RunLumora({"-c", c.mLine});
    EXPECT_EQ(result.mExitCode, 1) << c.mLine;
    EXPECT_EQ(result.mOutput, "") << c.mLine;
    EXPECT_NE(result.mErrors.find(c.mErrors), std::string::npos) << c.mLine << result.mErrors;
  }
}

TEST(LumoraCommands, CreateCloseOpenAndDropADatabase) {
  TempFolder const folder;
  std::string const path = folder.At("with space.db");
  ProcessResult const result =
      RunLumora({"--mode", "csv"},
                ".create '" + path + "'\nCREATE TABLE t AS SELECT 5 AS i;\n.close\n.open '" + path +
                    "' readonly\nFROM t;\n.close\n.open '" + path + "'\n.drop\n");
  EXPECT_EQ(result.mErrors, "");
  EXPECT_EQ(result.mOutput, "i\r\n5\r\n");
  EXPECT_EQ(folder.Names(), std::set<std::string>());
}

TEST(LumoraCommands, BackUpAndRestoreADatabase) {
  TempFolder const folder;
  std::string const path = folder.At("it's.db");
  ProcessResult const backup =
      RunLumora({"--create", path, "-c", "CREATE TABLE t AS SELECT 5 AS i; CREATE VIEW v AS FROM t",
                 "-c", ".backup \"" + folder.At("new/folder") + "\""});
  ASSERT_EQ(backup.mErrors, "");
  std::string const made = backup.mOutput.substr(0, backup.mOutput.find('\n'));
  EXPECT_EQ(made.rfind(folder.At("new/folder"), 0), 0U) << made;
  std::string const copy = folder.At("copy.db");
  std::string const restore = ".restore \"" + made + "\" \"" + copy + "\"";
  ProcessResult const restored = RunLumora({"--mode", "csv", "-c", restore, "-c", "FROM v"});
  EXPECT_EQ(restored.mErrors, "");
  EXPECT_EQ(restored.mOutput, "i\r\n5\r\n");
  ProcessResult const again = RunLumora({"-c", restore});
  EXPECT_EQ(again.mExitCode, 1);
  EXPECT_NE(again.mErrors.find("is there already"), std::string::npos) << again.mErrors;
}

TEST(LumoraCommands, ShowTablesSchemasDatabasesAndTypes) {
  ProcessResult const result = RunLumora(
      {"--mode", "csv", "-c",
       "CREATE TABLE t(i INT, s VARCHAR); CREATE VIEW v AS SELECT i FROM t; CREATE INDEX x ON t(i)",
       "-c", ".tables", "-c", ".tables T", "-c", ".schema", "-c", ".types FROM t", "-c",
       "SELECT 1.5 AS d", "-c", ".types"});
  EXPECT_EQ(result.mErrors, "");
  EXPECT_EQ(result.mOutput,
            "database,schema,name,type,rows\r\nmemory,main,t,table,0\r\nmemory,main,v,view,\r\n"
            "database,schema,name,type,rows\r\nmemory,main,t,table,0\r\n"
            "CREATE TABLE t(i INTEGER, s VARCHAR);\nCREATE VIEW v AS SELECT i FROM t;\n"
            "CREATE INDEX x ON t(i);\n"
            "column,type\r\ni,INTEGER\r\ns,VARCHAR\r\n"
            "d\r\n1.5\r\ncolumn,type\r\nd,\"DECIMAL(2,1)\"\r\n");
  EXPECT_EQ(RunLumora({"-c", ".databases"}).mOutput, "no database is open\n");
}

TEST(LumoraCommands, WalkThroughAPreparedScript) {
  ProcessResult const result =
      RunLumora({"--mode", "csv"},
                ".prepare SELECT $1 AS a; CREATE TABLE t AS SELECT $1 AS b; FROM t\n"
                ".param add 'x y'\n.param\n.next\n.next\n.next\n.param clear\n.param\n.next\n");
  EXPECT_EQ(result.mOutput, "$1 = 'x y'\na\r\nx y\r\nb\r\nx y\r\n");
  EXPECT_EQ(result.mErrors, "2 left\n1 left\n0 left\nError: no prepared statement is left\n");
}

TEST(LumoraCommands, WriteResultsToAFile) {
  TempFolder const folder;
  ProcessResult const result = RunLumora(
      {"--mode", "csv"}, ".output " + folder.At("out.csv") +
                             "\nSELECT 1 AS a;\nSELECT 2 AS b;\n.output\nSELECT 3 AS c;\n");
  EXPECT_EQ(result.mErrors, "");
  EXPECT_EQ(result.mOutput, "c\r\n3\r\n");
  EXPECT_EQ(folder.Read("out.csv"), "a\r\n1\r\nb\r\n2\r\n");
}

TEST(LumoraCommands, ReadFilesAndStopWhereTheyFail) {
  TempFolder const folder;
  folder.Write("good.sql", "SELECT 1 AS a;\n");
  folder.Write("bad.sql", "SELECT 2 AS b;\nSELECT nope;\nSELECT 3 AS c;\n");
  ProcessResult const result =
      RunLumora({"--mode", "csv"}, ".read " + folder.At("good.sql") + "\n.read " +
                                       folder.At("bad.sql") + "\nSELECT 4 AS d;\n");
  EXPECT_EQ(result.mExitCode, 1);
  EXPECT_EQ(result.mOutput, "a\r\n1\r\nb\r\n2\r\n");
  EXPECT_NE(result.mErrors.find("line 2: SELECT nope;"), std::string::npos) << result.mErrors;
  EXPECT_NE(result.mErrors.find("in " + folder.At("bad.sql")), std::string::npos);
}

TEST(LumoraCommands, QuitEndsWithoutRunningTheRest) {
  ProcessResult const result =
      RunLumora({"--mode", "csv", "-c", "SELECT 1 AS a;\n.quit\nSELECT 2 AS b;", "-c", "SELECT 3"});
  EXPECT_EQ(result.mExitCode, 0);
  EXPECT_EQ(result.mOutput, "a\r\n1\r\n");
}

TEST(LumoraCommands, TimerTellsTheTimeOnStandardError) {
  ProcessResult const result = RunLumora({"--mode", "csv"}, ".timer on\nSELECT 1 AS a;\n");
  EXPECT_EQ(result.mOutput, "a\r\n1\r\n");
  EXPECT_EQ(result.mErrors.rfind("Time: ", 0), 0U) << result.mErrors;
}

TEST(LumoraCommands, HelpListsCommandsAndProcedures) {
  ProcessResult const result = RunLumora({"-c", ".help"});
  for (char const* name :
       {".open",    ".create", ".close",
        ".drop",    ".backup", ".restore",
        ".tables",  ".schema", ".mode",
        ".cursor",  ".timer",  ".param",
        ".types",   ".read",   ".output",
        ".prepare", ".next",   ".databases",
        ".help",    ".quit",   "CALL fetch_parquet(uri [, columns [, where [, limit]]])"}) {
    EXPECT_NE(result.mOutput.find(name), std::string::npos) << name;
  }
}

}  // namespace
}  // namespace lumora::test
