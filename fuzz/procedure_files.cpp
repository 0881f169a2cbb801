// Parquet files and databases with some bytes changed, read by the procedures and opened as
// databases: a cursor or one error, cells that lie in memory, and nothing of DuckDB's left behind.
// What stands in such a file is read by DuckDB: a crash inside of it is DuckDB's own.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "support/DuckDBCalls.h"
#include "support/Input.h"
#include "support/ProcedureCalls.h"
#include "tarn/tarn.h"

namespace {

using namespace lumora::test;
using lumora::fuzz::Input;
using lumora::fuzz::Require;

struct Base {
  char const* mName;
  std::string mBytes;
};

// The files that are changed, made once.
struct Bases {
  Bases() {
    char const* const flat =
        "SELECT i, i::VARCHAR AS s, i / 4.0 AS d, DATE '2024-01-01' + i::INTEGER AS day FROM "
        "range(50) r(i)";
    char const* const nested =
        "SELECT [i, NULL] AS l, {'a': i, 'b': 'x'} AS r, i::DECIMAL(30, 3) AS n, "
        "'\\x00\\xFF'::BLOB AS b, TIMESTAMP '2024-01-01' AS t, i % 2 = 0 AS f FROM range(20) r(i)";
    Write(0, std::string("COPY (") + flat + ") TO " + Quoted(mFolder.At("file")) +
                 " (FORMAT parquet, COMPRESSION uncompressed)");
    Write(1, std::string("COPY (") + nested + ") TO " + Quoted(mFolder.At("file")) +
                 " (FORMAT parquet)");
    Write(2, "ATTACH " + Quoted(mFolder.At("file")) +
                 " AS a (BLOCK_SIZE 16384); CREATE TABLE a.t AS " + flat + "; DETACH a");
  }
  void Write(std::size_t inIndex, std::string const& inScript) {
    Oracle().Run(inScript);
    mFiles[inIndex].mBytes = mFolder.Read("file");
    std::filesystem::remove(mFolder.At("file"));
  }
  TempFolder mFolder;
  std::array<Base, 3> mFiles{Base{"f.parquet", {}}, Base{"f.parquet", {}}, Base{"f.db", {}}};
};

void Change(std::string& ioBytes, Input& ioInput) {
  for (int i = 0; i < 20 && !ioInput.get_IsEmpty() && !ioBytes.empty(); ++i) {
    std::size_t const what = ioInput.TakeBelow(8);
    std::size_t const distance = ioInput.Take<std::uint16_t>() % ioBytes.size();
    // What describes a Parquet file stands at its end, a database's at its beginning.
    std::size_t const place = what % 2 == 0 ? distance : ioBytes.size() - 1 - distance;
    if (what < 6) {
      std::string const bytes = ioInput.TakeBytes(8);
      std::size_t const size = std::min(bytes.size(), ioBytes.size() - place);
      ioBytes.replace(place, size, bytes, 0, size);
    } else if (what == 6) {
      ioBytes.resize(place);
    } else {
      ioBytes.insert(place, ioInput.TakeBytes(40));
    }
  }
}

void Walk(HostCursor& ioCursor) {
  std::int64_t rows = 0;
  for (; rows < 1000 && ioCursor.Next(); ++rows) {
    for (std::size_t i = 0; i < ioCursor.get_Names().size(); ++i) {
      (void)TextOf(ioCursor.Get(static_cast<std::int32_t>(i)));
    }
  }
  Require(rows == std::min<std::int64_t>(ioCursor.get_RowCount(), 1000), "the count of rows");
}

void CallOn(char const* inName, std::vector<ValuePtr> const& inArguments) {
  auto const outcome = CallProcedure(LoadedProcedures::Instance().Find(inName), inArguments);
  Require(outcome.mErrors.size() == (outcome.mCursor ? 0U : 1U), "a cursor or one error");
  if (outcome.mCursor) Walk(*outcome.mCursor);
}

void OpenAsDatabase(std::string const& inPath) {
  auto const extension = tarn::lsql::GetDuckDBExtension();
  auto const location = tarn::CreateLocation(tarn::String(inPath.c_str()));
  (void)extension->IsDuckDBFile(location);
  auto const database = extension->CreateDatabase(location);
  try {
    database->Open();
    auto const cursor = database->ExecuteQuery("FROM t", tarn::lsql::kCursorServer, nullptr);
    while (cursor->NextRecord()) (void)cursor->get_Value(0)->get_String();
  } catch (tarn::xException const& error) {
    Require(!error.get_Message().isEmpty(), "an error has a text");
  }
}

Bases& get_Bases() {
  static Bases bases;
  return bases;
}

bool Prepare() {
  std::string const path = get_Bases().mFolder.Write("f.parquet", get_Bases().mFiles[0].mBytes);
  CallOn("fetch_parquet", {Text(path)});
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* inData, std::size_t inSize) {
  static bool const isReady = Prepare();
  Require(isReady, "the files");
  Input input(inData, inSize);
  Base const& base = get_Bases().mFiles[input.TakeBelow(3)];
  std::string bytes = base.mBytes;
  Change(bytes, input);
  std::string const path = get_Bases().mFolder.Write(base.mName, bytes);
  auto const before = get_LiveHandles();
  if (path.ends_with(".db")) {
    OpenAsDatabase(path);
    CallOn("fetch_duckdb", {Text(path), Text("t")});
  } else {
    CallOn("fetch_parquet", {Text(path)});
    CallOn("parquet_schema", {Text(path)});
    CallOn("parquet_metadata", {Text(path)});
    CallOn("parquet_count", {Text(path)});
  }
  Require(get_LiveHandles() == before, "all handles given back");
  for (char const* const suffix : {"", ".wal"}) std::filesystem::remove(path + suffix);
  return 0;
}
