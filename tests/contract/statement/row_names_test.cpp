#include <vector>

#include "RowRuns.h"

// What the name of a table means changes between preparing an INSERT and running its rows. The rows
// go where they go one by one, through a text that is not recognised (it holds a comment).
namespace {

using namespace lumora::test;

constexpr int kRows = 200;

class RowNames : public RowRuns {
 protected:
  void SetUp() override {
    mDatabase = InMemory();
    mDatabase->Create();
  }

  // How many rows each of the tables has after a run whose names changed after its preparation.
  std::vector<std::int64_t> Where(std::string const& inInsert, std::string const& inChange,
                                  std::vector<RowPtr> const& inRows,
                                  std::vector<std::string> const& inTables) {
    Run(mDatabase,
        "CREATE TABLE t(i INTEGER, s VARCHAR); CREATE SCHEMA s; "
        "CREATE TABLE s.t(i INTEGER, s VARCHAR)");
    mStatement = mDatabase->CreateStatement(Wide(inInsert));
    mStatement->PrepareNext();
    Run(mDatabase, inChange);
    mStatement->BindParameterRows(MakeRows(inRows));
    EXPECT_EQ(mStatement->Execute(), 1);
    (void)ThrownBy([&] { Run(mDatabase, "COMMIT"); });
    std::vector<std::int64_t> counts;
    for (auto const& table : inTables) counts.push_back(Number("SELECT count(*) FROM " + table));
    mStatement = nullptr;
    Run(mDatabase,
        "USE memory.main; DROP TABLE IF EXISTS temp.main.t; DROP TABLE memory.main.t; "
        "DROP SCHEMA s CASCADE");
    return counts;
  }

  static std::vector<RowPtr> LongRows() {
    std::vector<RowPtr> rows;
    for (int i = 0; i < kRows; ++i) rows.push_back(MakeRow({MakeLLong(i), MakeText("x")}));
    return rows;
  }
};

TEST_F(RowNames, ThatAreLookedForElsewhereMeanWhatTheyMeanToEachRow) {
  for (char const* const change : {"USE s", "SET search_path = 's'", "SET schema = 's'"}) {
    // A value of another type than its column's has DuckDB bind the statement again.
    for (auto const& rows : {PlainRows(kRows), LongRows()}) {
      std::vector<std::string> const tables = {"memory.main.t", "memory.s.t"};
      auto const counts = Where("INSERT INTO t VALUES (?, ?)", change, rows, tables);
      EXPECT_EQ(counts, Where("INSERT INTO t VALUES (?, ? /**/)", change, rows, tables)) << change;
      EXPECT_EQ(counts[0] + counts[1], kRows);
    }
  }
}

TEST_F(RowNames, OfATemporaryTableThatCameLaterDoNotTakeTheRows) {
  for (char const* const begin : {"", "; BEGIN"}) {
    std::vector<std::string> const tables = {"memory.main.t", "temp.main.t"};
    std::string const change =
        std::string("CREATE TEMPORARY TABLE t(i INTEGER, s VARCHAR)") + begin;
    auto const counts = Where("INSERT INTO t VALUES (?, ?)", change, PlainRows(kRows), tables);
    EXPECT_EQ(counts, (std::vector<std::int64_t>{kRows, 0}));
    EXPECT_EQ(counts, Where("INSERT INTO t VALUES (?, ? /**/)", change, PlainRows(kRows), tables));
  }
}

TEST_F(RowNames, OfATemporaryTableAloneAreABatch) {
  Run(mDatabase, "CREATE TEMPORARY TABLE t(i INTEGER, s VARCHAR)");
  EXPECT_EQ(Batches([&] { Execute(PlainRows(kRows)); }), 1U);
  Run(mDatabase, "CREATE TABLE memory.main.t(i INTEGER, s VARCHAR)");
  EXPECT_EQ(Batches([&] { Execute(PlainRows(kRows)); }), 0U);
  EXPECT_EQ(Batches([&] { Execute(PlainRows(kRows), "INSERT INTO temp.main.t VALUES (?, ?)"); }),
            1U);
  EXPECT_EQ(Number("SELECT count(*) FROM temp.main.t"), 3 * kRows);
  EXPECT_EQ(Number("SELECT count(*) FROM memory.main.t"), 0);
}

TEST_F(RowNames, OfSeveralSchemasAreABatchWhereTheyMeanTheSameAsBefore) {
  Run(mDatabase,
      "CREATE TABLE t(i INTEGER, s VARCHAR); CREATE SCHEMA s; USE s; "
      "CREATE TABLE t(i INTEGER, s VARCHAR)");
  EXPECT_EQ(Batches([&] { Execute(PlainRows(kRows)); }), 1U);
  EXPECT_EQ(Number("SELECT count(*) FROM memory.s.t"), kRows);
  EXPECT_EQ(Number("SELECT count(*) FROM memory.main.t"), 0);
}

// DuckDB makes two statements of a PIVOT and none of an empty database's IMPORT.
TEST_F(RowNames, InAScriptAreThoseOfTheRowsOwnPiece) {
  mFolder.Write("schema.sql", "");
  mFolder.Write("load.sql", "");
  Run(mDatabase, "CREATE TABLE a(i INTEGER, s VARCHAR); CREATE TABLE b(i INTEGER, s VARCHAR)");
  mStatement = mDatabase->CreateStatement(Wide(
      "IMPORT DATABASE '" + mFolder.get_Path().generic_string() +
      "'; INSERT INTO a VALUES (?, ?); INSERT INTO b VALUES (?, ?); PIVOT a ON i USING max(s)"));
  mStatement->BindParameterRows(MakeRows(PlainRows(kRows)));
  mStatement->ExecuteNext();
  EXPECT_EQ(Utf8(mStatement->get_CurrentSql()), "INSERT INTO a VALUES (?, ?)");
  mStatement->ExecuteNext();
  EXPECT_EQ(Utf8(mStatement->get_CurrentSql()), "INSERT INTO b VALUES (?, ?)");
  EXPECT_EQ(Number("SELECT count(*) FROM a"), kRows);
  EXPECT_EQ(Number("SELECT count(*) FROM b"), kRows);
}

}  // namespace
