#include "duckdb_c/QueryRows.h"

#include <gmock/gmock.h>

#include "TestConnection.h"

namespace lumora::duckdb_c::test {
namespace {

using Rows = std::vector<std::vector<std::string>>;

struct Answer {
  bool mIsDone = false;
  Rows mRows;
  std::string mError;
};

Answer Ask(std::string const& inSql) {
  Answer answer;
  answer.mIsDone = ForEachRow(SharedConnection().get(), inSql, answer.mError,
                              [&](auto const& inRow) { answer.mRows.push_back(inRow); });
  return answer;
}

TEST(ForEachRow, TellsDuckDBsTextWhenTheQueryFails) {
  Answer const answer = Ask("SELECT nothing");
  EXPECT_FALSE(answer.mIsDone);
  EXPECT_THAT(answer.mError, testing::HasSubstr("Referenced column \"nothing\""));
}

// A number read as a text were an address: a large one is that of nothing.
TEST(ForEachRow, RefusesARowThatHasMoreThanTexts) {
  TestConnection const& connection = SharedConnection();
  connection.Query("CREATE TEMP TABLE counted(a BIGINT)");
  for (std::string const sql :
       {"INSERT INTO counted FROM range(100000)", "SELECT 'x', 100000::BIGINT", "SELECT ['x']"}) {
    Answer const answer = Ask(sql);
    EXPECT_FALSE(answer.mIsDone) << sql;
    EXPECT_EQ(answer.mRows, Rows{}) << sql;
    EXPECT_EQ(answer.mError, "The result has columns that are no texts") << sql;
  }
  connection.Query("DROP TABLE counted");
}

TEST(ForEachRow, GivesEveryRowOfAllChunksAndNullAsTheEmptyText) {
  EXPECT_EQ(Ask("SELECT 'a', NULL::VARCHAR, 'a text that does not fit into its place'").mRows,
            (Rows{{"a", "", "a text that does not fit into its place"}}));
  Answer const many = Ask("SELECT range::VARCHAR FROM range(5000)");
  EXPECT_TRUE(many.mIsDone);
  ASSERT_EQ(many.mRows.size(), 5000U);
  EXPECT_EQ(many.mRows[4999], std::vector<std::string>{"4999"});
}

TEST(RunQuery, TellsDuckDBsTextAndCaresForNoRows) {
  std::string error;
  EXPECT_FALSE(RunQuery(SharedConnection().get(), "SELEC 1", error));
  EXPECT_THAT(error, testing::HasSubstr("syntax error"));
  error.clear();
  EXPECT_TRUE(RunQuery(SharedConnection().get(), "FROM range(5000)", error));
  EXPECT_EQ(error, "");
}

}  // namespace
}  // namespace lumora::duckdb_c::test
