#include <fmt/format.h>
#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "duckdb_c/ColumnText.h"
#include "duckdb_c/Extraction.h"
#include "duckdb_c/Handles.h"
#include "duckdb_c/Types.h"
#include "duckdb_c/ValueText.h"
#include "duckdb_c/duckdb_completion.h"
#include "support/Seed.h"

// The calls that complete DuckDB's C API, from many threads at once: casts and renderings share the
// private database, extractions the table of their texts.
namespace lumora::duckdb_c::test {
namespace {

// An in-memory database of a thread's own. DuckDB works on the calling thread alone: what its
// workers do among themselves is not what is tried here.
class OwnConnection {
 public:
  OwnConnection() {
    ConfigHandle config;
    TextHandle error;
    if (duckdb_create_config(config.out()) != DuckDBSuccess ||
        duckdb_set_config(config.get(), "threads", "1") != DuckDBSuccess ||
        duckdb_open_ext(nullptr, mDatabase.out(), config.get(), error.out()) != DuckDBSuccess ||
        duckdb_connect(mDatabase.get(), mConnection.out()) != DuckDBSuccess) {
      throw std::runtime_error("DuckDB refuses a database in memory");
    }
  }
  duckdb_connection get() const noexcept { return mConnection.get(); }
  ResultHandle Query(std::string const& inSql) const {
    ResultHandle result;
    if (duckdb_query(mConnection.get(), inSql.c_str(), result.out()) != DuckDBSuccess) {
      throw std::runtime_error(TextOr(duckdb_result_error(result.ptr()), "no text"));
    }
    return result;
  }

 private:
  DatabaseHandle mDatabase;
  ConnectionHandle mConnection;
};

std::string TypeTextOf(duckdb_value inValue) {
  // The type belongs to the value.
  const TextHandle text(duckdb_logical_type_to_string(duckdb_get_value_type(inValue)));
  return TextOr(text.get(), "");
}

constexpr int kThreads = 8;
constexpr int kRounds = lumora::test::kIsSlow ? 20 : 100;

// Runs the work on several threads that start together; the work says how often it failed.
template <typename TWork>
int FailuresOnThreads(TWork const& inWork) {
  std::atomic<int> failures{0};
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (int index = 0; index < kThreads; ++index) {
    threads.emplace_back([&, index] {
      while (!go.load()) std::this_thread::yield();
      for (int round = 0; round < kRounds; ++round) {
        if (!inWork(index, round)) ++failures;
      }
    });
  }
  go.store(true);
  for (std::thread& thread : threads) thread.join();
  return failures.load();
}

TEST(CompletionThreads, CastsFromEveryThreadGiveTheirOwnValue) {
  EXPECT_EQ(FailuresOnThreads([](int inThread, int inRound) {
              const std::string text = fmt::format("{}", inThread * 1000 + inRound);
              const ValueHandle value(duckdb_create_varchar(text.c_str()));
              const LogicalTypeHandle type =
                  MakeLogicalType(inRound % 2 == 0 ? TypeId{DUCKDB_TYPE_HUGEINT} : kTypeVariant);
              const ValueHandle cast(duckdb_cast_value(value.get(), type.get(), nullptr));
              return cast && GetValueText(cast.get()) == text;
            }),
            0);
}

TEST(CompletionThreads, FailingCastsGetTheirOwnMessage) {
  EXPECT_EQ(FailuresOnThreads([](int inThread, int inRound) {
              const std::string text = fmt::format("bad {} {}", inThread, inRound);
              const ValueHandle value(duckdb_create_varchar(text.c_str()));
              const LogicalTypeHandle type = MakeLogicalType(DUCKDB_TYPE_UHUGEINT);
              TextHandle error;
              const ValueHandle cast(duckdb_cast_value(value.get(), type.get(), error.out()));
              return !cast && TextOr(error.get(), "").find(text) != std::string::npos;
            }),
            0);
}

TEST(CompletionThreads, CellsTextsAndTypesOfEveryThreadsOwnDatabase) {
  std::vector<OwnConnection> connections(kThreads);
  EXPECT_EQ(
      FailuresOnThreads([&](int inThread, int inRound) {
        ResultHandle result = connections[static_cast<std::size_t>(inThread)].Query(fmt::format(
            "SELECT {{'round': {}}}::VARIANT, ['a' || i FOR i IN [{}]]", inRound, inThread));
        const ChunkHandle chunk(duckdb_fetch_chunk(result.get()));
        const duckdb_vector vector = duckdb_data_chunk_get_vector(chunk.get(), 0);
        const ColumnText json = RenderColumn(vector, 1, Rendering::kJson);
        const ValueHandle variant(duckdb_data_chunk_get_value(chunk.get(), 0, 0));
        const ValueHandle child(duckdb_value_variant_child(variant.get()));
        const ValueHandle list(duckdb_data_chunk_get_value(chunk.get(), 1, 0));
        const std::string expected = fmt::format("{{\"round\":{}}}", inRound);
        return json && json.get_Text(0) == expected && GetValueText(child.get()) == expected &&
               duckdb_value_variant_type(variant.get()) == 29 &&
               GetValueText(list.get()) == fmt::format("[a{}]", inThread) &&
               TypeTextOf(list.get()) == "VARCHAR[]";
      }),
      0);
}

TEST(CompletionThreads, StatementsExtractedEverywhereKeepTheirTexts) {
  std::vector<OwnConnection> connections(kThreads);
  EXPECT_EQ(FailuresOnThreads([&](int inThread, int inRound) {
              const std::string first = fmt::format("SELECT {}", inThread);
              const std::string second = fmt::format("SELECT ';', {}", inRound);
              const Extraction extraction = ExtractStatements(
                  connections[static_cast<std::size_t>(inThread)].get(), first + ";" + second);
              const duckdb_extracted_statements statements = extraction.mStatements.get();
              const TextHandle one(duckdb_extracted_statement_sql(statements, 0));
              const TextHandle two(duckdb_extracted_statement_sql(statements, 1));
              return extraction.mCount == 2 && TextOr(one.get(), "") == first &&
                     TextOr(two.get(), "") == second;
            }),
            0);
}

}  // namespace
}  // namespace lumora::duckdb_c::test
