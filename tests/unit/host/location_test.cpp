#include "tarn/Location.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "Probe.h"
#include "support/TempFolder.h"
#include "tarn/Exceptions.h"

namespace {

namespace fs = std::filesystem;
using lumora::test::TempFolder;
using tarn::CreateLocation;
using tarn::I_Folder;
using tarn::I_Location;
using tarn::smart_ptr;
using tarn::String;
using tarn::xException;
using tarn::test::Utf8;
using tarn::test::Wide;

smart_ptr<I_Location> At(std::string const& inPath) { return CreateLocation(Wide(inPath)); }
std::string KeyOf(std::string const& inPath) { return Utf8(At(inPath)->get_Key()); }

fs::path PathOf(std::string const& inUtf8) {
  return fs::path(std::u8string(inUtf8.begin(), inUtf8.end()));
}

// Makes a folder the current one.
class CurrentFolder {
 public:
  explicit CurrentFolder(fs::path const& inFolder) { fs::current_path(inFolder); }
  ~CurrentFolder() { fs::current_path(mOld); }
  CurrentFolder(CurrentFolder const&) = delete;
  CurrentFolder& operator=(CurrentFolder const&) = delete;

 private:
  fs::path mOld = fs::current_path();
};

struct LocationTest : testing::Test {
  // The temporary folder's own path may have links in it.
  std::string Real(std::string const& inName) const {
    std::u8string const path = (fs::canonical(mFolder.get_Path()) / PathOf(inName)).u8string();
    return std::string(path.begin(), path.end());
  }
  TempFolder mFolder;
};

TEST_F(LocationTest, AnEmptyPathIsRefused) {
  try {
    At("");
    FAIL() << "nothing was thrown";
  } catch (xException const& error) {
    EXPECT_EQ(error.get_Code(), 0x66000u);
    EXPECT_EQ(Utf8(error.get_Text(0)), "Path is empty");
  }
  EXPECT_THROW(tarn::PrepareFolder({}, "x"), xException);
}

TEST_F(LocationTest, APathWithANulIsNothingThatExists) {
  mFolder.Write("file", "x");
  auto const location = At(mFolder.At("file") + std::string("\0.db", 4));
  EXPECT_FALSE(location->get_Exists());
  EXPECT_FALSE(location->get_IsFolder());
  EXPECT_NE(Utf8(location->get_Key()), Real("file"));
  auto const folder = tarn::query_interface<I_Folder>(location.get(), 402);
  ASSERT_TRUE(folder);
  EXPECT_THROW(folder->Create(), xException);
}

TEST_F(LocationTest, TheKindIsReadFromThePath) {
  struct Case {
    char const* mPath;
    bool mIsInMemory, mIsRemote;
  };
  for (Case const& c :
       {Case{":memory:", true, false}, Case{":memory", false, false},
        Case{" :memory:", false, false}, Case{":memory:x", false, false}, Case{"md:", false, true},
        Case{"md:my_db", false, true}, Case{"https://host/x.db", false, true},
        Case{"S3://b/x", false, true}, Case{"x-1.y+z:rest", false, true},
        Case{"c:/x", false, false}, Case{"1a:x", false, false}, Case{"a b:x", false, false},
        Case{"./md:x", false, false}, Case{"folder/https://x", false, false},
        Case{"x", false, false}, Case{"\xC3\xA9\xC3\xA9:x", false, false}}) {
    auto const location = At(c.mPath);
    EXPECT_EQ(location->get_IsInMemory(), c.mIsInMemory) << c.mPath;
    EXPECT_EQ(location->get_IsRemote(), c.mIsRemote) << c.mPath;
    EXPECT_EQ(Utf8(location->get_Path()), c.mPath);
    EXPECT_EQ(location->get_RefsCount(), 1u);
  }
}

TEST_F(LocationTest, InMemoryLocationsAreEachTheirOwn) {
  auto const first = At(":memory:");
  auto const second = At(":memory:");
  EXPECT_FALSE(first->get_Key() == second->get_Key());
  EXPECT_TRUE(first->get_Key() == first->get_Key());
  EXPECT_FALSE(first->get_Exists());
  EXPECT_FALSE(first->get_IsFolder());
  EXPECT_FALSE(first->get_Folder());
  EXPECT_FALSE(first->get_Child(String("x")));
  EXPECT_EQ(first->QueryInterface(402), nullptr);
  EXPECT_EQ(Utf8(first->get_Name()), ":memory:");
}

TEST_F(LocationTest, ARemotePathIsItsOwnKeyAndNothingOnDisk) {
  for (char const* const path : {"md:my_db", "https://host/folder/x.duckdb", "s3://bucket/"}) {
    auto const location = At(path);
    EXPECT_EQ(Utf8(location->get_Key()), path);
    EXPECT_FALSE(location->get_Exists());
    EXPECT_FALSE(location->get_IsFolder());
    EXPECT_FALSE(location->get_Folder());
    EXPECT_EQ(location->QueryInterface(402), nullptr);
    EXPECT_THROW(tarn::PrepareFolder(location, "x"), xException);
  }
  EXPECT_EQ(Utf8(At("md:my_db")->get_Name()), "my_db");
  EXPECT_EQ(Utf8(At("https://host/folder/x.duckdb")->get_Name()), "x.duckdb");
  EXPECT_EQ(Utf8(At("s3://bucket/")->get_Child(String("x"))->get_Path()), "s3://bucket/x");
}

TEST_F(LocationTest, EverySpellingOfAFileHasOneKey) {
  mFolder.Write("orders.duckdb", "x");
  fs::create_directories(mFolder.get_Path() / "a/b");
  std::string const key = Real("orders.duckdb");
  CurrentFolder const current(mFolder.get_Path());
  for (std::string const& path :
       {mFolder.At("orders.duckdb"), std::string("orders.duckdb"), std::string("./orders.duckdb"),
        std::string("a/../orders.duckdb"), std::string("a/b/../../orders.duckdb"),
        std::string("a//.//..//orders.duckdb"), mFolder.At("a/../orders.duckdb")}) {
    EXPECT_EQ(KeyOf(path), key) << path;
    EXPECT_TRUE(At(path)->get_Exists()) << path;
  }
}

TEST_F(LocationTest, AFileThatIsNotThereHasTheKeyThatItWillHave) {
  fs::create_directories(mFolder.get_Path() / "a");
  fs::create_directory_symlink(mFolder.get_Path() / "a", mFolder.get_Path() / "link");
  CurrentFolder const current(mFolder.get_Path());
  struct Case {
    char const* mPath;
    char const* mKey;
  };
  for (Case const& c :
       {Case{"new.db", "new.db"}, Case{"link/new.db", "a/new.db"}, Case{"link/../new.db", "new.db"},
        Case{"x/../new.db", "new.db"}, Case{"link/x/y/../new.db", "a/x/new.db"},
        Case{"link/x/", "a/x"}, Case{"./new.db/", "new.db"}}) {
    EXPECT_EQ(KeyOf(c.mPath), Real(c.mKey)) << c.mPath;
  }
  std::string const before = KeyOf("link/new.db");
  mFolder.Write("a/new.db", "x");
  EXPECT_EQ(KeyOf("link/new.db"), before);
}

TEST_F(LocationTest, LinksAreResolvedEvenWhenNothingIsBehindThem) {
  fs::path const base = mFolder.get_Path();
  mFolder.Write("file.db", "x");
  fs::create_directories(base / "a");
  fs::create_symlink("file.db", base / "relative");
  fs::create_symlink(base / "file.db", base / "absolute");
  fs::create_symlink("../relative", base / "a" / "second");
  fs::create_symlink("missing.db", base / "dangling");
  fs::create_symlink("../dangling", base / "a" / "twice");
  fs::create_symlink("nowhere/x.db", base / "deep");
  struct Case {
    char const* mPath;
    char const* mKey;
  };
  for (Case const& c : {Case{"relative", "file.db"}, Case{"absolute", "file.db"},
                        Case{"a/second", "file.db"}, Case{"dangling", "missing.db"},
                        Case{"a/twice", "missing.db"}, Case{"deep", "nowhere/x.db"}}) {
    EXPECT_EQ(KeyOf(mFolder.At(c.mPath)), Real(c.mKey)) << c.mPath;
  }
  EXPECT_TRUE(At(mFolder.At("relative"))->get_Exists());
  EXPECT_FALSE(At(mFolder.At("dangling"))->get_Exists());
}

TEST_F(LocationTest, ACircleOfLinksEnds) {
  fs::create_symlink("b", mFolder.get_Path() / "a");
  fs::create_symlink("a", mFolder.get_Path() / "b");
  fs::create_symlink("self/x", mFolder.get_Path() / "self");
  for (char const* const name : {"a", "b", "self"}) {
    EXPECT_FALSE(At(mFolder.At(name))->get_Exists()) << name;
    EXPECT_EQ(KeyOf(mFolder.At(name)).substr(0, Real("").size()), Real("")) << name;
  }
}

TEST_F(LocationTest, HardLinksAreDifferentPaths) {
  mFolder.Write("one", "x");
  fs::create_hard_link(mFolder.get_Path() / "one", mFolder.get_Path() / "two");
  EXPECT_NE(KeyOf(mFolder.At("one")), KeyOf(mFolder.At("two")));
}

TEST_F(LocationTest, NamesAreTheLastPart) {
  struct Case {
    char const* mPath;
    char const* mName;
  };
  for (Case const& c :
       {Case{"orders.duckdb", "orders.duckdb"}, Case{"/a/b/orders.duckdb", "orders.duckdb"},
        Case{"a/b/", "b"}, Case{"a/b///", "b"}, Case{"/", "/"}, Case{"//", "/"}, Case{"/a", "a"},
        Case{"..", ".."},
        Case{"a b/caf\xC3\xA9 \xF0\x9F\xA6\x86.db", "caf\xC3\xA9 \xF0\x9F\xA6\x86.db"}}) {
    EXPECT_EQ(Utf8(At(c.mPath)->get_Name()), c.mName) << c.mPath;
  }
}

TEST_F(LocationTest, TheFolderHoldsTheLocation) {
  struct Case {
    char const* mPath;
    char const* mFolder;
  };
  for (Case const& c :
       {Case{"/a/b/c.db", "/a/b"}, Case{"/a/b/", "/a"}, Case{"/a", "/"}, Case{"/", "/"},
        Case{"a/c.db", "a"}, Case{"./c.db", "."}, Case{"../c.db", ".."}, Case{"a/..", "a/../.."},
        Case{"..", "../.."}, Case{"a//b", "a"}}) {
    EXPECT_EQ(Utf8(At(c.mPath)->get_Folder()->get_Path()), c.mFolder) << c.mPath;
  }
  CurrentFolder const current(mFolder.get_Path());
  EXPECT_EQ(Utf8(At("c.db")->get_Folder()->get_Path()), Real("").substr(0, Real("").size() - 1));
}

TEST_F(LocationTest, AChildIsInsideTheFolder) {
  EXPECT_EQ(Utf8(At("/a")->get_Child(String("b"))->get_Path()), "/a/b");
  EXPECT_EQ(Utf8(At("/a/")->get_Child(String("b"))->get_Path()), "/a/b");
  EXPECT_EQ(Utf8(At("/")->get_Child(String("b"))->get_Path()), "/b");
  EXPECT_EQ(KeyOf("/a/b"), Utf8(At("/a")->get_Child(String("/b"))->get_Key()));
}

TEST_F(LocationTest, TheFolderViewIsOfferedByFoldersAndByWhatIsNotThere) {
  mFolder.Write("file", "x");
  EXPECT_EQ(At(mFolder.At("file"))->QueryInterface(402), nullptr);
  for (std::string const& path :
       {mFolder.get_Path().string(), mFolder.At("new"), mFolder.At("x/y/z")}) {
    auto const location = At(path);
    auto folder = tarn::query_interface<I_Folder>(location.get(), 402);
    ASSERT_TRUE(folder) << path;
    EXPECT_EQ(location->get_RefsCount(), 2u);
    EXPECT_EQ(folder->get_Exists(), fs::exists(path));
    folder->Create();
    EXPECT_TRUE(fs::is_directory(path));
    EXPECT_TRUE(folder->get_Exists());
    EXPECT_TRUE(location->get_IsFolder());
    folder->Create();
  }
  EXPECT_EQ(At(mFolder.At("new"))->QueryInterface(406), nullptr);
  EXPECT_TRUE(tarn::query_interface<tarn::I_Unknown>(At("x").get(), 1));
}

TEST_F(LocationTest, AFolderIsNoFolderOnceAFileTookItsPlace) {
  auto const location = At(mFolder.At("x"));
  auto const folder = tarn::query_interface<I_Folder>(location.get(), 402);
  mFolder.Write("x", "file");
  EXPECT_FALSE(folder->get_Exists());
  EXPECT_TRUE(location->get_Exists()) << "the two questions differ";
  try {
    folder->Create();
    FAIL() << "nothing was thrown";
  } catch (xException const& error) {
    EXPECT_EQ(error.get_Code(), 0x66001u);
    EXPECT_EQ(Utf8(error.get_Text(0)), mFolder.At("x"));
    EXPECT_FALSE(error.get_Text(1).isEmpty());
  }
}

TEST_F(LocationTest, PrepareFolderMakesTheSubFolder) {
  auto const folder = At(mFolder.At("a/b"));
  auto const backup = tarn::PrepareFolder(folder, "Backup/");
  EXPECT_EQ(Utf8(backup->get_Path()), mFolder.At("a/b/Backup"));
  EXPECT_TRUE(fs::is_directory(mFolder.get_Path() / "a/b/Backup"));
  EXPECT_EQ(Utf8(tarn::PrepareFolder(folder, "Backup")->get_Key()), Utf8(backup->get_Key()));
  std::string const unicode = "\xC3\xA9\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\xA6\x86";
  tarn::PrepareFolder(folder, (unicode + "/").c_str());
  EXPECT_TRUE(fs::is_directory(mFolder.get_Path() / "a/b" / PathOf(unicode)));
  for (char const* const none : {"", static_cast<char const*>(nullptr)}) {
    EXPECT_EQ(Utf8(tarn::PrepareFolder(folder, none)->get_Path()), mFolder.At("a/b"));
  }
}

TEST_F(LocationTest, PrepareFolderBelowAFileFails) {
  mFolder.Write("file", "x");
  for (char const* const name : {"sub", ""}) {
    try {
      tarn::PrepareFolder(At(mFolder.At("file")), name);
      FAIL() << "nothing was thrown";
    } catch (xException const& error) {
      EXPECT_EQ(error.get_Code(), 0x66001u);
      EXPECT_EQ(Utf8(error.get_Text(0)).substr(0, mFolder.At("file").size()), mFolder.At("file"));
    }
  }
}

TEST_F(LocationTest, UnicodePathsAreUtf8OnDisk) {
  std::string const name = "caf\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\xA6\x86.duckdb";
  EXPECT_FALSE(At(mFolder.At(name))->get_Exists());
  mFolder.Write(name, "x");
  EXPECT_TRUE(At(mFolder.At(name))->get_Exists());
  EXPECT_EQ(KeyOf(mFolder.At(name)), Real(name));
  EXPECT_EQ(Utf8(At(mFolder.At(name))->get_Name()), name);
}

}  // namespace
