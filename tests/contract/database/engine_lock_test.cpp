// Which operations run under the host's engine lock.
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/DatabaseTest.h"
#include "support/DuckDBCalls.h"

namespace {

using namespace lumora::test;
using tarn::I_Location;
using tarn::smart_ptr;
using tarn::lsql::I_DuckDBCursor;

bool IsHeldHere() {
  bool const* const cell = tarn::gIsGlobalLockTaken.get();
  return cell && *cell;
}

// Runs it on a thread of its own. A thread has a cell once it has taken the lock. What comes back
// is kept until afterwards: to release it may take the lock too.
bool TakesTheLock(std::function<void()> const& inOperation) {
  bool taken = false;
  std::thread([&] {
    (void)ThrownBy(inOperation);
    taken = tarn::gIsGlobalLockTaken.get() != nullptr;
    EXPECT_FALSE(IsHeldHere());
  }).join();
  return taken;
}

class EngineLock : public DatabaseTest {
 protected:
  static LoadedExtension& Extension() { return LoadedExtension::Instance(); }
};

TEST_F(EngineLock, IsTakenByEveryOperationOfADatabase) {
  Database const database = Created("a.db");
  auto const statement = database->CreateStatement(Wide("SELECT 1"));
  smart_ptr<tarn::I_Unknown> made;
  smart_ptr<I_Location> folder;
  std::vector<std::pair<char const*, std::function<void()>>> const operations = {
      {"put_BlockSize", [&] { database->put_BlockSize(0); }},
      {"get_ConnectionCount", [&] { (void)database->get_ConnectionCount(); }},
      {"get_Exists", [&] { (void)database->get_Exists(); }},
      {"get_IsOpen", [&] { (void)database->get_IsOpen(); }},
      {"get_IsReadOnly", [&] { (void)database->get_IsReadOnly(); }},
      {"get_Path", [&] { (void)database->get_Path(); }},
      {"get_Key", [&] { (void)database->get_Key(); }},
      {"SetRemoteAccess", [&] { database->SetRemoteAccess({}, {}); }},
      {"put_StorageVersion", [&] { database->put_StorageVersion({}); }},
      {"put_Settings", [&] { database->put_Settings({}); }},
      {"CreateStatement", [&] { made = database->CreateStatement(Wide("SELECT 1")); }},
      {"UnregisterStatement", [&] { database->UnregisterStatement(statement.get()); }},
      {"RegisterCursor", [&] { database->RegisterCursor(nullptr); }},
      {"UnregisterCursor", [&] { database->UnregisterCursor(nullptr); }},
      {"RegisterQueryResult", [&] { database->RegisterQueryResult(nullptr); }},
      {"UnregisterQueryResult", [&] { database->UnregisterQueryResult(nullptr); }},
      {"Flush", [&] { database->Flush(); }},
      {"ExecuteSQL", [&] { database->ExecuteSQL(Wide("SELECT 1"), nullptr); }},
      {"Execute", [&] { made = database->Execute(Wide("SELECT 1"), 1, nullptr); }},
      {"ExecuteQuery", [&] { made = database->ExecuteQuery(Wide("SELECT 1"), 1, nullptr); }},
      {"Backup", [&] { database->Backup(folder); }},
      {"Close", [&] { database->Close(); }},
      {"Open", [&] { database->Open(); }},
      {"Create", [&] { database->Create(); }},
      {"Drop", [&] { database->Drop(); }},
  };
  for (auto const& [name, operation] : operations) EXPECT_TRUE(TakesTheLock(operation)) << name;
}

TEST_F(EngineLock, IsTakenByTheExtensionObjectWhereItSharesStateAlone) {
  Database const database = Created("a.db");
  smart_ptr<I_DuckDBCursor> const cursor = database->ExecuteQuery(Wide("SELECT 1"), 1, nullptr);
  auto const location = tarn::CreateLocation(Wide(mFolder.At("b.db")));
  auto const backup = tarn::CreateLocation(Wide(mFolder.get_Path()));
  Database made;
  struct {
    char const* mName;
    bool mLocks;
    std::function<void()> mOperation;
  } const operations[] = {
      {"CreateDatabase", true, [&] { made = Extension()->CreateDatabase(location); }},
      {"get_IsDatabaseOpen", true,
       [&] { (void)Extension()->get_IsDatabaseOpen(database->get_Key()); }},
      {"RestoreDatabase", true, [&] { made = Extension()->RestoreDatabase(location, backup); }},
      {"get_LibraryVersion", false, [&] { (void)Extension()->get_LibraryVersion(); }},
      {"get_CursorRows", false, [&] { (void)Extension()->get_CursorRows(cursor); }},
      {"get_IsClientCursor", false, [&] { (void)Extension()->get_IsClientCursor(cursor); }},
      {"IsDuckDBFile", false, [&] { (void)Extension()->IsDuckDBFile(location); }},
      {"IsInMemoryPath", false, [&] { (void)Extension()->IsInMemoryPath(location->get_Path()); }},
  };
  for (auto const& operation : operations) {
    EXPECT_EQ(TakesTheLock(operation.mOperation), operation.mLocks) << operation.mName;
  }
}

TEST_F(EngineLock, IsHeldWhileDuckDbOpensRunsAndPrepares) {
  Database const database = Created("a.db");
  struct {
    Call mCall;
    std::function<void()> mOperation;
  } const operations[] = {
      {Call::kOpen, [&] { database->Open(); }},
      {Call::kConnect, [&] { database->Open(); }},
      {Call::kExecutePrepared, [&] { database->ExecuteSQL(Wide("SELECT 1"), nullptr); }},
      {Call::kPrepareExtracted, [&] { (void)database->Execute(Wide("SELECT 1"), 1, nullptr); }},
      {Call::kExtract, [&] { (void)database->ExecuteQuery(Wide("SELECT 1"), 2, nullptr); }},
      {Call::kOpen, [&] { database->Create(); }},
  };
  for (auto const& operation : operations) {
    bool held = false;
    BeforeCall const call(operation.mCall, 0, [&] { held = IsHeldHere(); });
    operation.mOperation();
    EXPECT_TRUE(call.WasMade());
    EXPECT_TRUE(held) << static_cast<int>(operation.mCall);
    EXPECT_FALSE(IsHeldHere());
  }
}

// Each query of a backup is a part of the export.
TEST_F(EngineLock, IsNotHeldWhileABackupIsExported) {
  Database const database = Created("a.db");
  Run(database, "CREATE TABLE t AS SELECT 1::HUGEINT AS a");
  int queries = 0;
  for (bool isMade = true; isMade; queries += isMade) {
    bool held = false;
    BeforeCall const call(Call::kQuery, queries, [&] { held = IsHeldHere(); });
    smart_ptr<I_Location> folder;
    database->Backup(folder);
    isMade = call.WasMade();
    EXPECT_FALSE(held) << queries;
  }
  EXPECT_GE(queries, 3);
}

}  // namespace
