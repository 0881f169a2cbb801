#include "database/BackupScript.h"

#include <gmock/gmock.h>

#include "support/TempFolder.h"

namespace {

using namespace lumora;
using testing::ElementsAre;
using testing::IsEmpty;

// A runner that knows which statement needs which others before it.
RunStatement Needing(std::map<std::string, Statements> const& inNeeds, Statements& ioRan) {
  return [&](std::string const& statement, std::string& error) {
    auto const found = inNeeds.find(statement);
    for (std::string const& need : found == inNeeds.end() ? Statements{} : found->second) {
      if (std::find(ioRan.begin(), ioRan.end(), need) == ioRan.end()) {
        error = "needs " + need;
        return false;
      }
    }
    ioRan.push_back(statement);
    return true;
  };
}

TEST(RunInWorkingOrder, PutsAStatementBehindThoseThatItNeeds) {
  std::map<std::string, Statements> const needs = {{"a", {"c"}}, {"b", {"a"}}};
  Statements ran;
  Statements pending = {"a", "b", "c", "d"};
  std::string error;
  EXPECT_THAT(RunInWorkingOrder(pending, Needing(needs, ran), error),
              ElementsAre("c", "d", "a", "b"));
  EXPECT_THAT(pending, IsEmpty());
}

TEST(RunInWorkingOrder, TellsTheFirstOfThoseThatNeverRun) {
  std::map<std::string, Statements> const needs = {{"a", {"b"}}, {"b", {"a"}}, {"x", {"nothing"}}};
  Statements ran;
  Statements pending = {"x", "a", "b", "c"};
  std::string error;
  EXPECT_THAT(RunInWorkingOrder(pending, Needing(needs, ran), error), ElementsAre("c"));
  EXPECT_THAT(pending, ElementsAre("x", "a", "b"));
  EXPECT_EQ(error, "needs nothing");
}

TEST(QuoteEnumValues, DoublesTheQuotesOfTheListsThatHoldSome) {
  std::string const script =
      "CREATE TYPE a AS ENUM ( 'x', 'y'z' );;\nCREATE TYPE b AS ENUM ( 'x' );;\n"
      "CREATE TYPE c AS ENUM ( 'x', 'y'z' );;\n";
  EXPECT_EQ(QuoteEnumValues(script, {{"x", "y'z"}, {"x"}}),
            "CREATE TYPE a AS ENUM ( 'x', 'y''z' );;\nCREATE TYPE b AS ENUM ( 'x' );;\n"
            "CREATE TYPE c AS ENUM ( 'x', 'y''z' );;\n");
  EXPECT_EQ(QuoteEnumValues("nothing", {{"'"}, {""}}), "nothing");
}

TEST(CopiedTable, IsTheNameWithoutItsQuotes) {
  std::string const nul(1, '\0');
  std::vector<std::pair<char const*, std::string>> const cases = {
      {"COPY t FROM 't.parquet' (FORMAT 'parquet')", "t"},
      {"COPY zz.parent FROM 'x'", "zz" + nul + "parent"},
      {"COPY \"a \"\"b\"\".c\".\"FROM \" FROM 'x'", "a \"b\".c" + nul + "FROM "},
      {"COPY \"never closed FROM 'x'", ""},
      {"COPY t TO 'x'", ""},
      {"COPY ", ""},
      {"INSERT INTO t FROM x", ""},
      {"", ""},
  };
  for (auto const& [statement, table] : cases)
    EXPECT_EQ(CopiedTable(statement), table) << statement;
}

TEST(OrderCopies, LoadsATableAfterThoseThatItRefersTo) {
  Statements const written = {"COPY a FROM '1'", "COPY b FROM '2'", "COPY c FROM '3'"};
  EXPECT_THAT(OrderCopies(written, {{"a", {"c"}}, {"c", {"b", "gone"}}}),
              ElementsAre("COPY b FROM '2'", "COPY c FROM '3'", "COPY a FROM '1'"));
  EXPECT_EQ(OrderCopies(written, {{"a", {"a"}}}), written);
  EXPECT_THAT(OrderCopies(written, {{"a", {"b"}}, {"b", {"a"}}}),
              ElementsAre("COPY c FROM '3'", "COPY a FROM '1'", "COPY b FROM '2'"));
}

TEST(StorageVersion, StandsInTheFirstLineOfASchemaScript) {
  EXPECT_EQ(StorageVersionLine("v1.5.0"), "-- storage version: v1.5.0\n");
  EXPECT_EQ(StorageVersionLine(""), "");
  EXPECT_EQ(StorageVersionOf("-- storage version: v1.5.0\nCREATE"), "v1.5.0");
  EXPECT_EQ(StorageVersionOf("-- storage version: v1.5.0\r\n"), "v1.5.0");
  EXPECT_EQ(StorageVersionOf("CREATE TABLE t(a INT);\n-- storage version: v1.5.0"), "");
}

TEST(SplitStatements, AndJoiningKeepEveryStatement) {
  Statements const statements = SplitStatements("a 'x;y';;\n\n-- c\nb; ;");
  EXPECT_THAT(statements, ElementsAre("a 'x;y'", "b"));
  EXPECT_EQ(JoinStatements(statements), "a 'x;y';\nb;\n");
}

TEST(ReplaceTextFile, LeavesOnlyTheNewText) {
  test::TempFolder const folder;
  folder.Write("a.sql", "old");
  std::string const text(3U << 20, 'x');
  ReplaceTextFile(folder.At("a.sql"), text);
  EXPECT_EQ(ReadTextFile(folder.At("a.sql")), text);
  EXPECT_THAT(folder.Names(), ElementsAre("a.sql"));
}

}  // namespace
