#include <algorithm>
#include <array>
#include <cstdlib>
#include <numeric>
#include <random>
#include <variant>

#include "support/DatabaseTest.h"
#include "support/DuckDBCalls.h"
#include "support/TestChildren.h"

namespace {

using namespace lumora::test;
using tarn::smart_ptr;
using tarn::lsql::I_DuckDBCursor;
using tarn::lsql::I_DuckDBQueryResult;
using tarn::lsql::I_DuckDBStatement;
using testing::ElementsAre;
using testing::HasSubstr;

class Children : public DatabaseTest {
 protected:
  static smart_ptr<I_DuckDBQueryResult> Result(Database const& inDatabase) {
    return inDatabase->Execute(Wide("SELECT 1; SELECT 2"), 2, nullptr);
  }
  static smart_ptr<I_DuckDBCursor> Cursor(Database const& inDatabase, std::uint32_t inKind) {
    return inDatabase->ExecuteQuery(Wide("SELECT * FROM range(5000)"), inKind, nullptr);
  }
  static smart_ptr<I_DuckDBStatement> Statement(Database const& inDatabase) {
    auto statement = inDatabase->CreateStatement(Wide("SELECT 1; SELECT 2"));
    statement->PrepareNext();
    return statement;
  }
};

TEST_F(Children, OfAClosedDatabaseCannotBeMade) {
  Database const database = At("a.db");
  Thrown const closed = DuckDBError("a.db", "DuckDBDatabase is not open");
  EXPECT_EQ(ThrownBy([&] { database->CreateStatement(Wide("SELECT 1")); }), closed);
  EXPECT_EQ(ThrownBy([&] { Run(database, "SELECT 1"); }), closed);
  EXPECT_EQ(ThrownBy([&] { Cursor(database, 1); }), closed);
  EXPECT_EQ(ThrownBy([&] { database->UnregisterStatement(nullptr); }), closed);
}

TEST_F(Children, AStatementOfAnotherDatabaseCannotBeUnregistered) {
  Database const first = Created("a.db");
  Database const second = Created("b.db");
  auto const statement = Statement(first);
  Thrown const foreign = DuckDBError("b.db", "DuckDBStatement does not belong to this database");
  EXPECT_EQ(ThrownBy([&] { second->UnregisterStatement(statement.get()); }), foreign);
  EXPECT_EQ(ThrownBy([&] { second->UnregisterStatement(nullptr); }), foreign);
  first->UnregisterStatement(statement.get());
  EXPECT_NE(ThrownBy([&] { first->UnregisterStatement(statement.get()); }), Thrown{});
}

TEST_F(Children, OthersThatAreNotThereAreIgnored) {
  Database const database = Created("a.db");
  TestCursor cursor([] {});
  TestResult result([] {});
  database->UnregisterCursor(&cursor);
  database->UnregisterCursor(nullptr);
  database->UnregisterQueryResult(&result);
  database->UnregisterQueryResult(nullptr);
  database->RegisterCursor(nullptr);
  database->RegisterQueryResult(nullptr);
  database->Close();
  EXPECT_FALSE(database->get_IsOpen());
}

TEST_F(Children, AreClosedResultsFirstThenCursorsThenStatementsTheYoungestFirst) {
  Database const database = Created("a.db");
  auto const statement = Statement(database);
  std::vector<std::string> closed;
  auto const tell = [&](char const* inName) {
    return [&closed, inName, &statement] {
      closed.push_back(std::string(inName) + (statement->get_Database() ? "" : " too late"));
    };
  };
  TestCursor cursor1(tell("cursor 1"));
  TestCursor cursor2(tell("cursor 2"));
  TestResult result1(tell("result 1"));
  TestResult result2(tell("result 2"));
  TestResult gone([] { FAIL() << "it was unregistered"; });
  database->RegisterCursor(&cursor1);
  database->RegisterQueryResult(&result1);
  database->RegisterQueryResult(&gone);
  database->RegisterQueryResult(&result2);
  database->RegisterCursor(&cursor2);
  database->UnregisterQueryResult(&gone);
  database->Close();
  EXPECT_THAT(closed, ElementsAre("result 2", "result 1", "cursor 2", "cursor 1"));
  EXPECT_FALSE(statement->get_Database());
}

TEST_F(Children, AFailingChildDoesNotKeepTheDatabaseOpen) {
  HandleCounts const before = get_LiveHandles();
  Database const database = Created("a.db");
  int closed = 0;
  TestResult first([&] {
    ++closed;
    throw tarn::xException(1, "nor will I");
  });
  TestResult second([] { throw tarn::xException(1, "I will not"); });
  database->RegisterQueryResult(&first);
  database->RegisterQueryResult(&second);
  EXPECT_EQ(ThrownBy([&] { database->Close(); }).mText1, "I will not") << "the first failure";
  EXPECT_EQ(closed, 1);
  EXPECT_FALSE(database->get_IsOpen());
  EXPECT_EQ(get_LiveHandles(), before);
  database->Drop();
}

TEST_F(Children, ThatLiveOnAreInvalidAndHoldNoHandle) {
  HandleCounts const before = get_LiveHandles();
  Database database = Created("a.db");
  auto const statement = Statement(database);
  auto const result = Result(database);
  auto const client = Cursor(database, 1);
  auto const server = Cursor(database, 2);
  database->Close();
  EXPECT_EQ(get_LiveHandles(), before);
  EXPECT_FALSE(statement->get_Database());
  EXPECT_FALSE(client->get_Database());
  EXPECT_EQ(ThrownBy([&] { statement->PrepareNext(); }).mText2, "DuckDBDatabase is invalid");
  EXPECT_EQ(ThrownBy([&] { server->NextRecord(); }).mText2, "DuckDBCursor is invalid");
  EXPECT_EQ(client->get_ColumnCount(), 1U);
  database->Open();
  EXPECT_EQ(ThrownBy([&] { client->NextRecord(); }).mText2, "DuckDBCursor is invalid");
  EXPECT_FALSE(result->NextResult());
}

TEST_F(Children, DoNotKeepTheirDatabaseAlive) {
  Database database = Created("a.db");
  auto const statement = Statement(database);
  auto const cursor = Cursor(database, 2);
  EXPECT_EQ(database->get_RefsCount(), 1U);
  EXPECT_EQ(cursor->get_Database().get(), database.get());
  database.reset();
  EXPECT_FALSE(cursor->get_Database());
  EXPECT_EQ(At("a.db")->get_ConnectionCount(), 0U);
}

// Every order in which a host can give up a database and two children of each kind, and for each
// one whether it is closed before. The database file stays open by another object, so that only
// connections are made anew.
TEST_F(Children, MayBeClosedAndReleasedInAnyOrder) {
  constexpr std::size_t kObjects = 7;
  auto const location = tarn::CreateLocation(Wide(":memory:"));
  Database const keeper = LoadedExtension::Instance()->CreateDatabase(location);
  keeper->Create();
  HandleCounts const before = get_LiveHandles();
  char const* const given = std::getenv("LUMORA_TEST_SEED");
  unsigned const seed = given ? static_cast<unsigned>(std::atoi(given)) : std::random_device{}();
  SCOPED_TRACE("LUMORA_TEST_SEED=" + std::to_string(seed));
  std::mt19937 random(seed);

  std::array<std::size_t, kObjects> order{};
  std::iota(order.begin(), order.end(), 0U);
  do {
    Database database = LoadedExtension::Instance()->CreateDatabase(location);
    database->Open();
    auto statement1 = Statement(database);
    auto result1 = Result(database);
    auto cursor1 = Cursor(database, 1);
    auto statement2 = Statement(database);
    auto cursor2 = Cursor(database, 2);
    auto result2 = Result(database);
    auto const give = [&](auto& ioObject) {
      if (random() % 3 == 0) ioObject->Close();
      if (random() % 8 == 0) ioObject->Close();
      ioObject.reset();
    };
    std::array<std::function<void()>, kObjects> const gives = {
        [&] { give(database); }, [&] { give(statement1); }, [&] { give(result1); },
        [&] { give(cursor1); },  [&] { give(statement2); }, [&] { give(cursor2); },
        [&] { give(result2); }};
    for (std::size_t const object : order) gives[object]();
    ASSERT_EQ(get_LiveHandles(), before);
  } while (std::next_permutation(order.begin(), order.end()));
  EXPECT_EQ(keeper->get_ConnectionCount(), 1U);
}

}  // namespace
