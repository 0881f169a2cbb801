#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "statement/DuckDBStatement.h"
#include "support/DuckDBCalls.h"
#include "support/FakeDatabase.h"
#include "support/TestValue.h"
#include "tarn/Exceptions.h"

namespace lumora::test {

// A database with the table t(i INTEGER), whose handles must all be given back and whose lists must
// be empty when a test is over.
class StatementFixture : public testing::Test {
 protected:
  using StatementPtr = tarn::smart_ptr<tarn::lsql::I_DuckDBStatement>;
  struct ErrorTexts {
    std::string mPath;
    std::string mMessage;
  };

  void SetUp() override {
    mDatabase.Query("SET errors_as_json = true");
    mDatabase.Query("CREATE TABLE t(i INTEGER)");
    mBefore = get_LiveHandles();
  }
  void TearDown() override {
    EXPECT_EQ(get_LiveHandles(), mBefore);
    EXPECT_TRUE(mDatabase.mStatements.empty());
    EXPECT_TRUE(mDatabase.mResults.empty());
    EXPECT_TRUE(mDatabase.mCursors.empty());
  }

  StatementPtr Make(std::string const& inSql) {
    tarn::String const sql(inSql.data(), static_cast<std::int32_t>(inSql.size()));
    StatementPtr statement(new tarn::lsql::DuckDBStatement(&mDatabase, sql));
    mDatabase.mStatements.push_back(statement.get());
    return statement;
  }

  // The texts of the xDuckDBError 0x72501 that the call throws.
  static ErrorTexts Failure(std::function<void()> const& inCall) {
    try {
      inCall();
    } catch (tarn::lsql::xDuckDBError const& error) {
      EXPECT_EQ(error.get_Code(), 0x72501U);
      return {ToUTF8(error.get_Text(0)), ToUTF8(error.get_Text(1))};
    }
    return {"<nothing thrown>", "<nothing thrown>"};
  }

  int Count(std::string const& inTable) {
    return std::stoi(mDatabase.QueryText("SELECT count(*) FROM " + inTable));
  }

  // What DuckDB says when a parameter is bound that the statement does not have.
  std::string NoSuchParameterAsDuckDBSays(idx_t inPosition, char const* inSql) {
    duckdb_c::PreparedHandle prepared;
    EXPECT_EQ(duckdb_prepare(mDatabase.get_Connection()->get(), inSql, prepared.out()),
              DuckDBSuccess);
    EXPECT_EQ(duckdb_bind_int32(prepared.get(), inPosition, 1), DuckDBError);
    return duckdb_prepare_error(prepared.get());
  }

  FakeDatabase mDatabase;
  HandleCounts mBefore;
};

}  // namespace lumora::test
