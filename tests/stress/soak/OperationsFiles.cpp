// What a worker does with its private file, with files that live for one operation, and with the
// procedures.
#include <fmt/format.h>

#include <filesystem>

#include "Worker.h"
#include "support/ProcedureCalls.h"
#include "support/TestValue.h"

namespace lumora::test {

namespace fs = std::filesystem;

void Worker::ChangePrivate() {
  SoakDatabase const& database = Private();
  auto const key = static_cast<std::int64_t>(Random(300));
  std::string const value = fmt::format("value {}", Random(1000000));
  if (Random(4) == 0) {
    database->ExecuteSQL(Wide("DELETE FROM kv WHERE k = $1"), MakeRow({MakeLLong(key)}));
    mModel.mPrivate.erase(key);
  } else if (mModel.mPrivate.contains(key)) {
    database->ExecuteSQL(Wide("UPDATE kv SET v = $2 WHERE k = $1"),
                         MakeRow({MakeLLong(key), MakeText(value)}));
    mModel.mPrivate[key] = value;
  } else {
    auto const statement = database->CreateStatement(Wide("INSERT INTO kv VALUES (?, ?)"));
    statement->BindParameters(MakeRow({MakeLLong(key), MakeText(value)}));
    statement->ExecuteAll();
    mModel.mPrivate[key] = value;
    ++mSoak.mTally.mInserted;
  }
  if (Random(50) == 0) database->ExecuteSQL(Wide("CHECKPOINT"), nullptr);
}

void Worker::CheckRows(SoakDatabase const& inDatabase) {
  auto const cursor = inDatabase->ExecuteQuery(Wide("SELECT k, v FROM kv ORDER BY k"),
                                               static_cast<std::uint32_t>(1 + Random(2)), nullptr);
  for (auto const& [key, value] : mModel.mPrivate) {
    if (!cursor->NextRecord()) return Fail("a file lacks rows");
    Check(cursor->get_Value(0)->get_LLong() == key, "a file has another key");
    Check(Utf8(cursor->get_Value(1)->get_String()) == value, "a file has another value");
  }
  Check(!cursor->NextRecord(), "a file has more rows");
}

void Worker::ComparePrivate() { CheckRows(Private()); }

void Worker::BackUpAndRestore() {
  std::string const folder = Name("backups");
  fs::create_directory(mSoak.mFolder.At(folder));
  auto location = LocationAt(folder);
  struct Cleaner {
    ~Cleaner() { fs::remove_all(mPath); }
    std::string mPath;
  } const cleaner{mSoak.mFolder.At(folder)};
  Private()->Backup(location);
  std::string const backup = fs::directory_iterator(mSoak.mFolder.At(folder))->path().string();
  auto const restored = tarn::lsql::GetDuckDBExtension()->RestoreDatabase(
      LocationAt(Name("restored") + ".db"), tarn::CreateLocation(Wide(backup)));
  restored->Open();
  CheckRows(restored);
  restored->Drop();
  ++mSoak.mTally.mBackups;
}

void Worker::LiveOfScratch() {
  std::string const name = Name("scratch") + ".db";
  SoakDatabase const database = mSoak.NewDatabase(name);
  if (Random(2) == 0) database->put_StorageVersion(Wide("latest"));
  database->put_BlockSize(Random(2) == 0 ? 16384 : 0);
  database->Create();
  database->ExecuteSQL(Wide("CREATE TABLE s AS SELECT range AS i FROM range(3000)"), nullptr);
  if (Random(2) == 0) {
    database->Close();
    database->Open();
  }
  Check(Numbers(database, "SELECT count(*) FROM s", 1).first == 3000, "a new file lacks rows");
  Check(Call("fetch_duckdb", {mSoak.mFolder.At(name), "s"}).first == 3000,
        "a new file gives other rows");
  database->Drop();
  Check(!database->get_Exists(), "a dropped file is there");
}

void Worker::WorkInMemory() {
  SoakDatabase const database = mSoak.NewDatabase(":memory:");
  Random(2) == 0 ? database->Open() : database->Create();
  database->ExecuteSQL(Wide("CREATE TABLE m(a INTEGER); INSERT INTO m VALUES (1), (2)"), nullptr);
  Check(Numbers(database, "SELECT count(*) FROM m", 1).first == 2, "memory has other rows");
}

// Read-only objects of several workers, each an instance of its own, and the procedure beside them.
void Worker::ReadConstant() {
  SoakDatabase const database = mSoak.NewDatabase("constant.db");
  tarn::lsql::DuckDBSettings settings;
  settings.mWritable = 0;
  settings.mThreads = 1;
  database->put_Settings(settings);
  database->Open();
  auto const sum = Numbers(database, "SELECT count(*), sum(i)::BIGINT FROM t", 2);
  Check(sum == std::pair<std::int64_t, std::int64_t>(5000, 12497500), "other constant rows");
}

// The rows of a procedure's result and the sum of their first numbers; nothing after an error.
std::pair<std::int64_t, std::int64_t> Worker::Call(char const* inProcedure,
                                                   std::vector<std::string> const& inTexts) {
  std::vector<ValuePtr> arguments;
  for (std::string const& text : inTexts) arguments.push_back(Text(text));
  auto const outcome = CallProcedure(LoadedProcedures::Instance().Find(inProcedure), arguments);
  if (!outcome.mCursor) {
    Fail(fmt::format("{}: {}", inProcedure,
                     outcome.mErrors.empty() ? "no cursor" : outcome.mErrors[0]));
    return {};
  }
  std::pair<std::int64_t, std::int64_t> sum;
  while (outcome.mCursor->Next()) {
    ++sum.first;
    if (auto const cell = outcome.mCursor->Get(0)) sum.second += cell->mInt;
  }
  return sum;
}

void Worker::FetchDuckDB() {
  std::pair<std::int64_t, std::int64_t> const all{5000, 12497500};
  if (Random(3) == 0) {
    Check(Call("fetch_duckdb", {mSoak.mFolder.At("constant.db"), "t"}) == all,
          "fetch_duckdb gives other constant rows");
    return;
  }
  auto const outcome =
      CallProcedure(LoadedProcedures::Instance().Find("fetch_duckdb"),
                    {Text(mSoak.mFolder.At(Soak::SharedName(mFile))), Text(Name("own_")), Int(1)});
  if (!outcome.mCursor || !outcome.mCursor->Next()) {
    return Fail("fetch_duckdb: " + (outcome.mErrors.empty() ? "no row" : outcome.mErrors[0]));
  }
  CheckOwnRows({outcome.mCursor->Get(0)->mInt, outcome.mCursor->Get(1)->mInt}, "fetch_duckdb");
}

void Worker::FetchParquet() {
  std::string const path = mSoak.mFolder.At("constant.parquet");
  switch (Random(5)) {
    case 0:
      Check(Call("fetch_parquet", {path}).second == 12497500, "fetch_parquet gives other rows");
      return;
    case 1:
      Check(Call("fetch_parquet", {path, "i", "i < 10"}).second == 45, "where gives other rows");
      return;
    case 2:
      Check(Call("parquet_schema", {path}).first == 2, "parquet_schema gives other rows");
      return;
    case 3:
      Check(Call("parquet_metadata", {path}).first > 0, "parquet_metadata gives no rows");
      return;
    default:
      Check(Call("parquet_count", {path}).second == 5000, "parquet_count gives another number");
  }
}

}  // namespace lumora::test
