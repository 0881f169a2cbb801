#include <climits>
#include <cstdlib>
#include <optional>
#include <random>

#include "support/DuckDBCalls.h"
#include "support/ProcedureCalls.h"

namespace lumora::test {
namespace {

constexpr std::int64_t kRows = 7000;

class Callbacks : public Procedures {
 protected:
  Callbacks()
      : mQuery(
            "SELECT range AS id, CASE WHEN range % 7 = 3 THEN NULL ELSE repeat('t', range % 20) "
            "|| range END AS name, (range % 5 = 0) AS flag FROM range(7000)"),
        mCursor(Open("fetch_parquet", {Text(MakeParquet("o.parquet", mQuery))})) {}

  std::string mQuery;
  std::unique_ptr<HostCursor> mCursor;
};

TEST_F(Callbacks, GiveNullBeforeTheFirstRow) {
  for (int const column : {-1, 0, 1, 2, 3, INT_MIN, INT_MAX}) {
    EXPECT_FALSE(mCursor->Get(column).has_value()) << column;
  }
}

TEST_F(Callbacks, GiveNullForColumnsThatAreNotThere) {
  ASSERT_TRUE(mCursor->Next());
  for (int const column : {-1, 3, 4, INT_MIN, INT_MAX, -2147483647}) {
    EXPECT_FALSE(mCursor->Get(column).has_value()) << column;
  }
  EXPECT_EQ(mCursor->Get(0)->mInt, 0);
}

TEST_F(Callbacks, ASeekPastTheRowsLeavesThePosition) {
  ASSERT_TRUE(mCursor->Seek(4000));
  for (std::int64_t const row : {std::int64_t{-1}, kRows, INT64_MIN, INT64_MAX}) {
    EXPECT_FALSE(mCursor->Seek(row)) << row;
    EXPECT_EQ(mCursor->Get(0)->mInt, 4000);
  }
  ASSERT_TRUE(mCursor->Next());
  EXPECT_EQ(mCursor->Get(0)->mInt, 4001);
}

TEST_F(Callbacks, ASeekPastTheRowsBeforeTheFirstMeansTheFirstIsNext) {
  EXPECT_FALSE(mCursor->Seek(kRows));
  EXPECT_FALSE(mCursor->Get(0).has_value());
  ASSERT_TRUE(mCursor->Next());
  EXPECT_EQ(mCursor->Get(0)->mInt, 0);
}

TEST_F(Callbacks, NextAtTheEndStaysOnTheLastRow) {
  ASSERT_TRUE(mCursor->Seek(kRows - 1));
  for (int i = 0; i < 3; ++i) {
    EXPECT_FALSE(mCursor->Next());
    EXPECT_EQ(mCursor->Get(0)->mInt, kRows - 1);
  }
}

TEST_F(Callbacks, ReadingInOrderFetchesEachChunkOnce) {
  auto const before = get_CallCount(Call::kGetChunk);
  std::int64_t rows = 0;
  while (mCursor->Next()) ++rows;
  EXPECT_EQ(rows, kRows);
  auto const chunks = get_CallCount(Call::kGetChunk) - before;
  EXPECT_EQ(chunks, 4U);
  EXPECT_TRUE(mCursor->Seek(kRows - 1));
  EXPECT_EQ(get_CallCount(Call::kGetChunk) - before, chunks);
  EXPECT_TRUE(mCursor->Seek(0));
  EXPECT_EQ(get_CallCount(Call::kGetChunk) - before, chunks + 1);
}

TEST_F(Callbacks, ASeekWhoseChunkCannotBeHadGivesThePositionUp) {
  ASSERT_TRUE(mCursor->Seek(100));
  {
    FailingCall const failing(Call::kGetChunk);
    EXPECT_TRUE(mCursor->Seek(101)) << "the chunk in hand needs no fetch";
    EXPECT_FALSE(mCursor->Seek(5000));
    EXPECT_FALSE(mCursor->Get(0).has_value());
    EXPECT_FALSE(mCursor->Next());
  }
  EXPECT_FALSE(mCursor->Get(0).has_value());
  EXPECT_EQ(mCursor->get_RowCount(), kRows);
  ASSERT_TRUE(mCursor->Next());
  EXPECT_EQ(mCursor->Get(0)->mInt, 0);
}

TEST_F(Callbacks, AnExceptionOfTheHostsConstructorsBecomesNull) {
  ASSERT_TRUE(mCursor->Next());
  mCursor->mContext.mBeforeValue = [] { throw 42; };
  EXPECT_FALSE(mCursor->Get(0).has_value());
  mCursor->mContext.mBeforeValue = nullptr;
  EXPECT_TRUE(mCursor->Get(0).has_value());
}

// --- a million calls in any order, against a model ---

std::uint64_t Seed() {
  char const* const given = std::getenv("LUMORA_TEST_SEED");
  return given ? std::strtoull(given, nullptr, 10) : std::random_device()();
}

class Model {
 public:
  explicit Model(std::vector<std::vector<std::string>> inRows) : mRows(std::move(inRows)) {}
  bool Seek(std::int64_t inRow) {
    if (inRow < 0 || inRow >= get_RowCount()) return false;
    mRow = inRow;
    return true;
  }
  bool Next() { return Seek(mRow ? *mRow + 1 : 0); }
  std::string Get(std::int64_t inColumn) const {
    if (!mRow || inColumn < 0 || inColumn > 2) return "NULL";
    return mRows[static_cast<std::size_t>(*mRow)][static_cast<std::size_t>(inColumn)];
  }
  std::int64_t get_RowCount() const { return static_cast<std::int64_t>(mRows.size()); }

 private:
  std::vector<std::vector<std::string>> mRows;
  std::optional<std::int64_t> mRow;
};

TEST_F(Callbacks, AMillionInRandomOrderAgreeWithAModel) {
  std::uint64_t const seed = Seed();
  SCOPED_TRACE("LUMORA_TEST_SEED=" + std::to_string(seed));
  std::mt19937_64 random(seed);
  auto const below = [&](std::int64_t inEnd) {
    return static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(inEnd));
  };
  Model model(Oracle().Texts(mQuery));
  for (int i = 0; i < 1'000'000; ++i) {
    std::int64_t const kind = below(100);
    if (kind < 2) {
      std::int64_t const row = below(kRows + 200) - 100;
      ASSERT_EQ(mCursor->Seek(row), model.Seek(row)) << "call " << i;
    } else if (kind < 3) {
      ASSERT_EQ(mCursor->get_RowCount(), model.get_RowCount()) << "call " << i;
    } else if (kind < 40) {
      ASSERT_EQ(mCursor->Next(), model.Next()) << "call " << i;
    } else {
      auto const column = static_cast<std::int32_t>(below(5) - 1);
      ASSERT_EQ(TextOf(mCursor->Get(column)), model.Get(column)) << "call " << i;
    }
  }
}

}  // namespace
}  // namespace lumora::test
