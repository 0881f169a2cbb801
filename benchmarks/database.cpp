// What opening and closing a database file costs over DuckDB's own calls, and what the engine lock
// guard costs. Ours and the raw calls alternate in one run; the counter "ratio" is ours to raw.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <vector>

#include "database/DuckDBDatabase.h"
#include "duckdb_c/EngineLockGuard.h"
#include "duckdb_c/Handles.h"
#include "extension/DuckDBExtension.h"
#include "tarn/tarn.h"

namespace {

using namespace lumora::duckdb_c;
using Clock = std::chrono::steady_clock;
using tarn::smart_ptr;
using tarn::lsql::I_DuckDBDatabase;

class File {
 public:
  File() : mPath((std::filesystem::temp_directory_path() / "lumora-bench.duckdb").string()) {
    tarn::lsql::SetDuckDBExtension(tarn::lsql::MakeDuckDBExtension());
    auto const database = Database();
    database->Create();
    database->ExecuteSQL("CREATE TABLE t AS SELECT range AS a FROM range(1000)", nullptr);
  }
  ~File() {
    Database()->Drop();
    tarn::lsql::SetDuckDBExtension(nullptr);
  }
  File(File const&) = delete;
  File& operator=(File const&) = delete;

  std::string const& get_Path() const { return mPath; }
  smart_ptr<I_DuckDBDatabase> Database() const {
    return tarn::lsql::GetDuckDBExtension()->CreateDatabase(
        tarn::CreateLocation(tarn::String(mPath.c_str())));
  }

 private:
  std::string mPath;
};

void OpenRaw(std::string const& inPath) {
  ConfigHandle config;
  duckdb_create_config(config.out());
  duckdb_set_config(config.get(), "access_mode", "READ_WRITE");
  DatabaseHandle database;
  TextHandle error;
  if (duckdb_open_ext(inPath.c_str(), database.out(), config.get(), error.out()) != DuckDBSuccess) {
    throw std::runtime_error(error.get());
  }
  ConnectionHandle connection;
  duckdb_connect(database.get(), connection.out());
  ResultHandle result;
  duckdb_query(connection.get(), "SET errors_as_json = true;", result.out());
}

template <typename TWork>
double SecondsOf(TWork inWork) {
  auto const start = Clock::now();
  inWork();
  return std::chrono::duration<double>(Clock::now() - start).count();
}

double MedianOf(std::vector<double> ioSeconds) {
  auto const middle = ioSeconds.begin() + static_cast<std::ptrdiff_t>(ioSeconds.size() / 2);
  std::nth_element(ioSeconds.begin(), middle, ioSeconds.end());
  return *middle;
}

void OpenAndCloseAFile(benchmark::State& ioState) {
  File const file;
  auto const database = file.Database();
  std::vector<double> ours;
  std::vector<double> raws;
  auto const open = [&] {
    database->Open();
    database->Close();
  };
  for (auto _ : ioState) {
    // Whoever comes first in a round finds the caches as the other one left them.
    bool const rawFirst = ours.size() % 2 == 0;
    if (rawFirst) raws.push_back(SecondsOf([&] { OpenRaw(file.get_Path()); }));
    double const seconds = SecondsOf(open);
    ours.push_back(seconds);
    if (!rawFirst) raws.push_back(SecondsOf([&] { OpenRaw(file.get_Path()); }));
    ioState.SetIterationTime(seconds);
  }
  ioState.counters["ours_ms"] = MedianOf(ours) * 1e3;
  ioState.counters["raw_ms"] = MedianOf(raws) * 1e3;
  ioState.counters["ratio"] = MedianOf(ours) / MedianOf(raws);
}
BENCHMARK(OpenAndCloseAFile)->UseManualTime()->Iterations(200)->Unit(benchmark::kMillisecond);

// The file's instance is there; what is left is the connection.
void OpenAndCloseASharedFile(benchmark::State& ioState) {
  File const file;
  auto const keeper = file.Database();
  keeper->Open();
  auto const database = file.Database();
  for (auto _ : ioState) {
    database->Open();
    database->Close();
  }
}
BENCHMARK(OpenAndCloseASharedFile)->Unit(benchmark::kMicrosecond);

void CreateAndDropAFile(benchmark::State& ioState) {
  File const file;
  auto const database = file.Database();
  for (auto _ : ioState) database->Create();
  database->Drop();
}
BENCHMARK(CreateAndDropAFile)->Unit(benchmark::kMillisecond);

void GuardUncontended(benchmark::State& ioState) {
  for (auto _ : ioState) {
    lumora::EngineLockGuard const guard;
    benchmark::DoNotOptimize(&guard);
  }
}
BENCHMARK(GuardUncontended);

void GuardNested(benchmark::State& ioState) {
  lumora::EngineLockGuard const outer;
  for (auto _ : ioState) {
    lumora::EngineLockGuard const guard;
    benchmark::DoNotOptimize(&guard);
  }
}
BENCHMARK(GuardNested);

void RawMutex(benchmark::State& ioState) {
  tarn::Thread_Mutex_Win mutex;
  for (auto _ : ioState) {
    mutex.lock();
    mutex.unlock();
  }
}
BENCHMARK(RawMutex);

}  // namespace
