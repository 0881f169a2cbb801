#include <cstdio>
#include <filesystem>
#include <iostream>

#include "support/BackupTest.h"
#include "support/ChildProcess.h"
#include "support/SmallDisk.h"

// Backup and restore when the disk is full: on a small file system where the test may mount one,
// and otherwise with a limit on what a file may grow to.
namespace {

namespace fs = std::filesystem;
using namespace lumora::test;
using testing::AnyOf;
using testing::HasSubstr;
using testing::StartsWith;

// The big table needs some 4 MB, also in Parquet.
constexpr int kRows = 500000;
constexpr char const* kMakeRows =
    "CREATE OR REPLACE TABLE t AS SELECT hash(range) AS a FROM range(500000)";
constexpr long kSmallDisk = 1000000;

// "disk" or "limit", and what was thrown.
void Tell(bool inIsDisk, Thrown const& inThrown) {
  std::printf("%s %s 0x%x %s", inIsDisk ? "disk" : "limit", inThrown.mClass.c_str(), inThrown.mCode,
              inThrown.mText2.c_str());
}

bool FillUp(std::string const& inFolder) {
  bool const isDisk = MountSmallDisk(inFolder, kSmallDisk);
  if (!isDisk) LimitFileSizes(kSmallDisk);
  return isDisk;
}

std::int64_t Count(std::string const& inPath) {
  auto const database = LoadedExtension::Instance().Database(inPath);
  database->Open();
  auto const cursor = database->ExecuteQuery(Wide("SELECT count(*) FROM t"), 1, nullptr);
  return cursor->NextRecord() ? cursor->get_Value(0)->get_LLong() : -1;
}

// DATABASE FOLDER: the backup goes to the full disk.
int BackupJob(Arguments const& inArguments) {
  bool const isDisk = FillUp(inArguments.at(1));
  auto const database = LoadedExtension::Instance().Database(inArguments.at(0));
  database->Open();
  auto folder = tarn::CreateLocation(Wide(inArguments.at(1)));
  Tell(isDisk, ThrownBy([&] { database->Backup(folder); }));
  database->Close();
  return Count(inArguments.at(0)) == kRows ? 0 : 1;
}
ChildJob const gBackupJob("backup-full-disk", BackupJob);

// BACKUP FOLDER: a database on the full disk is restored from a backup that has no room there.
int RestoreJob(Arguments const& inArguments) {
  bool const isDisk = FillUp(inArguments.at(1));
  std::string const path = inArguments.at(1) + "/old.db";
  {
    auto const database = LoadedExtension::Instance().Database(path);
    database->Create();
    database->ExecuteSQL(Wide("CREATE TABLE t AS SELECT 1 AS a"), nullptr);
    database->Close();
  }
  Tell(isDisk, ThrownBy([&] {
         (void)LoadedExtension::Instance()->RestoreDatabase(
             tarn::CreateLocation(Wide(path)), tarn::CreateLocation(Wide(inArguments.at(0))));
       }));
  bool const isAlone = std::distance(fs::directory_iterator(inArguments.at(1)), {}) == 1;
  return isAlone && Count(path) == 1 ? 0 : 1;
}
ChildJob const gRestoreJob("restore-full-disk", RestoreJob);

class FullDisk : public BackupTest {
 protected:
  // What the child tells after the kind of full disk.
  std::string Told(std::string const& inJob, Arguments const& inArguments) {
    ChildResult const result = RunChild(inJob, inArguments);
    EXPECT_EQ(result.mExitCode, 0) << result.mOutput;
    bool const isDisk = result.mOutput.starts_with("disk ");
    RecordProperty("full_disk", isDisk ? "a small file system" : "a limit on the size of files");
    if (!isDisk) std::cout << "No file system may be mounted here: a limit on files stands in\n";
    EXPECT_THAT(result.mOutput, HasSubstr(isDisk ? "No space left on device" : "File too large"));
    return result.mOutput.substr(result.mOutput.find(' ') + 1);
  }
};

TEST_F(FullDisk, BackupTellsDuckDBsTextAndHarmsNothing) {
  Run(Created("a.db"), kMakeRows);
  fs::create_directory(mFolder.At("backups"));
  EXPECT_THAT(Told("backup-full-disk", {mFolder.At("a.db"), mFolder.At("backups")}),
              StartsWith("xDuckDBError 0x72501 "));
  EXPECT_EQ(Number(Opened("a.db"), "SELECT count(*) FROM t"), kRows);
}

TEST_F(FullDisk, RestoreTellsDuckDBsTextAndKeepsTheOldDatabase) {
  std::string backup;
  {
    Database const database = Created("a.db");
    Run(database, kMakeRows);
    backup = BackUp(database);
  }
  fs::create_directory(mFolder.At("small"));
  EXPECT_THAT(Told("restore-full-disk", {backup, mFolder.At("small")}),
              StartsWith("xDuckDBError 0x72501 "));
}

}  // namespace
