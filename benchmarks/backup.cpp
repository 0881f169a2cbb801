#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>

#include "database/DatabaseRestore.h"
#include "database/DuckDBDatabase.h"
#include "duckdb_c/Handles.h"
#include "tarn/lsql/Backup.h"

// What Backup and RestoreDatabase of 3,000,000 flights cost beyond DuckDB's own EXPORT and IMPORT.
// Both sides run in turns; the ratio is of the whole times.
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

double Seconds(std::function<void()> const& inRun) {
  auto const start = Clock::now();
  inRun();
  return std::chrono::duration<double>(Clock::now() - start).count();
}

void Compare(benchmark::State& ioState, std::function<void()> const& inRaw,
             std::function<void()> const& inOurs) {
  double raw = 0;
  double ours = 0;
  inRaw();
  inOurs();
  for (auto _ : ioState) {
    raw += Seconds(inRaw);
    ours += Seconds(inOurs);
  }
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  auto const rounds = static_cast<double>(ioState.iterations());
  ioState.counters["raw_s"] = raw / rounds;
  ioState.counters["ours_s"] = ours / rounds;
  ioState.counters["ratio"] = ours / raw;
  ioState.counters["peak_MiB"] = static_cast<double>(usage.ru_maxrss) / 1024;
}

void BM_Backup(benchmark::State& ioState) {
  Flights const flights;
  Compare(
      ioState, [&] { flights.RawExport(); }, [&] { flights.Backup(); });
}
BENCHMARK(BM_Backup)->Unit(benchmark::kSecond)->Iterations(5);

void BM_Restore(benchmark::State& ioState) {
  Flights const flights;
  flights.RawExport();
  flights.Backup();
  Compare(
      ioState, [&] { flights.RawImport(); }, [&] { flights.Restore(); });
}
BENCHMARK(BM_Restore)->Unit(benchmark::kSecond)->Iterations(5);

}  // namespace
