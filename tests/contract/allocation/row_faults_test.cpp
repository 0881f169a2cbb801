// Parameter rows that go in batches. What is there afterwards are whole rows, each once, in their
// order, and none after one that is not there.
#include <fmt/format.h>

#include "StatementFaultTest.h"
#include "support/DuckDBCalls.h"

namespace {

using namespace lumora::test;
using tarn::lsql::I_DuckDBStatement;
using RowPtr = tarn::smart_ptr<tarn::ValueRow>;

constexpr char kInsert[] = "INSERT INTO t VALUES ($1, $2)";

RowPtr Plain(int inNumber) {
  return MakeRow({MakeLong(inNumber), MakeText(fmt::format("a text that is long {}", inNumber))});
}

std::vector<RowPtr> PlainRows(int inCount) {
  std::vector<RowPtr> rows;
  for (int i = 0; i < inCount; ++i) rows.push_back(Plain(i));
  return rows;
}

class ParameterRows : public StatementFaultTest {
 protected:
  std::int64_t Count() { return Number(mDatabase, "SELECT count(*) FROM t"); }

  void ExpectRowsFromTheFirstOn() {
    EXPECT_EQ(Number(mDatabase,
                     "SELECT count(*) FROM t WHERE i <> rowid - (SELECT min(rowid) FROM "
                     "t) OR s <> 'a text that is long ' || i"),
              0);
  }

  // The rows in a statement, all of which are inserted where nothing fails.
  Attempt Executing(std::vector<RowPtr> inRows, std::string const& inSql = kInsert) {
    auto const all = static_cast<std::int64_t>(inRows.size());
    auto const rows = MakeRows(std::move(inRows));
    mIsDone = false;
    Attempt attempt = On(
        inSql,
        [this](I_DuckDBStatement& statement) {
          mIsDone = false;
          std::string const answer = fmt::format("{}", statement.Execute());
          mIsDone = true;
          return answer;
        },
        [rows](I_DuckDBStatement& statement) {
          statement.PrepareNext();
          statement.BindParameterRows(rows);
        });
    attempt.mSamples = 25;
    auto const check = attempt.mCheck;
    attempt.mCheck = [this, all, check] {
      if (mIsDone) EXPECT_EQ(Count(), all);
      ExpectRowsFromTheFirstOn();
      check();
    };
    return attempt;
  }

  // The same in a transaction of the host's: what failed does not commit it, and its rollback
  // undoes all of it.
  Attempt InATransaction(Attempt inAttempt) {
    auto const prepare = inAttempt.mPrepare;
    inAttempt.mPrepare = [this, prepare] {
      prepare();
      Run(mDatabase, "BEGIN");
    };
    auto const check = inAttempt.mCheck;
    inAttempt.mCheck = [this, check] {
      if (mIsDone) {
        Run(mDatabase, "COMMIT");
      } else {
        Run(mDatabase, "ROLLBACK");
        EXPECT_EQ(Count(), 0);
      }
      check();
    };
    return inAttempt;
  }

  bool mIsDone = false;
};

TEST_F(ParameterRows, InABatchAreAllThereOrThrow) { CheckEveryFault(Executing(PlainRows(100))); }

TEST_F(ParameterRows, InABatchOfSeveralChunksAreAllThereOrThrow) {
  Attempt attempt = Executing(PlainRows(2500));
  attempt.mSamples = 10;
  CheckEveryFault(attempt);
}

TEST_F(ParameterRows, InATransactionAreAllThereOrThrow) {
  CheckEveryFault(InATransaction(Executing(PlainRows(100))));
}

TEST_F(ParameterRows, InATransactionAndSeveralChunksAreAllThereOrThrow) {
  Attempt attempt = Executing(PlainRows(2500));
  attempt.mSamples = 10;
  CheckEveryFault(InATransaction(attempt));
}

// A row that is not like the others goes by itself, between two batches.
TEST_F(ParameterRows, InTwoBatchesAreAllThereOrThrow) {
  auto rows = PlainRows(120);
  rows[60] = MakeRow({MakeText("60"), MakeText("a text that is long 60")});
  CheckEveryFault(Executing(rows));
}

TEST_F(ParameterRows, BeforeAValueThatCallsBackAreAllThereOrThrow) {
  auto rows = PlainRows(100);
  tarn::smart_ptr<TestValue> const value(new TestValue(8));
  value->mNumber = 70;
  value->mOnRead = [this] { static_cast<void>(mDatabase->get_IsOpen()); };
  rows[70] = MakeRow({value, MakeText("a text that is long 70")});
  CheckEveryFault(Executing(rows));
}

}  // namespace
