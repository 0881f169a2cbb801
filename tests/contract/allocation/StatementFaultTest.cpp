#include "StatementFaultTest.h"

#include <fmt/format.h>

#include <utility>

namespace lumora::test {

std::string TextOf(tarn::smart_ptr<tarn::lsql::I_DuckDBCursor> const& inCursor) {
  if (!inCursor) return "no cursor";
  std::string text;
  while (inCursor->NextRecord()) {
    for (std::uint32_t i = 0; i < inCursor->get_ColumnCount(); ++i) {
      text += Utf8(inCursor->get_Value(i)->get_String()) + ";";
    }
    text += "|";
  }
  return text;
}

std::string TextOf(tarn::smart_ptr<tarn::lsql::I_DuckDBQueryResult> const& inResult) {
  if (!inResult) return "no result";
  return fmt::format("{} {} {} {} {} {}", inResult->get_Flags(), inResult->get_RowsChanged(),
                     inResult->get_ErrorPosition(), Utf8(inResult->get_ErrorMessage()),
                     Utf8(inResult->get_ErrorType()), TextOf(inResult->get_Cursor()));
}

void StatementFaultTest::SetUp() {
  mDatabase = InMemory();
  tarn::lsql::DuckDBSettings settings;
  settings.mThreads = 1;
  mDatabase->put_Settings(settings);
  mDatabase->Create();
  Run(mDatabase, "CREATE TABLE t (i INTEGER, s VARCHAR); CREATE TABLE k (i INTEGER PRIMARY KEY)");
}

void StatementFaultTest::TearDown() {
  mStatement.reset();
  mDatabase->Close();
  EXPECT_EQ(mDatabase->get_RefsCount(), 1U);
}

Attempt StatementFaultTest::On(std::string const& inSql,
                               std::function<std::string(tarn::lsql::I_DuckDBStatement&)> inRun,
                               Step inBefore) {
  Attempt attempt;
  attempt.mIsSplit = true;
  attempt.mPrepare = [this, inSql, before = std::move(inBefore)] {
    mStatement = mDatabase->CreateStatement(Wide(inSql));
    if (before) before(*mStatement);
  };
  attempt.mRun = [this, run = std::move(inRun)] { return run(*mStatement); };
  attempt.mCheck = [this] {
    if (mStatement) mStatement->Close();
    mStatement.reset();
    ExpectUsable();
  };
  return attempt;
}

Attempt StatementFaultTest::OnDatabase(std::function<std::string()> inRun) {
  Attempt attempt;
  attempt.mRun = std::move(inRun);
  attempt.mCheck = [this] { ExpectUsable(); };
  return attempt;
}

// BEGIN is refused while a transaction is open.
void StatementFaultTest::ExpectUsable() {
  Run(mDatabase, "BEGIN; DELETE FROM t; DELETE FROM k; COMMIT");
  EXPECT_EQ(Number(mDatabase, "SELECT count(*) FROM t"), 0);
  EXPECT_EQ(mDatabase->get_RefsCount(), 1U);
}

}  // namespace lumora::test
