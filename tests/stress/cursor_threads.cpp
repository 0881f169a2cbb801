#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "database/DuckDBDatabase.h"
#include "support/DuckDBCalls.h"
#include "support/HostValueText.h"
#include "support/Seed.h"
#include "tarn/tarn.h"

// Cursors on threads of their own while their database closes, and values that wander.
namespace {

using namespace lumora::test;
using namespace tarn::lsql;
using tarn::smart_ptr;
using tarn::String;

constexpr int kRounds = kIsSlow ? 15 : 80;
constexpr int kReaders = 4;
constexpr int kRows = 9000;

class CursorThreads : public testing::Test {
 protected:
  void SetUp() override {
    mDatabase = smart_ptr<DuckDBDatabase>(new DuckDBDatabase(tarn::CreateLocation(":memory:")));
    mDatabase->Create();
  }
  void TearDown() override { mDatabase->Close(); }

  smart_ptr<I_DuckDBCursor> Open(std::uint32_t inKind) {
    return mDatabase->ExecuteQuery(
        "SELECT range, 'row ' || range, {'n': range}::VARIANT FROM range(9000)", inKind, nullptr);
  }

  // The rows are the right ones as far as they come; only a close may end them early.
  static void ReadAll(I_DuckDBCursor& ioCursor) {
    int row = 0;
    try {
      for (; ioCursor.NextRecord(); ++row) {
        ASSERT_EQ(ioCursor.get_Value(0)->get_LLong(), row);
        ASSERT_EQ(ToUTF8(ioCursor.get_Value(1)->get_String()), "row " + std::to_string(row));
        if (row % 1000 == 0) {
          ASSERT_EQ(ioCursor.get_Value(2)->get_Type(), tarn::ValueType::kJSON);
        }
      }
      EXPECT_EQ(row, kRows);
    } catch (xDuckDBError const& error) {
      EXPECT_EQ(ToUTF8(error.get_Text(1)), "DuckDBCursor is invalid");
    }
  }

  static void InParallel(std::vector<std::function<void()>> const& inWorks) {
    std::vector<std::thread> threads;
    for (auto const& work : inWorks) threads.emplace_back(work);
    for (std::thread& thread : threads) thread.join();
  }

  smart_ptr<DuckDBDatabase> mDatabase;
};

TEST_F(CursorThreads, ReadTheirOwnRowsSideBySide) {
  std::vector<std::function<void()>> works;
  for (int i = 0; i < kReaders; ++i) {
    works.push_back([this, i] {
      for (int round = 0; round < 3; ++round) {
        ReadAll(*Open(static_cast<std::uint32_t>(1 + i % 2)));
      }
    });
  }
  InParallel(works);
  EXPECT_EQ(get_LiveHandles().mResults, 0);
}

TEST_F(CursorThreads, SeeTheirDatabaseCloseAtAnyMoment) {
  for (int round = 0; round < kRounds; ++round) {
    std::vector<std::function<void()>> works;
    for (int i = 0; i < kReaders; ++i) {
      smart_ptr<I_DuckDBCursor> cursor = Open(static_cast<std::uint32_t>(1 + i % 2));
      works.push_back([cursor]() mutable {
        ReadAll(*cursor);
        EXPECT_EQ(cursor->get_ColumnCount(), 3U);
        cursor.reset();
      });
    }
    works.push_back([this] { mDatabase->Close(); });
    InParallel(works);
    works.clear();
    EXPECT_EQ(get_LiveHandles().mResults, 0);
    EXPECT_EQ(get_LiveChunks(), 0);
    mDatabase->Create();
  }
}

// The last reference goes while the database closes: one of both gives the result up, once.
TEST_F(CursorThreads, MayBeReleasedWhileTheirDatabaseCloses) {
  for (int round = 0; round < kRounds * 4; ++round) {
    smart_ptr<I_DuckDBCursor> first = Open(2);
    smart_ptr<I_DuckDBCursor> second = Open(2);
    std::atomic<bool> starts{false};
    auto const wait = [&starts] {
      while (!starts) std::this_thread::yield();
    };
    std::thread releaser([&] {
      wait();
      first.reset();
    });
    std::thread closer([&] {
      wait();
      second->Close();
      smart_ptr<I_DuckDBDatabase> const owner = second->get_Database();
      EXPECT_FALSE(owner);
    });
    starts = true;
    mDatabase->Close();
    releaser.join();
    closer.join();
    second.reset();
    ASSERT_EQ(get_LiveHandles().mResults, 0);
    mDatabase->Create();
  }
}

TEST_F(CursorThreads, GiveValuesThatDieOnOtherThreads) {
  std::vector<smart_ptr<tarn::I_Value>> values;
  smart_ptr<I_DuckDBCursor> const cursor = Open(1);
  while (cursor->NextRecord()) values.push_back(cursor->get_Value(1));
  std::vector<std::function<void()>> works;
  for (std::size_t i = 0; i < kReaders; ++i) {
    works.push_back([&values, i] {
      for (std::size_t v = i; v < values.size(); v += kReaders) {
        smart_ptr<tarn::I_Value> const shared = values[v];
        EXPECT_FALSE(shared->get_IsNull());
        values[v].reset();
      }
    });
  }
  InParallel(works);
  ASSERT_TRUE(cursor->FirstRecord());
  EXPECT_EQ(cursor->get_Value(1)->get_RefsCount(), 2U);
}

}  // namespace
