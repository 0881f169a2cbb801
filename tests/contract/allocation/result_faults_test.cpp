// Scripts and queries of a database, and what they answer.
#include <fmt/format.h>

#include "StatementFaultTest.h"

namespace {

using namespace lumora::test;
using tarn::lsql::kCursorClient;
using tarn::lsql::kCursorServer;

constexpr char kScript[] =
    "INSERT INTO t VALUES (1, 'a text that does not stand inside a String'); "
    "SELECT i, s FROM t; DELETE FROM t";

class AScript : public StatementFaultTest {
 protected:
  tarn::smart_ptr<tarn::ValueRow> const mParameters =
      MakeRow({MakeLong(7), MakeText("a text that does not stand inside a String")});
};

TEST_F(AScript, RunsOrThrows) {
  CheckEveryFault(OnDatabase([&] {
    mDatabase->ExecuteSQL(Wide(kScript), nullptr);
    return "ran";
  }));
}

TEST_F(AScript, WithParametersRunsOrThrows) {
  CheckEveryFault(OnDatabase([&] {
    mDatabase->ExecuteSQL(Wide("INSERT INTO t VALUES ($1, $2)"), mParameters);
    return "ran";
  }));
}

// What the script opened is rolled back even when there is no memory for the message.
TEST_F(AScript, ThatFailsIsRolledBackWithoutMemory) {
  Attempt attempt = OnDatabase([&] {
    mDatabase->ExecuteSQL(Wide("BEGIN; INSERT INTO k VALUES (1); INSERT INTO k VALUES (1); COMMIT"),
                          nullptr);
    return "ran";
  });
  CheckEveryAllocation(attempt);
  // A statement that cannot be prepared, or a ROLLBACK that fails, leaves the transaction to the
  // host.
  auto const check = attempt.mCheck;
  attempt.mCheck = [&, check] {
    (void)ThrownBy([&] { Run(mDatabase, "ROLLBACK"); });
    check();
  };
  CheckEveryCall(attempt);
}

TEST_F(AScript, ThatCannotBeParsedIsRefusedOrThrows) {
  CheckEveryFault(OnDatabase([&] {
    mDatabase->ExecuteSQL(Wide("SELEKT a FROM table_of_a_name_that_is_long"), nullptr);
    return "ran";
  }));
}

TEST_F(AScript, HandsItsResultsOnOrThrows) {
  for (auto const kind : {kCursorClient, kCursorServer}) {
    CheckEveryFault(OnDatabase([&] {
      std::string text;
      auto result = mDatabase->Execute(Wide(kScript), kind, nullptr);
      for (; result; result = result->NextResult()) text += TextOf(result) + "\n";
      return text;
    }));
  }
}

TEST_F(AScript, LeavesResultsThatCloseWithoutMemory) {
  tarn::smart_ptr<tarn::lsql::I_DuckDBQueryResult> result;
  Attempt attempt = OnDatabase([&] {
    result->Close();
    result.reset();
    return "closed";
  });
  attempt.mPrepare = [&] {
    result = mDatabase->Execute(Wide("SELECT 1; SELECT 2; SELECT 3"), kCursorServer, nullptr);
  };
  auto const check = attempt.mCheck;
  attempt.mCheck = [&, check] {
    result.reset();
    check();
  };
  CheckEveryFault(attempt);
}

TEST_F(AScript, OfOneQueryMakesACursorOrThrows) {
  for (auto const kind : {kCursorClient, kCursorServer}) {
    CheckEveryFault(OnDatabase([&] {
      return TextOf(mDatabase->ExecuteQuery(
          Wide("SELECT $1 AS a_column_with_a_long_name, $2 || 'more' AS b"), kind, mParameters));
    }));
  }
}

TEST_F(AScript, ThatIsNoQueryIsRefusedOrThrows) {
  for (char const* const sql : {"SELECT 1; SELECT 2", "INSERT INTO t VALUES (1, 'x')", ";"}) {
    CheckEveryFault(OnDatabase(
        [&] { return TextOf(mDatabase->ExecuteQuery(Wide(sql), kCursorClient, nullptr)); }));
  }
}

}  // namespace
