#include <signal.h>

#include <filesystem>

#include "support/ChildProcess.h"
#include "support/FileLock.h"
#include "support/ProcedureCalls.h"
#include "tarn/Converter.h"
#include "tarn/Exceptions.h"
#include "tarn/lsql/I_DuckDBExtension.h"

namespace lumora::test {
namespace {

namespace fs = std::filesystem;
using Database = tarn::smart_ptr<tarn::lsql::I_DuckDBDatabase>;
using Rows = std::vector<std::vector<std::string>>;

tarn::String Wide(std::string const& inText) {
  return tarn::StToUTF16(inText.data(), static_cast<std::int64_t>(inText.size()),
                         tarn::GetConverter_UTF8());
}

void Execute(Database const& inDatabase, std::string const& inSql) {
  inDatabase->ExecuteSQL(Wide(inSql), nullptr);
}

// A database object of the loaded extension, open.
Database OpenDatabaseObject(std::string const& inPath, std::uint32_t inWritable = 1) {
  LoadedProcedures::Instance();
  auto const extension = tarn::lsql::GetDuckDBExtension();
  auto database = extension->CreateDatabase(tarn::CreateLocation(Wide(inPath)));
  tarn::lsql::DuckDBSettings settings;
  settings.mWritable = inWritable;
  database->put_Settings(settings);
  database->Open();
  return database;
}

// A file that a database object and procedure cursors have open at the same time.
class BesideDatabase : public Procedures {
 protected:
  BesideDatabase() : mPath(MakeDatabase("o.duckdb", "CREATE TABLE t AS SELECT 1 AS i")) {
    fs::create_symlink(mPath, mFolder.At("symlink.duckdb"));
    fs::create_hard_link(mPath, mFolder.At("hardlink.duckdb"));
    mSpellings = {mPath, fs::relative(mPath).string(), mFolder.At("symlink.duckdb"),
                  mFolder.At("hardlink.duckdb")};
  }
  std::unique_ptr<HostCursor> OpenTable(std::string const& inPath) {
    return Open("fetch_duckdb", {Text(inPath), Text("t")});
  }

  std::string mPath;
  Texts mSpellings;
};

TEST_F(BesideDatabase, CursorsSeeWhatIsCommittedAndNothingElse) {
  auto const database = OpenDatabaseObject(mPath);
  Execute(database, "BEGIN; INSERT INTO t VALUES (2);");
  for (auto const& path : mSpellings) EXPECT_EQ(TextsOf(*OpenTable(path)), (Rows{{"1"}})) << path;
  Execute(database, "COMMIT");
  for (auto const& path : mSpellings) {
    EXPECT_EQ(TextsOf(*OpenTable(path)), (Rows{{"1"}, {"2"}})) << path;
  }
  database->Close();
}

TEST_F(BesideDatabase, ACursorKeepsTheRowsOfItsTime) {
  auto const database = OpenDatabaseObject(mPath);
  auto const cursor = OpenTable(mSpellings.back());
  Execute(database, "DROP TABLE t; CREATE TABLE t AS SELECT 'other' AS o");
  EXPECT_EQ(TextsOf(*cursor), (Rows{{"1"}}));
  EXPECT_EQ(TextsOf(*OpenTable(mPath)), (Rows{{"other"}}));
  database->Close();
}

TEST_F(BesideDatabase, TheLockHoldsUntilBothAreGoneInEitherOrder) {
  for (auto const& path : mSpellings) {
    SCOPED_TRACE(path);
    auto const database = OpenDatabaseObject(mPath);
    auto cursor = OpenTable(path);
    cursor.reset();
    EXPECT_FALSE(AnotherProcessCanWrite(mPath));
    cursor = OpenTable(path);
    database->Close();
    EXPECT_FALSE(AnotherProcessCanWrite(mPath));
    EXPECT_EQ(TextsOf(*cursor), (Rows{{"1"}}));
    cursor.reset();
    EXPECT_TRUE(AnotherProcessCanWrite(mPath));
  }
}

TEST_F(BesideDatabase, AFailedCallTakesNoLockAway) {
  auto const database = OpenDatabaseObject(mPath);
  for (auto const& path : mSpellings) {
    EXPECT_NE(ErrorOf("fetch_duckdb", {Text(path), Text("nope")}), "");
    EXPECT_NE(ErrorOf("fetch_parquet", {Text("none.parquet")}), "");
    EXPECT_FALSE(AnotherProcessCanWrite(mPath)) << path;
  }
  Execute(database, "INSERT INTO t VALUES (2)");
  database->Close();
  EXPECT_EQ(Oracle(mPath).Texts("SELECT * FROM t"), (Rows{{"1"}, {"2"}}));
}

TEST_F(BesideDatabase, AFileThatIsOpenReadOnlyCanBeFetched) {
  auto const database = OpenDatabaseObject(mPath, 0);
  for (auto const& path : mSpellings) EXPECT_EQ(TextsOf(*OpenTable(path)), (Rows{{"1"}})) << path;
  EXPECT_TRUE(database->get_IsReadOnly());
  EXPECT_FALSE(AnotherProcessCanWrite(mPath));
  EXPECT_TRUE(AnotherProcessCanRead(mPath));
  database->Close();
}

TEST_F(BesideDatabase, DropCountsTheCursorsToo) {
  auto const database = OpenDatabaseObject(mPath);
  auto cursor = OpenTable(mSpellings.back());
  for (int i = 0; i < 2; ++i) {
    try {
      i == 0 ? database->Drop() : database->Create();
      FAIL() << "a cursor reads the file";
    } catch (tarn::lsql::xDuckDBError const& error) {
      EXPECT_EQ(error.get_Text(1), Wide("Can not be dropped. 1 connections are alive."));
    }
  }
  EXPECT_EQ(TextsOf(*cursor), (Rows{{"1"}}));
  cursor.reset();
  database->Drop();
  EXPECT_FALSE(fs::exists(mPath));
}

// --- a process that dies ---

void FetchAll(std::string const& inPath, std::size_t inRows) {
  auto const outcome =
      CallProcedure(LoadedProcedures::Instance().Find("fetch_duckdb"), {Text(inPath), Text("t")});
  if (!outcome.mCursor) throw std::runtime_error(outcome.mErrors.at(0));
  if (outcome.mCursor->ReadAll().size() != inRows) throw std::runtime_error("rows are missing");
}

// Commits one row after the other with a cursor between them, then is killed.
int CommitAndDie(std::vector<std::string> const& inPaths) {
  auto const database = OpenDatabaseObject(inPaths.at(0));
  for (std::size_t i = 0; i < 100; ++i) {
    Execute(database, "INSERT INTO t VALUES (" + std::to_string(i + 2) + ")");
    FetchAll(inPaths[i % inPaths.size()], i + 2);
  }
  return raise(SIGKILL);
}

// The same, but a cursor has the file open before the database object has.
int FetchCommitAndDie(std::vector<std::string> const& inPaths) {
  for (std::size_t i = 0; i < 20; ++i) {
    auto cursor = CallProcedure(LoadedProcedures::Instance().Find("fetch_duckdb"),
                                {Text(inPaths[i % inPaths.size()]), Text("t")});
    if (!cursor.mCursor) return 1;
    auto const database = OpenDatabaseObject(inPaths.at(0));
    cursor.mCursor.reset();
    for (std::size_t row = 0; row < 5; ++row) {
      Execute(database, "INSERT INTO t VALUES (" + std::to_string(i * 5 + row + 2) + ")");
    }
    if (i == 19) return raise(SIGKILL);
    database->Close();
  }
  return 1;
}

ChildJob const kCommitAndDie("commit_and_die", CommitAndDie);
ChildJob const kFetchCommitAndDie("fetch_commit_and_die", FetchCommitAndDie);

TEST_F(BesideDatabase, AKillAfterTheCursorsLosesNoCommit) {
  EXPECT_EQ(RunChild("commit_and_die", mSpellings).mSignal, SIGKILL);
  EXPECT_EQ(Oracle(mPath).Text("SELECT count(DISTINCT i) || ' ' || max(i) FROM t"), "101 101");
}

TEST_F(BesideDatabase, AKillAfterACursorThatWasThereFirstLosesNoCommit) {
  EXPECT_EQ(RunChild("fetch_commit_and_die", mSpellings).mSignal, SIGKILL);
  EXPECT_EQ(Oracle(mPath).Text("SELECT count(DISTINCT i) || ' ' || max(i) FROM t"), "101 101");
}

// What a killed process left in its log is read, and written down, by the next cursor.
TEST_F(BesideDatabase, ACursorReadsTheLogOfAProcessThatDied) {
  EXPECT_EQ(RunChild("commit_and_die", {mPath}).mSignal, SIGKILL);
  EXPECT_EQ(OpenTable(mPath)->get_RowCount(), 101);
  EXPECT_EQ(OpenTable(mSpellings.back())->get_RowCount(), 101);
}

}  // namespace
}  // namespace lumora::test
