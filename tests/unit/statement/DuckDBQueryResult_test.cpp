#include "statement/DuckDBQueryResult.h"

#include <gtest/gtest.h>

#include "statement/RunStatements.h"
#include "support/DuckDBCalls.h"
#include "support/FakeDatabase.h"
#include "support/TestValue.h"
#include "tarn/Exceptions.h"

namespace lumora {
namespace {

using tarn::lsql::DuckDBQueryResult;
using tarn::lsql::I_DuckDBCursor;
using tarn::lsql::I_DuckDBQueryResult;
using test::ToUTF8;
using Ptr = tarn::smart_ptr<I_DuckDBQueryResult>;

class QueryResultTest : public testing::Test {
 protected:
  void SetUp() override {
    mDatabase.Query("SET errors_as_json = true");
    mDatabase.Query("CREATE TABLE t(i INTEGER)");
    mBefore = test::get_LiveHandles();
  }
  void TearDown() override {
    EXPECT_EQ(test::get_LiveHandles(), mBefore);
    EXPECT_TRUE(mDatabase.mResults.empty());
    EXPECT_TRUE(mDatabase.mCursors.empty());
  }

  Ptr Make(std::vector<duckdb_c::ResultHandle> inResults, std::uint32_t inKind = 2) {
    return Ptr(new DuckDBQueryResult(&mDatabase, std::move(inResults), inKind));
  }
  Ptr Run(std::string const& inSql, std::uint32_t inKind = 2) {
    return Make(RunStatements(mDatabase, inSql, nullptr), inKind);
  }
  // The outcome of a statement that fails.
  Ptr RunFailing(char const* inSql) {
    std::vector<duckdb_c::ResultHandle> results(1);
    (void)duckdb_query(mDatabase.get_Connection()->get(), inSql, results[0].out());
    return Make(std::move(results));
  }

  test::FakeDatabase mDatabase;
  test::HandleCounts mBefore;
};

TEST_F(QueryResultTest, TellsNothingOfAStatementThatGivesNothing) {
  Ptr const result = Run("CREATE TABLE u(i INTEGER)");
  EXPECT_EQ(result->get_Flags(), 0U);
  EXPECT_EQ(result->get_RowsChanged(), 0U);
  EXPECT_EQ(result->get_Cursor(), nullptr);
  EXPECT_TRUE(result->get_ErrorMessage().isEmpty());
  EXPECT_TRUE(result->get_ErrorType().isEmpty());
  EXPECT_EQ(result->get_ErrorPosition(), -1);
}

TEST_F(QueryResultTest, CountsChangedRows) {
  Ptr const result = Run("INSERT INTO t VALUES (1), (2), (3)");
  EXPECT_EQ(result->get_Flags(), 2U);
  EXPECT_EQ(result->get_RowsChanged(), 3U);
  EXPECT_EQ(result->get_Cursor(), nullptr);
}

TEST_F(QueryResultTest, HandsARowSetToACursorOfTheWantedKind) {
  for (std::uint32_t const kind : {0U, 1U, 2U, 77U}) {
    Ptr const result = Run("SELECT 42", kind);
    EXPECT_EQ(result->get_Flags(), 1U);
    auto const cursor = result->get_Cursor();
    ASSERT_NE(cursor, nullptr);
    if (kind == 1) {
      EXPECT_EQ(cursor->get_RecordCount(), 1U);
    } else {
      EXPECT_THROW(cursor->get_RecordCount(), tarn::lsql::xDuckDBError);
    }
    ASSERT_TRUE(cursor->NextRecord());
    EXPECT_EQ(cursor->get_Value(0)->get_Long(), 42);
  }
}

TEST_F(QueryResultTest, RecordsAFailureWithTypeAndPosition) {
  Ptr const result = RunFailing("SELECT * FROM missing");
  EXPECT_EQ(result->get_Flags(), 4U);
  EXPECT_EQ(ToUTF8(result->get_ErrorType()), "Catalog");
  EXPECT_EQ(result->get_ErrorPosition(), 14);
  EXPECT_NE(ToUTF8(result->get_ErrorMessage()).find("missing does not exist"), std::string::npos);
  EXPECT_EQ(result->get_RowsChanged(), 0U);
  EXPECT_EQ(result->get_Cursor(), nullptr);
}

TEST_F(QueryResultTest, KeepsAPlainErrorTextWhole) {
  mDatabase.Query("SET errors_as_json = false");
  Ptr const result = RunFailing("SELECT * FROM missing");
  EXPECT_EQ(result->get_Flags(), 4U);
  EXPECT_EQ(ToUTF8(result->get_ErrorMessage()).substr(0, 15), "Catalog Error: ");
  EXPECT_TRUE(result->get_ErrorType().isEmpty());
  EXPECT_EQ(result->get_ErrorPosition(), -1);
}

TEST_F(QueryResultTest, IsEmptyWhenItIsMadeOfNoResults) {
  Ptr const result = Make({});
  EXPECT_EQ(result->get_Flags(), 0U);
  EXPECT_EQ(result->NextResult(), nullptr);
}

TEST_F(QueryResultTest, WalksABatchAsAChain) {
  Ptr const first = Run("INSERT INTO t VALUES (1); SELECT 2; CREATE TABLE u(i INTEGER)", 1);
  Ptr const second = first->NextResult();
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(first->NextResult(), nullptr);
  EXPECT_EQ(second->get_Flags(), 1U);
  EXPECT_EQ(second->get_Cursor()->get_RecordCount(), 1U);
  Ptr const third = second->NextResult();
  ASSERT_NE(third, nullptr);
  EXPECT_EQ(third->get_Flags(), 0U);
  EXPECT_EQ(third->NextResult(), nullptr);
  EXPECT_EQ(first->get_Flags(), 2U);
}

TEST_F(QueryResultTest, AnswersItsGettersAlsoWhenClosed) {
  Ptr const rows = Run("SELECT 1; SELECT 2");
  auto const cursor = rows->get_Cursor();
  rows->Close();
  EXPECT_EQ(rows->get_Flags(), 1U);
  EXPECT_EQ(rows->get_Cursor(), nullptr);
  EXPECT_EQ(rows->NextResult(), nullptr);
  rows->Close();
  EXPECT_TRUE(mDatabase.mResults.empty());
  // The host still holds the cursor, which is the database's own child.
  EXPECT_TRUE(cursor->NextRecord());

  Ptr const failed = RunFailing("SELECT * FROM missing");
  failed->Close();
  EXPECT_EQ(failed->get_Flags(), 4U);
  EXPECT_EQ(ToUTF8(failed->get_ErrorType()), "Catalog");
}

TEST_F(QueryResultTest, GivesEveryResultBackWhetherTheChainIsWalkedOrNot) {
  (void)Run("SELECT 1; SELECT 2; SELECT 3");
  {
    Ptr const first = Run("SELECT 1; SELECT 2; SELECT 3");
    (void)first->NextResult();
  }
  {
    Ptr result = Run("SELECT 1; SELECT 2; SELECT 3");
    while (result) result = result->NextResult();
  }
  EXPECT_EQ(test::get_LiveHandles(), mBefore);
}

TEST_F(QueryResultTest, LeavesTheDatabasesListWhenItDies) {
  Ptr first = Run("SELECT 1; SELECT 2");
  Ptr const second = first->NextResult();
  EXPECT_EQ(mDatabase.mResults.size(), 2U);
  first.reset();
  ASSERT_EQ(mDatabase.mResults.size(), 1U);
  EXPECT_EQ(mDatabase.mResults[0], second.get());
}

TEST_F(QueryResultTest, IsClosedByADatabaseThatTookItOffItsListAlready) {
  Ptr const result = Run("INSERT INTO t VALUES (1); SELECT 2");
  mDatabase.mResults.clear();
  result->Close();
  EXPECT_EQ(result->NextResult(), nullptr);
}

TEST_F(QueryResultTest, AnswersItsInterfaces) {
  Ptr const result = Run("SELECT 1");
  auto const own = tarn::query_interface<I_DuckDBQueryResult>(result.get(), 409);
  EXPECT_EQ(own.get(), result.get());
  auto const plugin = tarn::query_interface<tarn::I_ForeignPlugin>(result.get(), 608);
  ASSERT_NE(plugin, nullptr);
  EXPECT_EQ(result->get_RefsCount(), 3U);
  EXPECT_EQ(plugin->get_RefsCount(), 3U);
  EXPECT_EQ(plugin->QueryInterface(407), nullptr);
  plugin->put_Xtra(this);
  EXPECT_EQ(plugin->get_Xtra(), this);
}

TEST_F(QueryResultTest, IsNotLeftOnTheListWhenNoCursorCanBeMade) {
  auto results = RunStatements(mDatabase, "SELECT 1; SELECT 2", nullptr);
  EXPECT_THROW(new DuckDBQueryResult(nullptr, std::move(results), 1), tarn::lsql::xDuckDBError);
}

TEST_F(QueryResultTest, NeedsNoDatabaseForWhatHasNoRows) {
  auto results = RunStatements(mDatabase, "INSERT INTO t VALUES (1)", nullptr);
  Ptr const result(new DuckDBQueryResult(nullptr, std::move(results), 1));
  EXPECT_EQ(result->get_RowsChanged(), 1U);
}

TEST_F(QueryResultTest, WalksAChainOfThousands) {
  std::string script;
  for (int i = 0; i < 2000; ++i) script += "SELECT " + std::to_string(i) + ";";
  Ptr result = Run(script);
  int count = 0;
  for (; result; result = result->NextResult()) ++count;
  EXPECT_EQ(count, 2000);
}

}  // namespace
}  // namespace lumora
