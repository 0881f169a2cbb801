#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "cursor/DuckDBCursor_client.h"
#include "cursor/DuckDBCursor_server.h"
#include "cursor/MakeCursor.h"
#include "support/DuckDBCalls.h"
#include "support/FakeDatabase.h"
#include "support/HostValueText.h"
#include "support/TestValue.h"
#include "tarn/Exceptions.h"

namespace {

using lumora::test::Describe;
using lumora::test::FakeDatabase;
using lumora::test::get_LiveHandles;
using lumora::test::ToUTF8;
using tarn::smart_ptr;
using tarn::lsql::I_DuckDBCursor;
using tarn::lsql::kCursorClient;
using tarn::lsql::kCursorServer;
using tarn::lsql::xDuckDBError;

// The four texts of what an operation throws, joined; "nothing" when it returns.
template <typename T>
std::string Thrown(T&& inOperation) {
  try {
    inOperation();
  } catch (xDuckDBError const& error) {
    EXPECT_EQ(error.get_Code(), 0x72501U);
    return ToUTF8(error.get_Text(0)) + "|" + ToUTF8(error.get_Text(1)) + "|" +
           ToUTF8(error.get_Text(2)) + "|" + ToUTF8(error.get_Text(3));
  }
  return "nothing";
}

std::string Named(std::string const& inMessage) { return "fake.duckdb|" + inMessage + "||"; }
std::string const kInvalid = "unknown|DuckDBCursor is invalid||";

class CursorTest : public testing::Test {
 protected:
  smart_ptr<I_DuckDBCursor> Open(std::string const& inSql, std::uint32_t inKind) {
    return tarn::lsql::MakeCursor(&mDatabase, mDatabase.Query(inSql), inKind);
  }
  smart_ptr<I_DuckDBCursor> Client(std::string const& inSql) { return Open(inSql, kCursorClient); }
  smart_ptr<I_DuckDBCursor> Server(std::string const& inSql) { return Open(inSql, kCursorServer); }

  FakeDatabase mDatabase;
};

class BothCursors : public CursorTest, public testing::WithParamInterface<std::uint32_t> {};
INSTANTIATE_TEST_SUITE_P(Kinds, BothCursors, testing::Values(0U, 1U, 2U));

TEST_P(BothCursors, WithoutADatabaseIsRefusedAndTheResultDestroyed) {
  auto const before = get_LiveHandles();
  lumora::duckdb_c::ResultHandle result = mDatabase.Query("SELECT 1");
  EXPECT_EQ(Thrown([&] { tarn::lsql::MakeCursor(nullptr, std::move(result), GetParam()); }),
            kInvalid);
  EXPECT_EQ(get_LiveHandles(), before);
  EXPECT_TRUE(mDatabase.mCursors.empty());
}

TEST_P(BothCursors, IsInvalidAfterCloseButStillKnowsItsColumns) {
  auto const cursor = Open("SELECT 1 AS a, 'x' AS b", GetParam());
  EXPECT_EQ(mDatabase.mCursors, std::vector<I_DuckDBCursor*>{cursor.get()});
  cursor->Close();
  EXPECT_TRUE(mDatabase.mCursors.empty());
  EXPECT_EQ(Thrown([&] { cursor->get_RecordCount(); }), kInvalid);
  EXPECT_EQ(Thrown([&] { cursor->get_CurrentRecord(); }), kInvalid);
  EXPECT_EQ(Thrown([&] { cursor->put_CurrentRecord(1); }), kInvalid);
  EXPECT_EQ(Thrown([&] { cursor->FirstRecord(); }), kInvalid);
  EXPECT_EQ(Thrown([&] { cursor->LastRecord(); }), kInvalid);
  EXPECT_EQ(Thrown([&] { cursor->NextRecord(); }), kInvalid);
  EXPECT_EQ(Thrown([&] { cursor->PrevRecord(); }), kInvalid);
  EXPECT_EQ(Thrown([&] { cursor->get_Value(0); }), kInvalid);
  EXPECT_EQ(Thrown([&] { cursor->get_Value(99); }), kInvalid);
  EXPECT_FALSE(cursor->get_Database());
  EXPECT_EQ(cursor->get_ColumnCount(), 2U);
  EXPECT_EQ(ToUTF8(cursor->get_ColumnName(1)), "b");
  EXPECT_EQ(cursor->get_ColumnType(1), 17U);
}

TEST_P(BothCursors, IsInvalidAfterInvalidateWithoutTouchingTheRegistry) {
  auto const before = get_LiveHandles();
  auto const cursor = Open("SELECT 1", GetParam());
  EXPECT_EQ(get_LiveHandles().mResults, before.mResults + 1);
  cursor->Invalidate();
  EXPECT_EQ(get_LiveHandles(), before);
  EXPECT_EQ(mDatabase.mCursors.size(), 1U) << "the database is walking it";
  mDatabase.mCursors.clear();
  EXPECT_EQ(Thrown([&] { cursor->NextRecord(); }), kInvalid);
  EXPECT_FALSE(cursor->get_Database());
}

TEST_P(BothCursors, LeavesTheRegistryWhenItDiesAfterSomebodyInvalidatedIt) {
  auto cursor = Open("SELECT 1", GetParam());
  cursor->Invalidate();
  cursor->Invalidate();
  ASSERT_EQ(mDatabase.mCursors.size(), 1U);
  cursor = nullptr;
  EXPECT_TRUE(mDatabase.mCursors.empty());
}

TEST_P(BothCursors, ForgetsTheDatabaseThatInvalidatesItWhileClosing) {
  for (bool const isInvalidated : {false, true}) {
    auto const database = std::make_unique<FakeDatabase>();
    auto const cursor =
        tarn::lsql::MakeCursor(database.get(), database->Query("SELECT 1"), GetParam());
    if (isInvalidated) cursor->Invalidate();
    database->mOnUnregister = [](I_DuckDBCursor&) { FAIL() << "the database is walking its list"; };
    database->mIsInvalidatingCursors = true;
    cursor->Invalidate();
    cursor->Close();
  }
}

// Every order in which a result may be given up.
TEST_P(BothCursors, DestroysItsResultOnceWhateverTheOrder) {
  using Step = void (*)(I_DuckDBCursor&);
  Step const close = [](I_DuckDBCursor& cursor) { cursor.Close(); };
  Step const invalidate = [](I_DuckDBCursor& cursor) { cursor.Invalidate(); };
  std::vector<std::vector<Step>> const orders = {{},
                                                 {close},
                                                 {invalidate},
                                                 {close, invalidate},
                                                 {invalidate, close},
                                                 {close, close},
                                                 {invalidate, invalidate}};
  for (std::vector<Step> const& steps : orders) {
    for (bool const isRead : {false, true}) {
      auto const before = get_LiveHandles();
      {
        auto const cursor = Open("FROM range(5000)", GetParam());
        if (isRead) cursor->NextRecord();
        EXPECT_EQ(get_LiveHandles().mResults, before.mResults + 1);
        for (Step const step : steps) {
          step(*cursor);
          EXPECT_EQ(get_LiveHandles().mResults, before.mResults);
        }
      }
      EXPECT_EQ(get_LiveHandles(), before);
      EXPECT_EQ(lumora::test::get_LiveChunks(), 0);
      mDatabase.mCursors.clear();
    }
  }
}

TEST_P(BothCursors, DiesUnregisteredAndIsClosedByItsDatabase) {
  { auto const cursor = Open("SELECT 1", GetParam()); }
  EXPECT_TRUE(mDatabase.mCursors.empty());
  auto const first = Open("SELECT 1", GetParam());
  auto const second = Open("SELECT 2", GetParam());
  std::int64_t const results = get_LiveHandles().mResults;
  mDatabase.CloseCursors();
  EXPECT_EQ(get_LiveHandles().mResults, results - 2);
  EXPECT_EQ(Thrown([&] { first->NextRecord(); }), kInvalid);
  EXPECT_EQ(Thrown([&] { second->NextRecord(); }), kInvalid);
}

TEST_P(BothCursors, ReadsEveryChunkOfAColumnThatDuckDBRenders) {
  auto const cursor = Open("SELECT [i] FROM range(5000) r(i)", GetParam());
  for (int i = 0; i < 5000; ++i) {
    ASSERT_TRUE(cursor->NextRecord());
    ASSERT_EQ(Describe(cursor->get_Value(0)),
              Describe(lumora::test::MakeText("[" + std::to_string(i) + "]")));
  }
}

TEST_P(BothCursors, AnswersColumnsPastTheEndWithNothing) {
  auto const cursor = Open("SELECT 1 AS a, 2::DECIMAL(18,3) AS b, {'x': 1} AS c", GetParam());
  EXPECT_EQ(cursor->get_ColumnCount(), 3U);
  for (std::uint32_t const index : {3U, 4U, 0xFFFFFFFFU}) {
    EXPECT_EQ(&cursor->get_ColumnName(index), &tarn::String::sEmpty);
    EXPECT_EQ(&cursor->get_ColumnTypeName(index), &tarn::String::sEmpty);
    EXPECT_EQ(cursor->get_ColumnType(index), 0U);
  }
  EXPECT_EQ(ToUTF8(cursor->get_ColumnName(0)), "a");
  EXPECT_EQ(ToUTF8(cursor->get_ColumnTypeName(1)), "DECIMAL(18,3)");
  EXPECT_EQ(ToUTF8(cursor->get_ColumnTypeName(2)), mDatabase.QueryText("typeof({'x': 1})"));
  EXPECT_EQ(cursor->get_ColumnType(1), 19U);
  EXPECT_EQ(cursor->get_ColumnType(2), 25U);
}

TEST_P(BothCursors, KeepsNamesOfAllKindsAndMoreThanTenColumns) {
  std::string sql = "SELECT 1 AS \"\xc3\xa9\xf0\x9f\x98\x80\", 2 AS \"a \"\"b\"\"\"";
  for (int i = 2; i < 40; ++i) sql += ", " + std::to_string(i) + " AS c" + std::to_string(i);
  auto const cursor = Open(sql, GetParam());
  ASSERT_EQ(cursor->get_ColumnCount(), 40U);
  EXPECT_EQ(ToUTF8(cursor->get_ColumnName(0)), "\xc3\xa9\xf0\x9f\x98\x80");
  EXPECT_EQ(ToUTF8(cursor->get_ColumnName(1)), "a \"b\"");
  EXPECT_EQ(ToUTF8(cursor->get_ColumnName(39)), "c39");
  ASSERT_TRUE(cursor->NextRecord());
  EXPECT_EQ(Describe(cursor->get_Value(39)), "Long 39");
}

TEST_P(BothCursors, GivesItsDatabaseWithAReferenceUnlessThatIsDying) {
  auto const cursor = Open("SELECT 1", GetParam());
  std::uint32_t const before = mDatabase.get_RefsCount();
  {
    auto const database = cursor->get_Database();
    EXPECT_EQ(database.get(), &mDatabase);
    EXPECT_EQ(mDatabase.get_RefsCount(), before + 1);
  }
  EXPECT_EQ(mDatabase.get_RefsCount(), before);
  mDatabase.mIsDying = true;
  EXPECT_FALSE(cursor->get_Database());
}

TEST_P(BothCursors, OffersItsTwoInterfacesAndNoOther) {
  auto const cursor = Open("SELECT 1", GetParam());
  EXPECT_EQ(cursor->get_RefsCount(), 1U);
  auto const self = tarn::query_interface<I_DuckDBCursor>(cursor.get(), tarn::kIID_DuckDBCursor);
  EXPECT_EQ(self.get(), cursor.get());
  auto const plugin =
      tarn::query_interface<tarn::I_ForeignPlugin>(cursor.get(), tarn::kIID_ForeignPlugin);
  ASSERT_TRUE(plugin);
  EXPECT_EQ(cursor->get_RefsCount(), 3U);
  EXPECT_EQ(plugin->get_RefsCount(), 3U) << "one count under both faces";
  int mark = 0;
  plugin->put_Xtra(&mark);
  EXPECT_EQ(plugin->get_Xtra(), &mark);
  EXPECT_EQ(plugin->QueryInterface(1), nullptr);
  EXPECT_EQ(cursor->QueryInterface(406), nullptr);
  EXPECT_EQ(cursor->QueryInterface(0), nullptr);
}

TEST_P(BothCursors, RefusesColumnIndexesFromTheCountOn) {
  auto const cursor = Open("SELECT 1, 2", GetParam());
  for (int step = 0; step < 2; ++step) {
    EXPECT_EQ(Thrown([&] { cursor->get_Value(2); }), Named("inColumnIndex is out of bounds"));
    EXPECT_EQ(Thrown([&] { cursor->get_Value(0xFFFFFFFF); }),
              Named("inColumnIndex is out of bounds"));
    EXPECT_TRUE(step == 1 || cursor->NextRecord());
  }
}

TEST_P(BothCursors, SaysSoWhenTheResultEndsEarly) {
  auto const result = [this] { return mDatabase.Query("FROM range(5000)"); };
  auto const before = get_LiveHandles();
  EXPECT_EQ(Thrown([&] {
              lumora::test::FailingCall const failing(lumora::test::Call::kFetchChunk, 1);
              auto const cursor = tarn::lsql::MakeCursor(&mDatabase, result(), GetParam());
              while (cursor->NextRecord()) {
              }
            }),
            Named("The result ended before its last record"));
  EXPECT_EQ(get_LiveHandles(), before);
  EXPECT_TRUE(mDatabase.mCursors.empty());
}

// A chunk holds 2048 rows: the sizes stand around its edges.
TEST_P(BothCursors, WalksOverChunkEdgesWithoutAGapOrARepeat) {
  for (int const rows : {0, 1, 2, 2047, 2048, 2049, 4095, 4096, 4097, 10000}) {
    auto const cursor = Open("FROM range(" + std::to_string(rows) + ")", GetParam());
    for (int i = 0; i < rows; ++i) {
      ASSERT_TRUE(cursor->NextRecord());
      ASSERT_EQ(cursor->get_Value(0)->get_LLong(), i);
    }
    EXPECT_FALSE(cursor->NextRecord());
    EXPECT_FALSE(cursor->NextRecord());
  }
}

TEST_P(BothCursors, InterleavedWithOthersAndStatementsReadsItsOwnRows) {
  mDatabase.Query("CREATE TABLE t AS SELECT range AS a FROM range(10000)");
  std::vector<smart_ptr<I_DuckDBCursor>> cursors;
  for (int i = 0; i < 5; ++i) {
    cursors.push_back(Open("SELECT a * 10 + " + std::to_string(i) + " FROM t ORDER BY a",
                           i % 2 == 0 ? GetParam() : 2U));
  }
  for (int row = 0; row < 10000; ++row) {
    for (std::size_t i = 0; i < cursors.size(); ++i) {
      ASSERT_TRUE(cursors[i]->NextRecord());
      ASSERT_EQ(cursors[i]->get_Value(0)->get_LLong(), row * 10 + static_cast<int>(i));
    }
    if (row % 500 == 0 && row < 6000)
      mDatabase.Query("UPDATE t SET a = -1 WHERE a = " + std::to_string(row));
    if (row == 6000) mDatabase.Query("DROP TABLE t");
    if (row == 5000) cursors.push_back(Open("SELECT 50010 + range * 10 + 5 FROM range(4999)", 2));
  }
  for (auto const& cursor : cursors) EXPECT_FALSE(cursor->NextRecord());
}

TEST(CursorKinds, OneIsClientAndAnyOtherIsServer) {
  FakeDatabase database;
  for (std::uint32_t const kind : {0U, 1U, 2U, 3U, 0xFFFFFFFFU}) {
    auto const cursor = tarn::lsql::MakeCursor(&database, database.Query("SELECT 1"), kind);
    bool const isClient = dynamic_cast<tarn::lsql::DuckDBCursor_client*>(cursor.get()) != nullptr;
    bool const isServer = dynamic_cast<tarn::lsql::DuckDBCursor_server*>(cursor.get()) != nullptr;
    EXPECT_EQ(isClient, kind == 1);
    EXPECT_EQ(isServer, kind != 1);
  }
}

TEST_F(CursorTest, ServerRefusesWhatNeedsTheRecordCount) {
  auto const cursor = Server("SELECT 1");
  auto const refused = [](std::string const& inOperation) {
    return Named(inOperation + "() is not supported for server-side cursors");
  };
  EXPECT_EQ(Thrown([&] { cursor->get_RecordCount(); }), refused("get_RecordCount"));
  EXPECT_EQ(Thrown([&] { cursor->get_CurrentRecord(); }), refused("get_CurrentRecord"));
  EXPECT_EQ(Thrown([&] { cursor->put_CurrentRecord(1); }), refused("put_CurrentRecord"));
  EXPECT_EQ(Thrown([&] { cursor->FirstRecord(); }), refused("FirstRecord"));
  EXPECT_EQ(Thrown([&] { cursor->LastRecord(); }), refused("LastRecord"));
  EXPECT_EQ(Thrown([&] { cursor->PrevRecord(); }), refused("PrevRecord"));
}

TEST_F(CursorTest, ServerHasNoDataBeforeTheFirstAndAfterTheLastRecord) {
  std::string const noData = Named("Data is not available. Use NextRecord() to fetch data.");
  auto const cursor = Server("SELECT 7");
  EXPECT_EQ(Thrown([&] { cursor->get_Value(0); }), noData);
  EXPECT_TRUE(cursor->NextRecord());
  EXPECT_EQ(Describe(cursor->get_Value(0)), "Long 7");
  EXPECT_FALSE(cursor->NextRecord());
  EXPECT_EQ(Thrown([&] { cursor->get_Value(0); }), noData);
  auto const empty = Server("SELECT 7 WHERE false");
  EXPECT_FALSE(empty->NextRecord());
  EXPECT_EQ(Thrown([&] { empty->get_Value(0); }), noData);
  EXPECT_EQ(Thrown([&] { empty->get_Value(1); }), Named("inColumnIndex is out of bounds"));
}

TEST_F(CursorTest, ServerMakesANewValueAtEveryCall) {
  auto const cursor = Server("SELECT 'text'");
  ASSERT_TRUE(cursor->NextRecord());
  auto const first = cursor->get_Value(0);
  auto const second = cursor->get_Value(0);
  EXPECT_NE(first.get(), second.get());
  EXPECT_EQ(first->get_RefsCount(), 1U);
  first->put_String(tarn::String("changed"));
  EXPECT_EQ(Describe(cursor->get_Value(0)), "String 'text'");
}

TEST_F(CursorTest, ServerHoldsOneChunkAtATime) {
  auto const cursor = Server("SELECT range, 'text ' || range FROM range(20000)");
  std::int64_t const before = lumora::test::get_LiveChunks();
  while (cursor->NextRecord()) {
    cursor->get_Value(1);
    ASSERT_EQ(lumora::test::get_LiveChunks(), before + 1);
  }
  EXPECT_EQ(lumora::test::get_LiveChunks(), before);
}

TEST_F(CursorTest, ServerValuesOutliveTheCursorAndTheDatabasesClose) {
  smart_ptr<tarn::I_Value> value;
  {
    auto const cursor = Server("SELECT 'a text that does not fit into any small buffer at all'");
    ASSERT_TRUE(cursor->NextRecord());
    value = cursor->get_Value(0);
    mDatabase.CloseCursors();
  }
  EXPECT_EQ(Describe(value), "String 'a text that does not fit into any small buffer at all'");
}

TEST_F(CursorTest, ClientOverAnEmptySetStaysUnpositioned) {
  auto const cursor = Client("SELECT 1 WHERE false");
  EXPECT_EQ(cursor->get_RecordCount(), 0U);
  EXPECT_FALSE(cursor->FirstRecord());
  EXPECT_FALSE(cursor->NextRecord());
  EXPECT_FALSE(cursor->PrevRecord());
  EXPECT_FALSE(cursor->LastRecord());
  EXPECT_FALSE(cursor->put_CurrentRecord(0));
  EXPECT_FALSE(cursor->put_CurrentRecord(1));
  EXPECT_EQ(cursor->get_CurrentRecord(), 0U);
  EXPECT_EQ(Thrown([&] { cursor->get_Value(0); }), Named("No current record."));
  EXPECT_EQ(Thrown([&] { cursor->get_Value(1); }), Named("inColumnIndex is out of bounds"));
}

TEST_F(CursorTest, ClientMovesWithinItsRecordsAndNeverBeyond) {
  auto const cursor = Client("FROM range(3)");
  EXPECT_EQ(cursor->get_RecordCount(), 3U);
  EXPECT_EQ(cursor->get_CurrentRecord(), 0U);
  EXPECT_EQ(Thrown([&] { cursor->get_Value(0); }), Named("No current record."));
  EXPECT_FALSE(cursor->PrevRecord());
  for (int i = 1; i <= 3; ++i) {
    EXPECT_TRUE(cursor->NextRecord());
    EXPECT_EQ(cursor->get_Value(0)->get_LLong(), i - 1);
  }
  EXPECT_FALSE(cursor->NextRecord());
  EXPECT_EQ(cursor->get_CurrentRecord(), 3U);
  EXPECT_TRUE(cursor->PrevRecord());
  EXPECT_TRUE(cursor->PrevRecord());
  EXPECT_FALSE(cursor->PrevRecord());
  EXPECT_EQ(cursor->get_CurrentRecord(), 1U);
  EXPECT_TRUE(cursor->LastRecord());
  EXPECT_EQ(cursor->get_CurrentRecord(), 3U);
  EXPECT_TRUE(cursor->FirstRecord());
  EXPECT_EQ(cursor->get_CurrentRecord(), 1U);
}

TEST_F(CursorTest, ClientRefusesPositionsZeroAndPastTheCount) {
  auto const cursor = Client("FROM range(3)");
  EXPECT_TRUE(cursor->put_CurrentRecord(2));
  for (std::uint32_t const record : {0U, 4U, 0xFFFFFFFFU}) {
    EXPECT_FALSE(cursor->put_CurrentRecord(record));
    EXPECT_EQ(cursor->get_CurrentRecord(), 2U);
  }
  EXPECT_TRUE(cursor->put_CurrentRecord(3));
  EXPECT_EQ(cursor->get_Value(0)->get_LLong(), 2);
}

TEST_F(CursorTest, ClientSharesOneObjectPerCell) {
  auto const cursor = Client("SELECT 'text'");
  ASSERT_TRUE(cursor->NextRecord());
  auto const first = cursor->get_Value(0);
  EXPECT_EQ(first->get_RefsCount(), 2U);
  EXPECT_EQ(cursor->get_Value(0).get(), first.get());
}

TEST_F(CursorTest, ClientKeepsItsRowsInArraysOfExactSizeThatOutliveIt) {
  smart_ptr<tarn::ValueRows> rows;
  {
    auto const cursor = Client("SELECT range AS a, range * 2 AS b, NULL AS c FROM range(41)");
    rows = dynamic_cast<tarn::lsql::DuckDBCursor_client&>(*cursor).get_Rows();
    EXPECT_EQ(rows->get_RefsCount(), 2U);
    EXPECT_EQ(rows->get_Capacity(), 80U) << "ten, doubled three times";
    cursor->Close();
  }
  ASSERT_EQ(rows->get_Count(), 41U);
  for (std::uint32_t i = 0; i < 41; ++i) {
    tarn::ValueRow* const row = (*rows)[i];
    EXPECT_EQ(row->get_RefsCount(), 1U);
    ASSERT_EQ(row->get_Count(), 3U);
    EXPECT_EQ(row->get_Capacity(), 3U);
    EXPECT_EQ((*row)[0]->get_RefsCount(), 1U);
    EXPECT_EQ((*row)[1]->get_LLong(), i * 2);
    EXPECT_EQ(Describe((*row)[2]), "Boolean NULL");
  }
}

}  // namespace
