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

  struct Outcome {
    int mRight = 0;
    std::vector<std::string> mErrors;  // of calls that must succeed
  };

  // The rows and their sum that one call of a procedure gives.
  static std::pair<std::int64_t, std::int64_t> Sum(char const* inName,
                                                   std::vector<ValuePtr> const& inArgs,
                                                   std::vector<std::string>& outErrors) {
    auto const outcome = CallProcedure(LoadedProcedures::Instance().Find(inName), inArgs);
    outErrors.insert(outErrors.end(), outcome.mErrors.begin(), outcome.mErrors.end());
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
  std::vector<Outcome> outcomes(kThreads);
  std::vector<std::thread> threads;
  for (Outcome& outcome : outcomes) {
    threads.emplace_back([&] {
      int& right = outcome.mRight;
      auto& errors = outcome.mErrors;
      for (int call = 0; call < kCalls; ++call) {
        right += Sum("fetch_duckdb", {Text(mDatabase), Text("t")}, errors) == all;
        right += Sum("fetch_parquet", {Text(mParquet)}, errors) == all;
        right += Sum("parquet_count", {Text(mParquet)}, errors).second == 5000;
        right += Sum("parquet_schema", {Text(mParquet)}, errors).first == 1;
        std::vector<std::string> refusal;
        right += Sum("fetch_duckdb", {Text(mDatabase), Text("nope")}, refusal).first == 0 &&
                 refusal.size() == 1;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  for (Outcome const& outcome : outcomes) {
    EXPECT_EQ(outcome.mRight, kCalls * 5);
    EXPECT_EQ(outcome.mErrors, std::vector<std::string>{});
  }
}

}  // namespace
}  // namespace lumora::test
