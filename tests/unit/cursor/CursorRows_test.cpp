#include <gtest/gtest.h>

#include <functional>

#include "cursor/DuckDBCursor_client.h"
#include "cursor/MakeCursor.h"
#include "support/FakeDatabase.h"
#include "support/HostValueText.h"
#include "tarn/Exceptions.h"

// The rows of a client cursor are the host's, too, who may do with them what he likes.
namespace {

using namespace lumora::test;
using tarn::smart_ptr;

class CursorRows : public testing::Test {
 protected:
  CursorRows()
      : mCursor(tarn::lsql::MakeCursor(&mDatabase,
                                       mDatabase.Query("SELECT range, 'x' FROM range(5)"),
                                       tarn::lsql::kCursorClient)),
        mRows(dynamic_cast<tarn::lsql::DuckDBCursor_client&>(*mCursor).get_Rows()) {}

  std::string ValueOrText(std::uint32_t inColumn) {
    try {
      return Describe(mCursor->get_Value(inColumn));
    } catch (tarn::lsql::xDuckDBError const& error) {
      EXPECT_EQ(error.get_Code(), 0x72501U);
      EXPECT_EQ(ToUTF8(error.get_Text(0)), "fake.duckdb");
      return ToUTF8(error.get_Text(1));
    }
  }

  FakeDatabase mDatabase;
  smart_ptr<tarn::lsql::I_DuckDBCursor> mCursor;
  smart_ptr<tarn::ValueRows> mRows;
};

TEST_F(CursorRows, ThatTheHostTookOutAreOutOfBounds) {
  ASSERT_TRUE(mCursor->LastRecord());
  EXPECT_EQ(ValueOrText(0), "LLong 4");
  mRows->RemoveAt(1);
  EXPECT_EQ(mCursor->get_RecordCount(), 4U);
  EXPECT_EQ(ValueOrText(0), "Current position is out of bounds");
  EXPECT_FALSE(mCursor->NextRecord());
  EXPECT_TRUE(mCursor->PrevRecord());
  EXPECT_EQ(ValueOrText(0), "LLong 4");
  mRows->RemoveAll();
  EXPECT_EQ(ValueOrText(0), "Current position is out of bounds");
  EXPECT_EQ(ValueOrText(2), "inColumnIndex is out of bounds");
  EXPECT_FALSE(mCursor->LastRecord());
  EXPECT_EQ(ValueOrText(0), "No current record.");
}

TEST_F(CursorRows, ThatTheHostMadeShorterEndThere) {
  ASSERT_TRUE(mCursor->FirstRecord());
  (*mRows)[0]->RemoveAt(2);
  EXPECT_EQ(ValueOrText(0), "LLong 0");
  EXPECT_EQ(ValueOrText(1), "Current position is out of bounds");
}

TEST_F(CursorRows, ThatAreNoneHaveNoValues) {
  mRows->Append(nullptr);
  ASSERT_TRUE(mCursor->LastRecord());
  EXPECT_EQ(ValueOrText(0), "Current position is out of bounds");
}

}  // namespace
