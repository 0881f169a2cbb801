#include <gtest/gtest.h>

#include <utility>

#include "support/StatementFixture.h"

// What a host sees of a statement beside its work: interfaces, counts, texts of errors.
namespace lumora {
namespace {

using tarn::lsql::I_DuckDBStatement;
using test::MakeLong;
using test::MakeRow;
using test::MakeRows;
using test::ToUTF8;

using StatementFaces = test::StatementFixture;

TEST_F(StatementFaces, AreTwoInterfacesAndNoOther) {
  auto const statement = Make("SELECT 1");
  EXPECT_EQ(statement->get_RefsCount(), 1U);
  auto const own = tarn::query_interface<I_DuckDBStatement>(statement.get(), 407);
  EXPECT_EQ(own.get(), statement.get());
  auto const plugin = tarn::query_interface<tarn::I_ForeignPlugin>(statement.get(), 608);
  ASSERT_TRUE(plugin);
  EXPECT_NE(static_cast<void*>(plugin.get()), static_cast<void*>(statement.get()));
  EXPECT_EQ(statement->get_RefsCount(), 3U);
  EXPECT_EQ(plugin->AddRef(), 4U) << "one count under both faces";
  EXPECT_EQ(statement->Release(), 3U);
  for (std::uint32_t const number : {0U, 1U, 406U, 408U, 409U, 607U, 0xFFFFFFFFU}) {
    EXPECT_EQ(statement->QueryInterface(number), nullptr) << number;
    EXPECT_EQ(plugin->QueryInterface(number), nullptr) << number;
  }
  EXPECT_EQ(plugin->get_RefsCount(), 3U);
}

TEST_F(StatementFaces, GiveTheDatabaseWithAReferenceUntilClosed) {
  auto const statement = Make("SELECT 1");
  std::uint32_t const before = mDatabase.get_RefsCount();
  {
    auto const database = statement->get_Database();
    EXPECT_EQ(database.get(), &mDatabase);
    EXPECT_EQ(mDatabase.get_RefsCount(), before + 1);
  }
  EXPECT_EQ(mDatabase.get_RefsCount(), before);
  statement->Close();
  EXPECT_EQ(statement->get_Database(), nullptr);
  statement->Close();
}

TEST_F(StatementFaces, ExecuteWithWhatAValueHoldsThen) {
  auto const statement = Make("INSERT INTO t VALUES (?)");
  statement->PrepareNext();
  auto const value = MakeLong(1);
  statement->BindParameters(MakeRow({value}));
  for (int const number : {5, 6}) {
    value->put_Long(number);
    EXPECT_EQ(statement->Execute(), 1);
  }
  EXPECT_EQ(mDatabase.QueryText("SELECT string_agg(i, ',' ORDER BY i) FROM t"), "5,6");
}

TEST_F(StatementFaces, RecordTheExceptionsCodeAndMessage) {
  for (char const* const sql : {"SELECT * FROM missing", "SELECT CAST('x' AS INTEGER)", "SELEKT"}) {
    auto const statement = Make(sql);
    auto const thrown = Failure([&] { statement->ExecuteAll(); });
    auto const record = Make(sql)->TryExecuteAll();
    EXPECT_EQ(record.mErrorCode, 0x72501U);
    EXPECT_EQ(record.mStatementsExecuted, 0U);
    EXPECT_EQ(ToUTF8(record.mErrorMessage), thrown.mPath + ": " + thrown.mMessage);
  }
}

TEST_F(StatementFaces, RecordOneDonePassOverATextWithoutStatements) {
  auto const statement = Make("-- nothing");
  auto const record = statement->TryExecuteAll();
  EXPECT_EQ(record.mStatementsExecuted, 1U);
  EXPECT_EQ(record.mErrorCode, 0U);
  EXPECT_EQ(statement->get_CurrentSql(), statement->get_SqlText());
}

TEST_F(StatementFaces, LeaveTheCallersCountAloneWhenTheNextPieceFails) {
  auto const statement = Make("SELECT * FROM missing");
  std::uint64_t changed = 77;
  EXPECT_NE(Failure([&] { statement->ExecuteNext(changed); }).mMessage, "<nothing thrown>");
  EXPECT_EQ(changed, 77U);
}

TEST_F(StatementFaces, SayUnknownForADatabaseWithoutAPath) {
  mDatabase.mPath = "";
  auto const statement = Make("SELECT ?");
  statement->PrepareNext();
  auto const row = MakeRow({MakeLong(1), MakeLong(2)});
  EXPECT_EQ(Failure([&] { statement->BindParameters(row); }).mPath, "unknown");
}

// The row that failed stays the one that the next bind step takes.
TEST_F(StatementFaces, KeepTheFailedRowAndDropTheRows) {
  auto const statement = Make("SELECT ?; SELECT ?, ?");
  statement->PrepareNext();
  auto const row = MakeRow({MakeLong(1), MakeLong(2)});
  auto const rows = MakeRows({row, MakeRow({MakeLong(3)})});
  EXPECT_EQ(Failure([&] { statement->BindParameterRows(rows); }).mPath, "fake.duckdb");
  EXPECT_EQ(row->get_RefsCount(), 3U);
  EXPECT_EQ(rows->get_RefsCount(), 1U);
  statement->PrepareNext();
  EXPECT_EQ(ToUTF8(statement->ExecuteToJSON()).find(":2}") != std::string::npos, true);
  statement->ClearBindings();
  EXPECT_EQ(row->get_RefsCount(), 2U);
}

}  // namespace
}  // namespace lumora
