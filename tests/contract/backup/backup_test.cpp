#include <filesystem>

#include "support/BackupTest.h"

namespace {

namespace fs = std::filesystem;
using namespace lumora::test;
using tarn::I_Location;
using tarn::smart_ptr;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using testing::UnorderedElementsAre;

constexpr char const* kNotAvailable = "DuckDBDatabase backup folder is not available";

std::vector<std::string> NamesIn(std::string const& inPath) {
  std::vector<std::string> names;
  for (auto const& entry : fs::directory_iterator(inPath)) {
    names.push_back(entry.path().filename().string());
  }
  return names;
}

class Backup : public BackupTest {
 protected:
  Thrown ThrownByBackup(Database const& inDatabase, smart_ptr<I_Location> inFolder) {
    return ThrownBy([&] { inDatabase->Backup(inFolder); });
  }
};

TEST_F(Backup, OfAClosedDatabaseFailsAndWritesNothing) {
  MakeFile("a.db");
  fs::create_directory(mFolder.At("backups"));
  EXPECT_EQ(ThrownByBackup(At("a.db"), LocationAt("backups")),
            DuckDBError("a.db", "DuckDBDatabase is not open"));
  EXPECT_THAT(NamesIn(mFolder.At("backups")), IsEmpty());
}

TEST_F(Backup, GoesIntoTheServersFolderWhateverTheCallerWished) {
  MakeFile("a.db");
  fs::create_directory(mFolder.At("server"));
  fs::create_directory(mFolder.At("wished"));
  static smart_ptr<I_Location> sServer;
  sServer = LocationAt("server");
  tarn::lsql::gServerBackupLocation = [] { return sServer; };
  smart_ptr<I_Location> folder = LocationAt("wished");
  Opened("a.db")->Backup(folder);
  EXPECT_EQ(folder, sServer);
  EXPECT_THAT(NamesIn(mFolder.At("server")), SizeIs(1));
  EXPECT_THAT(NamesIn(mFolder.At("wished")), IsEmpty());
  sServer.reset();
}

TEST_F(Backup, KeepsTheCallersFolderWhenTheServerHasNone) {
  MakeFile("a.db");
  fs::create_directory(mFolder.At("wished"));
  tarn::lsql::gServerBackupLocation = [] { return smart_ptr<I_Location>(); };
  smart_ptr<I_Location> const wished = LocationAt("wished");
  smart_ptr<I_Location> folder = wished;
  Opened("a.db")->Backup(folder);
  EXPECT_EQ(folder, wished);
  EXPECT_THAT(NamesIn(mFolder.At("wished")), SizeIs(1));
}

// The export has a hold of its own from the beginning.
TEST_F(Backup, IsWholeThoughAHookClosesTheDatabase) {
  MakeFile("a.db");
  static Database sDatabase;
  sDatabase = Opened("a.db");
  tarn::lsql::gCreateBackupLocation = [](smart_ptr<I_Location> inFolder) {
    sDatabase->Close();
    return tarn::PrepareFolder(std::move(inFolder), "one/");
  };
  smart_ptr<I_Location> folder;
  sDatabase->Backup(folder);
  EXPECT_FALSE(sDatabase->get_IsOpen());
  sDatabase.reset();
  Database const restored = Restore("b.db", mFolder.At("Backup/one"));
  restored->Open();
  EXPECT_EQ(Number(restored, "SELECT sum(a) FROM t"), 1);
}

TEST_F(Backup, GoesBesideTheDatabaseWhenNobodyNamesAFolder) {
  MakeFile("a.db");
  smart_ptr<I_Location> folder;
  Opened("a.db")->Backup(folder);
  ASSERT_TRUE(folder);
  EXPECT_TRUE(fs::equivalent(Utf8(folder->get_Path()), mFolder.At("Backup")));
  EXPECT_THAT(NamesIn(mFolder.At("Backup")), SizeIs(1));
}

TEST_F(Backup, NeedsAFolderThatIsThere) {
  Database const database = Created("a.db");
  mFolder.Write("file", "x");
  auto const expected = DuckDBError("a.db", kNotAvailable);
  EXPECT_EQ(ThrownByBackup(database, LocationAt("missing")), expected);
  EXPECT_EQ(ThrownByBackup(database, LocationAt("file")), expected);
  Database const memory = InMemory();
  memory->Create();
  EXPECT_EQ(ThrownByBackup(memory, nullptr).mText2, kNotAvailable);
  fs::create_directory(mFolder.At("backups"));
  tarn::lsql::gCreateBackupLocation = [](smart_ptr<I_Location>) { return smart_ptr<I_Location>(); };
  EXPECT_EQ(ThrownByBackup(database, LocationAt("backups")), expected);
  tarn::lsql::gCreateBackupLocation = nullptr;
  EXPECT_EQ(ThrownByBackup(database, LocationAt("backups")), expected);
  EXPECT_THAT(NamesIn(mFolder.At("backups")), IsEmpty());
  Run(database, "CREATE TABLE still_works(a INTEGER)");
}

TEST_F(Backup, HoldsAMarkerAndParquetFilesOfTheFixedKind) {
  MakeFile("a.db");
  Database const database = Opened("a.db");
  std::string const path = BackUp(database);
  EXPECT_THAT(NamesIn(path), UnorderedElementsAre("a.db." + std::string(tarn::glDuckDB_backup_sfx),
                                                  "schema.sql", "load.sql", "t.parquet"));
  EXPECT_EQ(
      mFolder.Read(
          fs::relative(path + "/a.db." + tarn::glDuckDB_backup_sfx, mFolder.get_Path()).string()),
      tarn::glDuckDB_backup_sfx);
  EXPECT_EQ(Number(database, "SELECT count(*) FROM parquet_metadata('" + path +
                                 "/t.parquet') WHERE compression = 'ZSTD'"),
            1);
}

TEST_F(Backup, WithoutExternalAccessTellsDuckDBsText) {
  MakeFile("a.db");
  Database const database = At("a.db");
  tarn::lsql::DuckDBSettings settings;
  settings.mExternalAccess = false;
  database->put_Settings(settings);
  database->Open();
  fs::create_directory(mFolder.At("backups"));
  Thrown const thrown = ThrownByBackup(database, LocationAt("backups"));
  EXPECT_EQ(thrown.mClass, "xDuckDBError");
  EXPECT_THAT(thrown.mText2, HasSubstr("file system operations are disabled by configuration"));
  EXPECT_EQ(Number(database, "SELECT sum(a) FROM t"), 1);
}

TEST_F(Backup, InAPlaceThatCannotBeWrittenTellsWhereAndWhy) {
  Database const database = Created("a.db");
  Thrown const thrown = ThrownByBackup(database, tarn::CreateLocation(Wide("/proc")));
  EXPECT_EQ(thrown.mClass, "xException");
  EXPECT_THAT(thrown.mText1, StartsWith("/proc"));
  Run(database, "CREATE TABLE still_works(a INTEGER)");
}

TEST_F(Backup, TellsAtOnceWhatARestoreWouldLose) {
  Database const database = Created("a.db");
  Run(database, "CREATE TABLE s(k INTEGER PRIMARY KEY, p INTEGER REFERENCES s(k))");
  fs::create_directory(mFolder.At("backups"));
  Thrown const thrown = ThrownByBackup(database, LocationAt("backups"));
  EXPECT_EQ(thrown.mCode, 0x72501U);
  EXPECT_THAT(thrown.mText2, AllOf(StartsWith("The backup was written, but"),
                                   HasSubstr("constraint of table main.s (FOREIGN KEY")));
  EXPECT_THAT(NamesIn(mFolder.At("backups")), SizeIs(1));
}

TEST_F(Backup, TellsAtOnceThatAViewCannotBeMadeAgain) {
  Database const database = Created("a.db");
  Run(database, "CREATE TABLE base(a INTEGER); CREATE VIEW v AS SELECT * FROM base");
  Run(database, "DROP TABLE base");
  fs::create_directory(mFolder.At("backups"));
  EXPECT_THAT(ThrownByBackup(database, LocationAt("backups")).mText2,
              AllOf(StartsWith("The backup was written, but"), HasSubstr("base")));
}

TEST_F(Backup, InsideATransactionHoldsWhatItWrote) {
  MakeFile("a.db");
  Database const database = Opened("a.db");
  Run(database, "BEGIN; INSERT INTO t VALUES (41); CREATE TABLE late(b INTEGER)");
  std::string const path = BackUp(database);
  Run(database, "ROLLBACK");
  Database const restored = Restore("b.db", path);
  restored->Open();
  EXPECT_EQ(Number(restored, "SELECT sum(a) FROM t"), 42);
  EXPECT_EQ(Number(restored, "SELECT count(*) FROM late"), 0);
}

TEST_F(Backup, TellsAtOnceWhichValuesParquetDoesNotHold) {
  std::vector<std::pair<std::string, std::string>> const cases = {
      {"INTERVAL '1 microsecond'", "column \"c\" INTERVAL"},
      {"'12:00:00+02'::TIMETZ", "TIME WITH TIME ZONE"},
      {"{'a': [1, 2]::INTEGER[2]}", "Can't remap type"},
  };
  for (auto const& [value, text] : cases) {
    Database const database = Created("a.db");
    Run(database, "CREATE TABLE t AS SELECT " + value + " AS c");
    fs::create_directory(mFolder.At("backups"));
    EXPECT_THAT(ThrownByBackup(database, LocationAt("backups")).mText2,
                AllOf(StartsWith("The backup was written, but"), HasSubstr(text)))
        << value;
  }
}

TEST_F(Backup, HoldsTheValuesOfWideIntegersAndArrays) {
  for (std::string const value :
       {"'170141183460469231731687303715884105727'::HUGEINT", "[9007199254740993::UHUGEINT]",
        "{'a': 9007199254740993::HUGEINT}", "[1, 2]::INTEGER[2]", "[[1, 2]::INTEGER[2]]",
        "'9007199254740993'::HUGEINT::VARIANT", "INTERVAL '1 month 3 days 5 milliseconds'"}) {
    Database const database = At("a.db");
    database->put_StorageVersion(Wide("v1.5.0"));
    database->Create();
    Run(database, "CREATE TABLE t AS SELECT " + value + " AS c");
    Database const restored = Restore("b.db", BackUp(database));
    restored->Open();
    EXPECT_EQ(Fingerprint(restored), Fingerprint(database)) << value;
  }
}

// To load rows for comparing gives their number, and numbers of all sizes are met.
TEST_F(Backup, ComparesTheFilesOfTablesWithAnyNumberOfRows) {
  for (int const rows : {0, 1, 12, 13, 2048, 2049, 300000}) {
    Database const database = Created("a.db");
    Run(database, "CREATE TABLE t AS SELECT range::HUGEINT << 64 AS h, range AS i FROM range(" +
                      std::to_string(rows) + ")");
    Database const restored = Restore("b.db", BackUp(database));
    restored->Open();
    EXPECT_EQ(Number(restored, "SELECT count(*) FROM t WHERE h = i::HUGEINT << 64"), rows);
  }
}

}  // namespace
