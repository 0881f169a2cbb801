#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/ChildProcess.h"
#include "support/DuckDBCalls.h"
#include "support/LoadedLibrary.h"
#include "support/ProcessCounts.h"
#include "support/Seed.h"
#include "support/TempFolder.h"
#include "tarn/Converter.h"
#include "tarn/Location.h"
#include "tarn/Value.h"

// The extension keeps a DuckDB database of its own for what the C API lacks, and one in which it
// tries backups. Each is opened on first use and must go with the extension.
namespace lumora::test {
namespace {

tarn::String Wide(std::string const& inText) {
  return tarn::StToUTF16(inText.data(), static_cast<std::int64_t>(inText.size()),
                         tarn::GetConverter_UTF8());
}

// Reads a nested VARIANT, whose text only the private database can give.
void ReadNestedVariant() {
  const auto database =
      tarn::lsql::GetDuckDBExtension()->CreateDatabase(tarn::CreateLocation(Wide(":memory:")));
  database->Open();
  const auto cursor = database->ExecuteQuery(Wide("SELECT {'a': 1}::VARIANT"), 1, nullptr);
  ASSERT_TRUE(cursor->FirstRecord());
  const tarn::String text = cursor->get_Value(0)->get_String();
  EXPECT_FALSE(text.isEmpty());
  cursor->Close();
  database->Close();
}

// Its schema is tried in a database of the extension's.
void BackUp() {
  const TempFolder folder;
  const auto database = tarn::lsql::GetDuckDBExtension()->CreateDatabase(
      tarn::CreateLocation(Wide(folder.At("a.db"))));
  database->Create();
  auto location = tarn::CreateLocation(Wide(folder.At("backups")));
  std::filesystem::create_directory(folder.At("backups"));
  database->Backup(location);
  database->Close();
}

// The first round makes what DuckDB makes once in a process.
TEST(PrivateDatabases, GoWithTheExtensionHoweverOftenItIsLoaded) {
  constexpr int kRounds = kIsSanitized ? 10 : 50;
  std::size_t threads = 0;
  for (int round = 0; round < kRounds; ++round) {
    HandleCounts const before = get_LiveHandles();
    {
      LoadedLibrary library;
      library.Bind();
      HostContext context;
      library.Init(context);
      EXPECT_EQ(get_LiveHandles(), before) << "opened before anybody needs it";
      ReadNestedVariant();
      EXPECT_EQ(get_LiveHandles().mDatabases, before.mDatabases + 1) << "kept for the next use";
      BackUp();
      EXPECT_EQ(get_LiveHandles().mDatabases, before.mDatabases + 2) << "kept for the next use";
    }
    ASSERT_FALSE(LoadedLibrary::IsLoaded());
    EXPECT_EQ(get_LiveHandles(), before);
    if (round == 0) threads = CountThreads();
  }
  EXPECT_EQ(CountThreads(), threads);
}

// What is still open when the process ends.
int EndJob(Arguments const&) {
  // Registered before the extension is there, and so run after all of its static objects.
  std::atexit([] {
    std::printf("%d databases", static_cast<int>(get_LiveHandles().mDatabases));
    std::fflush(stdout);
    std::_Exit(0);  // before the leak sanitizer, which is blind inside of DuckDB
  });
  // The host forgets to give the extension up.
  static auto* const library = new LoadedLibrary;
  static HostContext context;
  library->Bind();
  library->Init(context);
  ReadNestedVariant();
  BackUp();
  std::exit(0);
}
ChildJob const gEndJob("end-with-the-extension-in-use", EndJob);

// A DuckDB database that is closed by the destructor of a static object frees memory twice: what
// DuckDB keeps for the thread is gone before. Not each time is it found out.
TEST(PrivateDatabases, AreNotClosedAnyMoreWhenTheProcessEnds) {
  ChildResult const result = RunChild("end-with-the-extension-in-use", {});
  EXPECT_EQ(result.mExitCode, 0);
  EXPECT_EQ(result.mOutput, "2 databases");
}

}  // namespace
}  // namespace lumora::test
