#include "Options.h"

#include <gtest/gtest.h>

namespace lumora::shell {
namespace {

ParsedOptions Parse(std::vector<char const*> inArguments) {
  inArguments.insert(inArguments.begin(), "lumora");
  return ParseOptions(static_cast<int>(inArguments.size()), inArguments.data());
}

TEST(Options, RefuseWhatTheyDoNotKnow) {
  std::vector<std::vector<char const*>> const cases = {
      {"--nope"},
      {"a.db", "b.db"},
      {"--mode", "table"},
      {"--cursor", "both"},
      {"--threads", "0"},
      {"--threads", "x"},
      {"--max-rows", "-1"},
      {"--block-size", "-1"},
      {"--max-memory", "lots"},
      {"--create"},
      {"-c"},
      {"--create", "--readonly", "a.db"},
  };
  for (auto const& arguments : cases) {
    ParsedOptions const parsed = Parse(arguments);
    auto const* answer = std::get_if<UsageAnswer>(&parsed);
    ASSERT_TRUE(answer) << arguments[0];
    EXPECT_TRUE(answer->mIsError) << arguments[0];
    EXPECT_NE(answer->mText, "") << arguments[0];
  }
  ParsedOptions const help = Parse({"--help"});
  EXPECT_FALSE(std::get<UsageAnswer>(help).mIsError);
}

TEST(Options, KeepTheOrderOfCommandsAndFiles) {
  Options const options =
      std::get<Options>(Parse({"-c", "one", "-f", "two", "a.db", "-c", "three", "--file", "four"}));
  std::string order;
  for (ScriptOption const& script : options.mScripts) {
    order += (script.mKind == ScriptOption::Kind::kFile ? "f:" : "c:") + script.mText + " ";
  }
  EXPECT_EQ(order, "c:one f:two c:three f:four ");
  EXPECT_EQ(options.mDatabase, "a.db");
}

TEST(Options, TakeEverySettingOfADatabase) {
  Options const options = std::get<Options>(Parse({"a.db",
                                                   "--create",
                                                   "--threads",
                                                   "4",
                                                   "--max-memory",
                                                   "2GB",
                                                   "--temp-dir",
                                                   "/spill",
                                                   "--no-external-access",
                                                   "--storage-version",
                                                   "latest",
                                                   "--block-size",
                                                   "16384",
                                                   "--token",
                                                   "t",
                                                   "--user-agent",
                                                   "u",
                                                   "--cursor",
                                                   "server",
                                                   "--mode",
                                                   "JSON",
                                                   "--max-rows",
                                                   "0",
                                                   "--param",
                                                   "-5",
                                                   "--param",
                                                   "x y"}));
  EXPECT_TRUE(options.mCreate);
  EXPECT_EQ(options.mOpen.mThreads, 4U);
  EXPECT_EQ(options.mOpen.mMaxMemory, 2000U);
  EXPECT_EQ(options.mOpen.mTempFolder, "/spill");
  EXPECT_FALSE(options.mOpen.mExternalAccess);
  EXPECT_EQ(options.mOpen.mStorageVersion, "latest");
  EXPECT_EQ(options.mOpen.mBlockSize, 16384U);
  EXPECT_EQ(options.mOpen.mToken, "t");
  EXPECT_EQ(options.mOpen.mUserAgent, "u");
  EXPECT_EQ(options.mCursorKind, 2U);
  EXPECT_EQ(options.mMode, Mode::kJson);
  EXPECT_EQ(options.mMaxRows, 0U);
  EXPECT_EQ(options.mParameters, (std::vector<std::string>{"-5", "x y"}));
}

TEST(Options, ReadSizesOfMemory) {
  struct Case {
    char const* mText;
    std::optional<std::uint32_t> mMegabytes;
  };
  Case const cases[] = {
      {"", std::nullopt},
      {"MB", std::nullopt},
      {"-1", std::nullopt},
      {"0", std::nullopt},
      {"1 XB", std::nullopt},
      {"1e3", std::nullopt},
      {"9999999TB", std::nullopt},
      {"500", 500},
      {"500MB", 500},
      {"500 mb", 500},
      {"2GB", 2000},
      {"1.5g", 1500},
      {"1GiB", 1073},
      {"0.5", 1},
      {"1T", std::nullopt},
      {"4TB", 4000000},
  };
  for (Case const& c : cases) EXPECT_EQ(ParseMegabytes(c.mText), c.mMegabytes) << c.mText;
}

}  // namespace
}  // namespace lumora::shell
