// A backup is exported without the engine lock: what other threads may do meanwhile.
#include <atomic>
#include <filesystem>
#include <thread>

#include "support/BackupTest.h"
#include "support/Rounds.h"

namespace {

using namespace lumora::test;
using testing::HasSubstr;

class BackupInUse : public BackupTest {
 protected:
  // An open database whose backup takes a while.
  Database Large() {
    Database const database = Created("a.db");
    Run(database, "CREATE TABLE t AS SELECT range AS a, hash(range) AS h FROM range(" +
                      std::to_string(Rounds(3000000, 300000)) + ")");
    std::filesystem::create_directory(mFolder.At("backups"));
    return database;
  }
  // Backs up on a thread of its own while inWork runs, which is told when the backup is over.
  template <typename TWork>
  Thrown WithBackup(Database const& inDatabase, TWork const& inWork) {
    std::atomic<bool> done{false};
    Thrown thrown;
    std::thread backup([&] {
      auto folder = LocationAt("backups");
      thrown = ThrownBy([&] { inDatabase->Backup(folder); });
      done = true;
    });
    // The marker is written under the lock, right before the export begins.
    while (!done && std::filesystem::is_empty(mFolder.At("backups"))) std::this_thread::yield();
    inWork(done);
    backup.join();
    return thrown;
  }
  void ExpectWhole() {
    auto const entry = *std::filesystem::directory_iterator(mFolder.At("backups"));
    Database const restored = Restore("b.db", entry.path().string());
    restored->Open();
    EXPECT_EQ(Number(restored, "SELECT count(*) FROM t"), Rounds(3000000, 300000));
  }
};

TEST_F(BackupInUse, OtherDatabasesGoOn) {
  Database const database = Large();
  Database const other = Created("other.db");
  Run(other, "CREATE TABLE o(a INTEGER)");
  int statements = 0;
  Thrown const thrown = WithBackup(database, [&](std::atomic<bool> const& done) {
    for (; !done || statements == 0; ++statements) Run(other, "INSERT INTO o VALUES (1)");
  });
  EXPECT_EQ(thrown, Thrown{});
  EXPECT_EQ(Number(other, "SELECT count(*) FROM o"), statements);
  ExpectWhole();
}

TEST_F(BackupInUse, ClosingTheDatabaseIsSafeAndTheBackupIsWhole) {
  Database const database = Large();
  Thrown const thrown = WithBackup(database, [&](std::atomic<bool> const&) { database->Close(); });
  EXPECT_EQ(thrown, Thrown{});
  EXPECT_FALSE(database->get_IsOpen());
  ExpectWhole();
  EXPECT_EQ(Number(Opened("a.db"), "SELECT count(*) FROM t"), Rounds(3000000, 300000));
}

TEST_F(BackupInUse, DroppingIsRefusedOrComesAfterwards) {
  Database const database = Large();
  Thrown dropped;
  Thrown const thrown = WithBackup(
      database, [&](std::atomic<bool> const&) { dropped = ThrownBy([&] { database->Drop(); }); });
  EXPECT_EQ(thrown, Thrown{});
  if (dropped != Thrown{}) {
    EXPECT_THAT(dropped.mText2, HasSubstr("Can not be dropped. 1 connections are alive."));
    EXPECT_EQ(Number(Opened("a.db"), "SELECT count(*) FROM t"), Rounds(3000000, 300000));
  }
  ExpectWhole();
}

TEST_F(BackupInUse, ReopeningAndWritingIsSafe) {
  Database const database = Large();
  Thrown const thrown = WithBackup(database, [&](std::atomic<bool> const&) {
    database->Open();
    Run(database, "CREATE TABLE late(a INTEGER)");
  });
  EXPECT_EQ(thrown, Thrown{});
  ExpectWhole();
  EXPECT_EQ(Number(database, "SELECT count(*) FROM late"), 0);
}

TEST_F(BackupInUse, ReleasingTheDatabaseIsSafe) {
  Database database = Large();
  Database const other = database;
  EXPECT_EQ(WithBackup(other, [&](std::atomic<bool> const&) { database.reset(); }), Thrown{});
  ExpectWhole();
}

}  // namespace
