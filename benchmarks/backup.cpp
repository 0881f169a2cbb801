#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "database/DatabaseRestore.h"
#include "database/DuckDBDatabase.h"
#include "duckdb_c/Handles.h"
#include "tarn/lsql/Backup.h"

// What Backup and RestoreDatabase of 3,000,000 flights cost beyond DuckDB's own EXPORT and IMPORT.
// Both sides run in turns; the ratio is of the medians.
namespace {

using namespace tarn;
using namespace tarn::lsql;
namespace fs = std::filesystem;
using Database = smart_ptr<DuckDBDatabase>;
using Clock = std::chrono::steady_clock;

smart_ptr<I_Location> At(fs::path const& inPath) {
  return CreateLocation(String(inPath.string().c_str()));
}

Database Make(fs::path const& inPath) { return Database(new DuckDBDatabase(At(inPath))); }

void Sql(Database const& inDatabase, std::string const& inSql) {
  inDatabase->ExecuteSQL(String(inSql.c_str()), nullptr);
}

class Flights {
 public:
  Flights() : mFolder(fs::temp_directory_path() / "lumora-bench-backup") {
    fs::remove_all(mFolder);
    fs::create_directories(mFolder / "backups");
    mDatabase = Make(mFolder / "flights.db");
    mDatabase->Create();
    Sql(mDatabase, std::string("CREATE TABLE flights AS FROM '") + LUMORA_FLIGHTS_PATH + "'");
  }
  ~Flights() {
    mDatabase->Close();
    fs::remove_all(mFolder);
  }
  Flights(Flights const&) = delete;
  Flights& operator=(Flights const&) = delete;

  void RawExport() const {
    fs::remove_all(mFolder / "exported");
    Sql(mDatabase, "EXPORT DATABASE '" + (mFolder / "exported").string() +
                       "' (FORMAT PARQUET, COMPRESSION ZSTD, ROW_GROUP_SIZE 100_000, "
                       "PARQUET_VERSION V2)");
  }
  void Backup() const {
    fs::remove_all(mFolder / "backups");
    fs::create_directories(mFolder / "backups");
    smart_ptr<I_Location> folder = At(mFolder / "backups");
    mDatabase->Backup(folder);
  }
  void RawImport() const {
    Database const target = Make(mFolder / "imported.db");
    target->Create();
    Sql(target, "IMPORT DATABASE '" + (mFolder / "exported").string() + "'");
    target->Close();
  }
  void Restore() const {
    auto const target = At(mFolder / "restored.db");
    lumora::RestoreDatabaseFile(*target, fs::directory_iterator(mFolder / "backups")->path());
  }

 private:
  fs::path const mFolder;
  Database mDatabase;
};

// The process's peak of resident memory since the last call, in MiB. Linux tells it anew after a
// reset; elsewhere it is that of the whole process.
double PeakAndReset() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  double peak = static_cast<double>(usage.ru_maxrss);
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) peak = std::stod(line.substr(6));
  }
  std::ofstream("/proc/self/clear_refs") << 5;
  return peak / 1024;
}

struct Side {
  std::function<void()> mRun;
  std::vector<double> mSeconds = {};
  double mPeak = 0;

  void RunOnce() {
    PeakAndReset();
    auto const start = Clock::now();
    mRun();
    mSeconds.push_back(std::chrono::duration<double>(Clock::now() - start).count());
    mPeak = std::max(mPeak, PeakAndReset());
  }
  double Median() {
    auto const middle = mSeconds.begin() + static_cast<std::ptrdiff_t>(mSeconds.size() / 2);
    std::nth_element(mSeconds.begin(), middle, mSeconds.end());
    return *middle;
  }
};

// Both sides in turns, each first in every second round: whoever comes second finds the disk busy
// with what the first one wrote. "first" is what the first call in a process cost.
void Compare(benchmark::State& ioState, Side inRaw, Side inOurs) {
  inRaw.RunOnce();
  inOurs.RunOnce();
  double const first = inOurs.mSeconds.front();
  inRaw.mSeconds.clear();
  inOurs.mSeconds.clear();
  for (auto _ : ioState) {
    bool const rawFirst = inRaw.mSeconds.size() % 2 == 0;
    (rawFirst ? inRaw : inOurs).RunOnce();
    (rawFirst ? inOurs : inRaw).RunOnce();
  }
  double const raw = inRaw.Median();
  double const ours = inOurs.Median();
  ioState.counters["raw_ms"] = raw * 1e3;
  ioState.counters["ours_ms"] = ours * 1e3;
  ioState.counters["first_ms"] = first * 1e3;
  ioState.counters["ratio"] = ours / raw;
  ioState.counters["raw_MiB"] = inRaw.mPeak;
  ioState.counters["ours_MiB"] = inOurs.mPeak;
}

void BM_Backup(benchmark::State& ioState) {
  Flights const flights;
  Compare(ioState, {[&] { flights.RawExport(); }}, {[&] { flights.Backup(); }});
}
BENCHMARK(BM_Backup)->Unit(benchmark::kSecond)->Iterations(25);

void BM_Restore(benchmark::State& ioState) {
  Flights const flights;
  flights.RawExport();
  flights.Backup();
  Compare(ioState, {[&] { flights.RawImport(); }}, {[&] { flights.Restore(); }});
}
BENCHMARK(BM_Restore)->Unit(benchmark::kSecond)->Iterations(11);

}  // namespace
