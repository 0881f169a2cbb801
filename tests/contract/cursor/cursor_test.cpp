#include "CursorFixture.h"
#include "support/Process.h"
#include "support/ProcessCounts.h"
#include "support/Seed.h"

// Cursors of real database objects.
namespace {

using namespace lumora::test;

class Cursors : public CursorFixture {
 protected:
  Thrown Failure(std::function<void()> const& inCall) { return ThrownBy(inCall); }
  static Thrown Invalid() {
    return {"xDuckDBError", 0x72501, "unknown", "DuckDBCursor is invalid"};
  }
  Thrown Named(std::string const& inMessage) {
    return {"xDuckDBError", 0x72501, Utf8(mDatabase->get_Path()), inMessage};
  }
};

class BothCursors : public Cursors, public testing::WithParamInterface<std::uint32_t> {};
INSTANTIATE_TEST_SUITE_P(Kinds, BothCursors, testing::Values(1U, 2U));

TEST_P(BothCursors, TellTheirDatabasesPathInErrors) {
  auto const cursor = Query("SELECT 1 WHERE false", GetParam());
  EXPECT_EQ(Failure([&] { cursor->get_Value(1); }), Named("inColumnIndex is out of bounds"));
  EXPECT_EQ(Failure([&] { cursor->get_Value(0); }),
            Named(GetParam() == 1 ? "No current record."
                                  : "Data is not available. Use NextRecord() to fetch data."));
}

TEST_P(BothCursors, AreInvalidOnceTheirDatabaseClosed) {
  auto const cursor = Query("SELECT 1 AS one", GetParam());
  ASSERT_TRUE(cursor->NextRecord());
  EXPECT_TRUE(cursor->get_Database());
  mDatabase->Close();
  EXPECT_EQ(Failure([&] { cursor->NextRecord(); }), Invalid());
  EXPECT_EQ(Failure([&] { cursor->get_Value(0); }), Invalid());
  EXPECT_EQ(Failure([&] { cursor->get_RecordCount(); }), Invalid());
  EXPECT_FALSE(cursor->get_Database());
  EXPECT_EQ(Utf8(cursor->get_ColumnName(0)), "one");
  EXPECT_EQ(cursor->get_ColumnCount(), 1U);
  cursor->Close();
}

TEST_P(BothCursors, OutliveTheirDatabaseObject) {
  auto cursor = Query("SELECT 1", GetParam());
  mDatabase.reset();
  EXPECT_EQ(Failure([&] { cursor->NextRecord(); }), Invalid());
  EXPECT_FALSE(cursor->get_Database());
  cursor.reset();
}

TEST_P(BothCursors, GiveEveryResultBackOnce) {
  auto const before = get_LiveHandles();
  {
    auto const closed = Query("FROM range(3000)", GetParam());
    auto const released = Query("FROM range(3000)", GetParam());
    auto const left = Query("FROM range(3000)", GetParam());
    EXPECT_EQ(get_LiveHandles().mResults, before.mResults + 3);
    closed->NextRecord();
    closed->Close();
    EXPECT_EQ(get_LiveHandles().mResults, before.mResults + 2);
    closed->Close();
    mDatabase->Close();
    EXPECT_EQ(get_LiveHandles().mResults, before.mResults);
  }
  EXPECT_EQ(get_LiveHandles().mResults, before.mResults);
  EXPECT_EQ(get_LiveChunks(), 0);
}

TEST_P(BothCursors, AreNotDisturbedByStatementsAndOtherCursors) {
  Run(mDatabase, "CREATE TABLE t AS SELECT range AS a FROM range(7000)");
  auto const first = Query("SELECT a FROM t ORDER BY a", GetParam());
  auto const second = Query("SELECT a * 2 FROM t ORDER BY a DESC", GetParam());
  for (int row = 0; row < 7000; ++row) {
    ASSERT_TRUE(first->NextRecord());
    ASSERT_TRUE(second->NextRecord());
    ASSERT_EQ(first->get_Value(0)->get_LLong(), row);
    ASSERT_EQ(second->get_Value(0)->get_LLong(), (6999 - row) * 2);
    if (row % 700 == 350 && row < 5000)
      Run(mDatabase, "BEGIN; DELETE FROM t WHERE a % 7 = 3; COMMIT");
    if (row % 700 == 400) ThrownBy([&] { Run(mDatabase, "SELECT * FROM missing"); });
    if (row == 5000) Run(mDatabase, "DROP TABLE t");
  }
  EXPECT_FALSE(first->NextRecord());
  EXPECT_FALSE(second->NextRecord());
}

// The lengths put the end of the result at every place around the edge of a chunk.
TEST_P(BothCursors, EndWhereTheResultEnds) {
  std::vector<int> lengths = {0, 1, 2, 3};
  for (int const edge : {2048, 4096, 6144}) {
    for (int offset = -3; offset <= 3; ++offset) lengths.push_back(edge + offset);
  }
  for (int const length : lengths) {
    auto const cursor = Query(
        "SELECT range, 'row ' || range FROM range(" + std::to_string(length) + ")", GetParam());
    for (int row = 0; row < length; ++row) {
      ASSERT_TRUE(cursor->NextRecord()) << row << " of " << length;
      ASSERT_EQ(cursor->get_Value(0)->get_LLong(), row);
      ASSERT_EQ(Utf8(cursor->get_Value(1)->get_String()), "row " + std::to_string(row));
    }
    ASSERT_FALSE(cursor->NextRecord()) << length;
  }
}

TEST_P(BothCursors, TellAnEarlyEndOfTheResult) {
  // One chunk comes, then memory is out, which DuckDB tells as it tells the end.
  auto const read = [&] {
    FailingCall const failing(Call::kFetchChunk, 1);
    auto const cursor = Query("FROM range(5000)", GetParam());
    while (cursor->NextRecord()) {
    }
  };
  EXPECT_EQ(Failure(read), Named("The result ended before its last record"));
}

TEST_F(Cursors, GiveTheExtensionTheirRowsWhenTheyAreClientSide) {
  auto& extension = *LoadedExtension::Instance();
  auto const client = Query("SELECT range AS a, 'x' AS b FROM range(25)", 1);
  auto const server = Query("SELECT range AS a, 'x' AS b FROM range(25)", 2);
  EXPECT_TRUE(extension.get_IsClientCursor(client));
  EXPECT_FALSE(extension.get_IsClientCursor(server));
  EXPECT_FALSE(extension.get_IsClientCursor(nullptr));
  EXPECT_FALSE(extension.get_CursorRows(server));
  EXPECT_FALSE(extension.get_CursorRows(nullptr));
  auto const rows = extension.get_CursorRows(client);
  ASSERT_TRUE(rows);
  ASSERT_EQ(rows->get_Count(), 25U);
  EXPECT_EQ(rows->get_Capacity(), 40U);
  EXPECT_EQ((*rows)[24]->get_Capacity(), 2U);
  ASSERT_TRUE(client->put_CurrentRecord(25));
  EXPECT_EQ((*(*rows)[24])[1], client->get_Value(1).get());
}

TEST_F(Cursors, ServerSideHoldOneChunkHoweverLongTheResult) {
  long const rows = kIsSlow ? 300000 : 10000000;
  auto const cursor =
      Query("SELECT range, 'text ' || range FROM range(" + std::to_string(rows) + ")");
  // The result is there as a whole; walking it adds next to nothing. A sanitizer keeps what was
  // freed.
  std::size_t const atMost = get_ResidentBytes() + (kIsSanitized ? 600U : 48U) * 1024 * 1024;
  for (long row = 0; row < rows; ++row) {
    ASSERT_TRUE(cursor->NextRecord());
    if (row % 100000 == 0) ASSERT_LT(get_ResidentBytes(), atMost) << row;
    if (row % 64 == 0) {
      ASSERT_EQ(cursor->get_Value(0)->get_LLong(), row);
      ASSERT_FALSE(cursor->get_Value(1)->get_IsNull());
      ASSERT_EQ(get_LiveChunks(), 1);
    }
  }
  EXPECT_FALSE(cursor->NextRecord());
  EXPECT_EQ(get_LiveChunks(), 0);
}

TEST_F(Cursors, HandOutTextWithNulBytesWhole) {
  for (std::uint32_t const kind : {1U, 2U}) {
    auto const value = FirstRow("SELECT 'a' || chr(0) || 'b'", kind)[0];
    EXPECT_EQ(Utf8(value->get_String()), std::string("a\0b", 3));
    EXPECT_EQ(value->get_MaxLength(), 8U);
  }
}

}  // namespace
