#include <sys/stat.h>

#include <filesystem>

#include "support/DatabaseTest.h"
#include "support/FileLock.h"

namespace {

namespace fs = std::filesystem;
using namespace lumora::test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class Drop : public DatabaseTest {};

TEST_F(Drop, IsRefusedWhileAnotherObjectHasTheFileOpen) {
  std::string const path = MakeFile("a.db");
  Database const first = Opened("a.db");
  Database const second = Opened("a.db");
  fs::create_symlink("a.db", mFolder.At("link.db"));
  fs::create_hard_link(path, mFolder.At("hard.db"));
  for (char const* const name : {"a.db", "link.db", "hard.db"}) {
    Database const third = At(name);
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(ThrownBy([&] { i == 0 ? third->Drop() : third->Create(); }),
                DuckDBError(name, "Can not be dropped. 2 connections are alive."));
    }
  }
  EXPECT_EQ(Number(first, "SELECT sum(a) FROM t"), 1);
  EXPECT_FALSE(AnotherProcessCanRead(path));
  second->Close();
  EXPECT_EQ(ThrownBy([&] { At("a.db")->Drop(); }),
            DuckDBError("a.db", "Can not be dropped. 1 connections are alive."));
  first->Drop();
  EXPECT_THAT(mFolder.Names(), UnorderedElementsAre("link.db", "hard.db"));
}

TEST_F(Drop, InMemoryIsRefusedWhileAnotherObjectOnTheLocationIsOpen) {
  auto const location = tarn::CreateLocation(Wide(":memory:"));
  Database const first = LoadedExtension::Instance()->CreateDatabase(location);
  Database const second = LoadedExtension::Instance()->CreateDatabase(location);
  first->Create();
  Run(first, "CREATE TABLE t AS SELECT 7 AS a");
  second->Open();
  Thrown const refused{"xDuckDBError", 0x72501,
                       ":memory:", "Can not be dropped. 1 connections are alive."};
  EXPECT_EQ(ThrownBy([&] { second->Drop(); }), refused);
  EXPECT_FALSE(second->get_IsOpen());
  EXPECT_EQ(ThrownBy([&] { second->Create(); }), refused);
  EXPECT_EQ(Number(first, "SELECT a FROM t"), 7);
  first->Drop();
  EXPECT_FALSE(first->get_IsOpen());
}

TEST_F(Drop, OfAnOpenObjectClosesItFirst) {
  Database const database = Created("a.db");
  database->Drop();
  EXPECT_FALSE(database->get_IsOpen());
  EXPECT_THAT(mFolder.Names(), IsEmpty());
  database->Drop();
  database->Create();
  EXPECT_TRUE(database->get_IsOpen());
}

TEST_F(Drop, CountsReadOnlyObjectsToo) {
  MakeFile("a.db");
  Database const reader = At("a.db");
  tarn::lsql::DuckDBSettings settings;
  settings.mWritable = 0;
  reader->put_Settings(settings);
  reader->Open();
  EXPECT_EQ(ThrownBy([&] { At("a.db")->Drop(); }),
            DuckDBError("a.db", "Can not be dropped. 1 connections are alive."));
}

TEST_F(Drop, RefusesAFolderAndAPipeWhichStay) {
  fs::create_directory(mFolder.At("d"));
  ASSERT_EQ(mkfifo(mFolder.At("pipe").c_str(), 0600), 0);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(ThrownBy([&] { i == 0 ? At("d")->Drop() : At("d")->Create(); }),
              DuckDBError("d", "Can not be dropped. It is a folder."));
    EXPECT_EQ(ThrownBy([&] { i == 0 ? At("pipe")->Drop() : At("pipe")->Create(); }),
              DuckDBError("pipe", "Can not be dropped. It is not a regular file."));
  }
  EXPECT_THAT(mFolder.Names(), UnorderedElementsAre("d", "pipe"));
}

TEST_F(Drop, RefusesAFileThatAnotherProcessHasOpen) {
  std::string const path = MakeFile("a.db");
  ForeignLock const lock(path, true);
  std::string const holder = "process " + std::to_string(lock.get_ProcessId());
  EXPECT_EQ(ThrownBy([&] { At("a.db")->Drop(); }),
            DuckDBError("a.db", "Can not be dropped. It is in use by " + holder + "."));
  EXPECT_TRUE(fs::exists(path));
}

TEST_F(Drop, RemovesWhatDuckDbKeepsBesideTheFileAndNothingElse) {
  MakeFile("a.db");
  for (char const* const name :
       {"a.db.wal", "a.db.wal.checkpoint", "a.db.wal.recovery", "a.db.creating"}) {
    mFolder.Write(name, "left over");
  }
  fs::create_directory(mFolder.At("a.db.tmp"));
  mFolder.Write("a.db.tmp/duckdb_temp_storage_32K-0.tmp", "x");
  mFolder.Write("a.db.tmp/duckdb_temp_block-7.block", "x");
  for (char const* const name : {"a.db.bak", "a.db.walrus", "a", "b.db", "b.db.wal"}) {
    mFolder.Write(name, "mine");
  }
  At("a.db")->Drop();
  EXPECT_THAT(mFolder.Names(),
              UnorderedElementsAre("a.db.bak", "a.db.walrus", "a", "b.db", "b.db.wal"));
}

TEST_F(Drop, LeavesFilesOfOthersInTheFolderForTemporaryData) {
  MakeFile("a.db");
  fs::create_directory(mFolder.At("a.db.tmp"));
  fs::create_directory(mFolder.At("a.db.wal"));
  mFolder.Write("a.db.tmp/duckdb_temp_block-7.block", "x");
  mFolder.Write("a.db.tmp/notes.txt", "mine");
  At("a.db")->Drop();
  EXPECT_THAT(mFolder.Names(), UnorderedElementsAre("a.db.tmp", "a.db.wal"));
  EXPECT_EQ(mFolder.Read("a.db.tmp/notes.txt"), "mine");
  EXPECT_FALSE(fs::exists(mFolder.At("a.db.tmp/duckdb_temp_block-7.block")));
}

TEST_F(Drop, OfAMissingFileRemovesAStaleLog) {
  mFolder.Write("a.db.wal", "stale");
  At("a.db")->Drop();
  EXPECT_THAT(mFolder.Names(), IsEmpty());
}

TEST_F(Drop, ThroughALinkRemovesTheDatabaseAndCreateMakesItAtTheSamePlace) {
  fs::create_directory(mFolder.At("disk"));
  MakeFile("disk/real.db");
  fs::create_symlink("disk/real.db", mFolder.At("link.db"));
  Database const database = At("link.db");
  database->Drop();
  EXPECT_FALSE(database->get_Exists());
  EXPECT_FALSE(fs::exists(mFolder.At("disk/real.db")));
  database->Create();
  EXPECT_TRUE(fs::exists(mFolder.At("disk/real.db")));
  EXPECT_TRUE(fs::is_symlink(mFolder.At("link.db")));
}

TEST_F(Drop, OfARemoteDatabaseTouchesNoFile) {
  fs::path const before = fs::current_path();
  fs::current_path(mFolder.get_Path());
  mFolder.Write("md:orders", "mine");
  LoadedExtension::Instance().Database("md:orders")->Drop();
  fs::current_path(before);
  EXPECT_EQ(mFolder.Read("md:orders"), "mine");
}

TEST_F(Drop, CreateInAMissingFolderFailsAndMakesNothing) {
  Thrown const thrown = ThrownBy([&] { At("no/a.db")->Create(); });
  EXPECT_EQ(thrown.mClass, "xDuckDBError");
  EXPECT_EQ(thrown.mText2, "IO Error: Cannot open file \"" + mFolder.At("no/a.db") +
                               "\": No such file or directory");
  EXPECT_THAT(mFolder.Names(), IsEmpty());
}

}  // namespace
