#include "support/DatabaseTest.h"
#include "support/DuckDBCalls.h"
#include "support/TestValue.h"

// SQL through the database's own operations.
namespace {

using namespace lumora::test;
using testing::HasSubstr;

class Scripts : public DatabaseTest {
 protected:
  void SetUp() override { mDatabase = Created("s.db"); }

  Thrown Failure(std::string const& inSql, tarn::smart_ptr<tarn::ValueRow> inParameters = {}) {
    return ThrownBy([&] { mDatabase->ExecuteSQL(Wide(inSql), inParameters); });
  }
  Thrown QueryFailure(std::string const& inSql) {
    return ThrownBy([&] { mDatabase->ExecuteQuery(Wide(inSql), 1, nullptr); });
  }
  Database mDatabase;
};

TEST_F(Scripts, EveryOperationOfAClosedDatabaseSaysThatItIsNotOpen) {
  mDatabase->Close();
  Thrown const expected = DuckDBError("s.db", "DuckDBDatabase is not open");
  auto const row = MakeRow({MakeLong(1)});
  EXPECT_EQ(Failure("SELECT 1"), expected);
  EXPECT_EQ(Failure("SELECT ?", row), expected);
  EXPECT_EQ(QueryFailure("SELECT 1"), expected);
  EXPECT_EQ(ThrownBy([&] { mDatabase->Execute(Wide("SELECT 1"), 1, nullptr); }), expected);
  EXPECT_EQ(ThrownBy([&] { mDatabase->CreateStatement(Wide("SELECT 1")); }), expected);
  EXPECT_EQ(ThrownBy([&] { mDatabase->UnregisterStatement(nullptr); }), expected);
}

TEST_F(Scripts, AQueryMustGiveOneResultWithRows) {
  EXPECT_EQ(QueryFailure("CREATE TABLE t(i INTEGER)"),
            DuckDBError("s.db", "Query doesn't return a result"));
  EXPECT_EQ(QueryFailure("INSERT INTO t VALUES (1)"),
            DuckDBError("s.db", "Query doesn't return a result"));
  EXPECT_EQ(QueryFailure("SELECT 1; SELECT 2"),
            DuckDBError("s.db", "Query doesn't return a single result"));
  EXPECT_EQ(QueryFailure("-- nothing"), DuckDBError("s.db", "Failed to extract statements"));
  EXPECT_EQ(QueryFailure(""), DuckDBError("s.db", "Failed to extract statements"));
  // What such a script did stays done.
  EXPECT_EQ(Number(mDatabase, "SELECT count(*) FROM t"), 1);
}

TEST_F(Scripts, AFailingStatementIsToldAsDuckDBTellsIt) {
  Thrown const thrown = Failure("SELECT 1; SELECT missing; SELECT 3");
  EXPECT_EQ(thrown.mClass, "xDuckDBError");
  EXPECT_EQ(thrown.mCode, 0x72501U);
  EXPECT_EQ(thrown.mText1, mFolder.At("s.db"));
  EXPECT_THAT(thrown.mText2, HasSubstr(R"("exception_type":"Binder")"));
  EXPECT_THAT(thrown.mText2, HasSubstr(R"("position":"17")"));
}

TEST_F(Scripts, ATransactionSpansCallsAndIsRolledBackByAFailure) {
  Run(mDatabase, "CREATE TABLE t(i INTEGER)");
  Run(mDatabase, "BEGIN");
  Run(mDatabase, "INSERT INTO t VALUES (1)");
  Run(mDatabase, "COMMIT");
  Run(mDatabase, "BEGIN; INSERT INTO t VALUES (2)");
  EXPECT_THAT(Failure("INSERT INTO t SELECT CAST('x' || i AS INTEGER) FROM t").mText2,
              HasSubstr("Could not convert"));
  EXPECT_EQ(Number(mDatabase, "SELECT sum(i) FROM t"), 1);
  EXPECT_THAT(Failure("COMMIT").mText2, HasSubstr("no transaction is active"));
}

TEST_F(Scripts, ResultsComeInTheOrderOfTheStatements) {
  auto result = mDatabase->Execute(
      Wide("CREATE TABLE t(i INTEGER); INSERT INTO t VALUES (1), (2); SELECT i FROM t"), 1,
      nullptr);
  EXPECT_EQ(result->get_Flags(), 0U);
  result = result->NextResult();
  EXPECT_EQ(result->get_RowsChanged(), 2U);
  result = result->NextResult();
  EXPECT_EQ(result->get_Cursor()->get_RecordCount(), 2U);
  EXPECT_EQ(result->NextResult(), nullptr);
}

TEST_F(Scripts, RunForTheirEffectAreNotReadAndOfAClientCursorAreReadWhole) {
  auto const sql = Wide("SELECT * FROM range(5000)");
  std::uint64_t const before = get_CallCount(Call::kFetchChunk);
  mDatabase->ExecuteSQL(sql, nullptr);
  (void)mDatabase->Execute(sql, 2, nullptr);
  EXPECT_EQ(get_CallCount(Call::kFetchChunk), before);
  (void)mDatabase->Execute(sql, 1, nullptr);
  EXPECT_GT(get_CallCount(Call::kFetchChunk), before);
}

// DuckDB's own log tells what it was given.
TEST_F(Scripts, TheLibrarysOwnStatementsAreTheFixedOnes) {
  Run(mDatabase, "CREATE TABLE t(i INTEGER PRIMARY KEY); INSERT INTO t VALUES (1)");
  Run(mDatabase, "CALL enable_logging('QueryLog')");
  auto const count = [&](std::string const& inText) {
    return Number(mDatabase, "SELECT count(*) FROM duckdb_logs WHERE message = '" + inText + "'");
  };
  Database const second = Opened("s.db");
  EXPECT_EQ(count("SET errors_as_json = true;"), 1);
  EXPECT_NE(Failure("INSERT INTO t VALUES (1); SELECT 2"), Thrown());
  EXPECT_EQ(count("ROLLBACK"), 1);
}

TEST_F(Scripts, EveryKindOfStatementRuns) {
  Run(mDatabase, "CREATE TABLE t(y INTEGER, n INTEGER); INSERT INTO t VALUES (2000, 1), (2010, 2)");
  std::string const file = mFolder.At("t.csv");
  for (std::string const& sql :
       {std::string("CREATE TEMPORARY TABLE x(i INTEGER); INSERT INTO x VALUES (1)"),
        std::string("SELECT * FROM x"), std::string("SET threads = 1"),
        std::string("EXPLAIN FROM t"),
        "ATTACH '" + mFolder.At("other.db") + "' AS o; CREATE TABLE o.u(i INTEGER); DETACH o",
        std::string("PRAGMA table_info('t')"), "COPY t TO '" + file + "'",
        "COPY t FROM '" + file + "'", std::string("CREATE TABLE p AS FROM t WHERE y > 2000"),
        std::string("SELECT 1; PIVOT t ON y USING sum(n); SELECT 2"),
        std::string("PREPARE q AS SELECT ?; EXECUTE q(1); DEALLOCATE q"),
        std::string("EXPLAIN ANALYZE SELECT 1"), std::string("SUMMARIZE t"),
        std::string("CREATE MACRO m(a) AS a + 1; SELECT m(1)"), std::string("CHECKPOINT")}) {
    EXPECT_EQ(Failure(sql), Thrown()) << sql;
  }
  EXPECT_EQ(Number(mDatabase, "SELECT count(*) FROM t"), 4);
}

TEST_F(Scripts, ParametersBelongToOneStatement) {
  Run(mDatabase, "CREATE TABLE t(i INTEGER)");
  mDatabase->ExecuteSQL(Wide("INSERT INTO t VALUES ($2), ($1)"),
                        MakeRow({MakeLong(5), MakeLLong(7)}));
  EXPECT_EQ(Number(mDatabase, "SELECT max(i) FROM t"), 7);
  auto const cursor = mDatabase->ExecuteQuery(Wide("SELECT ? + 1"), 1, MakeRow({MakeLong(41)}));
  ASSERT_TRUE(cursor->NextRecord());
  EXPECT_EQ(cursor->get_Value(0)->get_Long(), 42);
  EXPECT_THAT(Failure("SELECT ?; SELECT 2", MakeRow({MakeLong(1)})).mText2,
              HasSubstr("multiple statements"));
}

TEST_F(Scripts, AnErrorsTextsNameTheDatabaseAlsoInMemory) {
  Database const memory = InMemory();
  memory->Create();
  Thrown const thrown =
      ThrownBy([&] { memory->ExecuteSQL(Wide("SELECT * FROM missing"), nullptr); });
  EXPECT_EQ(thrown.mText1, ":memory:");
}

TEST_F(Scripts, AStatementLeavesItsOwnDatabaseOnly) {
  Database const other = Created("other.db");
  auto const statement = other->CreateStatement(Wide("SELECT 1"));
  EXPECT_EQ(ThrownBy([&] { mDatabase->UnregisterStatement(statement.get()); }),
            DuckDBError("s.db", "DuckDBStatement does not belong to this database"));
  EXPECT_EQ(ThrownBy([&] { mDatabase->UnregisterStatement(nullptr); }),
            DuckDBError("s.db", "DuckDBStatement does not belong to this database"));
  statement->PrepareNext();
  other->UnregisterStatement(statement.get());
  EXPECT_EQ(statement->get_Database(), nullptr);
  EXPECT_EQ(ThrownBy([&] { statement->Execute(); }),
            (Thrown{"xDuckDBError", 0x72501U, "unknown", "DuckDBDatabase is invalid"}));
  EXPECT_EQ(ThrownBy([&] { other->UnregisterStatement(statement.get()); }),
            DuckDBError("other.db", "DuckDBStatement does not belong to this database"));
}

}  // namespace
