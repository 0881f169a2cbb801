// What other processes see of a file, and what this one sees of theirs.
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "support/ChildProcess.h"
#include "support/DatabaseTest.h"
#include "support/FileLock.h"

namespace {

namespace fs = std::filesystem;
using namespace lumora::test;
using tarn::lsql::DuckDBSettings;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// Opens, and tells "read-write" or "read-only" and the rows of t, or the error.
int OpenJob(Arguments const& inArguments) {
  Thrown const thrown = ThrownBy([&] {
    auto const database = LoadedExtension::Instance().Database(inArguments.at(0));
    database->Open();
    auto const cursor = database->ExecuteQuery(Wide("SELECT count(*) FROM t"), 1, nullptr);
    cursor->NextRecord();
    std::printf("%s %lld", database->get_IsReadOnly() ? "read-only" : "read-write",
                static_cast<long long>(cursor->get_Value(0)->get_LLong()));
  });
  if (thrown == Thrown{}) return 0;
  std::printf("%s 0x%x %s %s", thrown.mClass.c_str(), thrown.mCode, thrown.mText1.c_str(),
              thrown.mText2.c_str());
  return 3;
}

// The same as a user without rights.
int OpenPoorJob(Arguments const& inArguments) {
  constexpr unsigned kNobody = 65534;
  LoadedExtension::Instance();
  if (geteuid() == 0 && (setgid(kNobody) != 0 || setuid(kNobody) != 0)) return 4;
  prctl(PR_SET_DUMPABLE, 1);  // the leak checker reads its own process
  return OpenJob(inArguments);
}

// True when the folder is on a disk that may not be written, for this process alone. It is so when
// the process may have mounts of its own: as root, or where any user may be one in a space of
// users.
bool MakeFolderReadOnly(char const* inFolder) {
  bool const mine = unshare(CLONE_NEWNS) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0;
  return mine && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount(inFolder, inFolder, nullptr, MS_BIND, nullptr) == 0 &&
         mount(nullptr, inFolder, nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr) == 0;
}

constexpr int kNoMounts = 5;

// FOLDER FILE: the same on a read-only disk. After that it tells what Create and Drop say there.
int OpenOnReadOnlyDiskJob(Arguments const& inArguments) {
  if (!MakeFolderReadOnly(inArguments.at(0).c_str())) return kNoMounts;
  int const opened = OpenJob({inArguments.at(1)});
  auto const database = LoadedExtension::Instance().Database(inArguments.at(1));
  for (auto const operation :
       {&tarn::lsql::I_DuckDBDatabase::Create, &tarn::lsql::I_DuckDBDatabase::Drop}) {
    Thrown const thrown = ThrownBy([&] { (database.get()->*operation)(); });
    std::printf("; %s %s", thrown.mClass.c_str(), thrown.mText2.c_str());
  }
  return opened;
}

// Opens, tells so, and keeps it until the process is killed.
int HoldJob(Arguments const& inArguments) {
  auto const database = LoadedExtension::Instance().Database(inArguments.at(0));
  DuckDBSettings settings;
  settings.mWritable = inArguments.at(1) == "read-write";
  database->put_Settings(settings);
  database->Open();
  std::printf("open\n");
  std::fflush(stdout);
  for (;;) pause();
}

// Commits a row and goes without closing, so that a log stays.
int CommitAndDieJob(Arguments const& inArguments) {
  auto const database = LoadedExtension::Instance().Database(inArguments.at(0));
  database->Open();
  database->ExecuteSQL(Wide("INSERT INTO t VALUES (2)"), nullptr);
  _exit(0);
}

ChildJob const gOpenJob("open", OpenJob);
ChildJob const gCommitAndDieJob("commit-and-die", CommitAndDieJob);
ChildJob const gOpenPoorJob("open-poor", OpenPoorJob);
ChildJob const gOpenOnReadOnlyDiskJob("open-on-read-only-disk", OpenOnReadOnlyDiskJob);
ChildJob const gHoldJob("hold", HoldJob);

class ForeignProcess : public DatabaseTest {
 protected:
  Database OpenedReadOnly(std::string const& inName) const {
    Database database = At(inName);
    DuckDBSettings settings;
    settings.mWritable = 0;
    database->put_Settings(settings);
    database->Open();
    return database;
  }
};

TEST_F(ForeignProcess, CannotOpenAFileThatIsOpenHereReadWrite) {
  std::string const path = MakeFile("a.db");
  Database const database = Opened("a.db");
  ChildResult const child = RunChild("open", {path});
  EXPECT_EQ(child.mExitCode, 3);
  EXPECT_THAT(child.mOutput, AllOf(HasSubstr("xException 0x99000"), HasSubstr("Conflicting lock"),
                                   HasSubstr(std::to_string(getpid()))));
  database->Close();
  EXPECT_EQ(RunChild("open", {path}).mOutput, "read-write 1");
}

TEST_F(ForeignProcess, OpensReadOnlyWhatIsOpenHereReadOnly) {
  std::string const path = MakeFile("a.db");
  Database const first = OpenedReadOnly("a.db");
  Database const second = OpenedReadOnly("a.db");
  EXPECT_EQ(RunChild("open", {path}).mOutput, "read-only 1");
  first->Close();
  EXPECT_EQ(RunChild("open", {path}).mOutput, "read-only 1");
  second->Close();
  EXPECT_EQ(RunChild("open", {path}).mOutput, "read-write 1");
}

TEST_F(ForeignProcess, ThatHoldsTheFileReadWriteIsNamedInTheError) {
  std::string const path = MakeFile("a.db");
  ChildProcess child("hold", {path, "read-write"});
  ASSERT_EQ(child.ReadLine(), "open");
  Thrown const thrown = ThrownBy([&] { Opened("a.db"); });
  EXPECT_EQ(thrown.mClass, "xException");
  EXPECT_EQ(thrown.mCode, 0x99000U);
  EXPECT_THAT(thrown.mText1, AllOf(HasSubstr("Conflicting lock"),
                                   HasSubstr(std::to_string(child.get_ProcessId()))));
  EXPECT_NE(ThrownBy([&] { Created("a.db"); }), Thrown{});
  child.Kill();
  child.Wait();
  EXPECT_EQ(Number(Opened("a.db"), "SELECT count(*) FROM t"), 1);
}

TEST_F(ForeignProcess, ThatHoldsTheFileReadOnlyMakesAnOpenReadOnly) {
  std::string const path = MakeFile("a.db");
  ChildProcess child("hold", {path, "read-only"});
  ASSERT_EQ(child.ReadLine(), "open");
  Database const database = Opened("a.db");
  EXPECT_TRUE(database->get_IsReadOnly());
  EXPECT_THAT(ThrownBy([&] { Run(database, "INSERT INTO t VALUES (2)"); }).mText2,
              HasSubstr("read-only"));
}

TEST_F(ForeignProcess, AFileWithoutWritePermissionOpensReadOnly) {
  std::string const path = MakeFile("a.db");
  fs::permissions(path, fs::perms(0444));
  fs::permissions(mFolder.get_Path(), fs::perms(0755));
  EXPECT_EQ(RunChild("open-poor", {path}).mOutput, "read-only 1");
}

TEST_F(ForeignProcess, AFileOnAReadOnlyDiskOpensReadOnlyWithItsLogAndStays) {
  std::string const path = MakeFile("a.db");
  ASSERT_EQ(RunChild("commit-and-die", {path}).mExitCode, 0);
  ASSERT_THAT(mFolder.Names(), testing::UnorderedElementsAre("a.db", "a.db.wal"));
  ChildResult const child = RunChild("open-on-read-only-disk", {mFolder.get_Path(), path});
  if (child.mExitCode == kNoMounts) {
    // No mounts here: a folder without rights is the nearest thing. It keeps the log from going.
    std::printf("no mounts of its own: tried with permissions instead of a read-only disk\n");
    for (char const* const name : {"a.db", "a.db.wal"})
      fs::permissions(mFolder.At(name), fs::perms(0444));
    fs::permissions(mFolder.get_Path(), fs::perms(0555));
    EXPECT_EQ(RunChild("open-poor", {path}).mOutput, "read-only 2");
    fs::permissions(mFolder.get_Path(), fs::perms(0755));
  } else {
    EXPECT_EQ(child.mExitCode, 0);
    EXPECT_THAT(child.mOutput, testing::StartsWith("read-only 2; xDuckDBError "));
    EXPECT_THAT(child.mOutput,
                testing::ContainsRegex("Read-only file system.*Read-only file system"));
  }
  EXPECT_EQ(Number(Opened("a.db"), "SELECT count(*) FROM t"), 2);
}

TEST_F(ForeignProcess, AFileWithoutReadPermissionIsDuckDbsError) {
  std::string const path = MakeFile("a.db");
  fs::permissions(path, fs::perms(0));
  fs::permissions(mFolder.get_Path(), fs::perms(0755));
  ChildResult const child = RunChild("open-poor", {path});
  EXPECT_EQ(child.mExitCode, 3);
  EXPECT_THAT(child.mOutput, HasSubstr("Permission denied"));
}

TEST_F(ForeignProcess, IsKeptOutAfterEveryOperationOnAnOpenFile) {
  auto& extension = LoadedExtension::Instance();
  std::string const path = MakeFile("a.db");
  fs::create_symlink("a.db", mFolder.At("link.db"));
  fs::create_hard_link(path, mFolder.At("hard.db"));
  Database const database = Opened("a.db");
  auto const check = [&](char const* inAfter) {
    EXPECT_FALSE(AnotherProcessCanRead(path)) << "after " << inAfter;
  };
  check("Open");
  for (char const* const name : {"a.db", "link.db", "hard.db"}) {
    auto const location = tarn::CreateLocation(Wide(mFolder.At(name)));
    EXPECT_TRUE(extension->IsDuckDBFile(location));
    check("IsDuckDBFile");
    EXPECT_TRUE(location->get_Exists());
    (void)location->get_Key();
    check("the location's questions");
    (void)extension->get_IsDatabaseOpen(Wide(mFolder.At(name)));
    check("get_IsDatabaseOpen");
    Database const other = At(name);
    EXPECT_TRUE(other->get_Exists());
    check("get_Exists");
    EXPECT_NE(ThrownBy([&] { other->Drop(); }), Thrown{});
    check("a refused Drop");
    EXPECT_NE(ThrownBy([&] { other->Create(); }), Thrown{});
    check("a refused Create");
    other->Open();
    check("an Open of another object");
    Run(other, "INSERT INTO t VALUES (2); CHECKPOINT;");
    check("a checkpoint");
    other->Close();
    check("a Close of another object");
  }
  EXPECT_EQ(Number(database, "SELECT count(*) FROM t"), 4);
  check("a query");
  database->Close();
  EXPECT_TRUE(AnotherProcessCanWrite(path));
}

TEST_F(ForeignProcess, ThatIsKilledLeavesEveryCommit) {
  std::string const path = MakeFile("a.db");
  Database database = Opened("a.db");
  Run(database, "INSERT INTO t VALUES (2)");
  database->Close();
  EXPECT_EQ(RunChild("open", {path}).mOutput, "read-write 2");
}

TEST_F(ForeignProcess, SurvivesADamagedFile) {
  std::string const path = MakeFile("a.db");
  std::string const whole = mFolder.Read("a.db");
  int refused = 0;
  for (std::size_t const at : {0U, 8U, 12U, 40U, 4096U, 4200U, 8192U, 8300U, 12288U, 12300U}) {
    std::string damaged = whole;
    for (std::size_t i = at; i < at + 8; ++i) damaged.at(i) = static_cast<char>(~damaged.at(i));
    mFolder.Write("b.db", damaged);
    ChildResult const child = RunChild("open", {mFolder.At("b.db")});
    EXPECT_EQ(child.mSignal, 0) << "damaged at " << at;
    refused += child.mExitCode == 3;
    if (child.mExitCode != 0) EXPECT_THAT(child.mOutput, HasSubstr("0x")) << at;
  }
  EXPECT_GT(refused, 4);
  for (std::size_t const size : {1U, 100U, 4096U, 8192U, 12288U}) {
    mFolder.Write("b.db", whole.substr(0, size));
    ChildResult const child = RunChild("open", {mFolder.At("b.db")});
    EXPECT_EQ(child.mExitCode, 3) << "cut to " << size;
    EXPECT_THAT(child.mOutput, HasSubstr("xException 0x99000")) << size;
  }
}

TEST_F(ForeignProcess, AFileOfANewerDuckDbIsDuckDbsError) {
  std::string const path = MakeFile("a.db");
  std::string newer = mFolder.Read("a.db");
  constexpr std::size_t kVersion = 12;  // behind the checksum and "DUCK"
  newer.at(kVersion) = 99;
  mFolder.Write("b.db", newer);
  ChildResult const child = RunChild("open", {mFolder.At("b.db")});
  EXPECT_EQ(child.mExitCode, 3);
  EXPECT_THAT(child.mOutput, AllOf(HasSubstr("xException 0x99000"), HasSubstr("99")));
}

}  // namespace
