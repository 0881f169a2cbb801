#include "duckdb_c/ScratchDatabase.h"

#include <gtest/gtest.h>

#include <optional>
#include <thread>
#include <vector>

#include "support/DuckDBCalls.h"
#include "support/TempFolder.h"

namespace lumora::duckdb_c {
namespace {

using test::Call;
using test::FailingCall;

// The first cell of the answer as a text, or DuckDB's error.
std::string Ask(duckdb_connection inConnection, std::string const& inSql) {
  ResultHandle result;
  if (duckdb_query(inConnection, inSql.c_str(), result.out()) != DuckDBSuccess) {
    return duckdb_result_error(result.ptr());
  }
  TextHandle const text(duckdb_value_varchar(result.ptr(), 0, 0));
  return TextOr(text.get(), "");
}

constexpr char const* kUserTables = "SELECT count(*) FROM duckdb_tables() WHERE NOT internal";

TEST(ScratchDatabase, TellsWhyItCannotBeOpenedOrAttached) {
  for (Call const call : {Call::kConnect, Call::kQuery}) {
    FailingCall const failing(call);
    std::string error;
    ScratchDatabase const scratch(error);
    EXPECT_EQ(scratch.get(), nullptr);
    EXPECT_NE(error, "");
  }
}

TEST(ScratchDatabase, IsEmptyForEachUserThoughTheInstanceStays) {
  std::string error;
  { ScratchDatabase const scratch(error); }
  auto const databases = test::get_LiveHandles().mDatabases;
  for (int i = 0; i < 3; ++i) {
    ScratchDatabase const scratch(error);
    ASSERT_NE(scratch.get(), nullptr) << error;
    EXPECT_EQ(Ask(scratch.get(), kUserTables), "0");
    EXPECT_EQ(Ask(scratch.get(), "SELECT count(*) FROM duckdb_databases() WHERE NOT internal"),
              "2");
    Ask(scratch.get(), "CREATE TABLE t(a INTEGER)");
    Ask(scratch.get(), "CREATE TEMP TABLE u(a INTEGER)");
    Ask(scratch.get(), "CREATE SCHEMA s; CREATE MACRO s.m(a) AS a + 1");
    EXPECT_EQ(Ask(scratch.get(), kUserTables), "2");
    EXPECT_EQ(test::get_LiveHandles().mDatabases, databases);
  }
}

TEST(ScratchDatabase, WorksOnOneThreadUntilMuchWorkIsExpected) {
  std::string error;
  for (int i = 0; i < 2; ++i) {
    ScratchDatabase scratch(error);
    EXPECT_EQ(Ask(scratch.get(), "SELECT current_setting('threads')"), "1");
    scratch.ExpectMuchWork();
    EXPECT_EQ(Ask(scratch.get(), "SELECT current_setting('threads')"),
              std::to_string(std::thread::hardware_concurrency()));
  }
}

TEST(ScratchDatabase, KeepsNothingOfTheFilesThatItsUsersRead) {
  test::TempFolder const folder;
  std::string const file = "'" + folder.At("rows.parquet") + "'";
  std::string error;
  for (int i = 0; i < 2; ++i) {
    ScratchDatabase const scratch(error);
    Ask(scratch.get(), "COPY (FROM range(3000)) TO " + file);
    EXPECT_EQ(Ask(scratch.get(), "SELECT sum(range) FROM " + file), "4498500");
    EXPECT_EQ(Ask(scratch.get(), "SELECT count(*) FROM duckdb_external_file_cache()"), "0");
  }
}

TEST(ScratchDatabase, ThatCannotBeCleanedIsClosed) {
  std::string error;
  std::optional<ScratchDatabase> scratch(std::in_place, error);
  Ask(scratch->get(), "CREATE TABLE t(a INTEGER)");
  auto const databases = test::get_LiveHandles().mDatabases;
  {
    FailingCall const failing(Call::kQuery);
    scratch.reset();
  }
  EXPECT_EQ(test::get_LiveHandles().mDatabases, databases - 1);
  scratch.emplace(error);
  EXPECT_EQ(Ask(scratch->get(), kUserTables), "0");
}

TEST(ScratchDatabase, ServesSeveralAtATimeAndKeepsOneInstance) {
  std::string error;
  { ScratchDatabase const scratch(error); }
  auto const databases = test::get_LiveHandles().mDatabases;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int round = 0; round < 5; ++round) {
        std::string why;
        ScratchDatabase const scratch(why);
        ASSERT_NE(scratch.get(), nullptr) << why;
        EXPECT_EQ(Ask(scratch.get(), kUserTables), "0");
        Ask(scratch.get(), "CREATE TABLE t(a INTEGER)");
        EXPECT_EQ(Ask(scratch.get(), kUserTables), "1");
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(test::get_LiveHandles().mDatabases, databases);
}

}  // namespace
}  // namespace lumora::duckdb_c
