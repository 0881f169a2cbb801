// The host hangs data of its own on a cursor and lets it go with it, in the middle of an operation
// of the library's.
#include <functional>
#include <memory>

#include "support/DatabaseTest.h"
#include "support/DuckDBCalls.h"

namespace {

using namespace lumora::test;
using tarn::I_ForeignPlugin;
using tarn::smart_ptr;
using tarn::lsql::I_DuckDBQueryResult;
using tarn::lsql::I_DuckDBStatement;

using Act = std::function<void()>;

void RunOnce(I_ForeignPlugin* inPlugin) {
  std::unique_ptr<Act> const act(static_cast<Act*>(inPlugin->get_Xtra()));
  (*act)();
}

class Callbacks : public DatabaseTest {
 protected:
  // A result whose cursor it alone holds; inAct runs when that dies.
  static smart_ptr<I_DuckDBQueryResult> ResultWith(Database const& inDatabase, Act inAct) {
    auto result = inDatabase->Execute(Wide("SELECT 1"), 2, nullptr);
    auto const plugin = tarn::query_interface<I_ForeignPlugin>(result->get_Cursor().get(),
                                                               tarn::kIID_ForeignPlugin);
    plugin->put_Xtra(new Act(std::move(inAct)));
    plugin->put_Finalize(&RunOnce);
    return result;
  }
};

TEST_F(Callbacks, AStatementThatIsReleasedWhileItsDatabaseClosesIsNotCalledAfterwards) {
  HandleCounts const before = get_LiveHandles();
  Database const database = Created("a.db");
  smart_ptr<I_DuckDBStatement> statement = database->CreateStatement(Wide("SELECT 1"));
  statement->PrepareNext();
  auto const result = ResultWith(database, [&] { statement.reset(); });
  database->Close();
  EXPECT_FALSE(statement);
  EXPECT_FALSE(database->get_IsOpen());
  EXPECT_EQ(get_LiveHandles(), before);
}

TEST_F(Callbacks, AStatementThatIsUnregisteredWhileItsDatabaseClosesIsInvalid) {
  Database database = Created("a.db");
  auto const statement = database->CreateStatement(Wide("SELECT 1"));
  auto const result = ResultWith(database, [&] { database->UnregisterStatement(statement.get()); });
  database->Close();
  database.reset();
  EXPECT_FALSE(statement->get_Database());
  EXPECT_EQ(ThrownBy([&] { statement->PrepareNext(); }),
            (Thrown{"xDuckDBError", 0x72501, "unknown", "DuckDBDatabase is invalid"}));
}

TEST_F(Callbacks, ACursorThatIsInvalidatedAndReleasedWhileItsDatabaseClosesIsNotCalledAfterwards) {
  HandleCounts const before = get_LiveHandles();
  Database const database = Created("a.db");
  auto cursor = database->ExecuteQuery(Wide("SELECT 1"), 2, nullptr);
  auto const result = ResultWith(database, [&] {
    cursor->Invalidate();
    cursor.reset();
  });
  database->Close();
  EXPECT_FALSE(cursor);
  EXPECT_EQ(get_LiveHandles(), before);
}

TEST_F(Callbacks, ADatabaseThatIsClosedInTheMiddleOfItsCloseIsCountedOnce) {
  MakeFile("a.db");
  Database const first = Opened("a.db");
  Database const second = Opened("a.db");
  auto const cursor = first->ExecuteQuery(Wide("SELECT 1"), 2, nullptr);
  auto const result = ResultWith(first, [&] { first->Close(); });
  first->Close();
  EXPECT_FALSE(first->get_IsOpen());
  EXPECT_EQ(ThrownBy([&] { cursor->NextRecord(); }).mText2, "DuckDBCursor is invalid");
  EXPECT_EQ(second->get_ConnectionCount(), 1U);
  EXPECT_TRUE(LoadedExtension::Instance()->get_IsDatabaseOpen(second->get_Key()));
  EXPECT_EQ(Number(second, "SELECT sum(a) FROM t"), 1);
}

TEST_F(Callbacks, TheLastReferenceToADatabaseMayGoWithTheCursorOfAResult) {
  HandleCounts const before = get_LiveHandles();
  for (bool const release : {false, true}) {
    Database database = Created("a.db");
    Database kept = database;
    auto result = ResultWith(database, [&kept] { kept.reset(); });
    database.reset();
    release ? result.reset() : result->Close();
    EXPECT_FALSE(kept) << release;
    EXPECT_EQ(get_LiveHandles(), before) << release;
    At("a.db")->Drop();
  }
}

}  // namespace
