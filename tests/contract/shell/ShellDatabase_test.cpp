// lumora on the real extension: databases, results, errors.
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "ShellRunner.h"
#include "support/TempFolder.h"

namespace lumora::test {
namespace {

struct FailingSql {
  char const* mSql;
  char const* mErrors;
};

TEST(LumoraOnDatabase, ShowsTypePlaceAndCaretOfAnError) {
  FailingSql const cases[] = {
      {"selec 1",
       "Parser Error: syntax error at or near \"selec\" (line 1, column 1)\n"
       "line 1: selec 1\n        ^\n"},
      {"SELECT '日本',\n       nope",
       "Binder Error: Referenced column \"nope\" was not found because the FROM clause is missing "
       "(line 2, column 8)\nline 2:        nope\n               ^\n"},
      {"SELECT 1; SELECT error('\x1b[31mstop')", "Invalid Input Error: \\x1b[31mstop\n"},
      {"SELECT 'x'::INT",
       "Conversion Error: Could not convert string 'x' to INT32 (line 1, column 11)\nline 1: "
       "SELECT 'x'::INT\n                  ^\n"},
  };
  for (FailingSql const& c : cases) {
    ProcessResult const result = RunLumora({"-c", c.mSql});
    EXPECT_EQ(result.mExitCode, 1) << c.mSql;
    EXPECT_EQ(result.mErrors, c.mErrors) << c.mSql;
  }
}

TEST(LumoraOnDatabase, EndsWithTwoWhenTheDatabaseCannotBeOpened) {
  TempFolder const folder;
  std::string const text = folder.Write("text.db", "this is no database, whatever its name says");
  std::vector<std::vector<std::string>> const cases = {
      {folder.At("missing.db")},
      {folder.get_Path().string()},
      {text},
      {"--readonly", folder.At("missing.db")},
      {"--create", text},
      {"--create", folder.At("no/folder/x.db")},
      {"--create"},
      {"--create", "--readonly", folder.At("new.db")},
  };
  for (auto arguments : cases) {
    arguments.insert(arguments.end(), {"-c", "SELECT 1"});
    ProcessResult const result = RunLumora(arguments);
    EXPECT_EQ(result.mExitCode, 2) << arguments[0];
    EXPECT_EQ(result.mOutput, "") << arguments[0];
    EXPECT_NE(result.mErrors, "") << arguments[0];
  }
  EXPECT_EQ(folder.Names(), (std::set<std::string>{"text.db"}));
}

TEST(LumoraOnDatabase, CreateNeverReplacesAFile) {
  TempFolder const folder;
  std::string const path = folder.At("a.db");
  ASSERT_EQ(RunLumora({"--create", path, "-c", "CREATE TABLE t AS SELECT 7 AS i"}).mExitCode, 0);
  EXPECT_EQ(RunLumora({"--create", path, "-c", "SELECT 1"}).mExitCode, 2);
  EXPECT_EQ(RunLumora({"-c", ".create " + path}).mExitCode, 1);
  EXPECT_EQ(RunLumora({"--mode", "csv", path, "-c", "FROM t"}).mOutput, "i\r\n7\r\n");
}

TEST(LumoraOnDatabase, OpensForReadingOnlyWhenTold) {
  TempFolder const folder;
  std::string const path = folder.At("a.db");
  ASSERT_EQ(RunLumora({"--create", path, "-c", "CREATE TABLE t(i INT)"}).mExitCode, 0);
  ProcessResult const result =
      RunLumora({"--readonly", path, "-c", "FROM t", "-c", "INSERT INTO t VALUES (1)"});
  EXPECT_EQ(result.mExitCode, 1);
  EXPECT_NE(result.mErrors.find("read-only"), std::string::npos) << result.mErrors;
}

TEST(LumoraOnDatabase, ShowsTheResultOfEveryStatementInOrder) {
  ProcessResult const result =
      RunLumora({"-c",
                 "CREATE TABLE t(i INT); INSERT INTO t VALUES (1), (2), (3); "
                 "UPDATE t SET i = 9 WHERE i > 1; SELECT sum(i) AS s FROM t;"});
  EXPECT_EQ(
      result.mOutput,
      "3 rows changed\n2 rows changed\n"
      "┌─────────┐\n│       s │\n│ HUGEINT │\n├─────────┤\n│      19 │\n└─────────┘\n1 row\n");
  EXPECT_EQ(result.mErrors, "");
  EXPECT_EQ(result.mExitCode, 0);
}

TEST(LumoraOnDatabase, GivesProgramsRowsAlone) {
  ProcessResult const result =
      RunLumora({"--mode", "csv", "-c", "CREATE TABLE t(i INT); INSERT INTO t VALUES (1); FROM t"});
  EXPECT_EQ(result.mOutput, "i\r\n1\r\n");
}

TEST(LumoraOnDatabase, KeepsEveryDigitInJson) {
  for (char const* kind : {"client", "server"}) {
    ProcessResult const result = RunLumora(
        {"--mode", "json", "--cursor", kind, "-c",
         "SELECT (-9223372036854775808)::BIGINT AS a, 18446744073709551615::UBIGINT AS b, "
         "0.1::DOUBLE AS c, NULL AS d, true AS e, 'NaN'::DOUBLE AS f, '\\x00\\xFF'::BLOB AS g, "
         "'q\"\\' AS h, 170141183460469231731687303715884105727::HUGEINT AS i"});
    EXPECT_EQ(result.mOutput,
              "[\n{\"a\":-9223372036854775808,\"b\":18446744073709551615,\"c\":0.1,\"d\":null,"
              "\"e\":true,\"f\":\"NaN\",\"g\":\"AP8=\",\"h\":\"q\\\"\\\\\","
              "\"i\":\"170141183460469231731687303715884105727\"}\n]\n")
        << kind;
  }
}

TEST(LumoraOnDatabase, ShowsTheSameRowsWithBothCursors) {
  std::string const sql = "SELECT i, 'row ' || i AS t FROM range(5000) AS r(i)";
  ProcessResult const client = RunLumora({"--mode", "csv", "-c", sql});
  ProcessResult const server = RunLumora({"--mode", "csv", "--cursor", "server", "-c", sql});
  EXPECT_EQ(std::count(client.mOutput.begin(), client.mOutput.end(), '\n'), 5001);
  EXPECT_EQ(client.mOutput, server.mOutput);
  EXPECT_EQ(RunLumora({"-c", sql}).mOutput, RunLumora({"--cursor", "server", "-c", sql}).mOutput);
}

TEST(LumoraOnDatabase, BindsParametersByPosition) {
  ProcessResult const result = RunLumora(
      {"--mode", "csv", "--param", "-5", "--param", "18446744073709551615", "--param", "2.5",
       "--param", "NULL", "--param", "it's", "--param", "'7'", "--param",
       R"({"duckdb_variant":true,"variant_type":"UUID","value":"00000000-0000-0000-0000-000000000001"})",
       "-c",
       "SELECT $1 AS a, typeof($1) AS ta, $2 AS b, typeof($2) AS tb, $3 AS c, $4 AS d, $5 AS e, "
       "$6 AS f, typeof($6) AS tf, $7 AS g, typeof($7) AS tg; SELECT ? AS only_first; SELECT 1"});
  EXPECT_EQ(result.mErrors, "");
  EXPECT_EQ(result.mOutput,
            "a,ta,b,tb,c,d,e,f,tf,g,tg\r\n-5,BIGINT,18446744073709551615,UBIGINT,2.5,,it's,7,"
            "VARCHAR,00000000-0000-0000-0000-000000000001,UUID\r\n"
            "only_first\r\n-5\r\n1\r\n1\r\n");
}

TEST(LumoraOnDatabase, TellsWhichParameterIsMissingOrMalformed) {
  ProcessResult const missing = RunLumora({"--param", "1", "-c", "SELECT $1, $2"});
  EXPECT_EQ(missing.mExitCode, 1);
  EXPECT_NE(missing.mErrors.find("parameters: 2"), std::string::npos) << missing.mErrors;
  ProcessResult const malformed =
      RunLumora({"--param", R"({"duckdb_variant":true})", "-c", "SELECT $1"});
  EXPECT_EQ(malformed.mExitCode, 1);
  EXPECT_NE(malformed.mErrors.find("Malformed DuckDB variant envelope"), std::string::npos)
      << malformed.mErrors;
}

TEST(LumoraOnDatabase, TakesTheSettingsOfTheCommandLine) {
  TempFolder const folder;
  ProcessResult const result =
      RunLumora({"--mode", "csv", "--threads", "3", "--max-memory", "500MB", "--temp-dir",
                 folder.At("spill"), "-c",
                 "SELECT current_setting('threads') AS t, current_setting('max_memory') AS m, "
                 "current_setting('temp_directory') AS d"});
  EXPECT_EQ(result.mOutput, "t,m,d\r\n3,476.8 MiB," + folder.At("spill") + "\r\n");
  ProcessResult const closed =
      RunLumora({"--no-external-access", "-c", "SELECT * FROM read_csv('/etc/passwd')"});
  EXPECT_EQ(closed.mExitCode, 1);
  EXPECT_NE(closed.mErrors.find("Permission Error"), std::string::npos) << closed.mErrors;
}

TEST(LumoraOnDatabase, CreatesWithStorageVersionAndBlockSize) {
  TempFolder const folder;
  ProcessResult const result =
      RunLumora({"--mode", "csv", "--storage-version", "v1.5.0", "--block-size", "16384",
                 "--create", folder.At("a.db"), "-c",
                 "CREATE TABLE t AS SELECT 1::VARIANT AS v; "
                 "SELECT block_size FROM pragma_database_size() WHERE database_name = 'a'"});
  EXPECT_EQ(result.mErrors, "");
  EXPECT_EQ(result.mOutput, "block_size\r\n16384\r\n");
}

TEST(LumoraOnDatabase, KeepsEarlierResultsWhenALaterStatementFails) {
  ProcessResult const result = RunLumora({"--mode", "csv", "-c", "SELECT 1 AS a; SELECT nope"});
  EXPECT_EQ(result.mOutput, "a\r\n1\r\n");
  EXPECT_EQ(result.mExitCode, 1);
}

TEST(LumoraOnDatabase, RunsTheProceduresBesideSql) {
  TempFolder const folder;
  std::string const file = folder.At("it's.parquet");
  std::string quoted;
  for (char const c : file) quoted += c == '\'' ? std::string("''") : std::string(1, c);
  ProcessResult const result =
      RunLumora({"--mode", "csv", "-c",
                 "COPY (SELECT 1 AS a, 'x' AS b UNION ALL SELECT 2, NULL ORDER BY a) TO '" +
                     quoted + "'; CALL parquet_count('" + quoted + "'); CALL fetch_parquet('" +
                     quoted + "', ['b', 'a'], 'a > 1'); CALL pragma_version();"});
  EXPECT_EQ(result.mErrors, "");
  EXPECT_EQ(result.mOutput.rfind("count\r\n2\r\nb,a\r\n,2\r\nlibrary_version", 0), 0U)
      << result.mOutput;
}

TEST(LumoraOnDatabase, TellsItsVersionAndDuckDBs) {
  ProcessResult const result = RunLumora({"--version"});
  EXPECT_EQ(result.mExitCode, 0);
  EXPECT_EQ(result.mOutput, "lumora " LUMORA_VERSION "\nDuckDB v1.5.6\n");
}

}  // namespace
}  // namespace lumora::test
