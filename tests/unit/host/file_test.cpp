#include "tarn/File.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "Probe.h"
#include "support/ProcessCounts.h"
#include "support/TempFolder.h"
#include "tarn/Exceptions.h"

namespace {

namespace fs = std::filesystem;
using lumora::test::CountDescriptors;
using lumora::test::TempFolder;
using tarn::CreateLocation;
using tarn::File;
using tarn::smart_ptr;
using tarn::xException;
using tarn::test::Utf8;
using tarn::test::Wide;

smart_ptr<File> At(std::string const& inPath) {
  return tarn::CreateFile(CreateLocation(Wide(inPath)));
}

// Runs inStep, which must fail with the file error for that path; returns the message.
template <typename TStep>
std::string ErrorOf(std::string const& inPath, TStep inStep) {
  try {
    inStep();
  } catch (xException const& error) {
    EXPECT_EQ(error.get_Code(), 0x66001u);
    EXPECT_EQ(Utf8(error.get_Text(0)), inPath);
    return Utf8(error.get_Text(1));
  }
  ADD_FAILURE() << "nothing was thrown for " << inPath;
  return {};
}

// Gives up the rights of the superuser, whom no permission stops.
class OrdinaryUser {
 public:
  OrdinaryUser() : mIsRoot(geteuid() == 0) { EXPECT_EQ(mIsRoot ? seteuid(65534) : 0, 0); }
  ~OrdinaryUser() { EXPECT_EQ(mIsRoot ? seteuid(0) : 0, 0); }
  OrdinaryUser(OrdinaryUser const&) = delete;
  OrdinaryUser& operator=(OrdinaryUser const&) = delete;

 private:
  bool mIsRoot;
};

struct FileTest : testing::Test {
  TempFolder mFolder;
};

TEST_F(FileTest, WhatIsNoFileCannotBeOpenedAndLeavesNoDescriptor) {
  std::size_t const before = CountDescriptors();
  ASSERT_EQ(mkfifo(mFolder.At("pipe").c_str(), 0600), 0);
  for (std::string const& path :
       {mFolder.At("missing"), mFolder.get_Path().string(), mFolder.At("pipe"),
        std::string("/dev/null"), mFolder.At("missing/file"), mFolder.At(std::string(300, 'x')),
        std::string(":memory:"), std::string("https://host/x")}) {
    auto const file = At(path);
    EXPECT_FALSE(ErrorOf(path, [&] { file->OpenForRead(); }).empty());
    EXPECT_FALSE(file->get_IsOpen());
  }
  EXPECT_EQ(CountDescriptors(), before);
  EXPECT_EQ(mFolder.Names(), (std::set<std::string>{"pipe"}));
}

TEST_F(FileTest, APathIsNotCutAtANul) {
  mFolder.Write("file", "x");
  auto const file = At(mFolder.At("file") + std::string("\0.db", 4));
  // The exception's texts end at a NUL.
  for (auto const operation : {&File::OpenForRead, &File::Create, &File::Delete}) {
    EXPECT_EQ(ErrorOf(mFolder.At("file"), [&] { (file.get()->*operation)(); }),
              "Location is not a valid path");
  }
  EXPECT_EQ(mFolder.Read("file"), "x");
}

TEST_F(FileTest, TheMessageIsTheSystems) {
  auto const file = At(mFolder.At("missing"));
  EXPECT_EQ(ErrorOf(mFolder.At("missing"), [&] { file->OpenForRead(); }),
            std::system_category().message(ENOENT));
  auto const folder = At(mFolder.get_Path().string());
  EXPECT_EQ(ErrorOf(mFolder.get_Path().string(), [&] { folder->OpenForRead(); }),
            std::system_category().message(EISDIR));
}

TEST_F(FileTest, AFileCannotBeMadeWhereItMayNotBe) {
  fs::create_directory(mFolder.get_Path() / "locked");
  mFolder.Write("locked/secret", "x");
  fs::permissions(mFolder.get_Path() / "locked/secret", fs::perms::owner_read);
  fs::permissions(mFolder.get_Path() / "locked", fs::perms::owner_all);
  ASSERT_EQ(chmod(mFolder.get_Path().string().c_str(), 0755), 0);
  for (char const* const name : {"missing/file", ""}) {
    auto const file = At(mFolder.At(name));
    EXPECT_FALSE(ErrorOf(mFolder.At(name), [&] { file->Create(); }).empty());
  }
  ASSERT_EQ(chmod(mFolder.At("locked").c_str(), 0), 0);
  {
    OrdinaryUser const user;
    auto const file = At(mFolder.At("locked/secret"));
    std::string const denied = std::system_category().message(EACCES);
    EXPECT_EQ(ErrorOf(mFolder.At("locked/secret"), [&] { file->OpenForRead(); }), denied);
    EXPECT_EQ(ErrorOf(mFolder.At("locked/secret"), [&] { file->Create(); }), denied);
    EXPECT_EQ(ErrorOf(mFolder.At("locked/secret"), [&] { file->Delete(); }), denied);
  }
  ASSERT_EQ(chmod(mFolder.At("locked").c_str(), 0700), 0);
  EXPECT_EQ(mFolder.Read("locked/secret"), "x");
}

TEST_F(FileTest, AClosedFileRefusesWhatNeedsAnOpenOne) {
  mFolder.Write("file", "x");
  auto const file = At(mFolder.At("file"));
  char byte = 0;
  EXPECT_FALSE(file->get_IsOpen());
  ErrorOf(mFolder.At("file"), [&] { file->ReadAt(0, &byte, 1); });
  ErrorOf(mFolder.At("file"), [&] { file->WriteAt(0, &byte, 1); });
  ErrorOf(mFolder.At("file"), [&] { file->Flush(); });
  EXPECT_EQ(ErrorOf(mFolder.At("file"), [&] { (void)file->get_Length(); }), "File is not open");
  file->Close();
}

TEST_F(FileTest, AFileWithoutALocationRefusesEverything) {
  auto const file = tarn::CreateFile({});
  EXPECT_FALSE(file->get_Location());
  ErrorOf("", [&] { file->OpenForRead(); });
  ErrorOf("", [&] { file->Create(); });
  EXPECT_EQ(ErrorOf("", [&] { file->Delete(); }), "Location is not a file");
}

TEST_F(FileTest, DeleteRemovesAFileAndNothingElse) {
  mFolder.Write("file", "x");
  mFolder.Write("target", "kept");
  fs::create_directory(mFolder.get_Path() / "folder");
  fs::create_symlink("target", mFolder.get_Path() / "link");
  At(mFolder.At("file"))->Delete();
  At(mFolder.At("file"))->Delete();
  At(mFolder.At("file/x"))->Delete();
  At(mFolder.At("missing/x"))->Delete();
  At(mFolder.At("link"))->Delete();
  auto const folder = At(mFolder.At("folder"));
  EXPECT_FALSE(ErrorOf(mFolder.At("folder"), [&] { folder->Delete(); }).empty());
  EXPECT_EQ(mFolder.Names(), (std::set<std::string>{"folder", "target"}));
}

TEST_F(FileTest, DeleteOfALockedFileLeavesTheLocksOfItsOthersAlone) {
  // It opens no descriptor at all, so it can close none.
  mFolder.Write("file", "x");
  std::size_t const before = CountDescriptors();
  auto const file = At(mFolder.At("file"));
  EXPECT_EQ(CountDescriptors(), before);
  file->Delete();
  EXPECT_EQ(CountDescriptors(), before);
  EXPECT_FALSE(fs::exists(mFolder.At("file")));
}

TEST_F(FileTest, ReadingPastTheEndGivesWhatIsThere) {
  mFolder.Write("file", std::string("0123456789\0x", 12));
  auto const file = At(mFolder.At("file"));
  file->OpenForRead();
  EXPECT_TRUE(file->get_IsOpen());
  EXPECT_EQ(file->get_Length(), 12u);
  struct Case {
    std::uint64_t mOffset;
    std::uint32_t mSize;
    std::string mExpected;
  };
  for (Case const& c : {Case{0, 4, "0123"}, Case{8, 4, std::string("89\0x", 4)},
                        Case{8, 100, std::string("89\0x", 4)}, Case{12, 1, ""}, Case{1000, 5, ""},
                        Case{3, 0, ""}}) {
    std::vector<char> bytes(101, '#');
    std::uint32_t const count = file->ReadAt(c.mOffset, bytes.data(), c.mSize);
    EXPECT_EQ(std::string(bytes.data(), count), c.mExpected);
    EXPECT_EQ(bytes[count], '#');
  }
  char byte = 0;
  EXPECT_FALSE(
      ErrorOf(mFolder.At("file"), [&] { file->ReadAt(~std::uint64_t{0}, &byte, 1); }).empty());
  EXPECT_FALSE(ErrorOf(mFolder.At("file"), [&] { file->WriteAt(0, "x", 1); }).empty())
      << "for reading";
}

TEST_F(FileTest, CreateMakesOrEmptiesTheFile) {
  mFolder.Write("file", "old content");
  for (char const* const name : {"file", "new", "caf\xC3\xA9 \xF0\x9F\xA6\x86"}) {
    auto const file = At(mFolder.At(name));
    file->Create();
    EXPECT_EQ(file->get_Length(), 0u);
    file->WriteAt(0, "hello", 5);
    file->WriteAt(7, "!", 1);
    file->WriteAt(1, "", 0);
    file->Flush();
    EXPECT_EQ(file->get_Length(), 8u);
    char bytes[8];
    EXPECT_EQ(file->ReadAt(0, bytes, 8), 8u);
    file->Close();
    EXPECT_FALSE(file->get_IsOpen());
    EXPECT_EQ(mFolder.Read(name), std::string("hello\0\0!", 8));
  }
}

TEST_F(FileTest, OpeningAgainClosesFirst) {
  mFolder.Write("file", "content");
  std::size_t const before = CountDescriptors();
  auto const file = At(mFolder.At("file"));
  file->OpenForRead();
  file->OpenForRead();
  EXPECT_EQ(CountDescriptors(), before + 1);
  file->put_Location(CreateLocation(Wide(mFolder.At("missing"))));
  EXPECT_FALSE(file->get_IsOpen());
  ErrorOf(mFolder.At("missing"), [&] { file->OpenForRead(); });
  EXPECT_FALSE(file->get_IsOpen());
  EXPECT_EQ(CountDescriptors(), before);
}

TEST_F(FileTest, TheEndOfTheObjectClosesTheFile) {
  mFolder.Write("file", "content");
  std::size_t const before = CountDescriptors();
  auto file = At(mFolder.At("file"));
  file->OpenForRead();
  EXPECT_EQ(file->get_RefsCount(), 1u);
  EXPECT_EQ(file->QueryInterface(402), nullptr);
  file.reset();
  EXPECT_EQ(CountDescriptors(), before);
  {
    tarn::FileWin local;
    local.put_Location(CreateLocation(Wide(mFolder.At("file"))));
    EXPECT_EQ(Utf8(local.get_Location()->get_Path()), mFolder.At("file"));
    local.OpenForRead();
  }
  EXPECT_EQ(CountDescriptors(), before);
}

TEST_F(FileTest, ManyBytesAreWrittenAndReadWhole) {
  std::vector<char> bytes(9'000'000);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7 + i / 4096);
  auto const file = At(mFolder.At("file"));
  auto const size = static_cast<std::uint32_t>(bytes.size());
  file->Create();
  file->WriteAt(5'000'000'000u, bytes.data(), size);
  EXPECT_EQ(file->get_Length(), 5'000'000'000u + size);
  std::vector<char> back(bytes.size());
  EXPECT_EQ(file->ReadAt(5'000'000'000u, back.data(), size), size);
  EXPECT_TRUE(back == bytes);
}

}  // namespace
