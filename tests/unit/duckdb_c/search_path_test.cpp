#include "duckdb_c/SearchPath.h"

#include <gtest/gtest.h>

#include "TestConnection.h"

namespace lumora::duckdb_c::test {
namespace {

TEST(SearchPath, IsWhatTheLastStatementMadeIt) {
  TestConnection const connection;
  connection.Query("CREATE SCHEMA s");
  connection.Query("ATTACH ':memory:' AS o");
  auto const unset = GetSearchPath(connection.get());
  ASSERT_TRUE(unset);
  for (char const* const sql :
       {"USE s", "SET schema = 'main'", "USE o", "USE memory.s", "SET search_path = 's,main'"}) {
    auto const before = GetSearchPath(connection.get());
    connection.Query(sql);
    auto const after = GetSearchPath(connection.get());
    EXPECT_NE(after, before) << sql;
    EXPECT_EQ(*after, connection.Text("SELECT current_setting('search_path')")) << sql;
  }
  connection.Query("RESET search_path");
  EXPECT_EQ(GetSearchPath(connection.get()), unset);
}

TEST(SearchPath, IsOfEachConnection) {
  TestConnection const connection;
  TestConnection const other;
  other.Query("CREATE SCHEMA s");
  other.Query("USE s");
  EXPECT_NE(GetSearchPath(connection.get()), GetSearchPath(other.get()));
}

TEST(SearchPath, IsNothingWithoutAConnection) { EXPECT_FALSE(GetSearchPath(nullptr)); }

}  // namespace
}  // namespace lumora::duckdb_c::test
