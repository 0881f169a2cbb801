// A process that restores is killed at any moment: the old database is there, or the new one.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <random>
#include <thread>

#include "support/BackupTest.h"
#include "support/Killing.h"
#include "support/Rounds.h"
#include "support/Seed.h"

namespace {

using namespace lumora::test;

// Tells that it begins, restores, and tells that it is done.
int RestoreJob(Arguments const& inArguments) {
  auto& extension = LoadedExtension::Instance();
  auto const backup = tarn::CreateLocation(Wide(inArguments.at(1)));
  std::printf("begin\n");
  std::fflush(stdout);
  (void)extension->RestoreDatabase(tarn::CreateLocation(Wide(inArguments.at(0))), backup);
  return 0;
}

// Opens, commits one more row, and goes without closing, so that a log stays.
int CommitJob(Arguments const& inArguments) {
  auto const database = LoadedExtension::Instance().Database(inArguments.at(0));
  database->Open();
  database->ExecuteSQL(Wide("INSERT INTO t VALUES (1)"), nullptr);
  _exit(0);
}

ChildJob const gRestoreJob("crash-restore", RestoreJob);
ChildJob const gCommitJob("crash-commit", CommitJob);

class KilledRestore : public BackupTest {};

TEST_F(KilledRestore, LeavesTheWholeOldOrTheWholeNewDatabase) {
  constexpr std::int64_t kNew = 20000;
  Database const source = Created("new.db");
  Run(source, "CREATE TABLE t AS SELECT 2 AS a FROM range(20000); CREATE TABLE u AS FROM t");
  std::string const backup = BackUp(source);
  std::mt19937_64 random(get_Seed("KilledRestore"));
  using Milliseconds = std::chrono::duration<double, std::milli>;
  // How long a restore takes here, so that the kills fall into all of it.
  auto const start = std::chrono::steady_clock::now();
  ASSERT_EQ(RunChild("crash-restore", {mFolder.At("probe.db"), backup}).mExitCode, 0);
  Milliseconds const whole = std::chrono::steady_clock::now() - start;
  int olds = 0;
  int torn = 0;
  int const rounds = Rounds(100, 20);
  // The last one is left alone.
  for (int i = 0; i <= rounds; ++i) {
    Run(Created("a.db"), "CREATE TABLE t AS SELECT 1 AS a");
    bool const withLog = i % 2 == 0;
    if (withLog) ASSERT_EQ(RunChild("crash-commit", {mFolder.At("a.db")}).mExitCode, 0);
    ChildProcess child("crash-restore", {mFolder.At("a.db"), backup});
    ASSERT_EQ(child.ReadLine(), "begin");
    if (i < rounds) {
      std::this_thread::sleep_for(std::uniform_real_distribution<>(0, 1)(random) * whole);
      KillAtSomeMoment(child);
    }
    child.Wait();
    Database const database = OpenAfterKill(mFolder.At("a.db"), torn);
    std::int64_t const rows = Number(database, "SELECT count(*) FROM t");
    std::int64_t const sum = Number(database, "SELECT sum(a) FROM t");
    bool const isNew = rows == kNew;
    EXPECT_TRUE(isNew || i < rounds);
    EXPECT_EQ(rows, isNew ? kNew : withLog ? 2 : 1) << "round " << i;
    EXPECT_EQ(sum, isNew ? 2 * kNew : rows);
    if (isNew) EXPECT_EQ(Number(database, "SELECT count(*) FROM u"), kNew);
    olds += !isNew;
  }
  EXPECT_GT(olds, 0);
  std::printf("%d old databases, %d new ones, %d torn blocks\n", olds, rounds + 1 - olds, torn);
}

}  // namespace
