#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <new>

#include "FailingAllocation.h"
#include "support/LoadedLibrary.h"

namespace lumora::test {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;
using tarn::lsql::GetDuckDBExtension;

// A sanitizer keeps what was freed, and notes on every loading, for a while.
#if defined(__has_feature)
constexpr bool kIsSanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
constexpr bool kIsSanitized = false;
#endif

std::size_t CountEntries(char const* inFolder) {
  std::size_t count = 0;
  for ([[maybe_unused]] auto const& entry : fs::directory_iterator(inFolder)) ++count;
  return count;
}

// Resident pages of this process.
std::size_t CountPages() {
  std::size_t all = 0;
  std::size_t resident = 0;
  std::ifstream("/proc/self/statm") >> all >> resident;
  return resident;
}

std::size_t CountMappings() {
  std::ifstream maps("/proc/self/maps");
  std::size_t count = 0;
  for (std::string line; std::getline(maps, line);) ++count;
  return count;
}

TEST(EntryPoints, WithoutMemoryForTheExtensionObjectNothingIsInstalled) {
  LoadedLibrary library;
  library.Bind();
  HostContext context;
  {
    FailingAllocation const failing;
    EXPECT_THROW(library.Init(context), std::bad_alloc);
  }
  EXPECT_FALSE(GetDuckDBExtension());
  EXPECT_EQ(context.mOffered, Names{});
  EXPECT_EQ(context.mErrors, Names{});
}

TEST(EntryPoints, ARefusedProcedureIsReportedAndStopsNothing) {
  LoadedLibrary library;
  library.Bind();
  HostContext context;
  context.mRefusedProcedures = {"parquet_schema"};
  library.Init(context);
  EXPECT_EQ(context.mErrors, Names{"Cannot register parquet_schema procedure."});
  Names registered;
  for (auto const& procedure : context.mProcedures) registered.emplace_back(procedure.mName);
  EXPECT_EQ(registered,
            (Names{"fetch_parquet", "parquet_metadata", "parquet_count", "fetch_duckdb"}));
  EXPECT_TRUE(GetDuckDBExtension());
}

TEST(EntryPoints, RegisterFiveProceduresWithTheirTexts) {
  struct {
    char const* mName;
    std::uint32_t mMinArgs;
    std::uint32_t mMaxArgs;
    char const* mSignature;
    char const* mDescription;
  } const expected[] = {
      {"fetch_parquet", 1, 4, "uri [, columns [, where [, limit]]]", "Reads a parquet file."},
      {"parquet_schema", 1, 1, "uri", "Returns parquet column schema."},
      {"parquet_metadata", 1, 1, "uri", "Returns parquet file metadata."},
      {"parquet_count", 1, 2, "uri [, where]", "Returns parquet row count."},
      {"fetch_duckdb", 2, 3, "uri, table_or_view [, limit]",
       "Returns rows from a DuckDB table or view."},
  };
  LoadedLibrary library;
  library.Bind();
  HostContext context;
  library.Init(context);
  ASSERT_EQ(context.mProcedures.size(), std::size(expected));
  for (std::size_t i = 0; i < std::size(expected); ++i) {
    auto const& procedure = context.mProcedures[i];
    EXPECT_STREQ(procedure.mName, expected[i].mName);
    EXPECT_EQ(procedure.mMinArgs, expected[i].mMinArgs);
    EXPECT_EQ(procedure.mMaxArgs, expected[i].mMaxArgs);
    EXPECT_STREQ(procedure.mSignature, expected[i].mSignature);
    EXPECT_STREQ(procedure.mDescription, expected[i].mDescription);
    EXPECT_NE(procedure.mHandler, nullptr);
  }
  EXPECT_EQ(context.mErrors, Names{});
}

TEST(EntryPoints, InstallTheExtensionObjectBeforeAnyProcedureIsOffered) {
  LoadedLibrary library;
  library.Bind();
  HostContext context;
  std::vector<bool> installed;
  context.mBeforeRegister = [&] { installed.push_back(bool(GetDuckDBExtension())); };
  library.Init(context);
  EXPECT_EQ(installed, std::vector<bool>(5, true));
}

TEST(EntryPoints, BindingTakesAnyTableAndTheLastOneCounts) {
  LoadedLibrary library;
  library.Bind(nullptr);
  library.Bind();
  HostContext context;
  library.Init(context);
  EXPECT_EQ(context.mProcedures.size(), 5U);
}

TEST(EntryPoints, LeaveTheHostTheOnlyReferenceToTheExtensionObject) {
  LoadedLibrary library;
  library.Bind();
  HostContext context;
  library.Init(context);
  auto const extension = GetDuckDBExtension();
  ASSERT_TRUE(extension);
  EXPECT_EQ(extension->get_RefsCount(), 2U) << "the host's and this test's";
}

TEST(EntryPoints, LoadingAndBindingDoNothingElse) {
  auto const threads = CountEntries("/proc/self/task");
  auto const descriptors = CountEntries("/proc/self/fd");
  LoadedLibrary library;
  library.Bind();
  EXPECT_FALSE(GetDuckDBExtension());
  HostContext context;
  library.Init(context);
  EXPECT_EQ(CountEntries("/proc/self/task"), threads);
  EXPECT_EQ(CountEntries("/proc/self/fd"), descriptors);
}

TEST(EntryPoints, ASecondInitInstallsAnotherObjectAndRegistersAgain) {
  LoadedLibrary library;
  library.Bind();
  HostContext first;
  library.Init(first);
  auto const extension = GetDuckDBExtension();
  HostContext second;
  library.Init(second);
  EXPECT_NE(GetDuckDBExtension().get(), extension.get());
  EXPECT_EQ(extension->get_RefsCount(), 1U) << "the host gave the first one up";
  EXPECT_EQ(first.mProcedures.size(), 5U);
  EXPECT_EQ(second.mProcedures.size(), 5U);
}

TEST(EntryPoints, AThousandTimesLoadedAndUnloadedLeaveNothingBehind) {
  std::size_t pages = 0;
  std::size_t mappings = 0;
  std::size_t descriptors = 0;
  for (int i = 0; i < 1000; ++i) {
    {
      LoadedLibrary library;
      library.Bind();
      HostContext context;
      library.Init(context);
      ASSERT_EQ(context.mProcedures.size(), 5U);
      ASSERT_TRUE(GetDuckDBExtension());
    }
    ASSERT_FALSE(LoadedLibrary::IsLoaded());
    if (i != 199) continue;
    pages = CountPages();
    mappings = CountMappings();
    descriptors = CountEntries("/proc/self/fd");
  }
  EXPECT_EQ(CountEntries("/proc/self/fd"), descriptors);
  EXPECT_LE(CountMappings(), mappings + (kIsSanitized ? 64 : 2));
  EXPECT_LE(CountPages(), pages + (kIsSanitized ? 16384 : 64));
}

}  // namespace
}  // namespace lumora::test
