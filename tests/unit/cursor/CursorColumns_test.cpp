#include <gtest/gtest.h>

#include "cursor/MakeCursor.h"
#include "support/DuckDBCalls.h"
#include "support/FakeDatabase.h"
#include "support/HostValueText.h"
#include "tarn/Exceptions.h"

// Columns that DuckDB describes badly or not at all, in both cursors.
namespace {

using namespace lumora::test;

class CursorColumns : public testing::TestWithParam<std::uint32_t> {
 protected:
  tarn::smart_ptr<tarn::lsql::I_DuckDBCursor> Open(lumora::duckdb_c::ResultHandle inResult) {
    return tarn::lsql::MakeCursor(&mDatabase, std::move(inResult), GetParam());
  }

  FakeDatabase mDatabase;
};
INSTANTIATE_TEST_SUITE_P(Kinds, CursorColumns, testing::Values(1U, 2U));

TEST_P(CursorColumns, OfAResultWithoutAnyAreAllOutOfBounds) {
  auto const cursor = Open({});
  EXPECT_EQ(cursor->get_ColumnCount(), 0U);
  EXPECT_EQ(&cursor->get_ColumnName(0), &tarn::String::sEmpty);
  EXPECT_EQ(cursor->get_ColumnType(0), 0U);
  for (std::uint32_t const index : {0U, 1U, 0xFFFFFFFFU}) {
    try {
      (void)cursor->get_Value(index);
      ADD_FAILURE() << index;
    } catch (tarn::lsql::xDuckDBError const& error) {
      EXPECT_EQ(ToUTF8(error.get_Text(1)), "inColumnIndex is out of bounds");
    }
  }
  EXPECT_FALSE(cursor->NextRecord());
}

TEST_P(CursorColumns, WithoutANameHaveTheEmptyOne) {
  auto result = mDatabase.Query("SELECT 1 AS a, 2 AS b");
  FailingCall const failing(Call::kColumnName, 0, 1);
  auto const cursor = Open(std::move(result));
  EXPECT_EQ(ToUTF8(cursor->get_ColumnName(0)), "");
  EXPECT_EQ(ToUTF8(cursor->get_ColumnName(1)), "b");
  EXPECT_EQ(cursor->get_ColumnCount(), 2U);
}

}  // namespace
