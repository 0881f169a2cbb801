#include <thread>

#include "support/ProcedureCalls.h"

namespace lumora::test {
namespace {

// Calls share nothing but the host's table and, where they name one file, its instance.
class ConcurrentCalls : public Procedures {
 protected:
  ConcurrentCalls()
      : mParquet(MakeParquet("o.parquet", "SELECT range AS i FROM range(5000)")),
        mDatabase(
            MakeDatabase("o.duckdb", "CREATE TABLE t AS SELECT range AS i FROM range(5000)")) {
    LoadedProcedures::Instance();
  }

  // The rows and their sum that one call of a procedure gives.
  static std::pair<std::int64_t, std::int64_t> Sum(char const* inName,
                                                   std::vector<ValuePtr> const& inArgs) {
    auto const outcome = CallProcedure(LoadedProcedures::Instance().Find(inName), inArgs);
    std::pair<std::int64_t, std::int64_t> sum;
    while (outcome.mCursor && outcome.mCursor->Next()) {
      ++sum.first;
      sum.second += outcome.mCursor->Get(0)->mInt;
    }
    return sum;
  }

  std::string mParquet;
  std::string mDatabase;
};

TEST_F(ConcurrentCalls, OfEveryProcedureGiveTheirRows) {
  constexpr int kThreads = 4;
  constexpr int kCalls = 10;
  std::pair<std::int64_t, std::int64_t> const all{5000, 5000LL * 4999 / 2};
  std::vector<int> right(kThreads, 0);
  std::vector<std::thread> threads;
  for (int index = 0; index < kThreads; ++index) {
    threads.emplace_back([&, index] {
      auto& count = right[static_cast<std::size_t>(index)];
      for (int call = 0; call < kCalls; ++call) {
        count += Sum("fetch_duckdb", {Text(mDatabase), Text("t")}) == all;
        count += Sum("fetch_parquet", {Text(mParquet)}) == all;
        count += Sum("parquet_count", {Text(mParquet)}).second == 5000;
        count += Sum("parquet_schema", {Text(mParquet)}).first == 1;
        count += Sum("fetch_duckdb", {Text(mDatabase), Text("nope")}).first == 0;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(right, std::vector<int>(kThreads, kCalls * 5));
}

}  // namespace
}  // namespace lumora::test
