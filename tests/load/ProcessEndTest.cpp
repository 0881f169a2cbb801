#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "support/ChildProcess.h"
#include "support/DuckDBCalls.h"
#include "support/LoadedLibrary.h"
#include "support/TempFolder.h"
#include "tarn/Converter.h"
#include "tarn/Location.h"
#include "tarn/Value.h"

// A host that keeps its databases in static objects, and does not close them before it ends.
namespace lumora::test {
namespace {

using tarn::smart_ptr;
using tarn::lsql::I_DuckDBCursor;
using tarn::lsql::I_DuckDBDatabase;

struct HostState {
  smart_ptr<I_DuckDBDatabase> mFirst;
  smart_ptr<I_DuckDBDatabase> mSecond;
  smart_ptr<I_DuckDBCursor> mCursor;  // dies before its database
};
// Constructed before the extension is loaded, and so destroyed after its static objects.
HostState gHost;

tarn::String Wide(std::string const& inText) {
  return tarn::StToUTF16(inText.data(), static_cast<std::int64_t>(inText.size()),
                         tarn::GetConverter_UTF8());
}

void Use(HostState& ioHost, Arguments const& inPaths) {
  auto const extension = tarn::lsql::GetDuckDBExtension();
  ioHost.mFirst = extension->CreateDatabase(tarn::CreateLocation(Wide(inPaths[0])));
  ioHost.mFirst->Create();
  ioHost.mFirst->ExecuteSQL(Wide("CREATE TABLE t AS SELECT i FROM range(5000) r(i)"), nullptr);
  ioHost.mSecond = extension->CreateDatabase(tarn::CreateLocation(Wide(inPaths[1])));
  ioHost.mSecond->Create();
  ioHost.mCursor = ioHost.mFirst->ExecuteQuery(Wide("FROM t"), tarn::lsql::kCursorServer, nullptr);
  ioHost.mCursor->NextRecord();
}

void Load() {
  static auto* const library = new LoadedLibrary;
  static HostContext context;
  library->Bind();
  library->Init(context);
}

// Registered before all that it counts, and so run after it.
void CountAtTheEnd() {
  std::atexit([] {
    gHost.mCursor = nullptr;
    gHost.mSecond = nullptr;
    gHost.mFirst = nullptr;
    std::printf("%d databases, %d closed late", static_cast<int>(get_LiveHandles().mDatabases),
                static_cast<int>(get_LateCloses()));
    std::fflush(stdout);
    std::_Exit(0);  // before the leak sanitizer, which is blind inside of DuckDB
  });
}

template <typename TGetHost>
int EndWith(Arguments const& inPaths, TGetHost inGetHost) {
  CountAtTheEnd();
  Load();
  Use(inGetHost(), inPaths);
  std::exit(0);
}

int EarlyJob(Arguments const& inPaths) {
  return EndWith(inPaths, []() -> HostState& { return gHost; });
}
ChildJob const gEarlyJob("end-with-databases-in-early-statics", EarlyJob);

int LateJob(Arguments const& inPaths) {
  return EndWith(inPaths, []() -> HostState& {
    static HostState host;
    return host;
  });
}
ChildJob const gLateJob("end-with-databases-in-late-statics", LateJob);

// Kept by a thread, and closed with its objects.
int ThreadJob(Arguments const& inPaths) {
  CountAtTheEnd();
  Load();
  std::thread([&] {
    static thread_local HostState host;
    Use(host, inPaths);
  }).join();
  std::exit(0);
}
ChildJob const gThreadJob("end-a-thread-with-databases", ThreadJob);

class ProcessEnd : public testing::TestWithParam<char const*> {};

TEST_P(ProcessEnd, ClosesTheDatabasesOfStaticObjectsAndLosesNothing) {
  TempFolder const folder;
  std::string const path = folder.At("a.db");
  ChildResult const result = RunChild(GetParam(), {path, folder.At("b.db")});
  EXPECT_EQ(result.mExitCode, 0);
  EXPECT_EQ(result.mOutput, "0 databases, 0 closed late");

  LoadedLibrary library;
  library.Bind();
  HostContext context;
  library.Init(context);
  auto const database =
      tarn::lsql::GetDuckDBExtension()->CreateDatabase(tarn::CreateLocation(Wide(path)));
  database->Open();
  auto const cursor =
      database->ExecuteQuery(Wide("SELECT sum(i) FROM t"), tarn::lsql::kCursorClient, nullptr);
  ASSERT_TRUE(cursor->FirstRecord());
  EXPECT_EQ(cursor->get_Value(0)->get_String(), Wide("12497500"));
  cursor->Close();
  database->Close();
}

INSTANTIATE_TEST_SUITE_P(Holders, ProcessEnd,
                         testing::Values("end-with-databases-in-early-statics",
                                         "end-with-databases-in-late-statics",
                                         "end-a-thread-with-databases"));

}  // namespace
}  // namespace lumora::test
