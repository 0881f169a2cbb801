#include "RowRuns.h"

// Runs of many parameter rows in a transaction of the host's, and batches that DuckDB refuses.
namespace {

using namespace lumora::test;

class RowTransactions : public RowRuns {
 protected:
  struct Table {
    char const* mSetUp;
    char const* mInsert;
    bool mIsBatch;
  };

  void ExpectEachRowOnce(int inRows) {
    EXPECT_EQ(Count(), inRows);
    EXPECT_EQ(Number("SELECT count(DISTINCT i) FROM t WHERE i >= 0 AND s = 'text ' || i"), inRows);
  }
};

// Each for one reason of its own: a batch that fails would abort the transaction.
TEST_F(RowTransactions, AreNoBatchForAnyReasonThatARowMayFailFor) {
  std::vector<Table> const tables = {
      {"CREATE TABLE k(i INTEGER, s VARCHAR)", "INSERT INTO k VALUES (?, ?)", true},
      {"CREATE TABLE k(i INTEGER NOT NULL, s VARCHAR)", "INSERT INTO k VALUES (?, ?)", true},
      {"CREATE TABLE k(i INTEGER PRIMARY KEY, s VARCHAR)", "INSERT INTO k VALUES (?, ?)", false},
      {"CREATE TABLE k(i INTEGER UNIQUE, s VARCHAR)", "INSERT INTO k VALUES (?, ?)", false},
      {"CREATE TABLE k(i INTEGER, s VARCHAR); CREATE UNIQUE INDEX u ON k(i)",
       "INSERT INTO k VALUES (?, ?)", false},
      {"CREATE TABLE k(i INTEGER, s VARCHAR); CREATE INDEX u ON k(s)",
       "INSERT INTO k VALUES (?, ?)", false},
      {"CREATE TABLE k(i INTEGER CHECK (i >= 0), s VARCHAR)", "INSERT INTO k VALUES (?, ?)", false},
      {"CREATE TABLE p(i INTEGER PRIMARY KEY); INSERT INTO p FROM range(100); "
       "CREATE TABLE k(i INTEGER REFERENCES p(i), s VARCHAR)",
       "INSERT INTO k VALUES (?, ?)", false},
      {"CREATE TABLE k(i INTEGER, s VARCHAR, g INTEGER AS (i + 1))", "INSERT INTO k VALUES (?, ?)",
       false},
      {"CREATE TABLE k(i INTEGER, s VARCHAR, o INTEGER NOT NULL DEFAULT 1)",
       "INSERT INTO k(i, s) VALUES (?, ?)", true},
  };
  for (Table const& table : tables) {
    Run(mDatabase, table.mSetUp);
    Run(mDatabase, "BEGIN");
    EXPECT_EQ(Batches([&] { Execute(PlainRows(100), table.mInsert); }), table.mIsBatch ? 1U : 0U)
        << table.mSetUp;
    EXPECT_EQ(Number("SELECT count(*) FROM k"), 100);
    Run(mDatabase, "COMMIT; DROP TABLE k; DROP TABLE IF EXISTS p");
  }
}

TEST_F(RowTransactions, AreNoBatchWhenANullMeetsAColumnThatTakesNone) {
  Run(mDatabase, "CREATE TABLE k(i INTEGER NOT NULL, s VARCHAR)");
  auto rows = PlainRows(100);
  rows[50] = MakeRow({MakeNullValue(), MakeText("null")});
  Run(mDatabase, "BEGIN");
  EXPECT_EQ(Batches([&] {
              EXPECT_THAT(ThrownBy([&] { Execute(rows, "INSERT INTO k VALUES (?, ?)"); }).mText2,
                          testing::HasSubstr("NOT NULL constraint failed: k.i"));
            }),
            0U);
  Run(mDatabase, "ROLLBACK");
}

// A row by itself, which shows that the statement runs, and then the others: a key that is there
// twice is told in the words of the row's own failure.
TEST_F(RowTransactions, TellADuplicateKeyAsARowByItselfDoes) {
  Run(mDatabase, "CREATE TABLE k(i INTEGER PRIMARY KEY, s VARCHAR); INSERT INTO k VALUES (-1, '')");
  auto rows = PlainRows(100);
  rows[70] = Plain(-1);
  Run(mDatabase, "BEGIN");
  EXPECT_EQ(
      ThrownBy([&] { Execute(rows, "INSERT INTO k VALUES (?, ?)"); }).mText2,
      R"({"exception_type":"Constraint","exception_message":"Duplicate key \"i: -1\" violates primary key constraint."})");
  Run(mDatabase, "ROLLBACK");
  EXPECT_EQ(Number("SELECT count(*) FROM k"), 1);
}

// An appender that is given up would insert what it still has.
TEST_F(RowTransactions, InsertEachRowOnceWhereverABatchIsRefused) {
  int const rows = 3000;
  for (Call const call :
       {Call::kMakeAppender, Call::kCreateChunk, Call::kAppendChunk, Call::kFlushAppender}) {
    for (int const successes : {0, 1}) {
      for (bool const isHosts : {false, true}) {
        Run(mDatabase, "DELETE FROM t");
        if (isHosts) Run(mDatabase, "BEGIN");
        {
          FailingCall const failing(call, successes, 1);
          EXPECT_EQ(Execute(PlainRows(rows)), 1);
        }
        ExpectEachRowOnce(rows);
        if (isHosts) Run(mDatabase, "COMMIT");
        ExpectEachRowOnce(rows);
      }
    }
  }
}

// Of every number of rows, odd ones too, and however deep the halves go.
TEST_F(RowTransactions, InsertEachRowOnceWhenABatchIsRepeatedInParts) {
  for (int const rows : {33, 64, 65, 100, 131, 257, 1001}) {
    for (int const failures : {1, 2, 3, 5, 1000}) {
      Run(mDatabase, "DELETE FROM t");
      {
        FailingCall const failing(Call::kFlushAppender, 0, failures);
        EXPECT_EQ(Execute(PlainRows(rows)), 1);
      }
      ExpectEachRowOnce(rows);
      EXPECT_EQ(Number("SELECT count(*) FROM t WHERE i <> rowid - (SELECT min(rowid) FROM t)"), 0)
          << rows << " rows, " << failures << " failures";
    }
  }
}

}  // namespace
