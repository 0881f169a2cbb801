#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "cursor/MakeCursor.h"
#include "statement/DuckDBQueryResult.h"
#include "statement/RunStatements.h"
#include "support/HeldEngineLock.h"
#include "support/StatementFixture.h"

// Which operations of statements, results and cursors run under the engine lock.
namespace lumora {
namespace {

using test::MakeLong;
using test::MakeRow;
using test::MakeRows;
using test::RunUnderHeldLock;
using test::UnderHeldLock;

class EngineLock : public test::StatementFixture {
 protected:
  using Operations = std::vector<std::pair<std::string, std::function<void()>>>;

  static void ExpectAll(Operations const& inOperations, UnderHeldLock inWhat) {
    for (auto const& [name, operation] : inOperations) {
      EXPECT_EQ(RunUnderHeldLock(operation, inWhat), inWhat) << name;
    }
  }
  tarn::smart_ptr<tarn::lsql::I_DuckDBQueryResult> Result(char const* inSql) {
    return tarn::smart_ptr<tarn::lsql::I_DuckDBQueryResult>(
        new tarn::lsql::DuckDBQueryResult(&mDatabase, RunStatements(mDatabase, inSql, nullptr), 1));
  }
};

TEST_F(EngineLock, IsNeededByEveryOperationOfAStatementButTheTexts) {
  auto const statement = Make("SELECT 1");
  std::uint64_t changed = 0;
  auto const row = MakeRow({});
  ExpectAll(
      {
          {"get_Database", [&] { (void)statement->get_Database(); }},
          {"get_RemainingStatements", [&] { (void)statement->get_RemainingStatements(); }},
          {"PrepareNext", [&] { statement->PrepareNext(); }},
          {"ExecuteNext, counting", [&] { statement->ExecuteNext(changed); }},
          {"ExecuteNext", [&] { statement->ExecuteNext(); }},
          {"ExecuteAll", [&] { statement->ExecuteAll(); }},
          {"TryExecuteAll", [&] { (void)statement->TryExecuteAll(); }},
          {"ClearBindings", [&] { statement->ClearBindings(); }},
          {"Reserved16", [&] { statement->Reserved16(); }},
          {"Reserved17", [&] { statement->Reserved17(); }},
          {"Reserved18", [&] { statement->Reserved18(); }},
          {"Reserved19", [&] { statement->Reserved19(); }},
          {"Reserved20", [&] { statement->Reserved20(); }},
          {"Reserved21", [&] { statement->Reserved21(); }},
          {"BindParameters", [&] { statement->BindParameters(row); }},
          {"BindParameterRows", [&] { statement->BindParameterRows(MakeRows({row})); }},
          {"Execute", [&] { (void)statement->Execute(); }},
          {"ExecuteCursor", [&] { (void)statement->ExecuteCursor(1); }},
          {"ExecuteToJSON", [&] { (void)statement->ExecuteToJSON(); }},
          {"ExecuteResult", [&] { (void)statement->ExecuteResult(1); }},
          {"Close", [&] { statement->Close(); }},
      },
      UnderHeldLock::kWaits);
  ExpectAll(
      {
          {"get_SqlText", [&] { (void)statement->get_SqlText(); }},
          {"get_CurrentSql", [&] { (void)statement->get_CurrentSql(); }},
          {"AddRef and Release", [&] { statement->AddRef(), statement->Release(); }},
          {"QueryInterface", [&] { (void)statement->QueryInterface(1); }},
          {"get_RefsCount", [&] { (void)statement->get_RefsCount(); }},
      },
      UnderHeldLock::kGoesOn);
}

TEST_F(EngineLock, IsNeededByAResultForItsNextOneAndItsEndAlone) {
  auto result = Result("SELECT 1; SELECT 2");
  ExpectAll(
      {
          {"get_RowsChanged", [&] { (void)result->get_RowsChanged(); }},
          {"get_Cursor", [&] { (void)result->get_Cursor(); }},
          {"get_Flags", [&] { (void)result->get_Flags(); }},
          {"get_ErrorPosition", [&] { (void)result->get_ErrorPosition(); }},
          {"get_ErrorMessage", [&] { (void)result->get_ErrorMessage(); }},
          {"get_ErrorType", [&] { (void)result->get_ErrorType(); }},
      },
      UnderHeldLock::kGoesOn);
  ExpectAll(
      {{"NextResult", [&] { (void)result->NextResult(); }}, {"Close", [&] { result->Close(); }}},
      UnderHeldLock::kWaits);
  result = Result("SELECT 1");
  ExpectAll({{"the last Release", [&] { result = nullptr; }}}, UnderHeldLock::kWaits);
}

TEST_F(EngineLock, IsNeededByACursorNeitherToMoveInItsRowsNorToReadThem) {
  for (std::uint32_t const kind : {1U, 2U}) {
    auto cursor = tarn::lsql::MakeCursor(&mDatabase, mDatabase.Query("FROM range(3)"), kind);
    ASSERT_TRUE(cursor->NextRecord());
    ExpectAll(
        {
            {"get_ColumnCount", [&] { (void)cursor->get_ColumnCount(); }},
            {"get_ColumnName", [&] { (void)cursor->get_ColumnName(0); }},
            {"get_ColumnTypeName", [&] { (void)cursor->get_ColumnTypeName(0); }},
            {"get_ColumnType", [&] { (void)cursor->get_ColumnType(0); }},
            {"NextRecord", [&] { (void)cursor->NextRecord(); }},
            {"get_Value", [&] { (void)cursor->get_Value(0); }},
        },
        UnderHeldLock::kGoesOn);
    ExpectAll({{"Invalidate", [&] { cursor->Invalidate(); }}}, UnderHeldLock::kWaits);
    ExpectAll({{"the last Release", [&] { cursor = nullptr; }}}, UnderHeldLock::kWaits);
  }
  auto const client = tarn::lsql::MakeCursor(&mDatabase, mDatabase.Query("FROM range(3)"), 1);
  ExpectAll(
      {
          {"get_RecordCount", [&] { (void)client->get_RecordCount(); }},
          {"get_CurrentRecord", [&] { (void)client->get_CurrentRecord(); }},
          {"put_CurrentRecord", [&] { (void)client->put_CurrentRecord(2); }},
          {"FirstRecord", [&] { (void)client->FirstRecord(); }},
          {"LastRecord", [&] { (void)client->LastRecord(); }},
          {"PrevRecord", [&] { (void)client->PrevRecord(); }},
      },
      UnderHeldLock::kGoesOn);
}

TEST_F(EngineLock, IsNeededByAServerCursorForItsNextChunk) {
  auto const cursor = tarn::lsql::MakeCursor(&mDatabase, mDatabase.Query("FROM range(3)"), 2);
  ExpectAll({{"NextRecord", [&] { (void)cursor->NextRecord(); }}}, UnderHeldLock::kWaits);
}

TEST_F(EngineLock, IsFreeAfterEveryException) {
  auto const unsplit = Make("SELEKT 1");
  auto const missing = Make("SELECT * FROM missing");
  auto const failing = Make("SELECT CAST('x' AS INTEGER)");
  failing->PrepareNext();
  auto const selecting = Make("SELECT ?");
  selecting->PrepareNext();
  auto const closed = Make("SELECT 1");
  closed->Close();
  auto const cursor = tarn::lsql::MakeCursor(&mDatabase, mDatabase.Query("SELECT 1"), 2);
  auto const two = MakeRow({MakeLong(1), MakeLong(2)});
  std::vector<std::function<void()>> const throwing = {
      [&] { unsplit->PrepareNext(); },
      [&] { missing->ExecuteAll(); },
      [&] { (void)failing->Execute(); },
      [&] { (void)failing->ExecuteToJSON(); },
      [&] { selecting->BindParameters(two); },
      [&] { selecting->BindParameterRows(MakeRows({two})); },
      [&] {
        selecting->BindParameterRows(MakeRows({MakeRow({MakeLong(1)}), MakeRow({MakeLong(2)})}));
        (void)selecting->ExecuteCursor(1);
      },
      [&] { closed->PrepareNext(); },
      [&] { (void)closed->ExecuteResult(1); },
      [&] { (void)cursor->get_RecordCount(); },
      [&] { (void)cursor->get_Value(7); },
  };
  for (std::size_t i = 0; i < throwing.size(); ++i) {
    EXPECT_THROW(throwing[i](), tarn::xException) << i;
    EXPECT_FALSE(test::get_IsMarkedAsHolding()) << i;
    EXPECT_EQ(missing->TryExecuteAll().mErrorCode, 0x72501U);
    EXPECT_FALSE(test::get_IsMarkedAsHolding()) << i;
  }
}

}  // namespace
}  // namespace lumora
