#include <duckdb.h>
#include <sys/stat.h>

#include <filesystem>

#include "support/DatabaseTest.h"
#include "support/FileLock.h"
#include "support/TestChildren.h"

namespace {

namespace fs = std::filesystem;
using namespace lumora::test;

class ExtensionObject : public DatabaseTest {
 protected:
  static LoadedExtension& Extension() { return LoadedExtension::Instance(); }
  bool IsDuckDBFile(std::string const& inPath) const {
    return Extension()->IsDuckDBFile(tarn::CreateLocation(Wide(inPath)));
  }
};

TEST_F(ExtensionObject, RefusesADatabaseWithoutALocation) {
  EXPECT_EQ(ThrownBy([] { Extension()->CreateDatabase(nullptr); }),
            (Thrown{"xDBError", 0x51501, "", ""}));
}

TEST_F(ExtensionObject, TakesNoFolderPipeDeviceOrMissingFileForADatabase) {
  fs::create_directory(mFolder.At("d"));
  ASSERT_EQ(mkfifo(mFolder.At("pipe").c_str(), 0600), 0);
  for (std::string const& path :
       {mFolder.At("d"), mFolder.At("pipe"), mFolder.At("no"), std::string("/dev/zero"),
        std::string("/dev/null"), std::string(":memory:"), std::string("md:orders")}) {
    EXPECT_FALSE(IsDuckDBFile(path)) << path;
  }
  EXPECT_FALSE(Extension()->IsDuckDBFile(nullptr));
}

TEST_F(ExtensionObject, KnowsADatabaseFileByItsMagicBytes) {
  struct Case {
    std::string mContent;
    bool mIsDatabase;
  };
  std::string const head(8, '\xAB');
  int number = 0;
  for (Case const& c : {Case{"", true},
                        {head + "DUCK", true},
                        {head + "DUCKtail", true},
                        {head + "DUC", false},
                        {head + "DU", false},
                        {"DUCK", false},
                        {head + "duck", false},
                        {"x" + head + "DUCK", false},
                        {std::string(64, 'x'), false}}) {
    EXPECT_EQ(IsDuckDBFile(mFolder.Write("f" + std::to_string(number++), c.mContent)),
              c.mIsDatabase)
        << c.mContent;
  }
  EXPECT_TRUE(IsDuckDBFile(MakeFile("a.db")));
}

TEST_F(ExtensionObject, LooksIntoAFileOfAnotherProcessAndNotIntoOneOfItsOwn) {
  std::string const path = MakeFile("a.db");
  {
    ForeignLock const lock(path, true);
    EXPECT_TRUE(IsDuckDBFile(path));
  }
  Database const database = Opened("a.db");
  EXPECT_TRUE(IsDuckDBFile(path));
  EXPECT_FALSE(AnotherProcessCanRead(path));
}

TEST_F(ExtensionObject, TellsTheInMemoryPathByEveryUnit) {
  for (char const* const path :
       {":MEMORY:", ":memory: ", " :memory:", ":memory", "", ":memory:x"}) {
    EXPECT_FALSE(Extension()->IsInMemoryPath(Wide(path))) << path;
  }
  EXPECT_FALSE(Extension()->IsInMemoryPath(Wide(std::string(":memory:\0", 9))));
  EXPECT_TRUE(Extension()->IsInMemoryPath(Wide(":memory:")));
}

TEST_F(ExtensionObject, KnowsWhichDatabasesAreOpenUnderAnySpelling) {
  Database const first = At("a.db");
  Database const second = At("a.db");
  std::string const path = mFolder.At("a.db");
  auto const isOpen = [](std::string const& inPath) {
    return Extension()->get_IsDatabaseOpen(Wide(inPath));
  };
  EXPECT_FALSE(isOpen(path));
  first->Create();
  fs::create_symlink("a.db", mFolder.At("link.db"));
  EXPECT_TRUE(isOpen(path));
  EXPECT_TRUE(isOpen(mFolder.At("./a.db")));
  EXPECT_TRUE(isOpen(mFolder.At("link.db")));
  EXPECT_TRUE(Extension()->get_IsDatabaseOpen(first->get_Key()));
  EXPECT_FALSE(isOpen(mFolder.At("b.db")));
  EXPECT_FALSE(isOpen(""));
  EXPECT_FALSE(isOpen(":memory:"));
  second->Open();
  first->Close();
  EXPECT_TRUE(isOpen(path));
  second->Close();
  EXPECT_FALSE(isOpen(path));
}

TEST_F(ExtensionObject, KnowsAnInMemoryDatabaseByItsKey) {
  Database const database = InMemory();
  database->Open();
  EXPECT_TRUE(Extension()->get_IsDatabaseOpen(database->get_Key()));
  database->Close();
  EXPECT_FALSE(Extension()->get_IsDatabaseOpen(database->get_Key()));
}

TEST_F(ExtensionObject, GivesTheRowsOfAClientCursorAlone) {
  Database const database = InMemory();
  database->Open();
  auto const client = database->ExecuteQuery(Wide("SELECT * FROM range(3)"), 1, nullptr);
  auto const server = database->ExecuteQuery(Wide("SELECT * FROM range(3)"), 2, nullptr);
  TestCursor foreign([] {});
  foreign.AddRef();
  EXPECT_TRUE(Extension()->get_IsClientCursor(client));
  EXPECT_FALSE(Extension()->get_IsClientCursor(server));
  EXPECT_FALSE(Extension()->get_IsClientCursor(&foreign));
  EXPECT_FALSE(Extension()->get_IsClientCursor(nullptr));
  auto const rows = Extension()->get_CursorRows(client);
  ASSERT_TRUE(rows);
  EXPECT_EQ(rows->get_Count(), 3U);
  EXPECT_FALSE(Extension()->get_CursorRows(server));
  EXPECT_FALSE(Extension()->get_CursorRows(&foreign));
  EXPECT_FALSE(Extension()->get_CursorRows(nullptr));
  EXPECT_EQ(client->get_RefsCount(), 1U);
}

TEST_F(ExtensionObject, TellsDuckDbsVersion) {
  EXPECT_STREQ(Extension()->get_LibraryVersion(), duckdb_library_version());
}

TEST_F(ExtensionObject, HasThePlainViewAlone) {
  auto const extension = tarn::lsql::GetDuckDBExtension();
  EXPECT_EQ(extension->QueryInterface(tarn::kIID_DuckDBDatabase), nullptr);
  auto const self =
      tarn::query_interface<tarn::lsql::I_DuckDBExtension>(extension.get(), tarn::kIID_Unknown);
  EXPECT_EQ(self.get(), extension.get());
}

TEST_F(ExtensionObject, ReleasesItsArgumentsAlsoWhenItThrows) {
  auto const location = tarn::CreateLocation(Wide(mFolder.At("a.db")));
  (void)Extension()->IsDuckDBFile(location);
  EXPECT_EQ(location->get_RefsCount(), 1U);
  {
    Database const database = Extension()->CreateDatabase(location);
    EXPECT_EQ(database->get_RefsCount(), 1U);
    EXPECT_NE(ThrownBy([&] { database->Open(); }), Thrown{});
  }
  EXPECT_EQ(location->get_RefsCount(), 1U);
}

}  // namespace
