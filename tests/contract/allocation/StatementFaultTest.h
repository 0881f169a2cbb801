#pragma once

#include <string>

#include "FaultTest.h"

namespace lumora::test {

// Every record of the cursor from its position on, cell by cell.
std::string TextOf(tarn::smart_ptr<tarn::lsql::I_DuckDBCursor> const& inCursor);
// What the result tells, with its cursor's records.
std::string TextOf(tarn::smart_ptr<tarn::lsql::I_DuckDBQueryResult> const& inResult);

// An open database in memory with the tables t (i INTEGER, s VARCHAR) and k (i INTEGER PRIMARY
// KEY).
class StatementFaultTest : public FaultTest {
 protected:
  using Statement = tarn::smart_ptr<tarn::lsql::I_DuckDBStatement>;
  using Step = std::function<void(tarn::lsql::I_DuckDBStatement&)>;

  void SetUp() override;
  void TearDown() override;

  // An operation of a new statement of that text after some steps. Afterwards the statement is
  // closed, the database usable, and its tables are empty again.
  Attempt On(std::string const& inSql,
             std::function<std::string(tarn::lsql::I_DuckDBStatement&)> inRun, Step inBefore = {});
  // An operation of the database.
  Attempt OnDatabase(std::function<std::string()> inRun);

  Database mDatabase;
  Statement mStatement;

 private:
  void ExpectUsable();
};

}  // namespace lumora::test
