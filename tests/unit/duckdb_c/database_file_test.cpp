#include "duckdb_c/DatabaseFile.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "duckdb_c/FileStatus.h"
#include "support/FileLock.h"
#include "support/TempFolder.h"

namespace {

namespace fs = std::filesystem;
using lumora::duckdb_c::Access;
using lumora::duckdb_c::BuildAttachSql;
using lumora::duckdb_c::ConfigHandle;
using lumora::duckdb_c::ConnectionHandle;
using lumora::duckdb_c::CountFileUsers;
using lumora::duckdb_c::FileReservation;
using lumora::duckdb_c::LocalPathOf;
using lumora::duckdb_c::OpenDatabase;
using lumora::duckdb_c::OpenDatabaseFile;
using lumora::duckdb_c::OpenRequest;
using lumora::duckdb_c::ResultHandle;
using lumora::test::AnotherProcessCanRead;
using lumora::test::AnotherProcessCanWrite;
using lumora::test::LockThief;
using lumora::test::TempFolder;
using testing::HasSubstr;
using testing::IsEmpty;
using User = std::shared_ptr<OpenDatabase>;

User Open(std::string const& inPath, Access inAccess, std::string& outError) {
  ConfigHandle config;
  duckdb_create_config(config.out());
  duckdb_set_config(config.get(), "access_mode",
                    inAccess == Access::kReadOnly ? "READ_ONLY" : "READ_WRITE");
  return OpenDatabaseFile({inPath, inAccess, config.get()}, outError);
}

User OpenOrFail(std::string const& inPath, Access inAccess = Access::kReadWrite) {
  std::string error;
  User user = Open(inPath, inAccess, error);
  EXPECT_TRUE(user) << error;
  return user;
}

std::string ErrorOf(std::string const& inPath, Access inAccess = Access::kReadWrite) {
  std::string error;
  EXPECT_FALSE(Open(inPath, inAccess, error)) << inPath;
  return error;
}

// DuckDB's error text; empty when the statement succeeded.
std::string Query(OpenDatabase& inUser, std::string const& inSql) {
  ConnectionHandle const connection = inUser.Connect();
  ResultHandle result;
  if (duckdb_query(connection.get(), inSql.c_str(), result.out()) == DuckDBSuccess) return "";
  return duckdb_result_error(result.ptr());
}

void MakeDatabase(std::string const& inPath) {
  EXPECT_EQ(Query(*OpenOrFail(inPath), "CREATE TABLE t AS SELECT 42 AS a"), "");
}

TEST(DatabaseFile, AFolderIsRefusedAndStays) {
  TempFolder folder;
  fs::create_directory(folder.At("d"));
  EXPECT_THAT(ErrorOf(folder.At("d")), HasSubstr("Is a directory"));
  EXPECT_THAT(ErrorOf(folder.At("d"), Access::kReadOnly), HasSubstr("Is a directory"));
  EXPECT_THAT(folder.Names(), testing::ElementsAre("d"));
}

TEST(DatabaseFile, ADeviceAndAPipeAreRefusedWithoutWaiting) {
  TempFolder folder;
  ASSERT_EQ(mkfifo(folder.At("pipe").c_str(), 0600), 0);
  EXPECT_THAT(ErrorOf(folder.At("pipe")), HasSubstr("Not a regular file"));
  EXPECT_THAT(ErrorOf("/dev/null"), HasSubstr("Not a regular file"));
  EXPECT_THAT(folder.Names(), testing::ElementsAre("pipe"));
}

TEST(DatabaseFile, AMissingFileThatMustExistIsRefusedAndNotMade) {
  TempFolder folder;
  OpenRequest request;
  request.mPath = folder.At("no.db");
  request.mMustExist = true;
  std::string error;
  EXPECT_FALSE(OpenDatabaseFile(request, error));
  EXPECT_THAT(error, HasSubstr("No such file or directory"));
  request.mPath = folder.At("nofolder/no.db");
  EXPECT_FALSE(OpenDatabaseFile(request, error));
  EXPECT_THAT(folder.Names(), IsEmpty());
}

TEST(DatabaseFile, APathInAMissingFolderIsDuckDbsError) {
  TempFolder folder;
  EXPECT_THAT(ErrorOf(folder.At("nofolder/no.db")), HasSubstr("No such file or directory"));
  EXPECT_EQ(CountFileUsers(folder.At("nofolder/no.db")), 0U);
}

TEST(DatabaseFile, APathWithANulIsRefusedAndTheShorterPathUntouched) {
  TempFolder folder;
  EXPECT_THAT(ErrorOf(folder.At("a.db") + std::string("\0b", 2)), HasSubstr("NUL"));
  EXPECT_THAT(folder.Names(), IsEmpty());
}

TEST(DatabaseFile, AFileThatIsNoDatabaseIsRefusedAndStaysAsItIs) {
  TempFolder folder;
  std::string const path = folder.Write("notes.txt", std::string(5000, 'x'));
  EXPECT_THAT(ErrorOf(path), HasSubstr("not a valid DuckDB database file"));
  EXPECT_EQ(folder.Read("notes.txt"), std::string(5000, 'x'));
  EXPECT_EQ(CountFileUsers(path), 0U);
}

TEST(DatabaseFile, AnUnknownSettingIsDuckDbsErrorAndLeavesNothing) {
  TempFolder folder;
  ConfigHandle config;
  duckdb_create_config(config.out());
  duckdb_set_config(config.get(), "no_such_option", "1");
  std::string error;
  EXPECT_FALSE(OpenDatabaseFile({folder.At("a.db"), Access::kReadWrite, config.get()}, error));
  EXPECT_THAT(error, HasSubstr("no_such_option"));
  EXPECT_THAT(folder.Names(), IsEmpty());
}

TEST(DatabaseFile, AnEmptyFileBecomesADatabaseUnlessALogOrALockSaysThatItIsNone) {
  TempFolder folder;
  std::string const path = folder.Write("a.db", "");
  EXPECT_THAT(ErrorOf(path, Access::kReadOnly), HasSubstr("not a valid DuckDB database file"));
  folder.Write("a.db.wal", "log");
  EXPECT_THAT(ErrorOf(path), HasSubstr("not a valid DuckDB database file"));
  fs::remove(folder.At("a.db.wal"));
  {
    lumora::test::ForeignLock const lock(path, true);
    EXPECT_THAT(ErrorOf(path), HasSubstr(fmt::format("PID {}", lock.get_ProcessId())));
    EXPECT_EQ(fs::file_size(path), 0U);
  }
  EXPECT_TRUE(OpenOrFail(path));
  EXPECT_THAT(folder.Names(), testing::ElementsAre("a.db"));
}

TEST(DatabaseFile, ANewFileTakesThePlaceOfWhatAKilledCreationLeft) {
  TempFolder folder;
  folder.Write("a.db.creating", "half of a header");
  folder.Write("a.db.creating.wal", "log");
  EXPECT_TRUE(OpenOrFail(folder.At("a.db")));
  EXPECT_THAT(folder.Names(), testing::ElementsAre("a.db"));
}

TEST(DatabaseFile, UsersOfOneFileShareOneInstanceUnderAnyName) {
  TempFolder folder;
  std::string const path = folder.At("a.db");
  User const first = OpenOrFail(path);
  fs::create_symlink("a.db", folder.At("link.db"));
  fs::create_hard_link(path, folder.At("hard.db"));
  fs::create_directory(folder.At("sub"));
  std::vector<std::string> const names = {path,
                                          folder.At("./a.db"),
                                          folder.At("sub/../a.db"),
                                          folder.At("link.db"),
                                          folder.At("hard.db"),
                                          "file://" + path,
                                          "duckdb:" + path};
  std::vector<User> users;
  for (std::string const& name : names) {
    users.push_back(OpenOrFail(name));
    ASSERT_TRUE(users.back()) << name;
    EXPECT_EQ(users.back()->get(), first->get()) << name;
    EXPECT_EQ(CountFileUsers(name), users.size() + 1) << name;
  }
  users.clear();
  EXPECT_EQ(CountFileUsers(path), 1U);
  EXPECT_FALSE(AnotherProcessCanRead(path));
}

TEST(DatabaseFile, ARelativePathMeansTheSameFile) {
  TempFolder folder;
  fs::path const before = fs::current_path();
  User const first = OpenOrFail(folder.At("a.db"));
  fs::current_path(folder.get_Path());
  EXPECT_EQ(OpenOrFail("a.db")->get(), first->get());
  fs::current_path(before);
}

TEST(DatabaseFile, ACommitMadeThroughALinkIsSeenThroughTheFileAfterAKill) {
  TempFolder folder;
  MakeDatabase(folder.At("real.db"));
  fs::create_symlink("real.db", folder.At("link.db"));
  User const user = OpenOrFail(folder.At("link.db"));
  EXPECT_EQ(Query(*user, "INSERT INTO t VALUES (43)"), "");
  EXPECT_TRUE(folder.Names().contains("real.db.wal"));
  EXPECT_FALSE(folder.Names().contains("link.db.wal"));
}

TEST(DatabaseFile, ALinkToNothingMakesTheFileAtItsTarget) {
  TempFolder folder;
  fs::create_symlink("real.db", folder.At("link.db"));
  User const first = OpenOrFail(folder.At("link.db"));
  User const second = OpenOrFail(folder.At("real.db"));
  EXPECT_EQ(first->get(), second->get());
}

TEST(DatabaseFile, TheLastUserClosesTheInstanceAndGivesTheLockUp) {
  TempFolder folder;
  std::string const path = folder.At("a.db");
  User first = OpenOrFail(path);
  User second = OpenOrFail(path);
  first.reset();
  EXPECT_FALSE(AnotherProcessCanRead(path));
  second.reset();
  EXPECT_TRUE(AnotherProcessCanWrite(path));
  EXPECT_EQ(CountFileUsers(path), 0U);
}

TEST(DatabaseFile, AReadOnlyRequestJoinsALiveReadWriteInstance) {
  TempFolder folder;
  User const writer = OpenOrFail(folder.At("a.db"));
  User const reader = OpenOrFail(folder.At("a.db"), Access::kReadOnly);
  EXPECT_EQ(reader->get(), writer->get());
  EXPECT_EQ(reader->get_Access(), Access::kReadWrite);
}

TEST(DatabaseFile, AReadWriteRequestIsRefusedWhileTheFileIsOpenReadOnlyHere) {
  TempFolder folder;
  MakeDatabase(folder.At("a.db"));
  User reader = OpenOrFail(folder.At("a.db"), Access::kReadOnly);
  EXPECT_THAT(ErrorOf(folder.At("a.db")),
              testing::AllOf(HasSubstr("Could not set lock on file"), HasSubstr("read-only")));
  EXPECT_FALSE(AnotherProcessCanWrite(folder.At("a.db")));
  reader.reset();
  EXPECT_TRUE(OpenOrFail(folder.At("a.db")));
}

TEST(DatabaseFile, ReadOnlyInstancesAreNotSharedAndKeepTheirLockInAnyOrderOfClosing) {
  TempFolder folder;
  std::string const path = folder.At("a.db");
  MakeDatabase(path);
  std::vector<User> users;
  for (int i = 0; i < 3; ++i) users.push_back(OpenOrFail(path, Access::kReadOnly));
  EXPECT_NE(users[0]->get(), users[1]->get());
  EXPECT_EQ(users[0]->get_Access(), Access::kReadOnly);
  EXPECT_NE(Query(*users[0], "INSERT INTO t VALUES (1)"), "");
  for (std::size_t const i : {1U, 0U, 2U}) {
    EXPECT_FALSE(AnotherProcessCanWrite(path));
    EXPECT_TRUE(AnotherProcessCanRead(path));
    EXPECT_EQ(Query(*users[i], "FROM t"), "");
    users[i].reset();
  }
  EXPECT_TRUE(AnotherProcessCanWrite(path));
}

TEST(DatabaseFile, AFailingReadOnlyOpenKeepsTheLockOfTheOthers) {
  TempFolder folder;
  std::string const path = folder.At("a.db");
  MakeDatabase(path);
  User const user = OpenOrFail(path, Access::kReadOnly);
  ConfigHandle config;
  duckdb_create_config(config.out());
  duckdb_set_config(config.get(), "access_mode", "READ_ONLY");
  duckdb_set_config(config.get(), "no_such_option", "1");
  std::string error;
  EXPECT_FALSE(OpenDatabaseFile({path, Access::kReadOnly, config.get()}, error));
  EXPECT_FALSE(AnotherProcessCanWrite(path));
  EXPECT_EQ(CountFileUsers(path), 1U);
}

TEST(DatabaseFile, NoOtherProcessSlipsInWhileReadOnlyInstancesComeAndGo) {
  TempFolder folder;
  std::string const path = folder.At("a.db");
  MakeDatabase(path);
  User const keeper = OpenOrFail(path, Access::kReadOnly);
  LockThief thief(path);
  for (int i = 0; i < 30; ++i) EXPECT_TRUE(OpenOrFail(path, Access::kReadOnly));
  EXPECT_TRUE(thief.WasKeptOut());
  EXPECT_EQ(Query(*keeper, "FROM t"), "");
}

TEST(DatabaseFile, AFileThatSqlAttachedIsLeftAlone) {
  TempFolder folder;
  std::string const path = folder.At("a.db");
  MakeDatabase(path);
  User user = OpenOrFail(":memory:");
  EXPECT_EQ(Query(*user, "ATTACH '" + path + "' AS a; INSERT INTO a.t VALUES (1)"), "");
  for (Access const access : {Access::kReadWrite, Access::kReadOnly}) {
    EXPECT_THAT(ErrorOf(path, access), HasSubstr("ATTACH"));
  }
  EXPECT_EQ(FileReservation(path).get_Users(), 1U);
  EXPECT_FALSE(AnotherProcessCanRead(path));
  EXPECT_EQ(Query(*user, "DETACH a; ATTACH '" + path + "' AS a (READ_ONLY)"), "");
  EXPECT_THAT(ErrorOf(path), HasSubstr("ATTACH"));
  EXPECT_FALSE(AnotherProcessCanWrite(path));
  user.reset();
  EXPECT_TRUE(OpenOrFail(path));
}

TEST(DatabaseFile, AReplacedFileIsRefusedWhileTheOldOneIsOpen) {
  TempFolder folder;
  std::string const path = folder.At("a.db");
  MakeDatabase(path);
  MakeDatabase(folder.At("b.db"));
  User user = OpenOrFail(path);
  fs::rename(folder.At("b.db"), path);
  EXPECT_THAT(ErrorOf(path), HasSubstr("removed or replaced"));
  EXPECT_EQ(CountFileUsers(path), 1U);
  fs::remove(path);
  EXPECT_THAT(ErrorOf(path), HasSubstr("removed or replaced"));
  EXPECT_FALSE(fs::exists(path));
  user.reset();
  EXPECT_TRUE(OpenOrFail(path));
}

TEST(DatabaseFile, InMemoryDatabasesAreSeparate) {
  User const first = OpenOrFail(":memory:");
  User const second = OpenOrFail("");
  EXPECT_EQ(Query(*first, "CREATE TABLE t (a INTEGER)"), "");
  EXPECT_NE(Query(*second, "FROM t"), "");
  EXPECT_EQ(CountFileUsers(":memory:"), 0U);
}

TEST(DatabaseFile, ARemotePathReachesDuckDbAsItIs) {
  EXPECT_THAT(ErrorOf("md:orders"), HasSubstr("motherduck"));
}

TEST(DatabaseFile, StorageOptionsHoldForANewFile) {
  TempFolder folder;
  OpenRequest request;
  request.mPath = folder.At("a 'quoted' \xC3\xBC.db");
  request.mStorageVersion = "latest";
  request.mBlockSize = 16384;
  std::string error;
  User const user = OpenDatabaseFile(request, error);
  ASSERT_TRUE(user) << error;
  EXPECT_EQ(Query(*user,
                  "SELECT CASE WHEN block_size = 16384 THEN 1 ELSE error('size') END "
                  "FROM pragma_database_size()"),
            "");
  EXPECT_EQ(Query(*user, "CREATE TABLE v (a VARIANT)"), "");
}

TEST(DatabaseFile, UnknownStorageOptionsAreDuckDbsErrorAndMakeNoFile) {
  TempFolder folder;
  std::string error;
  OpenRequest request;
  request.mPath = folder.At("a.db");
  request.mStorageVersion = "v'9";
  EXPECT_FALSE(OpenDatabaseFile(request, error));
  EXPECT_THAT(error, HasSubstr("v'9"));
  request.mStorageVersion.clear();
  request.mBlockSize = 17;
  EXPECT_FALSE(OpenDatabaseFile(request, error));
  EXPECT_THAT(error, HasSubstr("17"));
  EXPECT_THAT(folder.Names(), IsEmpty());
}

TEST(FileReservation, HoldsAFileThatNobodyHasOpen) {
  TempFolder folder;
  std::string const path = folder.At("a.db");
  {
    FileReservation const reservation(path);
    EXPECT_EQ(reservation.get_Users(), 0U);
    EXPECT_EQ(CountFileUsers(path), 0U);
  }
  User const user = OpenOrFail(path);
  EXPECT_EQ(FileReservation(path).get_Users(), 1U);
  fs::remove(path);
  EXPECT_EQ(FileReservation(path).get_Users(), 1U);
  EXPECT_EQ(FileReservation(":memory:").get_Users(), 0U);
}

TEST(BuildAttachSql, QuotesWhatItIsGiven) {
  EXPECT_EQ(BuildAttachSql("/a'b.db", "v1.5.0", 0),
            "ATTACH '/a''b.db' ( READ_WRITE, STORAGE_VERSION 'v1.5.0' );");
  EXPECT_EQ(BuildAttachSql("/a.db", "", 16384), "ATTACH '/a.db' ( READ_WRITE, BLOCK_SIZE 16384 );");
  EXPECT_EQ(BuildAttachSql("/a.db", "x'y", 1),
            "ATTACH '/a.db' ( READ_WRITE, STORAGE_VERSION 'x''y', BLOCK_SIZE 1 );");
}

TEST(LocalPathOf, TellsLocalPathsFromWhatDuckDbHandsToExtensions) {
  struct Case {
    char const* mPath;
    char const* mLocal;
  };
  for (Case const& c : {Case{"", ""},
                        {":memory:", ""},
                        {":memory:x", ":memory:x"},
                        {"a.db", "a.db"},
                        {"/a/b.db", "/a/b.db"},
                        {"~/a.db", "~/a.db"},
                        {"md:x", ""},
                        {"s3://b/x.db", ""},
                        {"https://h/x.db", ""},
                        {"sqlite:x.db", ""},
                        {"c:x.db", "c:x.db"},
                        {"a.b:c.db", "a.b:c.db"},
                        {"dir/ab:c.db", "dir/ab:c.db"},
                        {"duckdb:x.db", "x.db"},
                        {"DuckDB:x.db", "x.db"},
                        {"file:///x.db", "/x.db"},
                        {"file://localhost/x.db", "/x.db"},
                        {"file:/x.db", ""}}) {
    EXPECT_EQ(LocalPathOf(c.mPath), c.mLocal) << c.mPath;
  }
}

}  // namespace
