#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "LoadedLibrary.h"
#include "support/DuckDBCalls.h"
#include "support/Seed.h"
#include "tarn/Converter.h"
#include "tarn/Location.h"
#include "tarn/Value.h"

// The extension keeps a DuckDB database of its own for what the C API lacks. It is opened on first
// use and must go with the extension.
namespace lumora::test {
namespace {

tarn::String Wide(std::string const& inText) {
  return tarn::StToUTF16(inText.data(), static_cast<std::int64_t>(inText.size()),
                         tarn::GetConverter_UTF8());
}

std::size_t CountThreads() {
  std::size_t count = 0;
  for ([[maybe_unused]] auto const& task : std::filesystem::directory_iterator("/proc/self/task")) {
    ++count;
  }
  return count;
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

// The first round makes what DuckDB makes once in a process.
TEST(PrivateDatabase, GoesWithTheExtensionHoweverOftenItIsLoaded) {
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
    }
    ASSERT_FALSE(LoadedLibrary::IsLoaded());
    EXPECT_EQ(get_LiveHandles(), before);
    if (round == 0) threads = CountThreads();
  }
  EXPECT_EQ(CountThreads(), threads);
}

}  // namespace
}  // namespace lumora::test
