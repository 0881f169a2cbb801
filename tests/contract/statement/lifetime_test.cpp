#include <algorithm>
#include <array>
#include <utility>

#include "support/DatabaseTest.h"
#include "support/DuckDBCalls.h"
#include "support/TestValue.h"

// Statements, results, cursors and their database die in any order.
namespace {

using namespace lumora::test;

class Lifetime : public DatabaseTest {
 protected:
  void SetUp() override {
    mBefore = get_LiveHandles();
    Make();
  }
  void Make() {
    mDatabase = InMemory();
    mDatabase->Create();
    mStatement = mDatabase->CreateStatement(Wide("SELECT 1; SELECT 2"));
    mStatement->PrepareNext();
    mStatement->Execute();
    mResult = mDatabase->Execute(Wide("SELECT 3; SELECT 4; SELECT 5"), 2, nullptr);
    mCursor = mDatabase->ExecuteQuery(Wide("SELECT 6"), 2, nullptr);
  }
  void Release(int inWhich) {
    if (inWhich == 0) mDatabase.reset();
    if (inWhich == 1) mStatement.reset();
    if (inWhich == 2) mResult.reset();
    if (inWhich == 3) mCursor.reset();
  }
  void UseWhatIsLeft(bool inIsOpen) {
    if (mStatement) {
      EXPECT_EQ(mStatement->get_Database() != nullptr, inIsOpen);
      EXPECT_EQ(ThrownBy([&] { mStatement->Execute(); }).mText2,
                inIsOpen ? "" : "DuckDBDatabase is invalid");
    }
    if (mCursor) {
      EXPECT_EQ(mCursor->get_ColumnCount(), 1U);
      EXPECT_EQ(mCursor->get_Database() != nullptr, inIsOpen);
      EXPECT_EQ(ThrownBy([&] { mCursor->NextRecord(); }).mText2,
                inIsOpen ? "" : "DuckDBCursor is invalid");
    }
    if (mResult) {
      EXPECT_EQ(mResult->get_Flags(), 1U);
      EXPECT_EQ(mResult->get_Cursor() != nullptr, inIsOpen);
    }
  }

  HandleCounts mBefore;
  Database mDatabase;
  tarn::smart_ptr<tarn::lsql::I_DuckDBStatement> mStatement;
  tarn::smart_ptr<tarn::lsql::I_DuckDBQueryResult> mResult;
  tarn::smart_ptr<tarn::lsql::I_DuckDBCursor> mCursor;
};

TEST_F(Lifetime, AllDieInAnyOrder) {
  std::array order = {0, 1, 2, 3};
  do {
    if (!mStatement) Make();
    EXPECT_NE(get_LiveHandles(), mBefore);
    for (int const which : order) {
      Release(which);
      UseWhatIsLeft(mDatabase != nullptr);
    }
    EXPECT_EQ(get_LiveHandles(), mBefore);
  } while (std::next_permutation(order.begin(), order.end()));
}

TEST_F(Lifetime, ACursorThatTheHostInvalidatedLeavesTheDatabase) {
  mCursor->Invalidate();
  mCursor = nullptr;
  mDatabase->Close();
  mStatement = nullptr;
  mResult = nullptr;
  EXPECT_EQ(get_LiveHandles(), mBefore);
}

TEST_F(Lifetime, AllOutliveTheDatabasesClose) {
  mDatabase->Close();
  EXPECT_EQ(get_LiveHandles(), mBefore);
  UseWhatIsLeft(false);
  EXPECT_EQ(mResult->NextResult(), nullptr);
  EXPECT_EQ(mStatement->get_RemainingStatements(), 0U);
  EXPECT_EQ(mStatement->TryExecuteAll().mStatementsExecuted, 0U);
  mStatement->ClearBindings();
  mStatement->Close();
  mDatabase->Create();
  UseWhatIsLeft(false);
}

TEST_F(Lifetime, EveryOperationOfAClosedStatementSaysSo) {
  mStatement->Close();
  Thrown const expected{"xDuckDBError", 0x72501U, "unknown", "DuckDBDatabase is invalid"};
  auto const row = MakeRow({MakeLong(1)});
  std::uint64_t changed = 0;
  EXPECT_EQ(ThrownBy([&] { mStatement->Execute(); }), expected);
  EXPECT_EQ(ThrownBy([&] { mStatement->ExecuteNext(); }), expected);
  EXPECT_EQ(ThrownBy([&] { mStatement->ExecuteNext(changed); }), expected);
  EXPECT_EQ(ThrownBy([&] { mStatement->ExecuteAll(); }), expected);
  EXPECT_EQ(ThrownBy([&] { mStatement->PrepareNext(); }), expected);
  EXPECT_EQ(ThrownBy([&] { mStatement->ExecuteCursor(1); }), expected);
  EXPECT_EQ(ThrownBy([&] { mStatement->ExecuteToJSON(); }), expected);
  EXPECT_EQ(ThrownBy([&] { mStatement->ExecuteResult(1); }), expected);
  EXPECT_EQ(ThrownBy([&] { mStatement->BindParameters(row); }), expected);
  EXPECT_EQ(ThrownBy([&] { mStatement->BindParameterRows(MakeRows({row})); }), expected);
  EXPECT_EQ(mStatement->TryExecuteAll().mErrorCode, 0U);
  EXPECT_EQ(mStatement->get_Database(), nullptr);
  EXPECT_EQ(Utf8(mStatement->get_SqlText()), "SELECT 1; SELECT 2");
  EXPECT_EQ(Utf8(mStatement->get_CurrentSql()), "SELECT 1");
  mStatement->Close();
  EXPECT_EQ(ThrownBy([&] { mDatabase->UnregisterStatement(mStatement.get()); }).mText2,
            "DuckDBStatement does not belong to this database");
}

TEST_F(Lifetime, AResultOfAClosedDatabaseStillTellsItsOutcome) {
  auto const inserted =
      mDatabase
          ->Execute(Wide("CREATE TABLE t(i INTEGER); INSERT INTO t VALUES (1), (2)"), 1, nullptr)
          ->NextResult();
  mDatabase->Close();
  EXPECT_EQ(inserted->get_RowsChanged(), 2U);
  EXPECT_EQ(inserted->NextResult(), nullptr);
}

TEST_F(Lifetime, AHostValueMayCloseTheStatementThatBindsIt) {
  Run(mDatabase, "CREATE TABLE t(a INTEGER, b INTEGER)");
  auto const statement = mDatabase->CreateStatement(Wide("INSERT INTO t VALUES (?, ?)"));
  statement->PrepareNext();
  tarn::smart_ptr<TestValue> const closing(new TestValue(6));
  auto const row = MakeRow({closing, MakeLong(2)});
  closing->mOnRead = [&] { statement->Close(); };
  EXPECT_EQ(ThrownBy([&] { statement->BindParameters(row); }).mText1, "unknown");

  closing->mOnRead = nullptr;
  auto const another = mDatabase->CreateStatement(Wide("INSERT INTO t VALUES (?, ?)"));
  another->PrepareNext();
  another->BindParameterRows(MakeRows({MakeRow({MakeLong(1), MakeLong(2)}), row}));
  closing->mOnRead = [&] { mDatabase->Close(); };
  EXPECT_NE(ThrownBy([&] { another->Execute(); }), Thrown());
  EXPECT_FALSE(mDatabase->get_IsOpen());
}

TEST_F(Lifetime, AHostValueMayCloseTheDatabaseThatBindsIt) {
  tarn::smart_ptr<TestValue> const closing(new TestValue(6));
  auto const row = MakeRow({closing});
  closing->mOnRead = [&] { mDatabase->Close(); };
  std::function<void()> const calls[] = {
      [&] { (void)mDatabase->Execute(Wide("SELECT ?"), 1, row); },
      [&] { (void)mDatabase->ExecuteQuery(Wide("SELECT ?"), 2, row); },
      [&] { mDatabase->ExecuteSQL(Wide("INSERT INTO t VALUES (?)"), row); }};
  for (auto const& call : calls) {
    mDatabase->Create();
    Run(mDatabase, "CREATE TABLE t(a INTEGER)");
    EXPECT_EQ(ThrownBy(call).mText2, "DuckDBDatabase is not open");
    EXPECT_FALSE(mDatabase->get_IsOpen());
  }
  // Nor is a result of one opening one of the next.
  mDatabase->Create();
  closing->mOnRead = [&] { mDatabase->Create(); };
  EXPECT_EQ(ThrownBy(calls[0]).mText2, "DuckDBDatabase is not open");
  EXPECT_TRUE(mDatabase->get_IsOpen());
}

TEST_F(Lifetime, AHostValueMayPrepareAndBindTheStatementThatBindsIt) {
  Run(mDatabase, "CREATE TABLE t(a INTEGER)");
  auto const statement =
      mDatabase->CreateStatement(Wide("INSERT INTO t VALUES (?); INSERT INTO t VALUES (?)"));
  statement->PrepareNext();
  tarn::smart_ptr<TestValue> const value(new TestValue(6));
  bool isFirst = true;
  value->mOnRead = [&] {
    if (!std::exchange(isFirst, false)) return;
    statement->BindParameters(MakeRow({MakeLong(9)}));
    statement->ExecuteNext();
  };
  EXPECT_EQ(ThrownBy([&] { statement->BindParameters(MakeRow({value})); }), Thrown());
  EXPECT_EQ(Number(mDatabase, "SELECT max(a) FROM t"), 9);
}

}  // namespace
