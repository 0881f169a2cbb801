// Calls of a thread that never called before, and that has neither a cell for the engine lock nor a
// cache of values yet.
#include <fmt/format.h>

#include "StatementFaultTest.h"

namespace {

using namespace lumora::test;
using tarn::lsql::DuckDBExecutionResult;
using tarn::lsql::I_DuckDBStatement;
using tarn::lsql::kCursorServer;

class ANewcomer : public StatementFaultTest {
 protected:
  static Attempt ByNewcomer(Attempt inAttempt) {
    inAttempt.mIsNewcomer = true;
    return inAttempt;
  }
};

TEST_F(ANewcomer, GivesLastReferencesUpWithoutMemory) {
  tarn::smart_ptr<tarn::lsql::I_DuckDBQueryResult> result;
  tarn::smart_ptr<tarn::lsql::I_DuckDBCursor> cursor;
  Database database;
  using Release = std::function<void()>;
  for (Release const& release :
       {Release([&] { mStatement.reset(); }), Release([&] { result.reset(); }),
        Release([&] { cursor.reset(); }), Release([&] { database.reset(); })}) {
    Attempt attempt = On("SELECT 1; SELECT 2", [&](I_DuckDBStatement&) {
      release();
      return std::string("gone");
    });
    auto const prepare = attempt.mPrepare;
    auto const check = attempt.mCheck;
    attempt.mPrepare = [&, prepare] {
      prepare();
      mStatement->ExecuteNext();
      result = mDatabase->Execute(Wide("SELECT 3; SELECT 4"), kCursorServer, nullptr);
      cursor = mDatabase->ExecuteQuery(Wide("SELECT 5"), kCursorServer, nullptr);
      database = InMemory();
    };
    attempt.mCheck = [&, check] {
      result.reset();
      cursor.reset();
      database.reset();
      check();
    };
    CheckEveryAllocation(ByNewcomer(attempt));
  }
}

TEST_F(ANewcomer, IsNeverThrownAtByTryExecuteAll) {
  DuckDBExecutionResult record;
  Attempt attempt =
      On("INSERT INTO k VALUES (1); INSERT INTO k VALUES (1)", [&](I_DuckDBStatement& statement) {
        record = statement.TryExecuteAll();
        return std::string("told");
      });
  auto const check = attempt.mCheck;
  attempt.mCheck = [&, check] {
    EXPECT_NE(record.mErrorCode, 0U);
    record = {};
    check();
  };
  // Nothing else is an answer, want of memory included.
  attempt.mIsNeverThrownAt = true;
  CheckEveryAllocation(ByNewcomer(attempt));
}

TEST_F(ANewcomer, RunsAQueryOrThrows) {
  CheckEveryAllocation(ByNewcomer(OnDatabase([&] {
    return TextOf(mDatabase->ExecuteQuery(
        Wide("SELECT i, 'a text that is long enough not to be inside' || i AS s, [i] AS l "
             "FROM range(3) r(i)"),
        kCursorServer, nullptr));
  })));
}

}  // namespace
