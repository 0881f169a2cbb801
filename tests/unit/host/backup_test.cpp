#include "tarn/lsql/Backup.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <set>
#include <string>

#include "Probe.h"
#include "support/TempFolder.h"
#include "tarn/Exceptions.h"

namespace {

using lumora::test::TempFolder;
using tarn::CreateLocation;
using tarn::xException;
using tarn::lsql::gCreateBackupLocation;
using tarn::test::Utf8;
using tarn::test::Wide;

TEST(BackupHooks, NoServerFolderIsSetAtFirst) {
  EXPECT_EQ(tarn::lsql::gServerBackupLocation, nullptr);
  ASSERT_NE(tarn::glDuckDB_backup_sfx, nullptr);
  EXPECT_TRUE(std::regex_match(tarn::glDuckDB_backup_sfx, std::regex("[a-z_]+")));
}

TEST(BackupHooks, AFolderThatCannotBeIsAnError) {
  TempFolder const folder;
  folder.Write("file", "x");
  EXPECT_THROW(gCreateBackupLocation({}), xException);
  EXPECT_THROW(gCreateBackupLocation(CreateLocation(Wide(folder.At("file")))), xException);
  EXPECT_THROW(gCreateBackupLocation(CreateLocation(Wide(":memory:"))), xException);
  EXPECT_EQ(folder.Names(), (std::set<std::string>{"file"}));
}

TEST(BackupHooks, EveryBackupGetsAFolderOfItsOwnNamedByTheMoment) {
  TempFolder const folder;
  auto const backups = CreateLocation(Wide(folder.At("not yet there")));
  std::set<std::string> paths;
  for (int i = 0; i < 5; ++i) {
    auto const location = gCreateBackupLocation(backups);
    EXPECT_TRUE(location->get_IsFolder());
    EXPECT_TRUE(std::filesystem::is_empty(Utf8(location->get_Path())));
    EXPECT_EQ(Utf8(location->get_Folder()->get_Key()), Utf8(backups->get_Key()));
    std::string const name = Utf8(location->get_Name());
    std::regex const form("\\d{4}-\\d\\d-\\d\\d_\\d\\d-\\d\\d-\\d\\d(_[2-5])?");
    EXPECT_TRUE(std::regex_match(name, form)) << name;
    EXPECT_TRUE(paths.insert(name).second) << name;
  }
}

}  // namespace
