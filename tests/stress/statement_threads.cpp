#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "database/DuckDBDatabase.h"
#include "support/DuckDBCalls.h"
#include "support/Seed.h"
#include "support/TestValue.h"
#include "tarn/tarn.h"

// Several host threads on one database: its statements, results and cursors, and its close.
namespace {

using namespace lumora::test;
using namespace tarn::lsql;
using tarn::smart_ptr;
using tarn::String;

constexpr int kRounds = kIsSlow ? 25 : 150;

class StatementThreads : public testing::Test {
 protected:
  void SetUp() override {
    mDatabase = smart_ptr<DuckDBDatabase>(new DuckDBDatabase(tarn::CreateLocation(":memory:")));
    Open();
  }
  void TearDown() override { mDatabase->Close(); }
  void Open() {
    mDatabase->Create();
    mDatabase->ExecuteSQL("CREATE TABLE t(a INTEGER, b VARCHAR)", nullptr);
  }

  // True when the call is done, false when the database was closed before or in the middle.
  static bool Try(std::function<void()> const& inCall) {
    try {
      inCall();
      return true;
    } catch (xDuckDBError const& error) {
      std::string const text = ToUTF8(error.get_Text(1));
      EXPECT_TRUE(text == "DuckDBDatabase is invalid" || text == "DuckDBDatabase is not open" ||
                  text == "DuckDBCursor is invalid")
          << text;
      return false;
    }
  }

  smart_ptr<DuckDBDatabase> mDatabase;
};

TEST_F(StatementThreads, ACloseInTheMiddleOfManyRowsWaitsOrIsSeen) {
  smart_ptr<tarn::ValueRows> const rows = MakeRows({});
  for (int i = 0; i < 20; ++i) rows->Append(MakeRow({MakeLong(i), MakeText("x")}));
  std::atomic<int> completed{0};
  for (int round = 0; round < kRounds; ++round) {
    smart_ptr<I_DuckDBStatement> const statement =
        mDatabase->CreateStatement("INSERT INTO t VALUES (?, ?)");
    std::atomic<bool> started{false};
    std::thread runner([&] {
      Try([&] {
        statement->PrepareNext();
        statement->BindParameterRows(rows);
        started = true;
        while (Try([&] { statement->Execute(); })) ++completed;
      });
      started = true;
    });
    while (!started) std::this_thread::yield();
    mDatabase->Close();
    runner.join();
    EXPECT_FALSE(Try([&] { statement->Execute(); }));
    Open();
  }
  EXPECT_FALSE(mDatabase->get_Self() == nullptr);
}

TEST_F(StatementThreads, ChildrenDieOnOtherThreadsWhileTheDatabaseCloses) {
  for (int round = 0; round < kRounds; ++round) {
    std::vector<std::thread> threads;
    std::atomic<int> ready{0};
    for (int i = 0; i < 3; ++i) {
      threads.emplace_back([&] {
        ++ready;
        bool isOpen = true;
        for (int step = 0; step < 20 && isOpen; ++step) {
          isOpen = Try([&] {
            auto const statement = mDatabase->CreateStatement("SELECT 1; SELECT 2");
            statement->ExecuteNext();
            auto const result = mDatabase->Execute("SELECT 1; SELECT 2", 2, nullptr);
            auto const next = result->NextResult();
            auto const cursor = mDatabase->ExecuteQuery("SELECT 3", 2, nullptr);
            (void)cursor->NextRecord();
            (void)statement->get_Database();
          });
        }
      });
    }
    while (ready < 3) std::this_thread::yield();
    std::this_thread::yield();
    mDatabase->Close();
    for (auto& thread : threads) thread.join();
    Open();
  }
  mDatabase->Close();
  EXPECT_EQ(get_LiveHandles().mPrepared, 0);
  EXPECT_EQ(get_LiveHandles().mExtracted, 0);
  EXPECT_EQ(get_LiveHandles().mResults, 0);
}

TEST_F(StatementThreads, TheLastReferenceMayGoWhileChildrenAreInUse) {
  for (int round = 0; round < kRounds; ++round) {
    smart_ptr<DuckDBDatabase> database(new DuckDBDatabase(tarn::CreateLocation(":memory:")));
    database->Create();
    auto const statement = database->CreateStatement("SELECT 1");
    std::thread user([&] {
      while (Try([&] { statement->ExecuteNext(); })) {
        if (!statement->get_Database()) break;
        statement->ExecuteAll();
      }
    });
    database.reset();
    user.join();
    EXPECT_EQ(statement->get_Database(), nullptr);
  }
}

TEST_F(StatementThreads, AResultIsAskedForItsCursorWhileItCloses) {
  for (int round = 0; round < kRounds; ++round) {
    auto const result = mDatabase->Execute("SELECT 1", 2, nullptr);
    std::atomic<bool> started{false};
    std::thread user([&] {
      while (auto const cursor = result->get_Cursor()) {
        started = true;
        EXPECT_EQ(cursor->get_ColumnCount(), 1U);
      }
    });
    while (!started) std::this_thread::yield();
    round % 2 == 0 ? result->Close() : mDatabase->Close();
    user.join();
    EXPECT_EQ(result->get_Flags(), 1U);
    if (!mDatabase->get_IsOpen()) Open();
  }
}

TEST_F(StatementThreads, OneStatementServesManyThreadsInTurns) {
  auto const statement = mDatabase->CreateStatement("INSERT INTO t VALUES (?, 'x')");
  statement->PrepareNext();
  statement->BindParameters(MakeRow({MakeLong(1)}));
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int step = 0; step < kRounds; ++step) EXPECT_EQ(statement->Execute(), 1);
    });
  }
  for (auto& thread : threads) thread.join();
  auto const cursor = mDatabase->ExecuteQuery("SELECT count(*) FROM t", 1, nullptr);
  ASSERT_TRUE(cursor->NextRecord());
  EXPECT_EQ(cursor->get_Value(0)->get_LLong(), 4 * kRounds);
}

}  // namespace
