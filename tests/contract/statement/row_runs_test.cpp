#include <numeric>

#include "RowRuns.h"

// Runs of many parameter rows in the situations that chance does not find.
namespace {

using namespace lumora::test;
using ValuePtr = tarn::smart_ptr<tarn::I_Value>;

constexpr int kRows = 200;

TEST_F(RowRuns, OfPlainRowsAreOneBatchInOrder) {
  EXPECT_EQ(Batches([&] { EXPECT_EQ(Execute(PlainRows(kRows)), 1); }), 1U);
  EXPECT_EQ(Count(), kRows);
  EXPECT_EQ(Number("SELECT count(*) FROM t WHERE i <> rowid OR s <> 'text ' || i"), 0);
}

TEST_F(RowRuns, ThatAreShortAreNoBatch) {
  EXPECT_EQ(Batches([&] { Execute(PlainRows(30)); }), 0U);
  EXPECT_EQ(Count(), 30);
}

TEST_F(RowRuns, OfManyBatchesLoseNothing) {
  int const rows = 250000;
  EXPECT_EQ(Batches([&] { EXPECT_EQ(Execute(std::vector<RowPtr>(rows, Plain(1))), 1); }), 3U);
  EXPECT_EQ(Count(), rows);
}

TEST_F(RowRuns, OfLongTextsAreBatchesOfBoundedSize) {
  RowPtr const row = MakeRow({MakeLong(1), MakeText(std::string(1 << 20, 'x'))});
  EXPECT_EQ(Batches([&] { Execute(std::vector<RowPtr>(100, row)); }), 0U);
  EXPECT_EQ(Count(), 100);
  RowPtr const shorter = MakeRow({MakeLong(1), MakeText(std::string(1 << 17, 'x'))});
  EXPECT_EQ(Batches([&] { Execute(std::vector<RowPtr>(600, shorter)); }), 5U);
  EXPECT_EQ(Number("SELECT count(*) FROM t WHERE length(s) = 131072"), 600);
}

TEST_F(RowRuns, AFailingRowLeavesThoseBeforeItAndNoneAfterIt) {
  Run(mDatabase, "CREATE TABLE k(i INTEGER PRIMARY KEY, s VARCHAR)");
  for (int const failing : {0, 1, 31, 32, 100, kRows - 2, kRows - 1}) {
    Run(mDatabase, "DELETE FROM k");
    Run(mDatabase, "INSERT INTO k VALUES (-1, 'there')");
    auto rows = PlainRows(kRows);
    rows[static_cast<std::size_t>(failing)] = Plain(-1);
    EXPECT_EQ(
        ThrownBy([&] { Execute(rows, "INSERT INTO k VALUES (?, ?)"); }).mText2,
        R"({"exception_type":"Constraint","exception_message":"Duplicate key \"i: -1\" violates primary key constraint."})");
    EXPECT_EQ(Number("SELECT count(*) FROM k WHERE i >= 0"), failing);
    EXPECT_EQ(Number("SELECT coalesce(max(i), -1) FROM k"), failing - 1);
  }
}

TEST_F(RowRuns, AFailingRowOfManyCostsNoRunOfAllOfThem) {
  Run(mDatabase, "CREATE TABLE k(i INTEGER PRIMARY KEY, s VARCHAR)");
  auto rows = PlainRows(20000);
  rows[19990] = Plain(5);
  std::uint64_t const before = get_CallCount(Call::kExecutePrepared);
  EXPECT_NE(ThrownBy([&] { Execute(rows, "INSERT INTO k VALUES (?, ?)"); }), Thrown());
  EXPECT_LT(get_CallCount(Call::kExecutePrepared) - before, 100U);
  EXPECT_EQ(Number("SELECT count(*) FROM k"), 19990);
}

TEST_F(RowRuns, ARowMayReferToOneBeforeItAndToNoneAfterIt) {
  auto const rows = [](std::int64_t inTo) {
    std::vector<RowPtr> all;
    for (int i = 0; i < kRows; ++i) {
      all.push_back(MakeRow({MakeLong(i), i == 0 ? ValuePtr() : ValuePtr(MakeLong(i - 1))}));
    }
    all[100] = MakeRow({MakeLong(100), MakeLLong(inTo)});
    return all;
  };
  for (int const to : {99, 100, 101, 150}) {
    Run(mDatabase, "CREATE OR REPLACE TABLE f(i INTEGER PRIMARY KEY, o INTEGER REFERENCES f(i))");
    bool const isGood = to == 99;
    EXPECT_EQ(ThrownBy([&] { Execute(rows(to), "INSERT INTO f VALUES (?, ?)"); }) == Thrown(),
              isGood);
    std::int64_t const batched = Number("SELECT count(*) FROM f");
    Run(mDatabase, "CREATE OR REPLACE TABLE f(i INTEGER PRIMARY KEY, o INTEGER REFERENCES f(i))");
    (void)ThrownBy([&] { Execute(rows(to), "INSERT INTO f VALUES (?, ? /**/)"); });
    EXPECT_EQ(batched, Number("SELECT count(*) FROM f")) << to;
    EXPECT_EQ(batched, isGood ? kRows : 100) << to;
  }
}

TEST_F(RowRuns, ABatchThatDuckDBRefusesIsRunRowByRowAndOnce) {
  FailingCall const failing(Call::kFlushAppender);
  EXPECT_EQ(Execute(PlainRows(kRows)), 1);
  EXPECT_EQ(Count(), kRows);
  EXPECT_EQ(Number("SELECT count(DISTINCT i) FROM t"), kRows);
}

// BEGIN, the questions to the catalog and COMMIT, each in its turn.
TEST_F(RowRuns, LoseAndDoubleNoRowWhicheverQueryOfABatchFails) {
  int refused = 0;
  std::int64_t failing = 0;  // counted from 0
  for (bool hasFailed = true; hasFailed; ++failing) {
    Run(mDatabase, "DELETE FROM t");
    std::uint64_t const before = get_CallCount(Call::kQuery);
    Thrown thrown;
    {
      FailingCall const failingCall(Call::kQuery, failing, 1);
      thrown = ThrownBy([&] { EXPECT_EQ(Execute(PlainRows(kRows)), 1); });
    }
    hasFailed = get_CallCount(Call::kQuery) - before > static_cast<std::uint64_t>(failing);
    bool const isRefused = thrown != Thrown();
    refused += isRefused ? 1 : 0;
    EXPECT_EQ(Count(), isRefused ? 0 : kRows) << failing;
    EXPECT_EQ(Number("SELECT count(DISTINCT i) FROM t"), Count()) << failing;
  }
  EXPECT_GT(failing, 4);
  EXPECT_EQ(refused, 1) << "the commit alone";
}

TEST_F(RowRuns, InATransactionAreUndoneByItsRollback) {
  Run(mDatabase, "BEGIN");
  EXPECT_EQ(Batches([&] { Execute(PlainRows(kRows)); }), 1U);
  EXPECT_EQ(Count(), kRows);
  Run(mDatabase, "ROLLBACK");
  EXPECT_EQ(Count(), 0);
}

TEST_F(RowRuns, InATransactionAreNoBatchWhereARowCouldFail) {
  Run(mDatabase, "CREATE TABLE k(i TINYINT, s VARCHAR UNIQUE)");
  Run(mDatabase, "BEGIN");
  EXPECT_EQ(Batches([&] { Execute(PlainRows(100), "INSERT INTO k VALUES (?, ?)"); }), 0U);
  Run(mDatabase, "ALTER TABLE t ALTER i TYPE DATE");
  EXPECT_EQ(Batches([&] { EXPECT_NE(ThrownBy([&] { Execute(PlainRows(100)); }), Thrown()); }), 0U);
  Run(mDatabase, "ROLLBACK");
}

TEST_F(RowRuns, InATransactionTouchNoDatabaseThatTheRowsDoNot) {
  Database const here = Created("here.db");
  Run(here, "CREATE TABLE t(i INTEGER, s VARCHAR)");
  Database const same = Opened("here.db");
  Run(same, "ATTACH ':memory:' AS other");
  Run(same, "CREATE TABLE other.o(i INTEGER)");
  mDatabase = here;
  Run(here, "BEGIN");
  EXPECT_EQ(Batches([&] { Execute(PlainRows(kRows)); }), 0U);
  Run(same, "INSERT INTO other.o VALUES (1)");
  // The transaction looks at the other database for the first time now.
  EXPECT_EQ(Number("SELECT count(*) FROM other.o"), 1);
  Run(here, "COMMIT");
}

TEST_F(RowRuns, TakeEachDefaultThatIsToBeCalledForEachRow) {
  Run(mDatabase, "CREATE SEQUENCE q");
  Run(mDatabase,
      "CREATE TABLE d(i INTEGER, s VARCHAR, n INTEGER DEFAULT nextval('q'), "
      "m BIGINT DEFAULT txid_current())");
  EXPECT_EQ(Batches([&] { Execute(PlainRows(kRows), "INSERT INTO d(i, s) VALUES (?, ?)"); }), 0U);
  EXPECT_EQ(Number("SELECT count(*) FROM d WHERE n = i + 1"), kRows);
  EXPECT_EQ(Number("SELECT count(DISTINCT m) FROM d"), kRows);
  EXPECT_EQ(Number("SELECT nextval('q')"), kRows + 1);
}

TEST_F(RowRuns, OfAConnectionThatRecordsItsStatementsAreRecordedOneByOne) {
  Run(mDatabase, "SET preserve_insertion_order = false");
  EXPECT_EQ(Batches([&] { Execute(PlainRows(kRows)); }), 0U);
  Run(mDatabase, "SET preserve_insertion_order = true");
  Run(mDatabase, "PRAGMA enable_profiling = 'no_output'");
  EXPECT_EQ(Batches([&] { Execute(PlainRows(kRows)); }), 0U);
  Run(mDatabase, "PRAGMA disable_profiling");
  EXPECT_EQ(Batches([&] { Execute(PlainRows(kRows)); }), 1U);
}

TEST_F(RowRuns, AreNotMisledByNamesOfTheUser) {
  Run(mDatabase, "CREATE TABLE lumora_parameter_rows(p1 INTEGER, p2 VARCHAR)");
  Run(mDatabase,
      "CREATE MACRO now() AS 1; CREATE MACRO epoch_us(x) AS 2; CREATE MACRO lower(x) AS 'none'; "
      "CREATE MACRO current_setting(x) AS NULL; CREATE MACRO duckdb_constraints() AS TABLE SELECT "
      "3");
  EXPECT_EQ(Batches([&] {
              Execute(PlainRows(kRows), "INSERT INTO lumora_parameter_rows VALUES ($1, $2)");
            }),
            1U);
  EXPECT_EQ(Number("SELECT count(*) FROM lumora_parameter_rows WHERE p2 = 'text ' || p1"), kRows);
}

TEST_F(RowRuns, LeaveNothingInTheCatalog) {
  char const* const all =
      "SELECT (SELECT count(*) FROM duckdb_functions()) * 1000000 + (SELECT count(*) FROM "
      "duckdb_tables()) * 1000 + (SELECT count(*) FROM duckdb_views()) + (SELECT count(*) FROM "
      "duckdb_types())";
  std::int64_t const before = Number(all);
  std::int64_t meanwhile = 0;
  auto rows = PlainRows(kRows);
  rows[100] = Acting(100, [&] { meanwhile = Number(all); });
  Execute(rows);
  EXPECT_EQ(meanwhile, before);
  EXPECT_EQ(Number(all), before);
}

TEST_F(RowRuns, AHostValueFindsTheRowsBeforeItsOwn) {
  auto rows = PlainRows(kRows);
  std::int64_t seen = -1;
  rows[150] = Acting(150, [&] { seen = Count(); });
  EXPECT_EQ(Execute(rows), 1);
  EXPECT_EQ(seen, 150);
  EXPECT_EQ(Count(), kRows);
  EXPECT_EQ(Number("SELECT count(*) FROM t WHERE i <> rowid"), 0);
}

TEST_F(RowRuns, AHostValueThatFailsLeavesTheRowsBeforeItsOwn) {
  auto rows = PlainRows(kRows);
  rows[150] = Acting(150, [] { throw std::runtime_error("the host's own"); });
  EXPECT_EQ(ThrownBy([&] { Execute(rows); }), (Thrown{"runtime_error", 0, "the host's own"}));
  EXPECT_EQ(Count(), 150);
}

TEST_F(RowRuns, ARowBeforeOneWhoseValueFailsFailsFirst) {
  auto rows = PlainRows(kRows);
  rows[120] = MakeRow({MakeText("no number"), MakeText("")});
  rows[121] = MakeRow({MakeText("121"), MakeText("")});
  rows[150] = Acting(150, [] { throw std::runtime_error("too late"); });
  EXPECT_THAT(ThrownBy([&] { Execute(rows); }).mText2, testing::HasSubstr("no number"));
  EXPECT_EQ(Count(), 120);
}

TEST_F(RowRuns, ARowThatFailsBecauseOfACallBackIsToldEvenWhenTheHostKeepsIt) {
  Run(mDatabase, "CREATE TABLE k(i INTEGER PRIMARY KEY, s VARCHAR)");
  auto rows = PlainRows(kRows);
  rows[100] = Plain(5);
  bool isTold = false;
  rows[150] = Acting(150, [&] {
    try {
      (void)Count();
    } catch (tarn::xException const&) {
      isTold = true;
    }
  });
  EXPECT_THAT(ThrownBy([&] { Execute(rows, "INSERT INTO k VALUES (?, ?)"); }).mText2,
              testing::HasSubstr("Duplicate key"));
  EXPECT_TRUE(isTold);
  EXPECT_EQ(Number("SELECT count(*) FROM k"), 100);
}

// What is released or closed goes, whatever fails; the failure is told by who executes the rows.
TEST_F(RowRuns, AHostValueMayReleaseWhatItHoldsWhenARowBeforeItFails) {
  Run(mDatabase, "CREATE TABLE k(i INTEGER PRIMARY KEY, s VARCHAR)");
  std::vector<std::function<void(Database&)>> const releases{
      [cursor = mDatabase->ExecuteQuery(Wide("SELECT 42"), 1, nullptr)](Database&) mutable {
        cursor = nullptr;
      },
      [statement = mDatabase->CreateStatement(Wide("SELECT 42"))](Database&) mutable {
        statement = nullptr;
      },
      [result = mDatabase->Execute(Wide("SELECT 42"), 1, nullptr)](Database&) mutable {
        result = nullptr;
      },
      [](Database& ioOther) { ioOther = nullptr; },
      [](Database& ioOther) {
        ioOther->Close();
        EXPECT_FALSE(ioOther->get_IsOpen());
      },
  };
  for (auto release : releases) {
    Database other = InMemory();
    other->Create();
    Run(mDatabase, "DELETE FROM k");
    auto rows = PlainRows(kRows);
    rows[100] = Plain(5);
    rows[150] = Acting(150, [&] { release(other); });
    EXPECT_THAT(ThrownBy([&] { Execute(rows, "INSERT INTO k VALUES (?, ?)"); }).mText2,
                testing::HasSubstr("Duplicate key"));
    EXPECT_EQ(Number("SELECT count(*) FROM k"), 100);
  }
}

TEST_F(RowRuns, TryExecuteAllInAHostValueRecordsThatARowBeforeItFailed) {
  Run(mDatabase, "CREATE TABLE k(i INTEGER PRIMARY KEY, s VARCHAR)");
  auto rows = PlainRows(kRows);
  rows[100] = Plain(5);
  tarn::lsql::DuckDBExecutionResult record;
  auto const other = mDatabase->CreateStatement(Wide("INSERT INTO t VALUES (1, 'other')"));
  rows[150] = Acting(150, [&] { record = other->TryExecuteAll(); });
  EXPECT_THAT(ThrownBy([&] { Execute(rows, "INSERT INTO k VALUES (?, ?)"); }).mText2,
              testing::HasSubstr("Duplicate key"));
  EXPECT_NE(record.mErrorCode, 0U);
  EXPECT_EQ(record.mStatementsExecuted, 0U);
  EXPECT_EQ(Count(), 0);
}

TEST_F(RowRuns, AHostValueMayCloseTheStatementAfterTheRowsBeforeItsOwn) {
  auto rows = PlainRows(kRows);
  rows[150] = Acting(150, [&] { mStatement->Close(); });
  EXPECT_EQ(ThrownBy([&] { Execute(rows); }).mText1, "unknown");
  EXPECT_EQ(Count(), 150);
}

TEST_F(RowRuns, AHostValueMayCloseTheDatabase) {
  auto rows = PlainRows(kRows);
  rows[150] = Acting(150, [&] { mDatabase->Close(); });
  EXPECT_NE(ThrownBy([&] { Execute(rows); }), Thrown());
  EXPECT_FALSE(mDatabase->get_IsOpen());
}

TEST_F(RowRuns, AHostValueMayPrepareAndRunTheStatementThatReadsIt) {
  auto rows = PlainRows(kRows);
  rows[150] = Acting(150, [&] {
    mStatement->BindParameters(Plain(-7));
    mStatement->Execute();
  });
  EXPECT_EQ(Execute(rows), 1);
  EXPECT_EQ(Count(), kRows + 1);
  EXPECT_EQ(Number("SELECT i FROM t WHERE rowid = 150"), -7);
  EXPECT_EQ(Number("SELECT i FROM t WHERE rowid = 151"), 150);
}

TEST_F(RowRuns, RowsThatGoWhileTheyAreReadAreNotRun) {
  auto plain = PlainRows(kRows);
  tarn::smart_ptr<tarn::ValueRows> rows;
  plain[150] = Acting(150, [&] {
    while (rows->get_Count() > 100) rows->RemoveAt(rows->get_Count());
  });
  rows = MakeRows(plain);
  mStatement = mDatabase->CreateStatement(Wide("INSERT INTO t VALUES (?, ?)"));
  mStatement->PrepareNext();
  mStatement->BindParameterRows(rows);
  mStatement->Execute();
  EXPECT_EQ(Count(), 151);
}

TEST_F(RowRuns, ValuesAreReadOnceAndInTheirOrder) {
  std::vector<int> read;
  std::vector<RowPtr> rows;
  for (int i = 0; i < kRows; ++i) rows.push_back(Acting(i, [&read, i] { read.push_back(i); }));
  mStatement = mDatabase->CreateStatement(Wide("INSERT INTO t VALUES (?, ?)"));
  mStatement->BindParameterRows(MakeRows(rows));
  mStatement->PrepareNext();
  {
    FailingCall const failing(Call::kFlushAppender);
    mStatement->Execute();
  }
  std::vector<int> wanted(kRows);
  std::iota(wanted.begin(), wanted.end(), 0);
  EXPECT_EQ(read, wanted);
}

TEST_F(RowRuns, RowsOfOtherTypesAreRunInTheirPlace) {
  Run(mDatabase, "CREATE TABLE d(x DOUBLE, s VARCHAR)");
  std::vector<RowPtr> rows;
  for (int i = 0; i < kRows; ++i) {
    bool const isOther = i == 50 || i == 51 || i == 120;
    rows.push_back(MakeRow({isOther ? ValuePtr(MakeText(std::to_string(i))) : MakeDouble(i),
                            isOther ? ValuePtr() : ValuePtr(MakeText("x"))}));
  }
  EXPECT_EQ(Batches([&] { Execute(rows, "INSERT INTO d VALUES (?, ?)"); }), 3U);
  EXPECT_EQ(Number("SELECT count(*) FROM d WHERE x = rowid"), kRows);
}

}  // namespace
