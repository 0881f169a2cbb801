#include "statement/DuckDBStatement.h"

#include <gtest/gtest.h>

#include <functional>

#include "cursor/DuckDBCursor_server.h"
#include "support/StatementFixture.h"
#include "support/TestValue.h"
#include "tarn/Exceptions.h"

namespace lumora {
namespace {

using test::MakeLong;
using test::MakeRow;
using test::MakeRows;
using test::MakeText;
using test::ToUTF8;

using StatementTest = test::StatementFixture;

// --- pieces
// -----------------------------------------------------------------------------------------

TEST_F(StatementTest, CountsThePiecesThatAreLeft) {
  auto const statement = Make("SELECT 1; SELECT 2");
  EXPECT_EQ(statement->get_RemainingStatements(), 2U);
  statement->PrepareNext();
  EXPECT_EQ(statement->get_RemainingStatements(), 1U);
  statement->PrepareNext();
  EXPECT_EQ(statement->get_RemainingStatements(), 0U);
  statement->PrepareNext();
  EXPECT_EQ(statement->get_RemainingStatements(), 0U);
}

TEST_F(StatementTest, TellsTheWholeTextAndTheCurrentPiece) {
  auto const statement = Make("  SELECT 1 ; -- why\n SELECT 'ü' ");
  EXPECT_EQ(ToUTF8(statement->get_SqlText()), "  SELECT 1 ; -- why\n SELECT 'ü' ");
  EXPECT_EQ(statement->get_CurrentSql(), statement->get_SqlText());
  statement->PrepareNext();
  EXPECT_EQ(ToUTF8(statement->get_CurrentSql()), "SELECT 1");
  statement->PrepareNext();
  EXPECT_EQ(ToUTF8(statement->get_CurrentSql()), "SELECT 'ü'");
  EXPECT_EQ(ToUTF8(statement->get_SqlText()), "  SELECT 1 ; -- why\n SELECT 'ü' ");
}

TEST_F(StatementTest, PreparesAndExecutesNothingOfATextWithoutStatements) {
  for (char const* const sql : {"", "   ", "-- nothing", "/* */ ;;"}) {
    auto const statement = Make(sql);
    EXPECT_EQ(statement->get_RemainingStatements(), 0U);
    statement->PrepareNext();
    EXPECT_EQ(statement->Execute(), 0);
    EXPECT_EQ(statement->ExecuteCursor(1), nullptr);
    EXPECT_EQ(ToUTF8(statement->ExecuteToJSON()), "[]");
    EXPECT_EQ(statement->ExecuteResult(1)->get_Flags(), 0U);
    statement->ExecuteAll();
    EXPECT_EQ(statement->TryExecuteAll().mErrorCode, 0U);
  }
}

TEST_F(StatementTest, ThrowsDuckDBsMessageForATextThatCannotBeSplit) {
  auto const statement = Make("SELECT 1; SELEKT 2");
  EXPECT_EQ(statement->get_RemainingStatements(), 0U);
  for (int i = 0; i < 2; ++i) {
    auto const error = Failure([&] { statement->PrepareNext(); });
    EXPECT_EQ(error.mPath, "fake.duckdb");
    EXPECT_NE(error.mMessage.find("SELEKT"), std::string::npos) << error.mMessage;
  }
  EXPECT_EQ(statement->Execute(), 0);
}

TEST_F(StatementTest, RefusesATextWithANul) {
  std::string const sql("SELECT 1\0; SELECT 2", 19);
  auto const statement = Make(sql);
  EXPECT_EQ(statement->get_RemainingStatements(), 0U);
  EXPECT_EQ(Failure([&] { statement->PrepareNext(); }).mMessage,
            "The SQL text holds a NUL character");
  EXPECT_EQ(statement->TryExecuteAll().mErrorCode, 0x72501U);
}

TEST_F(StatementTest, StaysAtAPieceThatCannotBePrepared) {
  auto const statement = Make("SELECT 1; SELECT * FROM missing; SELECT 3");
  statement->PrepareNext();
  for (int i = 0; i < 3; ++i) {
    auto const error = Failure([&] { statement->PrepareNext(); });
    EXPECT_EQ(error.mPath, "fake.duckdb");
    EXPECT_NE(error.mMessage.find("missing does not exist"), std::string::npos) << error.mMessage;
    EXPECT_EQ(statement->get_RemainingStatements(), 2U);
    EXPECT_EQ(ToUTF8(statement->get_CurrentSql()), "SELECT * FROM missing");
    EXPECT_EQ(statement->Execute(), 0);
  }
  mDatabase.Query("CREATE TABLE missing(i INTEGER)");
  statement->PrepareNext();
  EXPECT_EQ(statement->get_RemainingStatements(), 1U);
  EXPECT_EQ(ToUTF8(statement->ExecuteToJSON()), "[]");
  statement->ExecuteNext();
  EXPECT_EQ(ToUTF8(statement->get_CurrentSql()), "SELECT 3");
}

TEST_F(StatementTest, DropsThePreparedPiecePastTheLastOne) {
  auto const statement = Make("INSERT INTO t VALUES (1)");
  statement->PrepareNext();
  EXPECT_EQ(statement->Execute(), 1);
  EXPECT_EQ(statement->Execute(), 1);
  statement->PrepareNext();
  EXPECT_EQ(statement->Execute(), 0);
  EXPECT_EQ(Count("t"), 2);
}

// --- execution
// --------------------------------------------------------------------------------------

TEST_F(StatementTest, ExecutesPieceByPiece) {
  auto const statement = Make("INSERT INTO t VALUES (1), (2); DELETE FROM t; SELECT 1");
  std::uint64_t changed = 77;
  statement->ExecuteNext(changed);
  EXPECT_EQ(changed, 2U);
  statement->ExecuteNext(changed);
  EXPECT_EQ(changed, 2U);
  statement->ExecuteNext(changed);
  EXPECT_EQ(changed, 0U);
  statement->ExecuteNext();
  EXPECT_EQ(statement->get_RemainingStatements(), 0U);
}

TEST_F(StatementTest, RunsAllPiecesAndStartsAnew) {
  auto const statement = Make("INSERT INTO t VALUES (1); INSERT INTO t VALUES (2)");
  statement->ExecuteAll();
  EXPECT_EQ(Count("t"), 2);
  EXPECT_EQ(statement->get_RemainingStatements(), 0U);
  EXPECT_EQ(statement->get_CurrentSql(), statement->get_SqlText());
  // The last piece stays prepared until the next one is.
  EXPECT_EQ(statement->Execute(), 1);
  statement->PrepareNext();
  EXPECT_EQ(statement->get_RemainingStatements(), 1U);
  EXPECT_EQ(ToUTF8(statement->get_CurrentSql()), "INSERT INTO t VALUES (1)");
}

TEST_F(StatementTest, StaysWhereARunFailed) {
  auto const statement =
      Make("INSERT INTO t VALUES (1); INSERT INTO t SELECT * FROM missing; SELECT 3");
  EXPECT_NE(Failure([&] { statement->ExecuteAll(); }).mMessage.find("missing"), std::string::npos);
  EXPECT_EQ(statement->get_RemainingStatements(), 2U);
  mDatabase.Query("CREATE TABLE missing(i INTEGER)");
  statement->ExecuteAll();
  EXPECT_EQ(Count("t"), 1);
}

TEST_F(StatementTest, RecordsHowFarARunCame) {
  auto const statement = Make("INSERT INTO t VALUES (1); SELECT * FROM missing; SELECT 3");
  auto const record = statement->TryExecuteAll();
  EXPECT_EQ(record.mStatementsExecuted, 1U);
  EXPECT_EQ(record.mErrorCode, 0x72501U);
  EXPECT_NE(ToUTF8(record.mErrorMessage).find("missing"), std::string::npos);
  EXPECT_EQ(ToUTF8(statement->get_CurrentSql()), "SELECT * FROM missing");
  EXPECT_EQ(statement->get_RemainingStatements(), 0U);
  EXPECT_EQ(statement->TryExecuteAll().mStatementsExecuted, 1U);
  EXPECT_EQ(Count("t"), 2);
}

TEST_F(StatementTest, RecordsAWholeRun) {
  auto const statement = Make("SELECT 1; SELECT 2; SELECT 3");
  auto const record = statement->TryExecuteAll();
  EXPECT_EQ(record.mStatementsExecuted, 3U);
  EXPECT_EQ(record.mErrorCode, 0U);
  EXPECT_TRUE(record.mErrorMessage.isEmpty());
  EXPECT_EQ(statement->get_CurrentSql(), statement->get_SqlText());
}

TEST_F(StatementTest, RecordsWhatIsNoneOfDuckDBsErrorsAsUnexpected) {
  auto const statement = Make("SELECT ?");
  statement->BindParameters(MakeRow({test::MakeJSON(test::MakeEnvelope("INT8", "x"))}));
  auto const record = statement->TryExecuteAll();
  EXPECT_EQ(record.mStatementsExecuted, 0U);
  EXPECT_EQ(record.mErrorCode, 0x72000U);
  EXPECT_EQ(ToUTF8(record.mErrorMessage), "Unexpected DuckDB error");
}

TEST_F(StatementTest, ThrowsDuckDBsMessageForAFailingExecution) {
  auto const statement = Make("SELECT CAST('x' AS INTEGER)");
  statement->PrepareNext();
  auto const error = Failure([&] { statement->Execute(); });
  EXPECT_EQ(error.mPath, "fake.duckdb");
  EXPECT_NE(error.mMessage.find("Could not convert"), std::string::npos);
}

TEST_F(StatementTest, GivesACursorOfTheWantedKind) {
  auto const statement = Make("SELECT 1 UNION ALL SELECT 2");
  statement->PrepareNext();
  EXPECT_EQ(statement->ExecuteCursor(1)->get_RecordCount(), 2U);
  auto const streaming = statement->ExecuteCursor(0);
  EXPECT_THROW(streaming->get_RecordCount(), tarn::lsql::xDuckDBError);
  EXPECT_TRUE(streaming->NextRecord());
}

TEST_F(StatementTest, ACursorOutlivesTheStatementsNextStep) {
  auto statement = Make("SELECT 1; SELECT 2");
  statement->PrepareNext();
  auto const cursor = statement->ExecuteCursor(2);
  statement->ExecuteNext();
  statement.reset();
  ASSERT_TRUE(cursor->NextRecord());
  EXPECT_EQ(cursor->get_Value(0)->get_Long(), 1);
}

TEST_F(StatementTest, GivesTheRowsAsJson) {
  auto const statement = Make("SELECT 1 AS a, 'x' AS b");
  statement->PrepareNext();
  bool isStreamed = false;
  mDatabase.mOnUnregister = [&](tarn::lsql::I_DuckDBCursor& cursor) {
    isStreamed = dynamic_cast<tarn::lsql::DuckDBCursor_server*>(&cursor) != nullptr;
  };
  EXPECT_EQ(ToUTF8(statement->ExecuteToJSON()), R"([{"a":1,"b":"x"}])");
  EXPECT_TRUE(isStreamed) << "a client-side cursor would hold all rows at once";
}

TEST_F(StatementTest, GivesTheOutcomeAsAResult) {
  auto const statement =
      Make("INSERT INTO t VALUES (1), (2); SELECT * FROM t; CREATE TABLE u(i INTEGER)");
  EXPECT_EQ(statement->ExecuteResult(1)->get_Flags(), 0U);
  statement->PrepareNext();
  auto const inserted = statement->ExecuteResult(1);
  EXPECT_EQ(inserted->get_Flags(), 2U);
  EXPECT_EQ(inserted->get_RowsChanged(), 2U);
  EXPECT_EQ(inserted->NextResult(), nullptr);
  statement->PrepareNext();
  EXPECT_EQ(statement->ExecuteResult(1)->get_Cursor()->get_RecordCount(), 2U);
  statement->PrepareNext();
  EXPECT_EQ(statement->ExecuteResult(1)->get_Flags(), 0U);
}

// --- parameters
// -------------------------------------------------------------------------------------

TEST_F(StatementTest, KeepsParametersAcrossPieces) {
  auto const statement = Make("INSERT INTO t VALUES (?); DELETE FROM t WHERE i = ?");
  statement->BindParameters(MakeRow({MakeLong(5)}));
  std::uint64_t changed = 0;
  statement->ExecuteNext(changed);
  EXPECT_EQ(changed, 1U);
  statement->ExecuteNext(changed);
  EXPECT_EQ(changed, 1U);
}

TEST_F(StatementTest, ReplacesWhatWasBound) {
  auto const statement = Make("INSERT INTO t VALUES (?)");
  statement->PrepareNext();
  statement->BindParameters(MakeRow({MakeLong(1)}));
  statement->BindParameters(MakeRow({MakeLong(2)}));
  statement->Execute();
  EXPECT_EQ(mDatabase.QueryText("SELECT i FROM t"), "2");
}

TEST_F(StatementTest, LeavesNoStaleValueBehindAnEmptyOrNullRow) {
  auto const statement = Make("INSERT INTO t VALUES (?)");
  statement->PrepareNext();
  for (auto const& row : {MakeRow({}), tarn::smart_ptr<tarn::ValueRow>()}) {
    statement->BindParameters(MakeRow({MakeLong(1)}));
    statement->BindParameters(row);
    EXPECT_NE(Failure([&] { statement->Execute(); }).mMessage.find("Values were not provided"),
              std::string::npos);
  }
  statement->BindParameters(MakeRow({MakeLong(1)}));
  statement->ClearBindings();
  EXPECT_NE(Failure([&] { statement->Execute(); }).mMessage.find("Values were not provided"),
            std::string::npos);
  EXPECT_EQ(Count("t"), 0);
}

TEST_F(StatementTest, StaysUsableAfterARowThatIsTooLong) {
  auto const statement = Make("INSERT INTO t VALUES (?)");
  statement->PrepareNext();
  auto const error = Failure([&] {
    statement->BindParameters(MakeRow({MakeLong(1), MakeLong(2)}));
  });
  EXPECT_EQ(error.mPath, "fake.duckdb");
  EXPECT_EQ(error.mMessage, NoSuchParameterAsDuckDBSays(2, "INSERT INTO t VALUES (?)"));
  statement->BindParameters(MakeRow({MakeLong(1)}));
  EXPECT_EQ(statement->Execute(), 1);
}

TEST_F(StatementTest, TellsTheFixedTextsWhereDuckDBGivesNone) {
  auto const statement = Make("SELECT ?; SELECT 2");
  {
    test::FailingCall const failing(test::Call::kPrepareExtracted);
    EXPECT_EQ(Failure([&] { statement->PrepareNext(); }).mMessage, "Failed to prepare statement");
  }
  statement->PrepareNext();
  {
    test::FailingCall const failing(test::Call::kBindValue);
    EXPECT_EQ(Failure([&] { statement->BindParameters(MakeRow({MakeLong(1)})); }).mMessage,
              "Failed to bind statement parameter");
  }
  {
    test::FailingCall const failing(test::Call::kClearBindings);
    EXPECT_EQ(Failure([&] { statement->Execute(); }).mMessage,
              "Failed to clear statement bindings");
  }
  {
    test::FailingCall const failing(test::Call::kExecutePrepared);
    EXPECT_EQ(Failure([&] { statement->Execute(); }).mMessage, "Unknown execute error");
  }
  EXPECT_EQ(statement->Execute(), 0);
}

TEST_F(StatementTest, RunsAPieceOnceForEachRow) {
  auto const statement = Make("INSERT INTO t SELECT range FROM range(?)");
  statement->PrepareNext();
  statement->BindParameterRows(
      MakeRows({MakeRow({MakeLong(3)}), MakeRow({MakeLong(2)}), MakeRow({MakeLong(1)})}));
  EXPECT_EQ(statement->Execute(), 1);
  EXPECT_EQ(Count("t"), 6);
  EXPECT_EQ(statement->ExecuteResult(2)->get_RowsChanged(), 1U);
  EXPECT_EQ(Count("t"), 12);
}

TEST_F(StatementTest, KeepsTheRowsBeforeAFailingOne) {
  auto const statement = Make("INSERT INTO t VALUES (CAST(? AS INTEGER))");
  statement->PrepareNext();
  statement->BindParameterRows(
      MakeRows({MakeRow({MakeText("1")}), MakeRow({MakeText("x")}), MakeRow({MakeText("3")})}));
  EXPECT_NE(Failure([&] { statement->Execute(); }).mMessage.find("'x'"), std::string::npos);
  EXPECT_EQ(mDatabase.QueryText("SELECT string_agg(i) FROM t"), "1");
}

TEST_F(StatementTest, ChecksTheFirstRowAtOnce) {
  auto const statement = Make("INSERT INTO t VALUES (?)");
  statement->PrepareNext();
  auto const rows = MakeRows({MakeRow({MakeLong(1), MakeLong(2)}), MakeRow({MakeLong(1)})});
  EXPECT_NE(Failure([&] {
              statement->BindParameterRows(rows);
            }).mMessage.find("Can not bind to parameter number 2"),
            std::string::npos);
}

TEST_F(StatementTest, ExecutesNothingForAnEmptyTableOfRows) {
  auto const statement = Make("INSERT INTO t VALUES (1)");
  statement->PrepareNext();
  statement->BindParameterRows(MakeRows({}));
  EXPECT_EQ(statement->Execute(), 0);
  EXPECT_EQ(statement->ExecuteCursor(1), nullptr);
  statement->BindParameterRows(nullptr);
  EXPECT_EQ(statement->Execute(), 1);
  EXPECT_EQ(Count("t"), 1);
}

TEST_F(StatementTest, TakesARowThatIsNullForNoParameters) {
  auto const statement = Make("INSERT INTO t VALUES (1)");
  statement->PrepareNext();
  statement->BindParameterRows(MakeRows({nullptr, MakeRow({}), nullptr}));
  EXPECT_EQ(statement->Execute(), 1);
  EXPECT_EQ(Count("t"), 3);
}

TEST_F(StatementTest, RefusesACursorOverSeveralRows) {
  auto const statement = Make("SELECT ?");
  statement->PrepareNext();
  statement->BindParameterRows(MakeRows({MakeRow({MakeLong(1)}), MakeRow({MakeLong(2)})}));
  for (auto const& execute : {std::function<void()>([&] { statement->ExecuteCursor(1); }),
                              std::function<void()>([&] { statement->ExecuteToJSON(); })}) {
    try {
      execute();
      ADD_FAILURE() << "nothing thrown";
    } catch (tarn::xFeatureError const& error) {
      EXPECT_EQ(error.get_Code(), 0xA000U);
      EXPECT_EQ(ToUTF8(error.get_Text(0)), "lDuckDB - multi-row binding for SqlSelect");
      EXPECT_TRUE(error.get_Text(1).isEmpty());
    }
  }
  statement->BindParameterRows(MakeRows({MakeRow({MakeLong(7)})}));
  auto const cursor = statement->ExecuteCursor(1);
  ASSERT_TRUE(cursor->NextRecord());
  EXPECT_EQ(cursor->get_Value(0)->get_Long(), 7);
}

TEST_F(StatementTest, RunsAllPiecesWithTheirRows) {
  auto const statement = Make("INSERT INTO t VALUES (?); INSERT INTO t VALUES (? + 10)");
  statement->BindParameterRows(MakeRows({MakeRow({MakeLong(1)}), MakeRow({MakeLong(2)})}));
  statement->ExecuteAll();
  EXPECT_EQ(mDatabase.QueryText("SELECT string_agg(i, ',' ORDER BY i) FROM t"), "1,2,11,12");
}

}  // namespace
}  // namespace lumora
