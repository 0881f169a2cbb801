#include "database/DatabaseConfig.h"

#include <gmock/gmock.h>

#include "support/DuckDBCalls.h"

namespace {

using lumora::ConfigEntries;
using lumora::MakeConfig;
using lumora::RemoteEntries;
using lumora::SettingsEntries;
using lumora::duckdb_c::Access;
using lumora::test::Call;
using lumora::test::FailingCall;
using tarn::String;
using tarn::lsql::DuckDBSettings;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

TEST(DatabaseConfig, WithoutConfigurationsIsARuntimeError) {
  FailingCall const failing(Call::kCreateConfig);
  std::string error;
  EXPECT_THROW(MakeConfig({}, Access::kReadWrite, error), std::runtime_error);
}

TEST(DatabaseConfig, ARefusedEntryIsNamedWithoutItsValue) {
  FailingCall const failing(Call::kSetConfig, 1, 1);
  std::string error;
  EXPECT_FALSE(MakeConfig({{"a", "b"}, {"motherduck_token", "secret"}}, Access::kReadWrite, error));
  EXPECT_EQ(error, "DuckDB refuses the value of the setting \"motherduck_token\"");
}

TEST(DatabaseConfig, IsMadeForAnyEntriesThatDuckDbTakes) {
  std::string error;
  EXPECT_TRUE(MakeConfig({{"threads", "3"}}, Access::kReadOnly, error));
  EXPECT_EQ(error, "");
}

TEST(SettingsEntries, LeaveOutWhatMeansTheDefault) {
  EXPECT_THAT(SettingsEntries({}), ElementsAre(Pair("enable_external_access", "true")));
}

TEST(SettingsEntries, HoldEveryGivenValue) {
  DuckDBSettings settings;
  settings.mWritable = 0;
  settings.mThreads = 4294967295;
  settings.mMaxMemory = 1;
  settings.mTempDirectory = TARN_W("/tmp/\u00fc");
  settings.mExternalAccess = false;
  EXPECT_THAT(SettingsEntries(settings),
              ElementsAre(Pair("threads", "4294967295"), Pair("max_memory", "1MB"),
                          Pair("temp_directory", "/tmp/\xC3\xBC"),
                          Pair("enable_external_access", "false")));
}

TEST(RemoteEntries, AreNothingWithoutAToken) {
  EXPECT_THAT(RemoteEntries(String(""), String("agent")), IsEmpty());
  EXPECT_THAT(RemoteEntries(String("t"), String("")), ElementsAre(Pair("motherduck_token", "t")));
  EXPECT_THAT(RemoteEntries(String("t"), String("a")),
              ElementsAre(Pair("motherduck_token", "t"), Pair("custom_user_agent", "a")));
}

}  // namespace
