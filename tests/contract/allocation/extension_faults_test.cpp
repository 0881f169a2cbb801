// The operations of the extension object, backup and restore.
#include <fmt/format.h>

#include <filesystem>

#include "FaultTest.h"
#include "support/BackupTest.h"

namespace {

using namespace lumora::test;

class AnExtension : public FaultTest {
 protected:
  static LoadedExtension& Object() { return LoadedExtension::Instance(); }
  static tarn::smart_ptr<tarn::I_Location> Location(std::string const& inPath) {
    return tarn::CreateLocation(Wide(inPath));
  }
};

TEST_F(AnExtension, MakesADatabaseObjectOrThrows) {
  auto const location = Location(mFolder.At("a database with a name that is long.db"));
  CheckEveryAllocation({.mPrepare = {},
                        .mRun =
                            [&] {
                              auto const database = Object()->CreateDatabase(location);
                              return Utf8(database->get_Path());
                            },
                        .mCheck = {},
                        .mAccepts = {}});
}

TEST_F(AnExtension, RefusesANullLocationOrThrows) {
  CheckEveryAllocation({.mPrepare = {},
                        .mRun =
                            [&] {
                              (void)Object()->CreateDatabase(nullptr);
                              return "made";
                            },
                        .mCheck = {},
                        .mAccepts = {}});
}

TEST_F(AnExtension, TellsWhetherADatabaseIsOpenOrThrows) {
  Database const database = Created("a database with a name that is long.db");
  tarn::String const path = database->get_Path();
  CheckEveryAllocation({.mPrepare = {},
                        .mRun =
                            [&] {
                              return fmt::format("{} {}", Object()->get_IsDatabaseOpen(path),
                                                 Object()->IsInMemoryPath(path));
                            },
                        .mCheck = {},
                        .mAccepts = {}});
  database->Close();
}

// "No" is its answer whenever it cannot tell.
TEST_F(AnExtension, NeverThrowsWhenAskedForADuckDBFile) {
  auto const location = Location(MakeFile("a database with a name that is long.db"));
  CheckEveryAllocation({.mPrepare = {},
                        .mRun = [&] { return Object()->IsDuckDBFile(location) ? "yes" : "no"; },
                        .mCheck = {},
                        .mAccepts = [](std::string const& answer) { return answer == "no"; }});
}

class ABackup : public BackupTest {
 protected:
  Database Source() const {
    Database const source = At("source.db");
    tarn::lsql::DuckDBSettings settings;
    settings.mThreads = 1;
    source->put_Settings(settings);
    source->Create();
    Run(source,
        "CREATE TABLE t AS SELECT 1 AS a, INTERVAL 1 DAY AS delicate; "
        "CREATE TYPE e AS ENUM ('a', 'b'); CREATE VIEW b_view AS SELECT a FROM t; "
        "CREATE VIEW a_view AS SELECT a FROM b_view");
    return source;
  }
  void RemoveBackups() const { std::filesystem::remove_all(mFolder.At("backups")); }
};

TEST_F(ABackup, IsWrittenOrThrowsAndTheDatabaseGoesOn) {
  Database const source = Source();
  auto const backups = mFolder.At("backups");
  tarn::smart_ptr<tarn::I_Location> folder;
  CheckEveryAllocation({.mPrepare =
                            [&] {
                              std::filesystem::create_directory(backups);
                              folder = tarn::CreateLocation(Wide(backups));
                            },
                        .mRun =
                            [&] {
                              source->Backup(folder);
                              return "written";
                            },
                        .mCheck =
                            [&] {
                              folder.reset();
                              EXPECT_EQ(Number(source, "SELECT sum(a) FROM a_view"), 1);
                              // The database that schemas are tried in is kept from one to the
                              // next.
                              (void)BackUp(source);
                              RemoveBackups();
                            },
                        .mAccepts = {},
                        .mSamples = 15});
  source->Close();
}

TEST_F(ABackup, IsRestoredOrWhatWasThereStays) {
  Database const source = Source();
  std::string const backup = BackUp(source);
  source->Close();
  Attempt attempt;
  attempt.mSamples = 15;
  attempt.mPrepare = [&] { MakeFile("target.db"); };
  auto const target = LocationAt("target.db");
  auto const from = tarn::CreateLocation(Wide(backup));
  attempt.mRun = [&] {
    auto const restored = LoadedExtension::Instance()->RestoreDatabase(target, from);
    return restored ? "restored" : "not restored";
  };
  attempt.mCheck = [&] {
    Database const database = Opened("target.db");
    EXPECT_EQ(Number(database, "SELECT sum(a) FROM t"), 1);
    database->Drop();
    EXPECT_EQ(mFolder.Names(), (std::set<std::string>{"backups", "source.db"}));
  };
  CheckEveryAllocation(attempt);
}

}  // namespace
