#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <sys/resource.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "database/DuckDBDatabase.h"
#include "duckdb_c/Handles.h"
#include "tarn/Exceptions.h"
#include "tarn/Value.h"

// Rows of six parameters into a table: through a statement's parameter rows, by DuckDB's C calls
// (one execution a row, and the appender), and by sqlite3's. All ways of one setting run one after
// the other, the fastest of three; the figures are nanoseconds a row.
namespace {

using namespace tarn;
using namespace tarn::lsql;
using lumora::duckdb_c::AppenderHandle;
using lumora::duckdb_c::PreparedHandle;
using lumora::duckdb_c::ResultHandle;
using Clock = std::chrono::steady_clock;

constexpr char kTable[] =
    "CREATE OR REPLACE TABLE r(i INTEGER, b BIGINT, d DOUBLE, s VARCHAR, t DATE, f BOOLEAN)";
constexpr char kInsert[] = "INSERT INTO r VALUES (?, ?, ?, ?, ?, ?)";

void Check(bool inIsDone) {
  if (!inIsDone) throw std::runtime_error("a call failed");
}
void Check(duckdb_state inState) { Check(inState == DuckDBSuccess); }

// One cell of twenty in each column: 5 %.
bool IsNull(std::uint32_t inRow, std::uint32_t inColumn) {
  return (inRow + inColumn * 7) % 20 == 0;
}
std::string TextOf(std::uint32_t inRow) { return "text " + std::to_string(inRow % 1000); }
// Days since 1970.
std::int32_t DayOf(std::uint32_t inRow) { return static_cast<std::int32_t>(10957 + inRow % 28); }

// --- the rows as a host has them
// --------------------------------------------------------------------

using ValuePtr = smart_ptr<I_Value>;

ValuePtr Made(I_Value* inValue, std::function<void(I_Value&)> const& inPut) {
  ValuePtr value(inValue);
  inPut(*value);
  return value;
}

smart_ptr<ValueRow> MakeRow(std::uint32_t inRow) {
  smart_ptr<ValueRow> row(new ValueRow);
  row->Append(Made(CreateValueLong(true, nullptr, nullptr),
                   [&](I_Value& outValue) { outValue.put_LLong(inRow); }));
  row->Append(Made(CreateValueLLong(true, nullptr, nullptr),
                   [&](I_Value& outValue) { outValue.put_LLong(inRow * 3LL); }));
  row->Append(Made(CreateValueDouble(true, nullptr, nullptr),
                   [&](I_Value& outValue) { outValue.put_Double(inRow / 3.0); }));
  row->Append(Made(CreateValueString(true, nullptr, nullptr),
                   [&](I_Value& outValue) { outValue.put_String(String(TextOf(inRow).c_str())); }));
  row->Append(Made(CreateValueDate(true, nullptr, nullptr), [&](I_Value& outValue) {
    query_interface<I_ValueDate>(&outValue, kIID_ValueDate)
        ->put_Date(2000, 1, static_cast<std::int16_t>(1 + inRow % 28));
  }));
  row->Append(Made(CreateValueBoolean(true, nullptr, nullptr),
                   [&](I_Value& outValue) { outValue.put_Boolean(inRow % 2 == 0); }));
  for (std::uint32_t i = 0; i < 6; ++i) {
    if (IsNull(inRow, i)) row->get_Item(i)->put_IsNull(true);
  }
  return row;
}

// The same inDistinct rows again and again, so that ten million fit into memory.
smart_ptr<ValueRows> MakeRows(std::uint32_t inCount, std::uint32_t inDistinct) {
  std::vector<smart_ptr<ValueRow>> distinct;
  for (std::uint32_t i = 0; i < inDistinct; ++i) distinct.push_back(MakeRow(i));
  smart_ptr<ValueRows> rows(new ValueRows(inCount));
  for (std::uint32_t i = 0; i < inCount; ++i) rows->Append(distinct[i % inDistinct]);
  return rows;
}

// --- where they go
// ----------------------------------------------------------------------------------

std::string PathOf(bool inIsFile, char const* inName) {
  return inIsFile ? (std::filesystem::temp_directory_path() / inName).string() : ":memory:";
}
void RemoveFiles(std::string const& inPath) {
  if (inPath == ":memory:") return;
  for (char const* const suffix : {"", ".wal", "-journal"}) {
    std::filesystem::remove(inPath + suffix);
  }
}

class Duck {
 public:
  explicit Duck(bool inIsFile)
      : mPath(PathOf(inIsFile, "bench_rows.duckdb")),
        mDatabase(new DuckDBDatabase(CreateLocation(String(mPath.c_str())))) {
    mDatabase->Create();
  }
  ~Duck() {
    mDatabase->Close();
    RemoveFiles(mPath);
  }
  Duck(Duck const&) = delete;
  Duck& operator=(Duck const&) = delete;

  duckdb_connection Raw() const { return mDatabase->get_Connection()->get(); }
  void Sql(char const* inSql) const { mDatabase->ExecuteSQL(String(inSql), nullptr); }
  void Ours(smart_ptr<ValueRows> const& inRows) const {
    auto const statement = mDatabase->CreateStatement(String(kInsert));
    statement->PrepareNext();
    statement->BindParameterRows(inRows);
    statement->Execute();
  }

 private:
  std::string const mPath;
  smart_ptr<DuckDBDatabase> mDatabase;
};

void BindRow(duckdb_prepared_statement inPrepared, std::uint32_t inRow) {
  std::string const text = TextOf(inRow);
  auto const bind = [&](std::uint32_t inColumn, auto inBind) {
    Check(IsNull(inRow, inColumn) ? duckdb_bind_null(inPrepared, inColumn + 1) : inBind());
  };
  bind(0, [&] { return duckdb_bind_int32(inPrepared, 1, static_cast<std::int32_t>(inRow)); });
  bind(1, [&] { return duckdb_bind_int64(inPrepared, 2, inRow * 3LL); });
  bind(2, [&] { return duckdb_bind_double(inPrepared, 3, inRow / 3.0); });
  bind(3, [&] { return duckdb_bind_varchar_length(inPrepared, 4, text.data(), text.size()); });
  bind(4, [&] { return duckdb_bind_date(inPrepared, 5, duckdb_date{DayOf(inRow)}); });
  bind(5, [&] { return duckdb_bind_boolean(inPrepared, 6, inRow % 2 == 0); });
}

void RawExecutions(duckdb_connection inConnection, std::uint32_t inCount) {
  PreparedHandle prepared;
  Check(duckdb_prepare(inConnection, kInsert, prepared.out()));
  for (std::uint32_t row = 0; row < inCount; ++row) {
    BindRow(prepared.get(), row);
    ResultHandle result;
    Check(duckdb_execute_prepared(prepared.get(), result.out()));
  }
}

void RawAppender(duckdb_connection inConnection, std::uint32_t inCount) {
  AppenderHandle appender;
  Check(duckdb_appender_create(inConnection, nullptr, "r", appender.out()));
  duckdb_appender const to = appender.get();
  for (std::uint32_t row = 0; row < inCount; ++row) {
    std::string const text = TextOf(row);
    auto const append = [&](std::uint32_t inColumn, auto inAppend) {
      Check(IsNull(row, inColumn) ? duckdb_append_null(to) : inAppend());
    };
    append(0, [&] { return duckdb_append_int32(to, static_cast<std::int32_t>(row)); });
    append(1, [&] { return duckdb_append_int64(to, row * 3LL); });
    append(2, [&] { return duckdb_append_double(to, row / 3.0); });
    append(3, [&] { return duckdb_append_varchar_length(to, text.data(), text.size()); });
    append(4, [&] { return duckdb_append_date(to, duckdb_date{DayOf(row)}); });
    append(5, [&] { return duckdb_append_bool(to, row % 2 == 0); });
    Check(duckdb_appender_end_row(to));
  }
  Check(duckdb_appender_close(to));
}

class Sqlite {
 public:
  explicit Sqlite(bool inIsFile) : mPath(PathOf(inIsFile, "bench_rows.sqlite")) {
    Check(sqlite3_open(mPath.c_str(), &mDatabase) == SQLITE_OK);
  }
  ~Sqlite() {
    sqlite3_close(mDatabase);
    RemoveFiles(mPath);
  }
  Sqlite(Sqlite const&) = delete;
  Sqlite& operator=(Sqlite const&) = delete;

  void Sql(char const* inSql) {
    Check(sqlite3_exec(mDatabase, inSql, nullptr, nullptr, nullptr) == SQLITE_OK);
  }
  void Insert(std::uint32_t inCount) {
    sqlite3_stmt* insert = nullptr;
    Check(sqlite3_prepare_v2(mDatabase, kInsert, -1, &insert, nullptr) == SQLITE_OK);
    for (std::uint32_t row = 0; row < inCount; ++row) {
      std::string const text = TextOf(row);
      sqlite3_bind_int(insert, 1, static_cast<int>(row));
      sqlite3_bind_int64(insert, 2, row * 3LL);
      sqlite3_bind_double(insert, 3, row / 3.0);
      sqlite3_bind_text(insert, 4, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
      sqlite3_bind_int(insert, 5, DayOf(row));
      sqlite3_bind_int(insert, 6, row % 2 == 0);
      for (int i = 0; i < 6; ++i) {
        if (IsNull(row, static_cast<std::uint32_t>(i))) sqlite3_bind_null(insert, i + 1);
      }
      Check(sqlite3_step(insert) == SQLITE_DONE);
      sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
  }

 private:
  std::string const mPath;
  sqlite3* mDatabase = nullptr;
};

// --- measuring
// --------------------------------------------------------------------------------------

double Seconds(std::function<void()> const& inRun) {
  auto const start = Clock::now();
  inRun();
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// The fastest of some runs, each into an empty table.
double Best(int inTimes, Duck const& inDuck, bool inTransaction, std::function<void()> const& inRun,
            char const* inTable = kTable) {
  double best = 1e9;
  for (int i = 0; i < inTimes; ++i) {
    inDuck.Sql(inTable);
    if (inTransaction) inDuck.Sql("BEGIN");
    best = std::min(best, Seconds([&] {
                      inRun();
                      if (inTransaction) inDuck.Sql("COMMIT");
                    }));
  }
  return best;
}

double BestOfSqlite(int inTimes, bool inIsFile, std::uint32_t inCount) {
  Sqlite sqlite(inIsFile);
  double best = 1e9;
  for (int i = 0; i < inTimes; ++i) {
    sqlite.Sql("DROP TABLE IF EXISTS r");
    sqlite.Sql("CREATE TABLE r(i INTEGER, b BIGINT, d DOUBLE, s VARCHAR, t DATE, f BOOLEAN)");
    sqlite.Sql("BEGIN");
    best = std::min(best, Seconds([&] {
                      sqlite.Insert(inCount);
                      sqlite.Sql("COMMIT");
                    }));
  }
  return best;
}

constexpr std::uint32_t kRows = 100000;
// What an execution costs does not depend on how many there are; all of them would take minutes.
constexpr std::uint32_t kExecutions = 5000;

void BM_SixParameters(benchmark::State& ioState) {
  bool const isFile = ioState.range(0) != 0;
  bool const isTransaction = ioState.range(1) != 0;
  Duck const duck(isFile);
  auto const rows = MakeRows(kRows, kRows);
  for (auto _ : ioState) {
    double const ours = Best(3, duck, isTransaction, [&] { duck.Ours(rows); }) / kRows;
    double const appender =
        Best(3, duck, isTransaction, [&] { RawAppender(duck.Raw(), kRows); }) / kRows;
    double const sqlite = BestOfSqlite(3, isFile, kRows) / kRows;
    double const single =
        Best(1, duck, isTransaction, [&] { RawExecutions(duck.Raw(), kExecutions); }) / kExecutions;
    ioState.counters["ours_ns"] = ours * 1e9;
    ioState.counters["executions_ns"] = single * 1e9;
    ioState.counters["appender_ns"] = appender * 1e9;
    ioState.counters["sqlite_ns"] = sqlite * 1e9;
    ioState.counters["times_executions"] = single / ours;
    ioState.counters["of_appender"] = ours / appender;
    ioState.counters["of_sqlite"] = ours / sqlite;
  }
}
BENCHMARK(BM_SixParameters)
    ->ArgNames({"file", "transaction"})
    ->Args({0, 0})
    ->Args({0, 1})
    ->Args({1, 0})
    ->Args({1, 1})
    ->Unit(benchmark::kSecond)
    ->Iterations(1);

double PeakMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024;
}

// Run one size a process to see what memory the run itself takes: DuckDB's table is in the file,
// and DuckDB may keep 100 MB.
void BM_BySize(benchmark::State& ioState) {
  auto const count = static_cast<std::uint32_t>(ioState.range(0));
  Duck const duck(true);
  duck.Sql("SET memory_limit = '100MB'");
  auto const rows = MakeRows(count, 1000);
  double const before = PeakMegabytes();
  for (auto _ : ioState) {
    int const times = count < 1000000 ? 5 : 1;
    ioState.counters["ns"] =
        Best(times, duck, false, [&] { duck.Ours(rows); }) / static_cast<double>(count) * 1e9;
  }
  ioState.counters["peak_MB_more"] = PeakMegabytes() - before;
}
BENCHMARK(BM_BySize)
    ->RangeMultiplier(10)
    ->Range(1000, 10000000)
    ->Unit(benchmark::kSecond)
    ->Iterations(1);

// The last row but one of a million is refused by a check, after its batch was tried as a whole.
void BM_FailingRowAtTheEnd(benchmark::State& ioState) {
  constexpr std::uint32_t kMany = 1000000;
  constexpr char kChecked[] =
      "CREATE OR REPLACE TABLE r(i INTEGER CHECK (i >= 0), b BIGINT, d DOUBLE, s VARCHAR, t DATE, "
      "f BOOLEAN)";
  Duck const duck(false);
  auto const good = MakeRows(kMany, 1000);
  auto const bad = MakeRows(kMany, 1000);
  smart_ptr<ValueRow> const refused = MakeRow(1);
  refused->get_Item(0)->put_LLong(-1);
  bad->RemoveAt(kMany);
  bad->RemoveAt(kMany - 1);
  bad->Append(refused);
  bad->Append(MakeRow(1));
  for (auto _ : ioState) {
    double const all = Best(
        3, duck, false, [&] { duck.Ours(good); }, kChecked);
    double const failed = Best(
        3, duck, false,
        [&] {
          try {
            duck.Ours(bad);
          } catch (xException const&) {
            return;
          }
          throw std::runtime_error("it did not fail");
        },
        kChecked);
    ioState.counters["all_ms"] = all * 1e3;
    ioState.counters["failing_ms"] = failed * 1e3;
    ioState.counters["batches_more"] = (failed - all) / all * kMany / 122880;
  }
}
BENCHMARK(BM_FailingRowAtTheEnd)->Unit(benchmark::kSecond)->Iterations(1);

}  // namespace
