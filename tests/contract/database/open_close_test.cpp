#include <filesystem>
#include <fstream>

#include "support/DatabaseTest.h"

namespace {

namespace fs = std::filesystem;
using namespace lumora::test;
using tarn::lsql::DuckDBSettings;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class OpenClose : public DatabaseTest {};

TEST_F(OpenClose, OpeningAMissingFileFailsAndMakesNothing) {
  Database const database = At("no.db");
  EXPECT_EQ(ThrownBy([&] { database->Open(); }), DuckDBError("no.db", "File does not exist"));
  EXPECT_FALSE(database->get_IsOpen());
  EXPECT_THAT(mFolder.Names(), IsEmpty());
}

TEST_F(OpenClose, OpeningAFolderFailsAndLeavesIt) {
  fs::create_directory(mFolder.At("d"));
  Thrown const thrown = ThrownBy([&] { At("d")->Open(); });
  EXPECT_EQ(thrown.mClass, "xException");
  EXPECT_EQ(thrown.mCode, 0x99000U);
  EXPECT_THAT(thrown.mText1, HasSubstr("Is a directory"));
  EXPECT_THAT(mFolder.Names(), ElementsAre("d"));
}

TEST_F(OpenClose, AFileThatIsNoDatabaseIsDuckDbsError) {
  mFolder.Write("a.txt", std::string(9000, 'x'));
  Thrown const thrown = ThrownBy([&] { At("a.txt")->Open(); });
  EXPECT_EQ(thrown.mCode, 0x99000U);
  EXPECT_THAT(thrown.mText1, HasSubstr("not a valid DuckDB database file"));
  EXPECT_EQ(mFolder.Read("a.txt"), std::string(9000, 'x'));
}

TEST_F(OpenClose, AnUnknownSettingIsNeverIgnored) {
  MakeFile("a.db");
  Database const database = At("a.db");
  database->SetRemoteAccess(Wide("token"), Wide("agent"));
  Thrown const thrown = ThrownBy([&] { database->Open(); });
  EXPECT_EQ(thrown.mClass, "xException");
  EXPECT_EQ(thrown.mCode, 0x99000U);
  EXPECT_THAT(thrown.mText1, HasSubstr("motherduck_token"));
  EXPECT_FALSE(database->get_IsOpen());
  EXPECT_EQ(database->get_ConnectionCount(), 0U);
  database->SetRemoteAccess({}, {});
  database->Open();
  EXPECT_TRUE(database->get_IsOpen());
}

TEST_F(OpenClose, ARemotePathReachesDuckDbWithItsToken) {
  Database const database = LoadedExtension::Instance().Database("md:orders");
  EXPECT_EQ(ThrownBy([&] { database->Open(); }).mText2, "File does not exist");
  database->SetRemoteAccess(Wide("secret-token"), Wide("agent/1.0"));
  EXPECT_FALSE(database->get_Exists());
  Thrown const thrown = ThrownBy([&] { database->Open(); });
  EXPECT_EQ(thrown.mCode, 0x99000U);
  EXPECT_THAT(thrown.mText1, HasSubstr("motherduck"));
  EXPECT_THAT(thrown.mText1, testing::Not(HasSubstr("secret-token")));
  EXPECT_EQ(database->get_ConnectionCount(), 0U);
}

TEST_F(OpenClose, ANewObjectIsClosedAndClosingItIsNothing) {
  Database const database = At("a.db");
  database->Close();
  database->Close();
  EXPECT_FALSE(database->get_IsOpen());
  EXPECT_FALSE(database->get_IsReadOnly());
  EXPECT_FALSE(database->get_Exists());
  EXPECT_EQ(database->get_ConnectionCount(), 0U);
  EXPECT_EQ(Utf8(database->get_Path()), mFolder.At("a.db"));
  database->Flush();
}

TEST_F(OpenClose, CreateMakesAFileThatOpensAgainWithItsRows) {
  MakeFile("a.db");
  Database const database = Opened("a.db");
  EXPECT_TRUE(database->get_IsOpen());
  EXPECT_TRUE(database->get_Exists());
  EXPECT_FALSE(database->get_IsReadOnly());
  EXPECT_EQ(Number(database, "SELECT sum(a) FROM t"), 1);
}

TEST_F(OpenClose, CreateReplacesWhatWasThere) {
  MakeFile("a.db");
  EXPECT_EQ(Number(Created("a.db"), "SELECT count(*) FROM duckdb_tables()"), 0);
}

TEST_F(OpenClose, CreateOnAnOpenObjectStartsAnew) {
  Database const database = Created("a.db");
  Run(database, "CREATE TABLE t (a INTEGER)");
  database->Create();
  EXPECT_EQ(database->get_ConnectionCount(), 1U);
  EXPECT_EQ(Number(database, "SELECT count(*) FROM duckdb_tables()"), 0);
}

TEST_F(OpenClose, OpenOnAnOpenObjectReopens) {
  MakeFile("a.db");
  Database const database = Opened("a.db");
  Run(database, "CREATE TEMP TABLE mine (a INTEGER)");
  database->Open();
  EXPECT_EQ(database->get_ConnectionCount(), 1U);
  EXPECT_EQ(Number(database, "SELECT count(*) FROM duckdb_tables() WHERE temporary"), 0);
}

TEST_F(OpenClose, AnEmptyFileOpensAsANewDatabase) {
  mFolder.Write("a.db", "");
  Run(Opened("a.db"), "CREATE TABLE t (a INTEGER)");
  EXPECT_EQ(Number(Opened("a.db"), "SELECT count(*) FROM duckdb_tables()"), 1);
}

TEST_F(OpenClose, AnyPathWorks) {
  for (char const* const name :
       {"with blank.db", "quo'te.db", "dou\"ble.db", "\xC3\xBC\xE2\x82\xAC\xF0\x9F\xA6\x86.db",
        "semi;colon.db", "per%20cent.db", "back\\slash.db", "~", "a#b?c.db", "line\nbreak.db",
        "-dash", "star*.db", "[x].db", "noextension"}) {
    Database const database = At(name);
    database->put_StorageVersion(Wide("v1.5.0"));
    database->Create();
    Run(database, "CREATE TABLE t AS SELECT 5 AS a");
    database->Open();
    EXPECT_EQ(Number(database, "SELECT a FROM t"), 5) << name;
    database->Drop();
    EXPECT_THAT(mFolder.Names(), IsEmpty()) << name;
  }
}

TEST_F(OpenClose, ObjectsOnOneFileShareOneInstance) {
  MakeFile("a.db");
  Database const first = Opened("a.db");
  fs::create_symlink("a.db", mFolder.At("link.db"));
  fs::create_hard_link(mFolder.At("a.db"), mFolder.At("hard.db"));
  Database const second = Opened("link.db");
  Database const third = Opened("hard.db");
  Run(first, "INSERT INTO t VALUES (2)");
  EXPECT_EQ(Number(second, "SELECT sum(a) FROM t"), 3);
  EXPECT_EQ(Number(third, "SELECT sum(a) FROM t"), 3);
  EXPECT_EQ(first->get_ConnectionCount(), 2U);
  first->Close();
  EXPECT_EQ(second->get_ConnectionCount(), 1U);
  EXPECT_EQ(Number(second, "SELECT sum(a) FROM t"), 3);
}

TEST_F(OpenClose, InMemoryDatabasesAreSeparateAndAnObjectOnTheSameLocationShares) {
  auto const location = tarn::CreateLocation(Wide(":memory:"));
  Database const first = LoadedExtension::Instance()->CreateDatabase(location);
  Database const second = LoadedExtension::Instance()->CreateDatabase(location);
  Database const other = InMemory();
  EXPECT_FALSE(first->get_Exists());
  first->Open();
  Run(first, "CREATE TABLE t AS SELECT 7 AS a");
  second->Open();
  other->Create();
  EXPECT_EQ(Number(second, "SELECT a FROM t"), 7);
  EXPECT_EQ(Number(other, "SELECT count(*) FROM duckdb_tables()"), 0);
  EXPECT_EQ(first->get_ConnectionCount(), 2U);
  EXPECT_EQ(other->get_ConnectionCount(), 1U);
  first->Close();
  EXPECT_EQ(Number(second, "SELECT a FROM t"), 7);
  second->Close();
  second->Open();
  EXPECT_EQ(Number(second, "SELECT count(*) FROM duckdb_tables()"), 0);
  second->Drop();
}

TEST_F(OpenClose, ReleasingTheLastReferenceCloses) {
  MakeFile("a.db");
  Database const watcher = At("a.db");
  Database database = Opened("a.db");
  EXPECT_EQ(watcher->get_ConnectionCount(), 1U);
  database.reset();
  EXPECT_EQ(watcher->get_ConnectionCount(), 0U);
  watcher->Drop();
}

TEST_F(OpenClose, ErrorsAreJsonFromTheFirstStatementOn) {
  Thrown const thrown = ThrownBy([&] { Run(Created("a.db"), "SELECT * FROM missing"); });
  EXPECT_THAT(thrown.mText2, HasSubstr("\"exception_type\":\"Catalog\""));
}

TEST_F(OpenClose, TheViewsOfTheObjectAreThoseOfItsTable) {
  Database const database = At("a.db");
  auto const plugin =
      tarn::query_interface<tarn::I_ForeignPlugin>(database.get(), tarn::kIID_ForeignPlugin);
  auto const self = tarn::query_interface<tarn::lsql::I_DuckDBDatabase>(database.get(),
                                                                        tarn::kIID_DuckDBDatabase);
  ASSERT_TRUE(plugin);
  EXPECT_EQ(self.get(), database.get());
  EXPECT_EQ(dynamic_cast<tarn::I_ForeignPlugin*>(database.get()), plugin.get());
  EXPECT_EQ(database->QueryInterface(tarn::kIID_DuckDBStatement), nullptr);
  EXPECT_EQ(database->QueryInterface(tarn::kIID_Unknown), nullptr);
  EXPECT_EQ(database->get_RefsCount(), 3U);
  EXPECT_EQ(plugin->AddRef(), 4U);
  EXPECT_EQ(plugin->Release(), 3U);
  int mark = 0;
  plugin->put_Xtra(&mark);
  EXPECT_EQ(plugin->get_Xtra(), &mark);
}

}  // namespace
