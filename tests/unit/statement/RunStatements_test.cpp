#include "statement/RunStatements.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>

#include "statement/StatementErrors.h"
#include "support/DuckDBCalls.h"
#include "support/FakeDatabase.h"
#include "support/TestValue.h"

namespace lumora {
namespace {

using test::Call;
using test::FailingCall;
using test::ToUTF8;

class RunStatementsTest : public testing::Test {
 protected:
  void SetUp() override {
    mDatabase.Query("SET errors_as_json = true");
    mDatabase.Query("CREATE TABLE t(i INTEGER)");
    mBefore = test::get_LiveHandles();
  }
  void TearDown() override { EXPECT_EQ(test::get_LiveHandles(), mBefore); }

  std::vector<duckdb_c::ResultHandle> Run(std::string const& inSql,
                                          tarn::smart_ptr<tarn::ValueRow> inParameters = {}) {
    return RunStatements(mDatabase, inSql, inParameters.get());
  }
  // The message of the xDuckDBError that the script fails with.
  std::string Failure(std::string const& inSql, tarn::smart_ptr<tarn::ValueRow> inParameters = {}) {
    try {
      (void)Run(inSql, inParameters);
    } catch (tarn::lsql::xDuckDBError const& error) {
      EXPECT_EQ(error.get_Code(), 0x72501U);
      EXPECT_EQ(ToUTF8(error.get_Text(0)), "fake.duckdb");
      EXPECT_EQ(test::get_LiveHandles(), mBefore);
      return ToUTF8(error.get_Text(1));
    }
    return "<nothing thrown>";
  }
  bool IsInTransaction() {
    // Committing is refused when nothing is open.
    duckdb_c::ResultHandle result;
    return duckdb_query(mDatabase.get_Connection()->get(), "COMMIT", result.out()) == DuckDBSuccess;
  }

  test::FakeDatabase mDatabase;
  test::HandleCounts mBefore;
};

TEST_F(RunStatementsTest, GivesOneResultForEachStatementInOrder) {
  auto results = Run("INSERT INTO t VALUES (1), (2); SELECT * FROM t; CREATE TABLE u(i INTEGER)");
  ASSERT_EQ(results.size(), 3U);
  EXPECT_EQ(duckdb_result_return_type(results[0].get()), DUCKDB_RESULT_TYPE_CHANGED_ROWS);
  EXPECT_EQ(duckdb_rows_changed(results[0].ptr()), 2U);
  EXPECT_EQ(duckdb_result_return_type(results[1].get()), DUCKDB_RESULT_TYPE_QUERY_RESULT);
  EXPECT_EQ(duckdb_result_return_type(results[2].get()), DUCKDB_RESULT_TYPE_NOTHING);
}

TEST_F(RunStatementsTest, RefusesAScriptWithoutAnyStatement) {
  for (char const* const sql : {"", "   \n", "-- only a comment", "/* one */ ;;; -- two"}) {
    EXPECT_EQ(Failure(sql), "Failed to extract statements") << sql;
  }
}

TEST_F(RunStatementsTest, TellsDuckDBsReasonWhenAScriptCannotBeSplit) {
  EXPECT_NE(Failure("SELECT 1; SELEKT 2").find("SELEKT"), std::string::npos);
}

TEST_F(RunStatementsTest, RefusesATextWithANulInsteadOfRunningItsBeginning) {
  std::string const sql = std::string("INSERT INTO t VALUES (1)") + '\0' + "; DROP TABLE t";
  EXPECT_EQ(Failure(sql), "The SQL text holds a NUL character");
  EXPECT_EQ(Failure(sql, test::MakeRow({test::MakeLong(1)})), "The SQL text holds a NUL character");
  EXPECT_EQ(mDatabase.QueryText("SELECT count(*) FROM t"), "0");
}

TEST_F(RunStatementsTest, RollsBackWhenAStatementFailsInItsExecution) {
  std::string const message =
      Failure("BEGIN; INSERT INTO t VALUES (1); SELECT CAST(i || 'x' AS INTEGER) FROM t; SELECT 1");
  EXPECT_NE(message.find("Could not convert string '1x' to INT32"), std::string::npos) << message;
  EXPECT_EQ(message.front(), '{');
  EXPECT_FALSE(IsInTransaction());
  EXPECT_EQ(mDatabase.QueryText("SELECT count(*) FROM t"), "0");
}

TEST_F(RunStatementsTest, RollsBackAHostsTransactionToo) {
  (void)Run("BEGIN; INSERT INTO t VALUES (1)");
  (void)Run("INSERT INTO t VALUES (2)");
  EXPECT_NE(Failure("INSERT INTO t SELECT CAST('x' || i AS INTEGER) FROM t"), "<nothing thrown>");
  EXPECT_FALSE(IsInTransaction());
  EXPECT_EQ(mDatabase.QueryText("SELECT count(*) FROM t"), "0");
}

TEST_F(RunStatementsTest, DoesNotRollBackWhenAStatementCannotBePrepared) {
  EXPECT_NE(Failure("BEGIN; INSERT INTO t VALUES (1); SELECT * FROM missing").find("missing"),
            std::string::npos);
  EXPECT_TRUE(IsInTransaction());
  EXPECT_EQ(mDatabase.QueryText("SELECT count(*) FROM t"), "1");
}

TEST_F(RunStatementsTest, KeepsWhatAScriptDidBeforeItsFailureOutsideATransaction) {
  EXPECT_NE(Failure("INSERT INTO t VALUES (1); INSERT INTO t VALUES (2); SELECT * FROM missing"),
            "<nothing thrown>");
  EXPECT_EQ(mDatabase.QueryText("SELECT count(*) FROM t"), "2");
}

TEST_F(RunStatementsTest, RunsATransactionOverSeveralCalls) {
  (void)Run("BEGIN");
  (void)Run("INSERT INTO t VALUES (1)");
  (void)Run("COMMIT");
  EXPECT_EQ(mDatabase.QueryText("SELECT count(*) FROM t"), "1");
}

TEST_F(RunStatementsTest, RunsEveryKindOfStatement) {
  for (char const* const sql :
       {"CREATE TEMPORARY TABLE tt(i INTEGER); INSERT INTO tt VALUES (1); SELECT * FROM tt",
        "SET threads = 1; RESET threads", "ATTACH ':memory:' AS other; DETACH other",
        "PRAGMA database_size", "EXPLAIN SELECT 1", "SELECT 1; SELECT 2;;; SELECT 3;",
        "SELECT 'a;b'; SELECT $$x;y$$", "VALUES (1), (2)", "FROM t", "CHECKPOINT"}) {
    EXPECT_NO_THROW((void)Run(sql)) << sql;
  }
}

TEST_F(RunStatementsTest, RunsAPivotAsTheStatementsItIsExpandedInto) {
  (void)Run("CREATE TABLE c(y INTEGER, n INTEGER); INSERT INTO c VALUES (2000, 1), (2010, 2)");
  auto results = Run("PIVOT c ON y USING sum(n)");
  ASSERT_FALSE(results.empty());
  EXPECT_EQ(duckdb_result_return_type(results.back().get()), DUCKDB_RESULT_TYPE_QUERY_RESULT);
  EXPECT_EQ(duckdb_column_count(results.back().ptr()), 2U);
}

// --- parameters
// -------------------------------------------------------------------------------------

TEST_F(RunStatementsTest, BindsParametersToOneStatement) {
  auto results =
      Run("INSERT INTO t VALUES (?), (?)", test::MakeRow({test::MakeLong(1), test::MakeLong(2)}));
  ASSERT_EQ(results.size(), 1U);
  EXPECT_EQ(duckdb_rows_changed(results[0].ptr()), 2U);
}

TEST_F(RunStatementsTest, TakesAnEmptyRowForNoParameters) {
  EXPECT_EQ(Run("SELECT 1; SELECT 2", test::MakeRow({})).size(), 2U);
}

TEST_F(RunStatementsTest, NeverSplitsATextThatComesWithParameters) {
  std::string const message = Failure("SELECT ?; SELECT 2", test::MakeRow({test::MakeLong(1)}));
  EXPECT_NE(message.find("multiple statements"), std::string::npos) << message;
}

TEST_F(RunStatementsTest, TellsDuckDBsReasonWhenAParameterisedStatementFails) {
  auto const one = test::MakeRow({test::MakeText("x")});
  EXPECT_NE(Failure("SELECT * FROM missing WHERE i = ?", one).find("missing"), std::string::npos);
  EXPECT_NE(Failure("SELECT CAST(? AS INTEGER)", one).find("Could not convert"), std::string::npos);
  EXPECT_NE(Failure("SELECT 1", one).find("Can not bind to parameter number 1"), std::string::npos);
  EXPECT_NE(Failure("SELECT ?, ?", one).find("Values were not provided"), std::string::npos);
}

TEST_F(RunStatementsTest, LeavesATransactionOpenWhenAParameterisedStatementFails) {
  (void)Run("BEGIN");
  EXPECT_NE(Failure("SELECT * FROM missing WHERE i = ?", test::MakeRow({test::MakeLong(1)})),
            "<nothing thrown>");
  EXPECT_TRUE(IsInTransaction());
}

// --- the fixed texts
// --------------------------------------------------------------------------------

TEST_F(RunStatementsTest, HasATextOfItsOwnWhereDuckDBGivesNone) {
  auto const one = test::MakeRow({test::MakeLong(1)});
  std::optional<FailingCall> failing;
  failing.emplace(Call::kExtract);
  EXPECT_EQ(Failure("SELECT 1"), "Failed to extract statements");
  failing.emplace(Call::kPrepareExtracted);
  EXPECT_EQ(Failure("SELECT 1"), "Failed to prepare extracted statement");
  failing.emplace(Call::kPrepareExtracted, 1);
  EXPECT_EQ(Failure("SELECT 1; SELECT 2; SELECT 3"), "Failed to prepare extracted statement");
  failing.emplace(Call::kExecutePrepared, 2);
  EXPECT_EQ(Failure("SELECT 1; SELECT 2; SELECT 3"), "Failed to execute statement");
  failing.emplace(Call::kPrepare);
  EXPECT_EQ(Failure("SELECT ?", one), "Failed to prepare statement");
  failing.emplace(Call::kExecutePrepared);
  EXPECT_EQ(Failure("SELECT ?", one), "Failed to execute prepared statement");
  failing.emplace(Call::kClearBindings);
  EXPECT_EQ(Failure("SELECT ?", one), "Failed to clear statement bindings");
  failing.emplace(Call::kBindValue);
  EXPECT_EQ(Failure("SELECT ?", one), "Failed to bind statement parameter");
}

TEST_F(RunStatementsTest, RunsAScriptOfThousandsOfStatements) {
  std::string script;
  for (int i = 0; i < 2000; ++i) script += "INSERT INTO t VALUES (" + std::to_string(i) + ");";
  EXPECT_EQ(Run("BEGIN;" + script + "COMMIT").size(), 2002U);
  EXPECT_EQ(mDatabase.QueryText("SELECT sum(i) FROM t"), "1999000");
}

}  // namespace
}  // namespace lumora
