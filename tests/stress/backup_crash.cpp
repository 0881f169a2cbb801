// A process that backs up is killed at any moment: its database is unharmed, and what it left of
// the backup is restored as a whole or refused.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <random>
#include <thread>

#include "support/BackupTest.h"
#include "support/Killing.h"
#include "support/Rounds.h"
#include "support/Seed.h"

namespace {

namespace fs = std::filesystem;
using namespace lumora::test;
using Database = tarn::smart_ptr<tarn::lsql::I_DuckDBDatabase>;

constexpr std::int64_t kRows = 20000;

// DATABASE FOLDER: opens, commits one more row, tells so, backs up and tells so.
int BackupJob(Arguments const& inArguments) {
  Database const database = LoadedExtension::Instance().Database(inArguments.at(0));
  database->Open();
  database->ExecuteSQL(Wide("INSERT INTO t VALUES (-1)"), nullptr);
  std::printf("begin\n");
  std::fflush(stdout);
  auto folder = tarn::CreateLocation(Wide(inArguments.at(1)));
  database->Backup(folder);
  std::printf("end\n");
  std::fflush(stdout);
  for (;;) pause();
}

ChildJob const gBackupJob("crash-backup", BackupJob);

class KilledBackup : public BackupTest {
 protected:
  using Milliseconds = std::chrono::duration<double, std::milli>;

  std::string FreshFolder() const {
    fs::remove_all(mFolder.At("backups"));
    fs::create_directory(mFolder.At("backups"));
    return mFolder.At("backups");
  }

  // Lets a process back up, and kills it then. How long that takes here makes the kills of the
  // other rounds fall into all of it.
  bool KillAfterBackup(std::string const& inFolder) {
    ChildProcess child("crash-backup", {mFolder.At("a.db"), inFolder});
    EXPECT_EQ(child.ReadLine(), "begin");
    auto const begin = std::chrono::steady_clock::now();
    EXPECT_EQ(child.ReadLine(), "end");
    mWhole = std::chrono::steady_clock::now() - begin;
    KillAtSomeMoment(child);
    child.Wait();
    return true;
  }

  // Kills a process while it backs up. True: it had told that it was done.
  bool KillInBackup(std::string const& inFolder) {
    ChildProcess child("crash-backup", {mFolder.At("a.db"), inFolder});
    EXPECT_EQ(child.ReadLine(), "begin");
    std::this_thread::sleep_for(std::uniform_real_distribution<>(0, 1.2)(mRandom) * mWhole);
    KillAtSomeMoment(child);
    return child.Wait().mOutput == "end\n";
  }

  // The one backup in the folder; empty when there is none yet.
  std::string BackupIn(std::string const& inFolder) const {
    fs::directory_iterator const entry(inFolder);
    return entry == fs::directory_iterator() ? "" : entry->path().string();
  }

  // Restores over a database of one row. True: what was backed up is there now. False: it was
  // refused, and the old one is there.
  bool RestoresAll(std::string const& inBackup, std::int64_t inCommitted) {
    Run(Created("target.db"), "CREATE TABLE old AS SELECT 1 AS a");
    Thrown const thrown = ThrownBy([&] { (void)Restore("target.db", inBackup); });
    Database const target = Opened("target.db");
    if (thrown == Thrown{}) {
      EXPECT_EQ(Number(target, "SELECT count(*) FROM t"), kRows + inCommitted);
      EXPECT_EQ(Number(target, "SELECT count(*) FROM u"), kRows);
      EXPECT_EQ(Number(target, "SELECT count(*) FROM duckdb_tables()"), 2);
      return true;
    }
    // Killed before the first file was made: DuckDB refuses the empty folder.
    Thrown const expected =
        fs::is_empty(inBackup)
            ? DuckDBError("target.db", thrown.mText2)
            : DuckDBError("target.db", "The backup was cut short and cannot be restored");
    EXPECT_EQ(thrown, expected);
    EXPECT_EQ(Number(target, "SELECT a FROM old"), 1);
    return false;
  }

  std::mt19937_64 mRandom{get_Seed("KilledBackup")};
  Milliseconds mWhole{};
};

TEST_F(KilledBackup, LeavesTheDatabaseAndAWholeBackupOrOneThatIsRefused) {
  Run(Created("a.db"),
      "CREATE TABLE t AS SELECT range AS a FROM range(20000); CREATE TABLE u AS FROM t");
  std::int64_t committed = 0;
  int restored = 0;
  int refused = 0;
  int torn = 0;
  int const rounds = Rounds(60, 10);
  for (int i = 0; i <= rounds; ++i) {
    std::string const folder = FreshFolder();
    bool const ended = i == 0 ? KillAfterBackup(folder) : KillInBackup(folder);
    ++committed;
    {
      Database const database = OpenAfterKill(mFolder.At("a.db"), torn);
      ASSERT_EQ(Number(database, "SELECT count(*) FROM t"), kRows + committed);
      ASSERT_EQ(Number(database, "SELECT count(*) FROM u"), kRows);
    }
    std::string const backup = BackupIn(folder);
    bool const all = !backup.empty() && RestoresAll(backup, committed);
    ASSERT_TRUE(all || !ended) << "round " << i;
    ++(all ? restored : refused);
  }
  EXPECT_GT(restored, 0);
  EXPECT_GT(refused, 0);
  std::printf("%d backups cut short, %d whole, %d torn blocks\n", refused, restored, torn);
}

}  // namespace
