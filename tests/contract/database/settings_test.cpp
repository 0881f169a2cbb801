#include <vector>

#include "support/DatabaseTest.h"
#include "support/DuckDBCalls.h"

namespace {

using namespace lumora::test;
using tarn::lsql::DuckDBSettings;
using testing::HasSubstr;
using testing::IsEmpty;

class Settings : public DatabaseTest {
 protected:
  static std::string Setting(Database const& inDatabase, std::string const& inName) {
    auto const cursor = inDatabase->ExecuteQuery(
        Wide("SELECT current_setting('" + inName + "')::VARCHAR"), 1, nullptr);
    cursor->NextRecord();
    return Utf8(cursor->get_Value(0)->get_String());
  }
};

TEST_F(Settings, AnUnknownStorageVersionIsDuckDbsErrorAndLeavesNoFile) {
  Database const database = At("a.db");
  database->put_StorageVersion(Wide("v9.9'9"));
  Thrown const thrown = ThrownBy([&] { database->Create(); });
  EXPECT_EQ(thrown.mClass, "xDuckDBError");
  EXPECT_EQ(thrown.mCode, 0x72501U);
  EXPECT_EQ(thrown.mText1, mFolder.At("a.db"));
  EXPECT_THAT(thrown.mText2, HasSubstr("v9.9'9"));
  EXPECT_THAT(mFolder.Names(), IsEmpty());
  EXPECT_FALSE(database->get_IsOpen());
}

TEST_F(Settings, ABlockSizeThatDuckDbRefusesLeavesNoFile) {
  for (std::uint32_t const size : {1U, 17U, 100000U, 4U << 20U, 0xFFFFFFFFU}) {
    Database const database = At("a.db");
    database->put_BlockSize(size);
    EXPECT_THAT(ThrownBy([&] { database->Create(); }).mText2, HasSubstr("block size"));
    EXPECT_THAT(mFolder.Names(), IsEmpty()) << size;
  }
}

TEST_F(Settings, AFailedCreateDoesNotStandInTheWayOfTheNext) {
  Database const database = At("a.db");
  database->put_BlockSize(17);
  EXPECT_NE(ThrownBy([&] { database->Create(); }), Thrown{});
  EXPECT_EQ(database->get_ConnectionCount(), 0U);
  database->Drop();
  database->put_BlockSize(0);
  database->Create();
  EXPECT_TRUE(database->get_IsOpen());
}

TEST_F(Settings, StorageVersionAndBlockSizeHoldForTheNewFile) {
  Database const database = At("a.db");
  database->put_StorageVersion(Wide("latest"));
  database->put_BlockSize(16384);
  database->Create();
  Run(database, "CREATE TABLE v AS SELECT 1::VARIANT AS a");
  database->Open();
  EXPECT_EQ(Number(database, "SELECT block_size FROM pragma_database_size()"), 16384);
}

TEST_F(Settings, AreAttachedForAtCreateOnlyWhenTheyAreStorageOptions) {
  Created("warm-up.db");
  auto const queries = [&](char const* inVersion, std::uint32_t inBlockSize) {
    Database const database = At("a.db");
    database->put_Settings({});
    database->put_StorageVersion(Wide(inVersion));
    database->put_BlockSize(inBlockSize);
    std::uint64_t const before = get_CallCount(Call::kQuery);
    database->Create();
    return get_CallCount(Call::kQuery) - before;
  };
  EXPECT_EQ(queries("", 0), 1U) << "errors as JSON";
  EXPECT_EQ(queries("latest", 0), 2U);
  EXPECT_EQ(queries("", 16384), 2U);
}

TEST_F(Settings, StorageOptionsWorkWithoutExternalAccess) {
  Database const database = At("a.db");
  DuckDBSettings settings;
  settings.mExternalAccess = false;
  database->put_Settings(settings);
  database->put_StorageVersion(Wide("v1.5.0"));
  database->Create();
  EXPECT_EQ(Setting(database, "enable_external_access"), "false");
}

TEST_F(Settings, TheDefaultFileCannotHoldAVariant) {
  EXPECT_THAT(ThrownBy([&] { Run(Created("a.db"), "CREATE TABLE v (a VARIANT)"); }).mText2,
              HasSubstr("VARIANT"));
}

TEST_F(Settings, EveryGivenSettingReachesDuckDb) {
  for (bool const create : {true, false}) {
    Database const database = At("a.db");
    DuckDBSettings settings;
    settings.mThreads = 3;
    settings.mMaxMemory = 500;
    settings.mTempDirectory = Wide(mFolder.At("sp'ill \xC3\xBC"));
    settings.mExternalAccess = false;
    database->put_Settings(settings);
    create ? database->Create() : database->Open();
    EXPECT_EQ(Setting(database, "threads"), "3");
    EXPECT_EQ(Setting(database, "max_memory"), "476.8 MiB");
    EXPECT_EQ(Setting(database, "temp_directory"), mFolder.At("sp'ill \xC3\xBC"));
    EXPECT_EQ(Setting(database, "enable_external_access"), "false");
    EXPECT_THAT(ThrownBy([&] { Run(database, "COPY (SELECT 1) TO '/tmp/x.csv'"); }).mText2,
                HasSubstr("Permission"));
  }
}

TEST_F(Settings, ZeroAndEmptyMeanDuckDbsDefaults) {
  Database const plain = InMemory();
  plain->Create();
  Database const given = InMemory();
  given->put_Settings({});
  given->Create();
  for (char const* const name :
       {"threads", "max_memory", "temp_directory", "enable_external_access"}) {
    EXPECT_EQ(Setting(given, name), Setting(plain, name)) << name;
  }
}

TEST_F(Settings, HoldUntilTheNextClose) {
  MakeFile("a.db");
  Database const database = At("a.db");
  DuckDBSettings settings;
  settings.mWritable = 0;
  database->put_Settings(settings);
  database->Open();
  EXPECT_TRUE(database->get_IsReadOnly());
  database->Close();
  EXPECT_FALSE(database->get_IsReadOnly());
  database->Open();
  EXPECT_FALSE(database->get_IsReadOnly());
}

TEST_F(Settings, OfAnOpenObjectChangeNothingAndAreForgottenWhenItReopens) {
  MakeFile("a.db");
  Database const database = Opened("a.db");
  DuckDBSettings settings;
  settings.mWritable = 0;
  settings.mThreads = 3;
  database->put_Settings(settings);
  EXPECT_FALSE(database->get_IsReadOnly());
  Run(database, "INSERT INTO t VALUES (2)");
  database->Open();
  EXPECT_FALSE(database->get_IsReadOnly());
  Run(database, "INSERT INTO t VALUES (3)");
}

TEST_F(Settings, AReadOnlyDatabaseInMemoryIsDuckDbsError) {
  Database const database = InMemory();
  DuckDBSettings settings;
  settings.mWritable = 0;
  database->put_Settings(settings);
  Thrown const thrown = ThrownBy([&] { database->Open(); });
  EXPECT_EQ(thrown.mCode, 0x99000U);
  EXPECT_THAT(thrown.mText1, HasSubstr("read-only"));
}

TEST_F(Settings, MemoryThatDuckDbCannotReadIsAnError) {
  Database const database = InMemory();
  DuckDBSettings settings;
  settings.mTempDirectory = Wide(std::string("nul\0inside", 10));
  database->put_Settings(settings);
  database->Create();
  EXPECT_EQ(Setting(database, "temp_directory"), "nul");
}

}  // namespace
