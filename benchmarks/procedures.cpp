#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <duckdb.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "duckdb_c/Handles.h"
#include "tarn/ExtensionApi.h"

// What the procedures cost beyond DuckDB: walking every cell of the flights through the callbacks
// with a host that only counts, against the same loop over DuckDB's vectors; and one parquet_count
// against the same query on DuckDB alone. Both sides run in turns and the ratio is reported.
namespace {

using Clock = std::chrono::steady_clock;
using lumora::duckdb_c::ChunkHandle;
using lumora::duckdb_c::ConnectionHandle;
using lumora::duckdb_c::DatabaseHandle;
using lumora::duckdb_c::ResultHandle;

[[noreturn]] void Stop(char const* inWhat) {
  std::fprintf(stderr, "%s\n", inWhat);
  std::abort();
}

// --- a host that only counts ---

struct Arg {
  std::string mText;
};

struct Host {
  std::vector<lumora_procedure_def> mProcedures;
  std::vector<lumora_value> mArgs;
  lumora_cursor_def mCursor{};
  std::uint64_t mCells = 0;
  std::uint64_t mSum = 0;
};

Host& HostOf(void* ctx) { return *static_cast<Host*>(ctx); }

template <typename T>
lumora_value Count(void* ctx, T bits) {
  Host& host = HostOf(ctx);
  ++host.mCells;
  host.mSum += static_cast<std::uint64_t>(bits);
  return &host;
}

template <typename T>
lumora_value CountBytes(void* ctx, T const* bytes, std::uint64_t length, std::uint64_t) {
  Host& host = HostOf(ctx);
  ++host.mCells;
  host.mSum += length + (bytes ? 1 : 0);
  return &host;
}

std::int32_t Register(void* ctx, lumora_procedure_def const* def) {
  HostOf(ctx).mProcedures.push_back(*def);
  return 0;
}
std::int32_t ArgCount(void* ctx) { return static_cast<std::int32_t>(HostOf(ctx).mArgs.size()); }
void Report(void*, char const* text, std::uint64_t length) {
  Stop(std::string(text, length).c_str());
}
std::int32_t MakeCursor(void* ctx, lumora_cursor_def const* def, lumora_cursor* out) {
  HostOf(ctx).mCursor = *def;
  *out = ctx;
  return 0;
}
std::uint8_t IsNull(lumora_value) { return 0; }
char const* GetText(void*, lumora_value value, std::uint64_t* length) {
  auto const& text = static_cast<Arg*>(value)->mText;
  *length = text.size();
  return text.data();
}

template <typename T>
lumora_extension_function AsEntry(T inFunction) {
  return reinterpret_cast<lumora_extension_function>(inFunction);
}

lumora_extension_api Table() {
  static std::array<lumora_extension_function, lumora_api_size> table = [] {
    std::array<lumora_extension_function, lumora_api_size> entries{};
    entries[lumora_api_register_procedure] = AsEntry(Register);
    entries[lumora_api_arg_count] = AsEntry(ArgCount);
    entries[lumora_api_report_error] = AsEntry(Report);
    entries[lumora_api_create_callback_cursor] = AsEntry(MakeCursor);
    entries[lumora_api_value_new_binary] = AsEntry(CountBytes<void>);
    entries[lumora_api_value_new_bool] = AsEntry(Count<std::uint8_t>);
    entries[lumora_api_value_new_date] = AsEntry(Count<std::uint32_t>);
    entries[lumora_api_value_new_datetime] = AsEntry(Count<std::uint64_t>);
    entries[lumora_api_value_new_double] = AsEntry(Count<double>);
    entries[lumora_api_value_new_int64] = AsEntry(Count<std::int64_t>);
    entries[lumora_api_value_new_text] = AsEntry(CountBytes<char>);
    entries[lumora_api_value_new_time] = AsEntry(Count<std::uint32_t>);
    entries[lumora_api_value_new_uint64] = AsEntry(Count<std::uint64_t>);
    entries[lumora_api_value_is_null] = AsEntry(IsNull);
    entries[lumora_api_value_get_text] = AsEntry(GetText);
    return entries;
  }();
  return table.data();
}

Host& LoadedHost() {
  static Host& host = *[] {
    auto* const loaded = new Host;
    void* const library = dlopen(LUMORA_EXTENSION_PATH, RTLD_NOW | RTLD_LOCAL);
    if (!library) Stop(dlerror());
    reinterpret_cast<lumora_extension_bind_api_function>(
        dlsym(library, "lumora_extension_bind_api"))(Table());
    reinterpret_cast<lumora_extension_init_function>(dlsym(library, "lumora_extension_init"))(
        loaded);
    return loaded;
  }();
  return host;
}

// A cursor of the loaded extension; ends it when it dies.
class Cursor {
 public:
  Cursor(std::string const& inProcedure, std::string const& inPath) : mArg{inPath} {
    Host& host = LoadedHost();
    host.mArgs = {&mArg};
    for (auto const& procedure : host.mProcedures) {
      if (procedure.name == inProcedure) procedure.handler(&host, host.mArgs.data());
    }
    mCursor = host.mCursor;
  }
  ~Cursor() { mCursor.destroy(&LoadedHost(), mCursor.user_data); }
  Cursor(Cursor const&) = delete;
  Cursor& operator=(Cursor const&) = delete;

  std::uint64_t Walk() {
    Host& host = LoadedHost();
    host.mCells = 0;
    mCursor.seek(&host, mCursor.user_data, 0);
    auto const columns = static_cast<std::int32_t>(mCursor.column_count);
    do {
      for (std::int32_t i = 0; i < columns; ++i) {
        benchmark::DoNotOptimize(mCursor.get_value(&host, mCursor.user_data, i));
      }
    } while (mCursor.next(&host, mCursor.user_data) == 0);
    return host.mCells;
  }

 private:
  Arg mArg;
  lumora_cursor_def mCursor{};
};

// --- DuckDB alone ---

struct RawDatabase {
  RawDatabase() {
    if (duckdb_open(nullptr, mDatabase.out()) != DuckDBSuccess ||
        duckdb_connect(mDatabase.get(), mConnection.out()) != DuckDBSuccess) {
      Stop("no database");
    }
  }
  ResultHandle Run(std::string const& inSql) {
    ResultHandle result;
    if (duckdb_query(mConnection.get(), inSql.c_str(), result.out()) != DuckDBSuccess) {
      Stop(duckdb_result_error(result.ptr()));
    }
    return result;
  }
  DatabaseHandle mDatabase;
  ConnectionHandle mConnection;
};

std::string Source() { return std::string("read_parquet('") + LUMORA_FLIGHTS_PATH + "')"; }

// One cell as the C API's user reads it: a test of the mask and a typed load, handed to the same
// kind of host.
template <typename T>
void ReadAs(Host& ioHost, void const* inData, idx_t inRow) {
  Count(&ioHost, static_cast<T const*>(inData)[inRow]);
}

void ReadRaw(Host& ioHost, duckdb_type inType, void const* inData, idx_t inRow) {
  switch (inType) {
    case DUCKDB_TYPE_TINYINT:
      return ReadAs<std::int8_t>(ioHost, inData, inRow);
    case DUCKDB_TYPE_SMALLINT:
      return ReadAs<std::int16_t>(ioHost, inData, inRow);
    case DUCKDB_TYPE_INTEGER:
      return ReadAs<std::int32_t>(ioHost, inData, inRow);
    case DUCKDB_TYPE_BIGINT:
      return ReadAs<std::int64_t>(ioHost, inData, inRow);
    case DUCKDB_TYPE_FLOAT:
      return ReadAs<float>(ioHost, inData, inRow);
    case DUCKDB_TYPE_DOUBLE:
      return ReadAs<double>(ioHost, inData, inRow);
    case DUCKDB_TYPE_VARCHAR: {
      auto* const text =
          const_cast<duckdb_string_t*>(static_cast<duckdb_string_t const*>(inData) + inRow);
      CountBytes(&ioHost, duckdb_string_t_data(text), duckdb_string_t_length(*text), 0);
      return;
    }
    case DUCKDB_TYPE_TIMESTAMP: {
      auto const parts = duckdb_from_timestamp(static_cast<duckdb_timestamp const*>(inData)[inRow]);
      Count(&ioHost, static_cast<std::uint64_t>(parts.date.year));
      return;
    }
    case DUCKDB_TYPE_DATE: {
      auto const parts = duckdb_from_date(static_cast<duckdb_date const*>(inData)[inRow]);
      Count(&ioHost, static_cast<std::uint64_t>(parts.year));
      return;
    }
    default:
      Stop("a type of the flights that this loop does not know");
  }
}

struct RawColumn {
  void* mData;
  std::uint64_t* mValidity;
  duckdb_type mType;
};

std::uint64_t WalkRaw(duckdb_result& ioResult) {
  Host host;
  idx_t const chunks = duckdb_result_chunk_count(ioResult);
  idx_t const columns = duckdb_column_count(&ioResult);
  std::vector<RawColumn> cells(columns);
  for (idx_t index = 0; index < chunks; ++index) {
    ChunkHandle const chunk(duckdb_result_get_chunk(ioResult, index));
    for (idx_t i = 0; i < columns; ++i) {
      duckdb_vector const vector = duckdb_data_chunk_get_vector(chunk.get(), i);
      cells[i] = {duckdb_vector_get_data(vector), duckdb_vector_get_validity(vector),
                  duckdb_column_type(&ioResult, i)};
    }
    idx_t const rows = duckdb_data_chunk_get_size(chunk.get());
    for (idx_t row = 0; row < rows; ++row) {
      for (auto const& cell : cells) {
        if (duckdb_validity_row_is_valid(cell.mValidity, row)) {
          ReadRaw(host, cell.mType, cell.mData, row);
        }
      }
    }
  }
  benchmark::DoNotOptimize(host.mSum);
  return host.mCells;
}

// --- the comparison ---

double Median(std::vector<double> inSeconds) {
  std::sort(inSeconds.begin(), inSeconds.end());
  return inSeconds[inSeconds.size() / 2];
}

struct Pair {
  std::vector<double> mOurs;
  std::vector<double> mRaw;

  void Report(benchmark::State& ioState, double inScale, std::string const& inUnit) const {
    double const ours = Median(mOurs);
    double const raw = Median(mRaw);
    ioState.counters["ours_" + inUnit] = ours * inScale;
    ioState.counters["raw_" + inUnit] = raw * inScale;
    ioState.counters["ratio"] = ours / raw;
  }
};

template <typename TAction>
double Seconds(TAction inAction) {
  auto const start = Clock::now();
  inAction();
  return std::chrono::duration<double>(Clock::now() - start).count();
}

void WalkAllCells(benchmark::State& ioState) {
  Cursor cursor("fetch_parquet", LUMORA_FLIGHTS_PATH);
  RawDatabase database;
  auto result = database.Run("SELECT * FROM " + Source());
  Pair pair;
  std::uint64_t cells = 0;
  for (auto _ : ioState) {
    std::uint64_t raw = 0;
    pair.mOurs.push_back(Seconds([&] { cells = cursor.Walk(); }));
    pair.mRaw.push_back(Seconds([&] { raw = WalkRaw(*result.ptr()); }));
    if (raw != cells) Stop("the two loops saw different cells");
  }
  ioState.counters["cells"] = static_cast<double>(cells);
  pair.Report(ioState, 1e9 / static_cast<double>(cells), "ns_per_cell");
}

// The raw side opens a database, too: what is over 1 is the procedure's own work.
void CountRows(benchmark::State& ioState) {
  Pair pair;
  std::vector<double> opening;
  std::string const sql = "SELECT count(*) AS count FROM " + Source();
  for (auto _ : ioState) {
    pair.mOurs.push_back(Seconds([&] { Cursor("parquet_count", LUMORA_FLIGHTS_PATH).Walk(); }));
    pair.mRaw.push_back(Seconds([&] {
      RawDatabase database;
      auto result = database.Run(sql);
      WalkRaw(*result.ptr());
    }));
    opening.push_back(Seconds([] { RawDatabase const database; }));
  }
  ioState.counters["opening_ms"] = Median(opening) * 1e3;
  pair.Report(ioState, 1e3, "ms");
}

BENCHMARK(WalkAllCells)->Unit(benchmark::kMillisecond)->Iterations(15);
BENCHMARK(CountRows)->Unit(benchmark::kMillisecond)->Iterations(40);

}  // namespace
