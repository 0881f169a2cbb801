// Many threads, each with database objects of its own, on the same and on different files.
#include <array>
#include <atomic>
#include <filesystem>
#include <thread>
#include <vector>

#include "support/Barrier.h"
#include "support/ChildProcess.h"
#include "support/DatabaseTest.h"
#include "support/ProcessCounts.h"
#include "support/Rounds.h"
#include "support/Seed.h"

namespace {

using namespace lumora::test;
using tarn::smart_ptr;

// What a thread of the host can be with regard to the engine lock.
enum class ThreadKind { kOrdinary, kHolder, kDiagnostic };

// The host's lock around one operation, taken by the host itself.
class HostLock {
 public:
  HostLock() {
    tarn::GetGlobalEngineLock()->lock();
    tarn::gIsGlobalLockTaken.set(true);
  }
  ~HostLock() {
    tarn::gIsGlobalLockTaken.set(false);
    tarn::GetGlobalEngineLock()->unlock();
  }
};

class HostMutex {
 public:
  explicit HostMutex(tarn::Thread_Mutex_Win* inMutex)
      : mBefore(tarn::SetGlobalEngineLock(inMutex)) {}
  ~HostMutex() { tarn::SetGlobalEngineLock(mBefore); }

 private:
  tarn::Thread_Mutex_Win* mBefore;
};

// Opens the file read-write. In a process of its own that is started, not forked: the thread
// sanitizer does not survive the fork of a process with threads.
int OpenJob(Arguments const& inArguments) {
  auto const database = LoadedExtension::Instance().Database(inArguments.at(0));
  database->Open();
  return database->get_IsReadOnly() ? 1 : 0;
}

ChildJob const gOpenJob("open", OpenJob);

void OnThreads(int inCount, std::function<void(int)> const& inWork) {
  std::vector<std::thread> threads;
  for (int i = 0; i < inCount; ++i) threads.emplace_back(inWork, i);
  for (std::thread& thread : threads) thread.join();
}

class DatabaseThreads : public DatabaseTest {
 protected:
  DatabaseThreads() {
    for (char const* const name : {"keep.db", "drop.db", "other.db"}) MakeFile(name);
  }

  // One random operation on an object. Errors that other threads cause are part of the game.
  void Step(std::mt19937_64& ioRandom, Database& ioDatabase) {
    switch (ioRandom() % 9) {
      case 0:
        ioDatabase = At(std::array{"keep.db", "drop.db", "other.db"}[ioRandom() % 3]);
        break;
      case 1:
      case 2:
        ioDatabase->Open();
        break;
      case 3:
        ioDatabase->Close();
        break;
      case 4:
        if (ioDatabase->get_IsOpen())
          (void)Number(ioDatabase, "SELECT count(*) FROM duckdb_tables()");
        break;
      case 5:
        Insert(ioDatabase);
        break;
      case 6:
        if (Utf8(ioDatabase->get_Path()) == mFolder.At("drop.db")) {
          ioRandom() % 2 == 0 ? ioDatabase->Drop() : ioDatabase->Create();
        }
        break;
      case 7:
        (void)LoadedExtension::Instance()->IsDuckDBFile(
            tarn::CreateLocation(ioDatabase->get_Path()));
        (void)LoadedExtension::Instance()->get_IsDatabaseOpen(ioDatabase->get_Path());
        break;
      default:
        (void)ioDatabase->get_ConnectionCount();
        (void)ioDatabase->get_Exists();
    }
  }

  void Insert(Database const& inDatabase) {
    if (!inDatabase->get_IsOpen() || inDatabase->get_IsReadOnly()) return;
    Run(inDatabase, "INSERT INTO t VALUES (1)");
    if (Utf8(inDatabase->get_Path()) == mFolder.At("keep.db")) ++mInserted;
  }

  void Work(std::uint64_t inSeed, ThreadKind inKind, int inSteps) {
    if (inKind == ThreadKind::kDiagnostic) tarn::gIsThisDiagnoseMTThread.set(true);
    std::mt19937_64 random(inSeed);
    Database database = At("keep.db");
    for (int i = 0; i < inSteps; ++i) {
      Thrown const thrown = ThrownBy([&] {
        if (inKind == ThreadKind::kHolder) {
          HostLock const lock;
          Step(random, database);
        } else {
          Step(random, database);
        }
      });
      if (thrown == Thrown{}) continue;
      ++mRefused;
      EXPECT_NE(thrown.mClass, "runtime_error") << thrown;
    }
  }

  // All threads are done: nothing is open, nothing was lost, nothing is left.
  void ExpectNothingLeft() {
    for (char const* const name : {"keep.db", "drop.db", "other.db"}) {
      EXPECT_EQ(At(name)->get_ConnectionCount(), 0U) << name;
    }
    EXPECT_EQ(RunChild("open", {mFolder.At("keep.db")}).mExitCode, 0);
    EXPECT_EQ(Number(Opened("keep.db"), "SELECT count(*) FROM t"), mInserted + 1);
    for (char const* const name : {"keep.db", "drop.db", "other.db"}) At(name)->Drop();
    EXPECT_THAT(mFolder.Names(), testing::IsEmpty());
  }

  std::atomic<std::int64_t> mInserted{0};
  std::atomic<std::int64_t> mRefused{0};
};

constexpr int kThreads = 6;

TEST_F(DatabaseThreads, OfEveryKindShareFilesWithoutLosingACommit) {
  std::uint64_t const seed = get_Seed("DatabaseThreads");
  int const steps = Rounds(400, 120);
  OnThreads(kThreads, [&](int inThread) {
    auto const kind = static_cast<ThreadKind>(inThread % 3);
    Work(seed + static_cast<std::uint64_t>(inThread), kind, steps);
  });
  EXPECT_GT(mInserted, 0);
  ExpectNothingLeft();
}

TEST_F(DatabaseThreads, WorkWithoutAnEngineLock) {
  std::uint64_t const seed = get_Seed("DatabaseThreads without a lock");
  HostMutex const none(nullptr);
  int const steps = Rounds(400, 120);
  OnThreads(kThreads, [&](int inThread) {
    Work(seed + static_cast<std::uint64_t>(inThread), ThreadKind::kOrdinary, steps);
  });
  EXPECT_GT(mInserted, 0);
  ExpectNothingLeft();
}

TEST_F(DatabaseThreads, CountEveryObjectOnAFileExactly) {
  constexpr int kObjects = 3;
  Barrier everyone(kThreads);
  for (bool const withLock : {true, false}) {
    HostMutex const host(withLock ? tarn::GetGlobalEngineLock() : nullptr);
    OnThreads(kThreads, [&](int) {
      std::array<Database, kObjects> databases;
      for (int round = 0; round < Rounds(10, 5); ++round) {
        for (Database& database : databases) database = Opened("keep.db");
        everyone.ArriveAndWait();
        EXPECT_EQ(databases[0]->get_ConnectionCount(), std::uint32_t{kThreads * kObjects});
        everyone.ArriveAndWait();
        for (Database& database : databases) database.reset();
        everyone.ArriveAndWait();
        EXPECT_EQ(At("keep.db")->get_ConnectionCount(), 0U);
        everyone.ArriveAndWait();
      }
    });
  }
  EXPECT_EQ(RunChild("open", {mFolder.At("keep.db")}).mExitCode, 0);
}

// One thread gives a database up while another one gives its children up.
TEST_F(DatabaseThreads, MayReleaseChildrenWhileTheDatabaseIsClosedElsewhere) {
  Database const keeper = Opened("keep.db");
  std::size_t const threads = CountThreads();
  for (int round = 0; round < Rounds(600, 150); ++round) {
    Database database = Opened("keep.db");
    auto statement = database->CreateStatement(Wide("SELECT 1; SELECT 2"));
    statement->PrepareNext();
    auto result = database->Execute(Wide("SELECT 1; SELECT 2"), 2, nullptr);
    auto server = database->ExecuteQuery(Wide("SELECT * FROM range(5000)"), 2, nullptr);
    auto client = database->ExecuteQuery(Wide("SELECT * FROM range(10)"), 1, nullptr);
    Barrier start(2);
    std::thread closing([&] {
      start.ArriveAndWait();
      if (round % 2 == 0) database->Close();
      database.reset();
    });
    start.ArriveAndWait();
    Thrown const thrown = ThrownBy([&] { (void)server->NextRecord(); });
    if (thrown != Thrown{}) EXPECT_EQ(thrown.mText2, "DuckDBCursor is invalid");
    (void)statement->get_Database();
    if (round % 3 == 0) server->Close();
    statement.reset();
    result.reset();
    server.reset();
    client.reset();
    closing.join();
  }
  EXPECT_EQ(keeper->get_ConnectionCount(), 1U);
  EXPECT_EQ(CountThreads(), threads);
}

}  // namespace
