#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "database/DuckDBDatabase.h"
#include "duckdb_c/Handles.h"
#include "tarn/Value.h"

// What statements, bindings and scripts cost beyond the raw C calls that do the same. Each
// benchmark runs both sides in turns and reports microseconds for one unit of each and their ratio.
namespace {

using namespace tarn;
using namespace tarn::lsql;
using lumora::duckdb_c::ChunkHandle;
using lumora::duckdb_c::ExtractedHandle;
using lumora::duckdb_c::PreparedHandle;
using lumora::duckdb_c::ResultHandle;
using Clock = std::chrono::steady_clock;

void Check(duckdb_state inState) {
  if (inState != DuckDBSuccess) throw std::runtime_error("a DuckDB call failed");
}

class Fixture {
 public:
  explicit Fixture(std::string const& inPath = ":memory:")
      : mPath(inPath), mDatabase(new DuckDBDatabase(CreateLocation(String(inPath.c_str())))) {
    mDatabase->Create();
  }
  ~Fixture() {
    mDatabase->Close();
    if (mPath != ":memory:") std::filesystem::remove(mPath);
  }
  Fixture(Fixture const&) = delete;
  Fixture& operator=(Fixture const&) = delete;

  DuckDBDatabase& operator*() const { return *mDatabase; }
  DuckDBDatabase* operator->() const { return mDatabase.get(); }
  duckdb_connection Raw() const { return mDatabase->get_Connection()->get(); }
  void Sql(std::string const& inSql) const {
    mDatabase->ExecuteSQL(String(inSql.c_str()), nullptr);
  }

 private:
  std::string mPath;
  smart_ptr<DuckDBDatabase> mDatabase;
};

// Time on the clock, and of the processors, which other programs on the machine disturb less.
struct Side {
  std::function<void()> mRun;
  std::vector<double> mWall = {};
  std::vector<double> mCpu = {};

  void RunOnce() {
    auto const wall = Clock::now();
    std::clock_t const cpu = std::clock();
    mRun();
    mCpu.push_back(static_cast<double>(std::clock() - cpu) / CLOCKS_PER_SEC);
    mWall.push_back(std::chrono::duration<double>(Clock::now() - wall).count());
  }
};

double MedianOf(std::vector<double>& ioSeconds) {
  auto const middle = ioSeconds.begin() + static_cast<std::ptrdiff_t>(ioSeconds.size() / 2);
  std::nth_element(ioSeconds.begin(), middle, ioSeconds.end());
  return *middle;
}

// Runs both sides in turns, each first in every second round, so that what the machine does besides
// hits both. Medians.
void Compare(benchmark::State& ioState, std::function<void()> const& inRaw,
             std::function<void()> const& inOurs, double inUnits) {
  inRaw();
  inOurs();
  Side raw{inRaw};
  Side ours{inOurs};
  for (auto _ : ioState) {
    bool const rawFirst = raw.mWall.size() % 2 == 0;
    (rawFirst ? raw : ours).RunOnce();
    (rawFirst ? ours : raw).RunOnce();
  }
  ioState.counters["raw_us"] = MedianOf(raw.mWall) / inUnits * 1e6;
  ioState.counters["ours_us"] = MedianOf(ours.mWall) / inUnits * 1e6;
  ioState.counters["ratio"] = MedianOf(ours.mWall) / MedianOf(raw.mWall);
  ioState.counters["cpu_ratio"] = MedianOf(ours.mCpu) / MedianOf(raw.mCpu);
}

// --- one row by its key
// -----------------------------------------------------------------------------

constexpr char kPointQuery[] = "SELECT * FROM p WHERE id = 4711";

void RawPointQuery(duckdb_connection inConnection) {
  ExtractedHandle extracted;
  if (duckdb_extract_statements(inConnection, kPointQuery, extracted.out()) != 1) {
    throw std::runtime_error("not one statement");
  }
  PreparedHandle prepared;
  Check(duckdb_prepare_extracted_statement(inConnection, extracted.get(), 0, prepared.out()));
  ResultHandle result;
  Check(duckdb_execute_prepared(prepared.get(), result.out()));
  idx_t const columns = duckdb_column_count(result.ptr());
  for (idx_t i = 0; i < columns; ++i) {
    benchmark::DoNotOptimize(duckdb_column_name(result.ptr(), i));
    benchmark::DoNotOptimize(duckdb_column_type(result.ptr(), i));
    lumora::duckdb_c::LogicalTypeHandle const type(duckdb_column_logical_type(result.ptr(), i));
    benchmark::DoNotOptimize(type.get());
  }
  while (ChunkHandle const chunk{duckdb_fetch_chunk(result.get())}) {
    for (idx_t i = 0; i < columns; ++i) {
      duckdb_vector const vector = duckdb_data_chunk_get_vector(chunk.get(), i);
      benchmark::DoNotOptimize(duckdb_vector_get_data(vector));
      benchmark::DoNotOptimize(duckdb_vector_get_validity(vector));
    }
  }
}

void BM_PointQuery(benchmark::State& ioState) {
  Fixture const database;
  database.Sql(
      "CREATE TABLE p(id INTEGER PRIMARY KEY, n BIGINT, d DOUBLE, s VARCHAR, t DATE, b BOOLEAN);"
      "INSERT INTO p SELECT range, range * 2, range / 3, 'text ' || range, DATE '2000-01-01', "
      "range % 2 = 0 FROM range(100000)");
  String const sql(kPointQuery);
  Compare(
      ioState, [&] { RawPointQuery(database.Raw()); },
      [&] {
        auto const cursor = database->ExecuteQuery(sql, kCursorClient, nullptr);
        if (!cursor->NextRecord()) throw std::runtime_error("no row");
        for (std::uint32_t i = 0; i < 6; ++i) benchmark::DoNotOptimize(cursor->get_Value(i).get());
      },
      1);
}
BENCHMARK(BM_PointQuery)->Unit(benchmark::kMicrosecond)->MinTime(2);

// --- rows of parameters
// -----------------------------------------------------------------------------

// The literal keeps the rows from going as chunks: here each is bound and executed. bench_rows has
// the chunks.
constexpr char kColumns[] =
    "(i INTEGER, b BIGINT, d DOUBLE, s VARCHAR, t DATE, f BOOLEAN, one INTEGER)";
constexpr char kInsert[] = "INSERT INTO r VALUES (?, ?, ?, ?, ?, ?, 1)";

enum Variant : std::int64_t { kPlain, kNulls, kOtherWidths };

void RawRows(duckdb_connection inConnection, std::uint32_t inCount) {
  PreparedHandle prepared;
  Check(duckdb_prepare(inConnection, kInsert, prepared.out()));
  for (std::uint32_t row = 0; row < inCount; ++row) {
    auto const number = static_cast<std::int32_t>(row);
    duckdb_bind_int32(prepared.get(), 1, number);
    duckdb_bind_int64(prepared.get(), 2, number);
    duckdb_bind_double(prepared.get(), 3, number);
    duckdb_bind_varchar_length(prepared.get(), 4, "some text", 9);
    duckdb_bind_date(prepared.get(), 5, duckdb_date{number});
    duckdb_bind_boolean(prepared.get(), 6, true);
    ResultHandle result;
    Check(duckdb_execute_prepared(prepared.get(), result.out()));
  }
}

using ValuePtr = smart_ptr<I_Value>;

ValuePtr MakeNumber(std::uint32_t inNumber, bool inIsWide) {
  ValuePtr value(inIsWide ? CreateValueLLong(true, nullptr, nullptr)
                          : CreateValueLong(true, nullptr, nullptr));
  value->put_LLong(inNumber);
  return value;
}

smart_ptr<ValueRow> MakeRow(std::uint32_t inNumber, Variant inVariant) {
  smart_ptr<ValueRow> row(new ValueRow);
  row->Append(MakeNumber(inNumber, inVariant == kOtherWidths));
  row->Append(MakeNumber(inNumber, inVariant != kOtherWidths));
  ValuePtr real(CreateValueDouble(true, nullptr, nullptr));
  real->put_Double(inNumber);
  row->Append(real);
  ValuePtr text(CreateValueString(true, nullptr, nullptr));
  text->put_String(String("some text"));
  row->Append(text);
  ValuePtr date(CreateValueDate(true, nullptr, nullptr));
  query_interface<I_ValueDate>(date.get(), kIID_ValueDate)
      ->put_Date(2000, static_cast<std::int16_t>(inNumber % 12 + 1), 15);
  row->Append(date);
  ValuePtr flag(CreateValueBoolean(true, nullptr, nullptr));
  flag->put_Boolean(true);
  row->Append(flag);
  if (inVariant == kNulls && inNumber % 2 == 1) {
    for (std::uint32_t i = 0; i < row->get_Count(); ++i) row->get_Item(i)->put_IsNull(true);
  }
  return row;
}

smart_ptr<ValueRows> MakeRows(std::uint32_t inCount, Variant inVariant) {
  smart_ptr<ValueRows> rows(new ValueRows(inCount));
  for (std::uint32_t i = 0; i < inCount; ++i) rows->Append(MakeRow(i, inVariant));
  return rows;
}

void OurRows(Fixture const& inDatabase, smart_ptr<ValueRows> const& inRows) {
  auto const statement = inDatabase->CreateStatement(String(kInsert));
  statement->PrepareNext();
  statement->BindParameterRows(inRows);
  statement->Execute();
}

void RunRows(benchmark::State& ioState, Fixture const& inDatabase, bool inTransaction) {
  auto const count = static_cast<std::uint32_t>(ioState.range(0));
  auto const rows = MakeRows(count, static_cast<Variant>(ioState.range(1)));
  auto const around = [&](std::function<void()> const& inRun) {
    inDatabase.Sql(std::string("CREATE OR REPLACE TABLE r") + kColumns);
    if (inTransaction) inDatabase.Sql("BEGIN");
    inRun();
    if (inTransaction) inDatabase.Sql("COMMIT");
  };
  Compare(
      ioState, [&] { around([&] { RawRows(inDatabase.Raw(), count); }); },
      [&] { around([&] { OurRows(inDatabase, rows); }); }, count);
}

void BM_RowsInMemory(benchmark::State& ioState) {
  Fixture const database;
  RunRows(ioState, database, false);
}
BENCHMARK(BM_RowsInMemory)
    ->Args({10000, kPlain})
    ->Args({10000, kNulls})
    ->Args({10000, kOtherWidths})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(10);

void BM_RowsInATransactionOnAFile(benchmark::State& ioState) {
  auto const path = std::filesystem::temp_directory_path() / "bench_statement.duckdb";
  Fixture const database(path.string());
  RunRows(ioState, database, true);
}
BENCHMARK(BM_RowsInATransactionOnAFile)
    ->Args({10000, kPlain})
    ->Args({10000, kNulls})
    ->Args({10000, kOtherWidths})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(10);

// Ours alone; the rest of a larger number of rows is more of the same.
void BM_RowsBySize(benchmark::State& ioState) {
  Fixture const database;
  auto const count = static_cast<std::uint32_t>(ioState.range(0));
  auto const rows = MakeRows(count, kPlain);
  std::clock_t cpu = 0;
  for (auto _ : ioState) {
    database.Sql(std::string("CREATE OR REPLACE TABLE r") + kColumns);
    std::clock_t const start = std::clock();
    OurRows(database, rows);
    cpu += std::clock() - start;
  }
  ioState.counters["cpu_us"] =
      static_cast<double>(cpu) / CLOCKS_PER_SEC /
      (static_cast<double>(ioState.iterations()) * static_cast<double>(count)) * 1e6;
}
BENCHMARK(BM_RowsBySize)->Arg(1000)->Unit(benchmark::kMillisecond)->Iterations(100);
BENCHMARK(BM_RowsBySize)->Arg(10000)->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(BM_RowsBySize)->Arg(100000)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_RowsBySize)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(1);

// --- a script
// ---------------------------------------------------------------------------------------

void BM_Script(benchmark::State& ioState) {
  Fixture const database;
  database.Sql("CREATE TABLE s(i INTEGER, t VARCHAR)");
  std::string script;
  for (int i = 0; i < 10000; ++i) {
    script += "INSERT INTO s VALUES (" + std::to_string(i) + ", 'some text');\n";
  }
  Compare(
      ioState,
      [&] {
        ResultHandle result;
        Check(duckdb_query(database.Raw(), script.c_str(), result.out()));
      },
      [&] { database.Sql(script); }, 10000);
}
BENCHMARK(BM_Script)->Unit(benchmark::kMillisecond)->Iterations(9);

}  // namespace
