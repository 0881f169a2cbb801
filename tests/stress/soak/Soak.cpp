#include "Soak.h"

#include <gtest/gtest.h>

#include <utility>

#include "support/ProcedureCalls.h"

namespace lumora::test {

namespace {

void Run(SoakDatabase const& inDatabase, std::string const& inSql) {
  inDatabase->ExecuteSQL(Wide(inSql), nullptr);
}

}  // namespace

Soak::Soak() { LoadedProcedures::Instance(); }

SoakDatabase Soak::NewDatabase(std::string const& inName) const {
  std::string const path = inName == ":memory:" ? inName : mFolder.At(inName);
  return tarn::lsql::GetDuckDBExtension()->CreateDatabase(tarn::CreateLocation(Wide(path)));
}

void Soak::MakeConstantFiles() {
  Oracle oracle;
  oracle.Run("COPY (SELECT range AS i, 'row ' || range AS t FROM range(5000)) TO " +
             Quoted(mFolder.At("constant.parquet")) + " (FORMAT parquet, ROW_GROUP_SIZE 2048)");
  SoakDatabase const constant = NewDatabase("constant.db");
  constant->Create();
  Run(constant, "CREATE TABLE t AS SELECT range AS i FROM range(5000)");
  constant->Close();
  for (int worker = 0; worker < kWorkers; ++worker) {
    SoakDatabase const database = NewDatabase(PrivateName(worker));
    database->Create();
    Run(database, "CREATE TABLE kv(k BIGINT, v VARCHAR)");
    database->Close();
  }
}

void Soak::MakeSharedFiles() {
  for (int file = 0; file < kSharedFiles; ++file) {
    SoakDatabase const database = NewDatabase(SharedName(file));
    database->Create();
    std::string script =
        "CREATE TABLE log(worker INTEGER, n BIGINT, t VARCHAR);"
        "CREATE TABLE counter(worker INTEGER, n BIGINT);"
        "CREATE TABLE contended AS SELECT 0::BIGINT AS n;"
        "INSERT INTO counter SELECT range, 0 FROM range(" +
        std::to_string(kWorkers) + ");";
    for (int worker = 0; worker < kWorkers; ++worker) {
      std::string const number = std::to_string(worker);
      script += "CREATE VIEW own_" + number +
                " AS SELECT count(*) AS rows, coalesce(sum(n), 0)::BIGINT AS total FROM log "
                "WHERE worker = " +
                number + ";";
    }
    Run(database, script);
    database->Close();
  }
  mKeeper = NewDatabase(SharedName(0));
  mKeeper->Open();
}

void Soak::Verify(std::vector<SoakModel const*> const& inModels) {
  mKeeper.reset();
  std::set<std::string> names = {"constant.parquet", "constant.db"};
  for (int file = 0; file < kSharedFiles; ++file) names.insert(SharedName(file));
  for (int worker = 0; worker < kWorkers; ++worker) names.insert(PrivateName(worker));
  for (std::string const& name : names) {
    if (name == "constant.parquet") continue;
    EXPECT_EQ(NewDatabase(name)->get_ConnectionCount(), 0U) << name;
  }
  for (int file = 0; file < kSharedFiles; ++file) VerifyShared(file, inModels);
  for (int worker = 0; worker < kWorkers; ++worker) {
    VerifyPrivate(worker, *inModels[static_cast<std::size_t>(worker)]);
  }
  EXPECT_EQ(mFolder.Names(), names);
}

// By DuckDB's own C functions, which know nothing of the library that is tested.
void Soak::VerifyShared(int inFile, std::vector<SoakModel const*> const& inModels) {
  std::vector<std::vector<std::string>> logged;
  std::vector<std::vector<std::string>> counted;
  std::int64_t contended = 0;
  for (std::size_t worker = 0; worker < inModels.size(); ++worker) {
    auto const& shared = inModels[worker]->mShared[static_cast<std::size_t>(inFile)];
    std::string const number = std::to_string(worker);
    for (std::int64_t const n : shared.mLogged) {
      logged.push_back({number, std::to_string(n), "t" + std::to_string(n)});
    }
    counted.push_back({number, std::to_string(shared.mCounted)});
    contended += shared.mContended;
  }
  Oracle oracle(mFolder.At(SharedName(inFile)));
  EXPECT_EQ(oracle.Texts("SELECT worker, n, t FROM log ORDER BY ALL"), logged)
      << SharedName(inFile);
  EXPECT_EQ(oracle.Texts("SELECT worker, n FROM counter ORDER BY ALL"), counted)
      << SharedName(inFile);
  EXPECT_EQ(oracle.Texts("SELECT n FROM contended"),
            (std::vector<std::vector<std::string>>{{std::to_string(contended)}}))
      << SharedName(inFile);
}

void Soak::VerifyPrivate(int inWorker, SoakModel const& inModel) {
  std::vector<std::vector<std::string>> rows;
  for (auto const& [key, value] : inModel.mPrivate) rows.push_back({std::to_string(key), value});
  Oracle oracle(mFolder.At(PrivateName(inWorker)));
  EXPECT_EQ(oracle.Texts("SELECT k, v FROM kv ORDER BY k"), rows) << PrivateName(inWorker);
}

void Soak::Fail(std::string const& inWhat) {
  std::lock_guard const lock(mMutex);
  if (mFailures.size() < 20) mFailures.push_back(inWhat);
  mHasFailed = true;
}

std::vector<std::string> Soak::get_Failures() {
  std::lock_guard const lock(mMutex);
  return mFailures;
}

void Soak::Publish(int inWorker, int inPlace, SoakDatabase inDatabase) {
  std::lock_guard const lock(mMutex);
  mPublished[static_cast<std::size_t>(inWorker)][static_cast<std::size_t>(inPlace)].swap(
      inDatabase);
}

SoakDatabase Soak::get_Published(int inWorker, int inPlace) {
  std::lock_guard const lock(mMutex);
  return mPublished[static_cast<std::size_t>(inWorker)][static_cast<std::size_t>(inPlace)];
}

}  // namespace lumora::test
