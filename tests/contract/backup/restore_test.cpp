#include <filesystem>
#include <fstream>

#include "support/BackupTest.h"
#include "support/ChildProcess.h"
#include "support/FileLock.h"

namespace {

namespace fs = std::filesystem;
using namespace lumora::test;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;

class RestoreDatabase : public BackupTest {
 protected:
  // A closed database of one table t with one row, and a backup of it.
  std::string BackupOf(std::string const& inName, int inValue) {
    Database const database = Created(inName);
    Run(database, "CREATE TABLE t AS SELECT " + std::to_string(inValue) + " AS a");
    return BackUp(database);
  }
  std::int64_t ValueIn(std::string const& inName) {
    return Number(Opened(inName), "SELECT sum(a) FROM t");
  }
  Thrown ThrownByRestore(std::string const& inTarget, std::string const& inBackup) {
    return ThrownBy([&] { (void)Restore(inTarget, inBackup); });
  }
};

TEST_F(RestoreDatabase, RefusesNullAndMissingLocationsBeforeAnyFileIsTouched) {
  MakeFile("a.db");
  auto& extension = LoadedExtension::Instance();
  EXPECT_EQ(ThrownBy([&] { (void)extension->RestoreDatabase(nullptr, LocationAt("a.db")); }),
            (Thrown{"xDBError", 0x51501}));
  EXPECT_EQ(ThrownBy([&] { (void)extension->RestoreDatabase(LocationAt("a.db"), nullptr); }),
            (Thrown{"xDBError", 0x66000}));
  EXPECT_EQ(ThrownByRestore("a.db", mFolder.At("missing")), (Thrown{"xDBError", 0x66000}));
  EXPECT_THAT(mFolder.Names(), ElementsAre("a.db"));
  EXPECT_EQ(ValueIn("a.db"), 1);
}

TEST_F(RestoreDatabase, GivesAnObjectOfOneReferenceAndItsArgumentsBack) {
  std::string const backup = BackupOf("a.db", 7);
  auto const target = LocationAt("b.db");
  auto const source = tarn::CreateLocation(Wide(backup));
  auto& extension = LoadedExtension::Instance();
  EXPECT_EQ(extension->RestoreDatabase(target, source)->get_RefsCount(), 1U);
  EXPECT_EQ(target->get_RefsCount(), 1U);
  EXPECT_EQ(source->get_RefsCount(), 1U);
  auto const broken = LocationAt("backups");
  auto const missing = LocationAt("missing");
  EXPECT_NE(ThrownBy([&] { (void)extension->RestoreDatabase(target, broken); }), Thrown{});
  EXPECT_NE(ThrownBy([&] { (void)extension->RestoreDatabase(target, missing); }), Thrown{});
  EXPECT_NE(ThrownBy([&] { (void)extension->RestoreDatabase(nullptr, source); }), Thrown{});
  EXPECT_EQ(target->get_RefsCount(), 1U);
  EXPECT_EQ(broken->get_RefsCount(), 1U);
  EXPECT_EQ(missing->get_RefsCount(), 1U);
  EXPECT_EQ(source->get_RefsCount(), 1U);
  EXPECT_EQ(ValueIn("b.db"), 7);
}

TEST_F(RestoreDatabase, BringsBackEverythingThatDuckDBHolds) {
  Database const source = At("source.db");
  source->put_StorageVersion(Wide("v1.5.0"));
  source->Create();
  Run(source, EverythingSql());
  std::string const backup = BackUp(source);
  Database const restored = Restore("restored.db", backup);
  EXPECT_FALSE(restored->get_IsOpen());
  restored->Open();
  EXPECT_EQ(Fingerprint(restored), Fingerprint(source));
  EXPECT_EQ(Number(restored, "SELECT nextval('seq')"), Number(source, "SELECT nextval('seq')"));
  EXPECT_EQ(Number(restored, "SELECT twice(n) FROM b_count"), 4);
}

TEST_F(RestoreDatabase, KeepsTheStorageVersionOfTheSource) {
  for (std::string const version : {"v1.0.0", "v1.4.0", "v1.5.0"}) {
    Database const source = At("s" + version);
    source->put_StorageVersion(Wide(version));
    source->Create();
    Database const restored = Restore("r" + version, BackUp(source));
    restored->Open();
    EXPECT_EQ(Number(restored,
                     "SELECT count(*) FROM duckdb_databases() WHERE "
                     "tags['storage_version'] LIKE '" +
                         version + "%'"),
              1)
        << version;
  }
}

TEST_F(RestoreDatabase, OfAFolderWithoutOurVersionLineTakesTheNewestStorage) {
  Database const source = InMemory();
  source->Create();
  Run(source, "CREATE TABLE t AS SELECT 5::VARIANT AS v; EXPORT DATABASE '" +
                  mFolder.At("exported") + "' (FORMAT PARQUET)");
  Database const restored = Restore("a.db", mFolder.At("exported"));
  restored->Open();
  EXPECT_EQ(Number(restored, "SELECT v::INTEGER FROM t"), 5);
}

TEST_F(RestoreDatabase, ReplacesWhatWasThereAndLeavesNothingElse) {
  std::string const backup = BackupOf("a.db", 7);
  Run(Opened("a.db"), "CREATE TABLE other(a INTEGER); UPDATE t SET a = 8");
  Restore("a.db", backup);
  EXPECT_EQ(ValueIn("a.db"), 7);
  EXPECT_EQ(Number(Opened("a.db"), "SELECT count(*) FROM duckdb_tables()"), 1);
  EXPECT_THAT(mFolder.Names(), UnorderedElementsAre("a.db", "backups"));
}

TEST_F(RestoreDatabase, ThatFailsKeepsTheOldDatabase) {
  std::string const backup = BackupOf("a.db", 7);
  std::vector<std::pair<std::string, std::string>> const damages = {
      {"schema.sql", "CREATE TABLE t(a INTEGER); THIS IS NOT SQL;"},
      {"schema.sql", "CREATE TABLE u(a INTEGER);"},
      {"load.sql", "COPY t FROM 'missing.parquet' (FORMAT parquet);"},
      {"t.parquet", "not a Parquet file at all"},
  };
  for (auto const& [name, content] : damages) {
    std::string const damaged = backup + " damaged";
    fs::remove_all(damaged);
    fs::copy(backup, damaged);
    std::ofstream(damaged + "/" + name) << content;
    Thrown const thrown = ThrownByRestore("a.db", damaged);
    EXPECT_EQ(thrown.mClass, "xDuckDBError") << name;
    EXPECT_EQ(thrown.mText1, mFolder.At("a.db"));
    EXPECT_THAT(thrown.mText2, HasSubstr("exception_message"));
    EXPECT_EQ(ValueIn("a.db"), 7);
    EXPECT_THAT(mFolder.Names(), UnorderedElementsAre("a.db", "backups"));
  }
  EXPECT_EQ(ThrownByRestore("new.db", mFolder.At("backups")).mClass, "xDuckDBError");
  EXPECT_THAT(mFolder.Names(), UnorderedElementsAre("a.db", "backups"));
}

// DuckDB would import this one without an error, and the table would be empty.
TEST_F(RestoreDatabase, RefusesABackupThatWasCutShort) {
  std::string const backup = BackupOf("a.db", 7);
  std::ofstream(backup + "/load.sql").close();
  std::ofstream(backup + "/unfinished").close();
  for (char const* const target : {"a.db", "new.db"}) {
    EXPECT_EQ(ThrownByRestore(target, backup),
              DuckDBError(target, "The backup was cut short and cannot be restored"));
  }
  EXPECT_EQ(ValueIn("a.db"), 7);
  EXPECT_THAT(mFolder.Names(), UnorderedElementsAre("a.db", "backups"));
}

TEST_F(RestoreDatabase, RefusesWhatAFailedExportLeft) {
  Database const database = Created("a.db");
  Run(database, "CREATE TABLE t AS SELECT range AS a FROM range(9)");
  auto folder = LocationAt("backups");
  fs::create_directory(mFolder.At("backups"));
  tarn::lsql::gCreateBackupLocation = [](tarn::smart_ptr<tarn::I_Location> inFolder) {
    auto const backup = tarn::PrepareFolder(std::move(inFolder), "one/");
    // The place of a table's file is taken.
    fs::create_directories(fs::path(Utf8(backup->get_Path())) / "t.parquet" / "x");
    return backup;
  };
  EXPECT_THAT(ThrownBy([&] { database->Backup(folder); }).mText2, HasSubstr("t.parquet"));
  database->Close();
  EXPECT_EQ(ThrownByRestore("new.db", mFolder.At("backups/one")),
            DuckDBError("new.db", "The backup was cut short and cannot be restored"));
  EXPECT_THAT(mFolder.Names(), UnorderedElementsAre("a.db", "backups"));
}

TEST_F(RestoreDatabase, IsRefusedWhileTheTargetIsOpen) {
  std::string const backup = BackupOf("a.db", 7);
  Database const user = Opened("a.db");
  EXPECT_EQ(ThrownByRestore("a.db", backup),
            DuckDBError("a.db", "Can not be dropped. 1 connections are alive."));
  EXPECT_FALSE(AnotherProcessCanRead(mFolder.At("a.db")));
  user->Close();
  {
    ForeignLock const lock(mFolder.At("a.db"), true);
    EXPECT_EQ(ThrownByRestore("a.db", backup),
              DuckDBError("a.db", "Can not be dropped. It is in use by process " +
                                      std::to_string(lock.get_ProcessId()) + "."));
  }
  fs::create_directory(mFolder.At("folder"));
  EXPECT_EQ(ThrownByRestore("folder", backup),
            DuckDBError("folder", "Can not be dropped. It is a folder."));
  EXPECT_EQ(ValueIn("a.db"), 7);
}

TEST_F(RestoreDatabase, ReadsABackupThatWasMoved) {
  std::string const backup = BackupOf("a.db", 7);
  for (char const* const name :
       {"moved", "it's moved", "with \"quotes\" and blanks", "Größe 日本"}) {
    std::string const moved = mFolder.At(name);
    fs::copy(backup, moved);
    Restore("b.db", moved);
    EXPECT_EQ(ValueIn("b.db"), 7) << name;
    Restore("b.db", moved + "/");
    EXPECT_EQ(ValueIn("b.db"), 7) << name;
  }
}

TEST_F(RestoreDatabase, IntoPathsWithQuotesBlanksAndUnicodeWorks) {
  std::string const backup = BackupOf("it's \"a\" Größe 日本.db", 7);
  Restore("o'neil \"b\" 日本.db", backup);
  EXPECT_EQ(ValueIn("o'neil \"b\" 日本.db"), 7);
}

TEST_F(RestoreDatabase, ThroughALinkReplacesTheFileBehindIt) {
  std::string const backup = BackupOf("a.db", 7);
  BackupOf("b.db", 8);
  fs::create_symlink("b.db", mFolder.At("link.db"));
  Restore("link.db", backup);
  EXPECT_TRUE(fs::is_symlink(mFolder.At("link.db")));
  EXPECT_EQ(ValueIn("b.db"), 7);
}

TEST_F(RestoreDatabase, IntoMemoryGivesAClosedObject) {
  std::string const backup = BackupOf("a.db", 7);
  auto const database = LoadedExtension::Instance()->RestoreDatabase(
      tarn::CreateLocation(Wide(":memory:")), tarn::CreateLocation(Wide(backup)));
  ASSERT_TRUE(database);
  EXPECT_FALSE(database->get_IsOpen());
}

// Leaves a log behind, as a killed process does.
int UnfinishedJob(Arguments const& inArguments) {
  auto const database = LoadedExtension::Instance().Database(inArguments.at(0));
  database->Open();
  database->ExecuteSQL(Wide("INSERT INTO t VALUES (100)"), nullptr);
  _exit(0);
}

ChildJob const gUnfinishedJob("restore-unfinished", UnfinishedJob);

TEST_F(RestoreDatabase, IsNotMixedWithTheLogOfTheOldDatabase) {
  std::string const backup = BackupOf("a.db", 7);
  ASSERT_EQ(RunChild("restore-unfinished", {mFolder.At("a.db")}).mExitCode, 0);
  ASSERT_TRUE(fs::exists(mFolder.At("a.db.wal")));
  std::string const broken = mFolder.At("broken");
  fs::create_directory(broken);
  EXPECT_NE(ThrownByRestore("a.db", broken), Thrown{});
  EXPECT_EQ(ValueIn("a.db"), 107);
  ASSERT_EQ(RunChild("restore-unfinished", {mFolder.At("a.db")}).mExitCode, 0);
  Restore("a.db", backup);
  EXPECT_EQ(ValueIn("a.db"), 7);
}

TEST_F(RestoreDatabase, ReplacesADamagedDatabaseWithItsLog) {
  std::string const backup = BackupOf("a.db", 7);
  std::ofstream(mFolder.At("a.db"), std::ios::trunc) << std::string(20000, 'x');
  mFolder.Write("a.db.wal", std::string(5000, 'y'));
  Restore("a.db", backup);
  EXPECT_EQ(ValueIn("a.db"), 7);
  EXPECT_THAT(mFolder.Names(), UnorderedElementsAre("a.db", "backups"));
}

TEST_F(RestoreDatabase, InterruptedBetweenItsRenamesIsUndoneByTheNextLook) {
  std::string const backup = BackupOf("a.db", 7);
  for (std::string const look : {"open", "create", "drop", "restore"}) {
    Restore("a.db", backup);
    ASSERT_EQ(RunChild("restore-unfinished", {mFolder.At("a.db")}).mExitCode, 0);
    fs::rename(mFolder.At("a.db"), mFolder.At("a.db.lumora-replaced"));
    fs::rename(mFolder.At("a.db.wal"), mFolder.At("a.db.lumora-replaced.wal"));
    mFolder.Write("a.db.lumora-restoring", "half");
    mFolder.Write("a.db.lumora-restoring.creating", "half");
    if (look == "open") EXPECT_EQ(ValueIn("a.db"), 107);
    if (look == "create") At("a.db")->Create();
    if (look == "drop") At("a.db")->Drop();
    if (look == "restore") Restore("a.db", backup);
    EXPECT_FALSE(fs::exists(mFolder.At("a.db.lumora-replaced"))) << look;
    EXPECT_FALSE(fs::exists(mFolder.At("a.db.lumora-replaced.wal"))) << look;
    At("a.db")->Drop();
    EXPECT_THAT(mFolder.Names(), ElementsAre("backups")) << look;
  }
}

TEST_F(RestoreDatabase, KeepsThePermissionsOfTheFile) {
  std::string const backup = BackupOf("a.db", 7);
  fs::permissions(mFolder.At("a.db"), fs::perms::owner_read | fs::perms::owner_write);
  Restore("a.db", backup);
  EXPECT_EQ(fs::status(mFolder.At("a.db")).permissions(),
            fs::perms::owner_read | fs::perms::owner_write);
}

}  // namespace
