// The five procedures through the loaded extension, called with any arguments on a small Parquet
// file and a small database: a cursor or one error. A cursor's rows are the same in whatever order
// they are asked for, there are as many as DuckDB says, and nothing of DuckDB's stays behind.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "support/DuckDBCalls.h"
#include "support/Input.h"
#include "support/ProcedureCalls.h"

namespace {

using namespace lumora::test;
using lumora::fuzz::Input;
using lumora::fuzz::Require;
using Rows = std::vector<std::vector<std::string>>;

char const kRows[] =
    "SELECT i, 'text ' || i AS name, i / 4.0 AS \"a b\", DATE '2024-01-01' + i::INTEGER AS d, "
    "CASE WHEN i % 3 = 0 THEN NULL ELSE i % 2 = 0 END AS flag, [i, i + 1] AS list, "
    "TIMESTAMP '2024-02-29 01:02:03.5' AS t, i::HUGEINT AS h FROM range(2100) r(i)";

// The files, made once; their folder is where the process runs.
struct Files {
  Files() : mOracle(std::make_unique<Oracle>()) {
    mOracle->Run(std::string("COPY (") + kRows + ") TO " + Quoted(mFolder.At("f.parquet")));
    Oracle(mFolder.At("f.db")).Run(std::string("CREATE TABLE t AS ") + kRows);
    Oracle(mFolder.At("f.db")).Run("CREATE SCHEMA s; CREATE VIEW s.\"v.1\" AS SELECT 7 AS x");
    Require(chdir(mFolder.get_Path().c_str()) == 0, "the folder");
  }
  TempFolder mFolder;
  std::unique_ptr<Oracle> mOracle;
};

Files& get_Files() {
  static Files files;
  return files;
}

// Bytes of the input's own may not lead out of the folder or walk through the machine.
std::string TakeHarmless(Input& ioInput) {
  std::string text = ioInput.TakeBytes(40);
  std::erase_if(text,
                [](char c) { return std::string_view("/:*?[~\\").find(c) != std::string::npos; });
  return text;
}

std::string TakeUri(Input& ioInput) {
  switch (ioInput.TakeBelow(8)) {
    case 0:
      return TakeHarmless(ioInput);
    case 1:
      return "missing.parquet";
    case 2:
      return "";
    case 3:
      return "f.db";
    default:
      return "f.parquet";
  }
}

// A condition of known words, joined at random: most are wrong, all are harmless.
std::string TakeFilter(Input& ioInput) {
  static constexpr char const* kWords[] = {
      "i",     "name",  "\"a b\"", "flag",  "list[1]", "=",   "<",    ">",       "AND",
      "OR",    "NOT",   "NULL",    "IS",    "5",       "'x'", "2000", "(",       ")",
      "true",  "false", "LIKE",    "'%1%'", "--",      ";",   "1=1",  "i < 3",   "d",
      "i=i+1", "LIMIT", "0",       "\n",    "''",      "$1",  "?",    "ORDER BY"};
  std::string filter;
  for (std::size_t i = ioInput.TakeBelow(8); i > 0; --i) {
    filter.append(kWords[ioInput.TakeBelow(std::size(kWords))]).append(" ");
  }
  return filter;
}

ValuePtr TakeColumns(Input& ioInput) {
  static constexpr char const* kLists[] = {"*",       "i", "i,name", " i , \"a b\"", "a b,d",
                                           "missing", ",", "i,i",    "list,flag,t,h"};
  if (ioInput.TakeBelow(4) == 0) return Text(ioInput.TakeBytes(30));
  if (ioInput.TakeBool()) return Text(kLists[ioInput.TakeBelow(std::size(kLists))]);
  std::vector<ValuePtr> names;
  for (std::size_t i = ioInput.TakeBelow(4); i > 0; --i) {
    names.push_back(Text(kLists[ioInput.TakeBelow(std::size(kLists))]));
  }
  return Array(names);
}

ValuePtr TakeTable(Input& ioInput) {
  static constexpr char const* kTables[] = {"t",       "main.t", "f.main.t", "s.\"v.1\"",
                                            " \"t\" ", "nope",   "\"",       "s."};
  if (ioInput.TakeBelow(4) == 0) return Text(ioInput.TakeBytes(30));
  return Text(kTables[ioInput.TakeBelow(std::size(kTables))]);
}

ValuePtr TakeLimit(Input& ioInput) {
  switch (ioInput.TakeBelow(5)) {
    case 0:
      return Int(static_cast<std::int64_t>(ioInput.TakeNumber()));
    case 1:
      return Uint(ioInput.TakeNumber());
    case 2:
      return Text(std::to_string(ioInput.TakeNumber()));
    case 3:
      return Text(ioInput.TakeBytes(20));
    default:
      return Null();
  }
}

ValuePtr TakeOdd(Input& ioInput, ValuePtr inArgument) {
  switch (ioInput.TakeBelow(12)) {
    case 0:
      return nullptr;
    case 1:
      return Null();
    case 2:
      return WithoutText(kDouble);
    case 3:
      return Other(kVariant, TakeHarmless(ioInput));
    case 4:
      return Int(ioInput.Take<std::int64_t>());
    default:
      return inArgument;
  }
}

struct Call {
  char const* mName;
  std::vector<ValuePtr> mArguments;
  std::string mCountSql;  // what DuckDB is asked for the number of rows; empty: not known
};

Call TakeCall(Input& ioInput) {
  std::size_t const which = ioInput.TakeBelow(8);
  if (which < 3) {
    Call call{"fetch_parquet", {Text(TakeUri(ioInput))}, {}};
    if (ioInput.TakeBelow(8) == 0) return call;
    call.mArguments.push_back(TakeColumns(ioInput));
    if (ioInput.TakeBool()) call.mArguments.push_back(Text(TakeFilter(ioInput)));
    if (call.mArguments.size() == 3 && ioInput.TakeBool()) {
      call.mArguments.push_back(TakeLimit(ioInput));
    }
    return call;
  }
  if (which == 3) return {"parquet_schema", {Text(TakeUri(ioInput))}, {}};
  if (which == 4) return {"parquet_metadata", {Text(TakeUri(ioInput))}, {}};
  if (which == 5) {
    std::string const filter = TakeFilter(ioInput);
    return {"parquet_count",
            {Text("f.parquet"), Text(filter)},
            "SELECT count(*) FROM read_parquet('f.parquet')" +
                (filter.empty() ? "" : " WHERE " + filter)};
  }
  Call call{"fetch_duckdb", {Text(ioInput.TakeBelow(4) == 0 ? TakeUri(ioInput) : "f.db")}, {}};
  call.mArguments.push_back(TakeTable(ioInput));
  if (ioInput.TakeBool()) call.mArguments.push_back(TakeLimit(ioInput));
  return call;
}

std::vector<std::string> TextsAt(HostCursor& ioCursor) {
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < ioCursor.get_Names().size(); ++i) {
    texts.push_back(TextOf(ioCursor.Get(static_cast<std::int32_t>(i))));
  }
  return texts;
}

Rows ReadForward(HostCursor& ioCursor) {
  Rows rows;
  while (ioCursor.Next()) rows.push_back(TextsAt(ioCursor));
  Require(static_cast<std::int64_t>(rows.size()) == ioCursor.get_RowCount(), "the count of rows");
  return rows;
}

// The second walk, in any order.
void CheckWalk(HostCursor& ioCursor, Rows const& inRows, Input& ioInput) {
  auto const count = static_cast<std::int64_t>(inRows.size());
  std::int64_t row = count - 1;  // where the first walk ended
  for (int step = 0; step < 40 && !ioInput.get_IsEmpty(); ++step) {
    if (ioInput.TakeBool()) {
      auto const wished = static_cast<std::int64_t>(
          ioInput.TakeBool() ? ioInput.TakeNumber() : ioInput.TakeNumber() * 200);
      bool const isThere = wished >= 0 && wished < count;
      Require(ioCursor.Seek(wished) == isThere, "a seek to a row that is there");
      if (isThere) row = wished;
    } else {
      bool const isThere = row + 1 < count;
      Require(ioCursor.Next() == isThere, "a next row");
      if (isThere) ++row;
    }
    auto const column = static_cast<std::int32_t>(ioInput.TakeNumber());
    bool const isColumn =
        column >= 0 && column < static_cast<std::int32_t>(ioCursor.get_Names().size());
    if (ioCursor.get_IsRowCursor()) continue;
    auto const cell = ioCursor.Get(column);
    Require(isColumn || !cell, "no cell outside of the columns");
    if (row < 0 || !isColumn) continue;
    Require(TextOf(cell) == inRows[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)],
            "the same cell at the second time");
  }
}

// The rows that DuckDB counts itself; -1 when it refuses.
std::string CountByDuckDB(std::string const& inSql) {
  try {
    return get_Files().mOracle->Text(inSql);
  } catch (std::runtime_error const&) {
    return "<refused>";
  }
}

void CheckCursor(Call const& inCall, HostCursor& ioCursor, Input& ioInput) {
  Rows const rows = ReadForward(ioCursor);
  if (std::string_view(inCall.mName) == "parquet_count" && !inCall.mCountSql.empty()) {
    std::string const expected = CountByDuckDB(inCall.mCountSql);
    Require(expected == "<refused>" || (rows.size() == 1 && rows[0][0] == expected),
            "the count that DuckDB gives: " + expected);
  }
  CheckWalk(ioCursor, rows, ioInput);
}

void RunCall(Input& ioInput) {
  Call call = TakeCall(ioInput);
  for (auto& argument : call.mArguments) argument = TakeOdd(ioInput, argument);
  CallOutcome const outcome =
      CallProcedure(LoadedProcedures::Instance().Find(call.mName), call.mArguments);
  Require(outcome.mErrors.size() == (outcome.mCursor ? 0U : 1U), "a cursor or one error");
  if (outcome.mCursor) {
    if (call.mArguments.size() < 2 || !call.mArguments[1] || call.mArguments[1]->mKind != kText) {
      call.mCountSql.clear();
    }
    CheckCursor(call, *outcome.mCursor, ioInput);
  } else {
    Require(!outcome.mErrors[0].empty(), "an error has a text");
  }
}

// What is made once and kept does not count: the extension's private database among it.
bool Prepare() {
  (void)get_Files();
  (void)CallProcedure(LoadedProcedures::Instance().Find("fetch_parquet"), {Text("f.parquet")});
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* inData, std::size_t inSize) {
  static bool const isReady = Prepare();
  Require(isReady, "the files");
  Input input(inData, inSize);
  auto const before = get_LiveHandles();
  std::int64_t const chunks = get_LiveChunks();
  RunCall(input);
  Require(get_LiveHandles() == before && get_LiveChunks() == chunks, "all handles given back");
  return 0;
}
