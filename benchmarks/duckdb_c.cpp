// The calls that complete DuckDB's C API, each on its own, beside DuckDB's own call where there is
// one to compare with. The private database's cost is in the counters of the first benchmark: what
// opening it takes (measured once, at its first use in the process) and the resident memory it
// adds.
#include <benchmark/benchmark.h>
#include <duckdb.h>

#include <chrono>
#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <string>

#include "duckdb_c/CellValues.h"
#include "duckdb_c/ColumnText.h"
#include "duckdb_c/Extraction.h"
#include "duckdb_c/SqlSplitter.h"
#include "duckdb_c/Types.h"
#include "duckdb_c/ValueText.h"
#include "duckdb_c/VariantReader.h"
#include "duckdb_c/duckdb_completion.h"

namespace {

using namespace lumora::duckdb_c;

double ResidentMegabytes() {
  std::ifstream status("/proc/self/statm");
  double total = 0;
  double resident = 0;
  status >> total >> resident;
  return resident * 4096 / 1e6;
}

struct Opening {
  double mMilliseconds = 0;
  double mMegabytes = 0;
};

// The first call that needs the private database.
Opening const& MeasureOpening() {
  static const Opening opening = [] {
    // DuckDB itself is warm: what is measured is one more database.
    DatabaseHandle warm;
    duckdb_open(nullptr, warm.out());
    const double before = ResidentMegabytes();
    const auto start = std::chrono::steady_clock::now();
    if (!MakeLogicalType(kTypeVariant)) throw std::runtime_error("no private database");
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    return Opening{took.count(), ResidentMegabytes() - before};
  }();
  return opening;
}

// One chunk of a query.
struct Chunk {
  DatabaseHandle mDatabase;
  ConnectionHandle mConnection;
  ResultHandle mResult;
  ChunkHandle mChunk;

  explicit Chunk(std::string const& inSql) {
    MeasureOpening();
    if (duckdb_open(nullptr, mDatabase.out()) != DuckDBSuccess ||
        duckdb_connect(mDatabase.get(), mConnection.out()) != DuckDBSuccess ||
        duckdb_query(mConnection.get(), inSql.c_str(), mResult.out()) != DuckDBSuccess) {
      throw std::runtime_error(inSql);
    }
    mChunk = ChunkHandle(duckdb_fetch_chunk(mResult.get()));
  }
  idx_t get_Size() const { return duckdb_data_chunk_get_size(mChunk.get()); }
  duckdb_vector get_Vector() const { return duckdb_data_chunk_get_vector(mChunk.get(), 0); }
};

void OpenPrivateDatabase(benchmark::State& ioState) {
  Opening const& opening = MeasureOpening();
  for (auto _ : ioState) {
    // What follows the opening: a connection out of the pool and back.
    benchmark::DoNotOptimize(MakeLogicalType(kTypeVariant).get());
  }
  ioState.counters["open_ms"] = opening.mMilliseconds;
  ioState.counters["resident_MB"] = opening.mMegabytes;
}
BENCHMARK(OpenPrivateDatabase);

void CastText(benchmark::State& ioState, char const* inText, TypeId inType) {
  MeasureOpening();
  const ValueHandle text(duckdb_create_varchar(inText));
  const LogicalTypeHandle type = MakeLogicalType(inType);
  for (auto _ : ioState) {
    const ValueHandle value(duckdb_cast_value(text.get(), type.get(), nullptr));
    if (!value) ioState.SkipWithError("the cast failed");
  }
}
BENCHMARK_CAPTURE(CastText, Hugeint, "170141183460469231731687303715884105727",
                  DUCKDB_TYPE_HUGEINT);
BENCHMARK_CAPTURE(CastText, Uuid, "00000000-0000-0000-8000-000000000001", DUCKDB_TYPE_UUID);
BENCHMARK_CAPTURE(CastText, TimestampTz, "2020-01-01 12:00:00+02", DUCKDB_TYPE_TIMESTAMP_TZ);
BENCHMARK_CAPTURE(CastText, Geometry, "POINT (1 2)", kTypeGeometry);
BENCHMARK_CAPTURE(CastText, Variant, "text", kTypeVariant);

void CellValue(benchmark::State& ioState, char const* inSql) {
  const Chunk chunk(inSql);
  const idx_t size = chunk.get_Size();
  idx_t row = 0;
  for (auto _ : ioState) {
    const ValueHandle value(duckdb_data_chunk_get_value(chunk.mChunk.get(), 0, row++ % size));
    if (!value) ioState.SkipWithError("there is no value");
  }
}
BENCHMARK_CAPTURE(CellValue, Integer, "SELECT i::INTEGER FROM range(2000) t(i)");
BENCHMARK_CAPTURE(CellValue, Varchar, "SELECT 'text ' || i FROM range(2000) t(i)");
BENCHMARK_CAPTURE(CellValue, Null, "SELECT NULL::INTEGER FROM range(2000) t(i)");
BENCHMARK_CAPTURE(CellValue, ListOf10, "SELECT range(10) FROM range(2000)");
BENCHMARK_CAPTURE(CellValue, Struct, "SELECT {'a': i, 'b': 'x'} FROM range(2000) t(i)");
BENCHMARK_CAPTURE(CellValue, Variant, "SELECT i::VARIANT FROM range(2000) t(i)");

void TextOfValue(benchmark::State& ioState, bool inOurs) {
  const Chunk chunk("SELECT 'a text of some length ' || i FROM range(2000) t(i)");
  const ValueHandle value(duckdb_data_chunk_get_value(chunk.mChunk.get(), 0, 0));
  for (auto _ : ioState) {
    if (inOurs) {
      benchmark::DoNotOptimize(GetValueText(value.get()));
    } else {
      benchmark::DoNotOptimize(TextHandle(duckdb_get_varchar(value.get())).get());
    }
  }
}
BENCHMARK_CAPTURE(TextOfValue, GetValueText, true);
BENCHMARK_CAPTURE(TextOfValue, DuckDBsGetVarchar, false);

void TypeText(benchmark::State& ioState, char const* inSql) {
  const Chunk chunk(inSql);
  const LogicalTypeHandle type(duckdb_vector_get_column_type(chunk.get_Vector()));
  for (auto _ : ioState) {
    if (!TextHandle(duckdb_logical_type_to_string(type.get()))) ioState.SkipWithError("no text");
  }
}
BENCHMARK_CAPTURE(TypeText, Integer, "SELECT 1");
BENCHMARK_CAPTURE(TypeText, Nested, "SELECT {'a': [1], 'select': MAP {'k': 1.5}}");
BENCHMARK_CAPTURE(TypeText, Geometry, "SELECT 'POINT (1 2)'::GEOMETRY");

constexpr char const* kVariants =
    "SELECT CASE i % 3 WHEN 0 THEN i::VARIANT WHEN 1 THEN ('text ' || i)::VARIANT ELSE "
    "{'i': i}::VARIANT END FROM range(2048) t(i)";

void RenderChunk(benchmark::State& ioState, char const* inSql, Rendering inRendering) {
  const Chunk chunk(inSql);
  for (auto _ : ioState) {
    const ColumnText text = RenderColumn(chunk.get_Vector(), chunk.get_Size(), inRendering);
    if (!text) ioState.SkipWithError("not rendered");
  }
  ioState.SetItemsProcessed(ioState.iterations() * static_cast<std::int64_t>(chunk.get_Size()));
}
BENCHMARK_CAPTURE(RenderChunk, VariantText, kVariants, Rendering::kText);
BENCHMARK_CAPTURE(RenderChunk, VariantJson, kVariants, Rendering::kJson);
BENCHMARK_CAPTURE(RenderChunk, Lists, "SELECT range(5) FROM range(2048)", Rendering::kText);
BENCHMARK_CAPTURE(RenderChunk, OneRow, "SELECT 1::VARIANT", Rendering::kText);

void ReadVariants(benchmark::State& ioState) {
  const Chunk chunk(kVariants);
  const idx_t size = chunk.get_Size();
  for (auto _ : ioState) {
    const VariantReader reader(chunk.get_Vector(), size);
    for (idx_t row = 0; row < size; ++row) benchmark::DoNotOptimize(reader.Read(row));
  }
  ioState.SetItemsProcessed(ioState.iterations() * static_cast<std::int64_t>(size));
}
BENCHMARK(ReadVariants);

void VariantTypeAndChild(benchmark::State& ioState, char const* inSql) {
  const Chunk chunk(inSql);
  const ValueHandle value(duckdb_data_chunk_get_value(chunk.mChunk.get(), 0, 0));
  for (auto _ : ioState) {
    benchmark::DoNotOptimize(duckdb_value_variant_type(value.get()));
    const ValueHandle child(duckdb_value_variant_child(value.get()));
    if (!child) ioState.SkipWithError("there is no child");
  }
}
BENCHMARK_CAPTURE(VariantTypeAndChild, Integer, "SELECT 1::VARIANT");
BENCHMARK_CAPTURE(VariantTypeAndChild, Object, "SELECT {'a': 1}::VARIANT");

std::string Script() {
  std::string script;
  for (int index = 0; index < 100; ++index) {
    script +=
        "INSERT INTO t VALUES (" + std::to_string(index) + ", 'it''s; a text', $$x;y$$); -- z\n";
  }
  return script;
}

void Split(benchmark::State& ioState) {
  const std::string script = Script();
  for (auto _ : ioState) benchmark::DoNotOptimize(SplitSql(script));
  ioState.SetBytesProcessed(ioState.iterations() * static_cast<std::int64_t>(script.size()));
}
BENCHMARK(Split);

void Extract(benchmark::State& ioState, bool inOurs) {
  const Chunk chunk("SELECT 1");
  const std::string script = Script();
  for (auto _ : ioState) {
    if (inOurs) {
      benchmark::DoNotOptimize(ExtractStatements(chunk.mConnection.get(), script).mCount);
    } else {
      ExtractedHandle extracted;
      benchmark::DoNotOptimize(
          duckdb_extract_statements(chunk.mConnection.get(), script.c_str(), extracted.out()));
    }
  }
}
BENCHMARK_CAPTURE(Extract, WithTexts, true);
BENCHMARK_CAPTURE(Extract, DuckDBAlone, false);

}  // namespace
