#include <optional>
#include <set>

#include "RowRuns.h"
#include "support/Seed.h"

// Another connection changes the table in the middle of a run of many parameter rows: between two
// batches, between the questions of a batch and its rows, before its commit. What comes of it is
// what comes of rows one by one when the change falls between two of them.
namespace {

using namespace lumora::test;

struct Change {
  char const* mName;
  char const* mSql;     // of the other connection
  char const* mInsert;  // the run's
  // After a change in the middle: a query that is true when the table is right; "@" stands for
  // whether the run threw.
  char const* mIsRight;

  friend std::ostream& operator<<(std::ostream& ioStream, Change const& inChange) {
    return ioStream << inChange.mName;
  }
};

// Where a run touches the database: the questions, BEGIN and COMMIT of a batch, its insertion, and
// the rows by themselves.
constexpr Call kMoments[] = {Call::kQuery, Call::kAppendChunk, Call::kFlushAppender,
                             Call::kExecutePrepared};

constexpr std::int64_t kStep = kIsSanitized ? 3 : 1;

constexpr char kPositional[] = "INSERT INTO t VALUES (?, ?)";
constexpr char kNamed[] = "INSERT INTO t(i, s) VALUES (?, ?)";
// Rows from the first on, each once, and all when nothing was thrown.
#define LUMORA_FIRST_ROWS(table)                                               \
  "SELECT count(*) = count(DISTINCT i) AND count(*) = coalesce(max(i) + 1, 0)" \
  " AND (@ OR count(*) = 120) FROM " table
// All of them, each once.
#define LUMORA_ALL_ROWS "SELECT NOT @ AND count(*) = 120 AND count(DISTINCT i) = 120"

Change const kChanges[] = {
    {"AColumnMoreThanValues", "ALTER TABLE t ADD COLUMN c INTEGER", kPositional,
     LUMORA_FIRST_ROWS("t")},
    {"AColumnWithAConstant", "ALTER TABLE t ADD COLUMN c INTEGER DEFAULT 7", kNamed,
     LUMORA_ALL_ROWS " AND sum(c) = 840 FROM t"},
    {"AColumnWithASequence", "ALTER TABLE t ADD COLUMN c INTEGER DEFAULT nextval('q')", kNamed,
     LUMORA_ALL_ROWS " AND count(DISTINCT c) = 120 FROM t"},
    // Those that were there share one transaction, and each row after them has its own.
    {"AColumnWithTheTransaction", "ALTER TABLE t ADD COLUMN c BIGINT DEFAULT txid_current()",
     kNamed,
     LUMORA_ALL_ROWS
     " AND (SELECT count(*) <= 1 AND coalesce(bool_and(last = n - 1), true) FROM "
     "(SELECT count(*) AS n, max(i) AS last FROM t GROUP BY c HAVING count(*) > 1)) FROM t"},
    {"AColumnOfAnotherName", "ALTER TABLE t RENAME s TO r", kNamed, LUMORA_FIRST_ROWS("t")},
    {"AColumnOfAWiderType", "ALTER TABLE t ALTER i TYPE BIGINT", kPositional,
     LUMORA_ALL_ROWS " FROM t"},
    {"AColumnOfAnotherType", "ALTER TABLE t ALTER i TYPE VARCHAR", kPositional,
     LUMORA_ALL_ROWS " FROM t"},
    {"AColumnLess", "ALTER TABLE t DROP s", kPositional, LUMORA_FIRST_ROWS("t")},
    {"AKey", "CREATE UNIQUE INDEX x ON t(i)", kPositional, LUMORA_ALL_ROWS " FROM t"},
    {"AnotherName", "ALTER TABLE t RENAME TO u", kPositional, LUMORA_FIRST_ROWS("u")},
    {"NoTable", "DROP TABLE t; CREATE TABLE u(i INTEGER)", kPositional, LUMORA_FIRST_ROWS("u")},
    {"AnEmptyTableWithAKey", "DROP TABLE t; CREATE TABLE t(i INTEGER PRIMARY KEY, s VARCHAR)",
     kPositional,
     "SELECT NOT @ AND count(*) = count(DISTINCT i) AND max(i) = 119"
     " AND min(i) + count(*) = 120 FROM t"},
    {"OtherColumnsInItsPlace", "DROP TABLE t; CREATE TABLE t(s VARCHAR, i INTEGER)", kPositional,
     "SELECT @ AND count(*) = 0 FROM t"},
};

class RowTables : public RowRuns, public testing::WithParamInterface<Change> {
 protected:
  struct Outcome {
    bool mIsMeddled = false;  // the change was made, and in the middle
    Thrown mThrown;
  };

  void SetUp() override {
    mDatabase = Created("a.db");
    mOther = Opened("a.db");
  }

  void MakeTable() {
    Run(mDatabase,
        "DROP TABLE IF EXISTS t; DROP TABLE IF EXISTS u; CREATE OR REPLACE SEQUENCE q; "
        "CREATE TABLE t(i INTEGER, s VARCHAR)");
  }

  // Two batches, and a row of its own between them.
  static std::vector<RowPtr> TwoBatches() {
    auto rows = PlainRows(120);
    rows[60] = MakeRow({MakeText("60"), MakeText("text 60")});
    return rows;
  }

  // The change is made before that call of DuckDB's. Empty when the run makes fewer.
  std::optional<Outcome> RunWith(Call inCall, std::int64_t inNumber, std::string const& inInsert) {
    Outcome run;
    bool isChanged = false;
    BeforeCall const before(inCall, inNumber, [&] {
      isChanged = ThrownBy([&] { Run(mOther, GetParam().mSql); }) == Thrown();
    });
    run.mThrown = ThrownBy([&] { Execute(TwoBatches(), inInsert); });
    run.mIsMeddled = isChanged;
    if (!before.WasMade()) return std::nullopt;
    return run;
  }

  bool IsTrue(std::string inSql, bool inHasThrown) {
    for (std::size_t at; (at = inSql.find('@')) != std::string::npos;) {
      inSql.replace(at, 1, inHasThrown ? "true" : "false");
    }
    return Number("SELECT CAST((" + inSql + ") AS INTEGER)") == 1;
  }

  // Every text that the change brings about in rows one by one.
  std::set<std::string> TextsOfSingleRows(char const* inBefore) {
    std::set<std::string> texts;
    std::string insert = GetParam().mInsert;
    insert.insert(insert.size() - 1, " /**/");
    for (int const number : {0, 1, 2, 59, 60, 61, 119}) {
      MakeTable();
      Run(mDatabase, inBefore);
      auto const run = RunWith(Call::kExecutePrepared, number, insert);
      if (run && run->mThrown != Thrown()) texts.insert(WithoutNumbers(run->mThrown.mText2));
      (void)ThrownBy([&] { Run(mDatabase, "ROLLBACK"); });
    }
    return texts;
  }

  static std::string WithoutNumbers(std::string inText) {
    std::erase_if(inText, [](char c) { return c >= '0' && c <= '9'; });
    return inText;
  }

  Database mOther;
};

TEST_P(RowTables, ThatChangeInTheMiddleAreRightOrTheRowsOwnErrorIsTold) {
  auto const texts = TextsOfSingleRows("SELECT 1");
  int changes = 0;
  for (Call const call : kMoments) {
    for (std::int64_t number = 0; !HasFailure(); number += kStep) {
      MakeTable();
      auto const run = RunWith(call, number, GetParam().mInsert);
      if (!run) break;
      SCOPED_TRACE(testing::Message() << "before call " << static_cast<int>(call) << ", " << number
                                      << "; threw " << run->mThrown);
      bool const hasThrown = run->mThrown != Thrown();
      if (hasThrown) EXPECT_TRUE(texts.contains(WithoutNumbers(run->mThrown.mText2)));
      EXPECT_TRUE(
          IsTrue(run->mIsMeddled ? GetParam().mIsRight : LUMORA_ALL_ROWS " FROM t", hasThrown));
      Run(mDatabase, "BEGIN; COMMIT");  // no transaction was left open
      changes += run->mIsMeddled ? 1 : 0;
    }
  }
  EXPECT_GT(changes, 4);
}

TEST_P(RowTables, ThatChangeInTheMiddleOfATransactionGetAllRowsOrNone) {
  auto const texts = TextsOfSingleRows("BEGIN");
  int changes = 0;
  for (Call const call : kMoments) {
    for (std::int64_t number = 0; !HasFailure(); number += kStep) {
      MakeTable();
      Run(mDatabase, "BEGIN");
      auto const run = RunWith(call, number, GetParam().mInsert);
      bool const isDone = run && run->mThrown == Thrown() &&
                          ThrownBy([&] { Run(mDatabase, "COMMIT"); }) == Thrown();
      if (!isDone) (void)ThrownBy([&] { Run(mDatabase, "ROLLBACK"); });
      if (!run) break;
      SCOPED_TRACE(testing::Message() << "before call " << static_cast<int>(call) << ", " << number
                                      << "; threw " << run->mThrown);
      if (run->mThrown != Thrown()) {
        EXPECT_TRUE(texts.contains(WithoutNumbers(run->mThrown.mText2)));
      }
      std::int64_t const tables =
          Number("SELECT count(*) FROM duckdb_tables() WHERE table_name = 't'");
      std::string const table = tables == 1 ? "t" : "u";
      EXPECT_EQ(Number("SELECT count(*) FROM " + table), isDone ? 120 : 0);
      changes += run->mIsMeddled ? 1 : 0;
    }
  }
  EXPECT_GT(changes, 4);
}

INSTANTIATE_TEST_SUITE_P(By, RowTables, testing::ValuesIn(kChanges),
                         [](auto const& change) { return change.param.mName; });

}  // namespace
