// What a cell costs: our cursors, the least that any cursor could do, the way through duckdb_value,
// and sqlite3's step and column calls, all over the same rows in one run. The runs are interleaved
// at random, the best of each counts, and a table of ratios stands at the end.
//
//   bench_cursor                      the table
//   bench_cursor --benchmark_filter=flat|text   cost from 10^4 to 10^7 rows, text conversion
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <sys/resource.h>

#include <ctime>
#include <filesystem>
#include <functional>
#include <map>
#include <random>
#include <utility>

#include "cursor/DuckDBCursor_client.h"
#include "cursor/MakeCursor.h"
#include "cursor/ValueConversion.h"
#include "support/CursorData.h"
#include "support/PracticalLimit.h"
#include "tarn/Converter.h"

#include "support/PracticalLimit.inc"

namespace lumora::bench {

namespace {

using tarn::I_Value;
using tarn::smart_ptr;
using tarn::lsql::I_DuckDBCursor;

// --- reading a host value: the host knows the columns' kinds and calls the getter of each
// ---------

using Getter = std::uint64_t (*)(I_Value const&);

template <auto TGet>
std::uint64_t Get(I_Value const& inValue) {
  return static_cast<std::uint64_t>((inValue.*TGet)());
}

std::vector<Getter> GettersOf(I_DuckDBCursor& inCursor) {
  std::vector<Getter> getters;
  for (std::uint32_t c = 0; c < inCursor.get_ColumnCount(); ++c) {
    switch (inCursor.get_ColumnType(c)) {
      case DUCKDB_TYPE_BOOLEAN:
        getters.push_back(Get<&I_Value::get_Boolean>);
        break;
      case DUCKDB_TYPE_SMALLINT:
      case DUCKDB_TYPE_INTEGER:
      case DUCKDB_TYPE_BIGINT:
        getters.push_back(Get<&I_Value::get_LLong>);
        break;
      case DUCKDB_TYPE_FLOAT:
      case DUCKDB_TYPE_DOUBLE:
      case DUCKDB_TYPE_DECIMAL:
        getters.push_back(Get<&I_Value::get_Double>);
        break;
      default:
        getters.push_back(Get<&I_Value::get_Length>);
        break;
    }
  }
  return getters;
}

// --- the ways
// -------------------------------------------------------------------------------------

std::uint64_t LimitKeeping(duckdb_c::ResultHandle&& ioResult) {
  duckdb_c::ResultHandle const result = std::move(ioResult);
  duckdb_result handle = result.get();
  std::vector<LimitColumn> columns = DescribeColumns(&handle);
  std::vector<LimitCell*> cells;
  cells.reserve(duckdb_row_count(&handle) * columns.size());
  while (duckdb_c::ChunkHandle const chunk{duckdb_fetch_chunk(handle)}) {
    BindChunk(columns, chunk.get());
    idx_t const rows = duckdb_data_chunk_get_size(chunk.get());
    for (idx_t r = 0; r < rows; ++r) {
      for (LimitColumn const& column : columns) cells.push_back(MakeCell(column, r));
    }
  }
  std::uint64_t sum = 0;
  for (LimitCell const* const cell : cells) sum += ReadCell(cell);
  for (LimitCell* const cell : cells) ReleaseCell(cell);
  return sum;
}

std::uint64_t LimitStreaming(duckdb_c::ResultHandle&& ioResult) {
  duckdb_c::ResultHandle const result = std::move(ioResult);
  duckdb_result handle = result.get();
  std::vector<LimitColumn> columns = DescribeColumns(&handle);
  std::uint64_t sum = 0;
  while (duckdb_c::ChunkHandle const chunk{duckdb_fetch_chunk(handle)}) {
    BindChunk(columns, chunk.get());
    idx_t const rows = duckdb_data_chunk_get_size(chunk.get());
    for (idx_t r = 0; r < rows; ++r) {
      for (LimitColumn const& column : columns) {
        LimitCell* const cell = MakeCell(column, r);
        benchmark::DoNotOptimize(cell);
        ReleaseCell(cell);
        ++sum;
      }
    }
  }
  return sum;
}

std::uint64_t Client(duckdb_c::ResultHandle&& ioResult) {
  smart_ptr<I_DuckDBCursor> const cursor =
      tarn::lsql::MakeCursor(Data::Get().get_Link(), std::move(ioResult), 1);
  std::vector<Getter> const getters = GettersOf(*cursor);
  std::uint64_t sum = 0;
  while (cursor->NextRecord()) {
    for (std::uint32_t c = 0; c < getters.size(); ++c) sum += getters[c](*cursor->get_Value(c));
  }
  return sum;
}

std::uint64_t Server(duckdb_c::ResultHandle&& ioResult) {
  smart_ptr<I_DuckDBCursor> const cursor =
      tarn::lsql::MakeCursor(Data::Get().get_Link(), std::move(ioResult), 2);
  std::uint32_t const columns = cursor->get_ColumnCount();
  std::uint64_t values = 0;
  while (cursor->NextRecord()) {
    for (std::uint32_t c = 0; c < columns; ++c) values += cursor->get_Value(c) ? 1 : 0;
  }
  return values;
}

// The client cursor, read through its row arrays instead of cell by cell.
std::uint64_t ClientRows(duckdb_c::ResultHandle&& ioResult) {
  smart_ptr<I_DuckDBCursor> const cursor =
      tarn::lsql::MakeCursor(Data::Get().get_Link(), std::move(ioResult), 1);
  std::vector<Getter> const getters = GettersOf(*cursor);
  auto const& rows = *static_cast<tarn::lsql::DuckDBCursor_client&>(*cursor).get_Rows();
  std::uint64_t sum = 0;
  for (std::uint32_t r = 0; r < rows.get_Count(); ++r) {
    tarn::ValueRow const& row = *rows[r];
    for (std::uint32_t c = 0; c < row.get_Count(); ++c) sum += getters[c](*row[c]);
  }
  return sum;
}

// One duckdb_value a cell, kept in rows as the client cursor keeps them, or released at once.
template <bool TKeeps>
std::uint64_t Definition(duckdb_c::ResultHandle&& ioResult) {
  duckdb_c::ResultHandle result = std::move(ioResult);
  idx_t const columns = duckdb_column_count(result.ptr());
  smart_ptr<tarn::ValueRows> const kept(new tarn::ValueRows);
  std::uint64_t sum = 0;
  while (duckdb_c::ChunkHandle const chunk{duckdb_fetch_chunk(result.get())}) {
    idx_t const rows = duckdb_data_chunk_get_size(chunk.get());
    for (idx_t r = 0; r < rows; ++r) {
      smart_ptr<tarn::ValueRow> row(new tarn::ValueRow(static_cast<std::uint32_t>(columns)));
      for (idx_t c = 0; c < columns; ++c) {
        ValuePtr value = ConvertCell(chunk.get(), c, r, duckdb_c::GetColumnTypeId(result.ptr(), c));
        sum += value->get_Length();
        if (TKeeps) row->Append(std::move(value));
      }
      if (TKeeps) kept->Append(std::move(row));
    }
  }
  return sum;
}

std::uint64_t SqliteStep() {
  sqlite3_stmt* select = nullptr;
  sqlite3_prepare_v2(Data::Get().get_Sqlite(), "SELECT * FROM mixed", -1, &select, nullptr);
  std::uint64_t sum = 0;
  while (sqlite3_step(select) == SQLITE_ROW) {
    for (int c = 0; c < 8; ++c) {
      switch (sqlite3_column_type(select, c)) {
        case SQLITE_INTEGER:
          sum += static_cast<std::uint64_t>(sqlite3_column_int64(select, c));
          break;
        case SQLITE_FLOAT:
          sum += static_cast<std::uint64_t>(sqlite3_column_double(select, c));
          break;
        case SQLITE_TEXT:  // in UTF-16, as a host value is
          benchmark::DoNotOptimize(sqlite3_column_text16(select, c));
          sum += static_cast<std::uint64_t>(sqlite3_column_bytes16(select, c));
          break;
        default:
          break;
      }
    }
  }
  sqlite3_finalize(select);
  return sum;
}

// --- registration
// ---------------------------------------------------------------------------------

// Processor time of the whole process: what other programs do on the machine does not count.
double Now() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

template <typename T>
void Measure(benchmark::State& ioState, double inCells, T&& inRun) {
  for ([[maybe_unused]] auto _ : ioState) {
    double const seconds = inRun();
    ioState.SetIterationTime(seconds);
    ioState.counters["ns_per_cell"] = seconds / inCells * 1e9;
  }
}

using Way = std::function<std::uint64_t(duckdb_c::ResultHandle&&)>;

benchmark::internal::Benchmark* Register(std::string const& inName, double inCells,
                                         std::function<double()> inRun) {
  return benchmark::RegisterBenchmark(
             inName.c_str(),
             [inCells, inRun](benchmark::State& ioState) { Measure(ioState, inCells, inRun); })
      ->Iterations(1)
      ->UseManualTime()
      ->Unit(benchmark::kMillisecond);
}

// inTimesQuery: the query counts too.
void RegisterWay(std::string const& inName, std::string const& inSql, double inCells, Way inWay,
                 bool inTimesQuery, int inRepetitions) {
  Register(inName, inCells, [inSql, inWay, inTimesQuery] {
    double const start = Now();
    duckdb_c::ResultHandle result = Data::Get().Query(inSql);
    double const queried = Now();
    benchmark::DoNotOptimize(inWay(std::move(result)));
    return Now() - (inTimesQuery ? start : queried);
  })->Repetitions(inRepetitions);
}

double CountCells(std::string const& inSql) {
  duckdb_c::ResultHandle result = Data::Get().Query(inSql);
  return static_cast<double>(duckdb_row_count(result.ptr()) * duckdb_column_count(result.ptr()));
}

void RegisterTable(std::string const& inData, std::string const& inSql, int inRepetitions) {
  double const cells = CountCells(inSql);
  std::string const some = inSql + " LIMIT 50000";
  double const someCells = CountCells(some);
  RegisterWay(inData + "/limit_kept", inSql, cells, LimitKeeping, false, inRepetitions);
  RegisterWay(inData + "/limit_streamed", inSql, cells, LimitStreaming, false, inRepetitions);
  RegisterWay(inData + "/client", inSql, cells, Client, false, inRepetitions);
  RegisterWay(inData + "/client_rows", inSql, cells, ClientRows, false, inRepetitions);
  RegisterWay(inData + "/server", inSql, cells, Server, false, inRepetitions);
  RegisterWay(inData + "/definition_kept", some, someCells, Definition<true>, false, inRepetitions);
  RegisterWay(inData + "/definition_streamed", some, someCells, Definition<false>, false,
              inRepetitions);
  RegisterWay(inData + "/client_with_query", inSql, cells, Client, true, inRepetitions);
  RegisterWay(inData + "/server_with_query", inSql, cells, Server, true, inRepetitions);
}

// Fresh pages of the process so far. Each is cleared by the system when it is first touched.
double PageFaults() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_minflt);
}

// Nanoseconds a cell, the best of a few runs, and fresh pages for 1,000 cells in that run.
struct Flat {
  double mBest = 0;
  double mFaults = 0;

  void Run(Way const& inWay, double inCells) {
    duckdb_c::ResultHandle result = Data::Get().Query("SELECT * FROM flat");
    double const faults = PageFaults();
    double const start = Now();
    benchmark::DoNotOptimize(inWay(std::move(result)));
    double const ns = (Now() - start) / inCells * 1e9;
    if (mBest != 0 && mBest <= ns) return;
    mBest = ns;
    mFaults = (PageFaults() - faults) / inCells * 1000;
  }
};

// All ways over tables of each size, in turns.
void RunFlat(benchmark::State& ioState) {
  std::pair<char const*, Way> const ways[] = {{"client", Client},
                                              {"limit_kept", LimitKeeping},
                                              {"server", Server},
                                              {"limit_streamed", LimitStreaming}};
  long const rows = ioState.range(0);
  Data::Get().Query("CREATE TABLE flat AS SELECT a, b, c, d FROM (" + MixedSelect(rows) + ")");
  Flat flat[std::size(ways)];
  for ([[maybe_unused]] auto _ : ioState) {
    for (int round = 0; round < (rows < 10000000 ? 9 : 4); ++round) {
      for (std::size_t i = 0; i < std::size(ways); ++i) {
        flat[i].Run(ways[i].second, static_cast<double>(rows) * 4);
      }
    }
  }
  Data::Get().Query("DROP TABLE flat");
  for (std::size_t i = 0; i < std::size(ways); ++i) {
    ioState.counters[ways[i].first] = flat[i].mBest;
    ioState.counters[std::string(ways[i].first) + "_faults"] = flat[i].mFaults;
  }
}

void RegisterFlatness() {
  auto* const flat = benchmark::RegisterBenchmark("flat", RunFlat);
  for (long rows = 10000; rows <= 10000000; rows *= 10) flat->Arg(rows);
  flat->Iterations(1)->Unit(benchmark::kMillisecond);
}

void RegisterText() {
  for (std::size_t const length : {8UL, 40UL, 1000UL, 1000000UL}) {
    std::string const ascii(length, 'x');
    std::string const name = std::to_string(length);
    benchmark::RegisterBenchmark(
        ("text/to_utf16/" + name).c_str(), [ascii](benchmark::State& ioState) {
          for ([[maybe_unused]] auto _ : ioState) {
            tarn::String text = tarn::StToUTF16(
                ascii.data(), static_cast<std::int64_t>(ascii.size()), tarn::GetConverter_UTF8());
            benchmark::DoNotOptimize(text.c_str());
          }
          ioState.SetBytesProcessed(static_cast<std::int64_t>(ioState.iterations() * ascii.size()));
        });
    benchmark::RegisterBenchmark(
        ("text/value/" + name).c_str(), [ascii](benchmark::State& ioState) {
          for ([[maybe_unused]] auto _ : ioState) {
            benchmark::DoNotOptimize(MakeStringValue(std::string_view(ascii)).get());
          }
          ioState.SetBytesProcessed(static_cast<std::int64_t>(ioState.iterations() * ascii.size()));
        });
    // As many bytes as the UTF-16 text has are written.
    benchmark::RegisterBenchmark(
        ("text/memcpy_to_new/" + name).c_str(), [ascii](benchmark::State& ioState) {
          std::string const wide(ascii.size() * 2, 'x');
          for ([[maybe_unused]] auto _ : ioState) {
            std::string copy(wide.data(), wide.size());
            benchmark::DoNotOptimize(copy.data());
          }
          ioState.SetBytesProcessed(static_cast<std::int64_t>(ioState.iterations() * ascii.size()));
        });
  }
}

// Bytes of malloc memory in use.
double BytesInUse() {
  struct mallinfo2 const info = mallinfo2();
  return static_cast<double>(info.uordblks + info.hblkhd);
}

// Of a client cursor over 1,000,000 rows of fixed-size kinds; before anything warmed the pool.
double MemoryPerCell() {
  duckdb_c::ResultHandle result =
      Data::Get().Query("SELECT a, b, c, g, h, a AS i, b AS j, c AS k FROM mixed");
  double const before = BytesInUse();
  smart_ptr<I_DuckDBCursor> const cursor =
      tarn::lsql::MakeCursor(Data::Get().get_Link(), std::move(result), 1);
  return (BytesInUse() - before) / (8.0 * cursor->get_RecordCount());
}

// --- the report
// -----------------------------------------------------------------------------------

class BestOf : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(std::vector<Run> const& inRuns) override {
    for (Run const& run : inRuns) {
      auto const counter = run.counters.find("ns_per_cell");
      if (run.run_type != Run::RT_Iteration || counter == run.counters.end()) continue;
      double& best = mBest.try_emplace(run.run_name.function_name, counter->second).first->second;
      best = std::min(best, static_cast<double>(counter->second));
    }
    ConsoleReporter::ReportRuns(inRuns);
  }
  std::map<std::string, double> mBest;
};

struct Bound {
  char const* mWay;
  char const* mAgainst;
  double mAtMost;
};

// True when all that was measured is within its bounds.
bool PrintTable(std::map<std::string, double> const& inBest, double inBytesPerCell) {
  constexpr Bound kBounds[] = {
      {"client", "limit_kept", 1.5},
      {"client_rows", "limit_kept", 1.5},
      {"server", "limit_streamed", 1.5},
      {"client", "definition_kept", 0.25},
      {"server", "definition_streamed", 0.25},
      {"client_with_query", "sqlite_step", 1.0},
      {"server_with_query", "sqlite_step", 1.0},
  };
  bool isWithin = inBytesPerCell <= 64;
  std::printf(
      "\n| data | way | ns a cell | against | ns a cell | ratio | at most "
      "|\n|---|---|---|---|---|---|---|\n");
  for (std::string const data : {"mixed", "flights"}) {
    for (Bound const& bound : kBounds) {
      auto const way = inBest.find(data + "/" + bound.mWay);
      auto const against = inBest.find(data + "/" + bound.mAgainst);
      if (way == inBest.end() || against == inBest.end()) continue;
      double const ratio = way->second / against->second;
      isWithin = isWithin && ratio <= bound.mAtMost;
      std::printf("| %s | %s | %.1f | %s | %.1f | %.2f | %.2f |\n", data.c_str(), bound.mWay,
                  way->second, bound.mAgainst, against->second, ratio, bound.mAtMost);
    }
  }
  std::printf(
      "\nclient cursor, fixed-size kinds: %.1f bytes a cell, row arrays included (at most 64)\n",
      inBytesPerCell);
  return isWithin;
}

}  // namespace

int Run(int inCount, char** inArguments) {
  std::vector<char*> arguments(inArguments, inArguments + inCount);
  std::string interleaving = "--benchmark_enable_random_interleaving=true";
  arguments.insert(arguments.begin() + 1, interleaving.data());
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;

  Data::Get().Query(MixedTable(1000000, "mixed"));
  double const bytesPerCell = MemoryPerCell();
  Data::Get().FillSqlite();
  RegisterTable("mixed", "SELECT * FROM mixed", 7);
  Register("mixed/sqlite_step", 8e6, [] {
    double const start = Now();
    benchmark::DoNotOptimize(SqliteStep());
    return Now() - start;
  })->Repetitions(7);
  if (std::filesystem::exists(LUMORA_FLIGHTS_PATH)) {
    Data::Get().Query("CREATE TABLE flights AS FROM '" LUMORA_FLIGHTS_PATH "' LIMIT 1000000");
    RegisterTable("flights", "SELECT * FROM flights", 5);
  }
  RegisterFlatness();
  RegisterText();

  BestOf reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  bool const isWithin = PrintTable(reporter.mBest, bytesPerCell);
  benchmark::Shutdown();
  return isWithin ? 0 : 1;
}

}  // namespace lumora::bench

int main(int argc, char** argv) { return lumora::bench::Run(argc, argv); }
