#pragma once

#include <functional>
#include <string>
#include <vector>

#include "support/DatabaseTest.h"
#include "support/DuckDBCalls.h"
#include "support/TestValue.h"

namespace lumora::test {

using RowPtr = tarn::smart_ptr<tarn::ValueRow>;

// A database in memory with the table t (i INTEGER, s VARCHAR), and rows for it.
class RowRuns : public DatabaseTest {
 protected:
  void SetUp() override {
    mDatabase = InMemory();
    mDatabase->Create();
    Run(mDatabase, "CREATE TABLE t(i INTEGER, s VARCHAR)");
  }

  static RowPtr Plain(int inNumber) {
    return MakeRow({MakeLong(inNumber), MakeText("text " + std::to_string(inNumber))});
  }
  static std::vector<RowPtr> PlainRows(int inCount) {
    std::vector<RowPtr> rows;
    for (int i = 0; i < inCount; ++i) rows.push_back(Plain(i));
    return rows;
  }
  // A row whose number does something when it is read.
  static RowPtr Acting(int inNumber, std::function<void()> inAct) {
    tarn::smart_ptr<TestValue> const value(new TestValue(8));
    value->mNumber = inNumber;
    value->mOnRead = std::move(inAct);
    return MakeRow({value, MakeText("acting")});
  }
  std::int64_t Execute(std::vector<RowPtr> const& inRows,
                       std::string const& inSql = "INSERT INTO t VALUES (?, ?)") {
    mStatement = mDatabase->CreateStatement(Wide(inSql));
    mStatement->PrepareNext();
    mStatement->BindParameterRows(MakeRows(inRows));
    return mStatement->Execute();
  }
  std::int64_t Number(std::string const& inSql) { return DatabaseTest::Number(mDatabase, inSql); }
  std::int64_t Count() { return Number("SELECT count(*) FROM t"); }
  // How many batches the call makes.
  static std::uint64_t Batches(std::function<void()> const& inCall) {
    std::uint64_t const before = get_CallCount(Call::kFlushAppender);
    inCall();
    return get_CallCount(Call::kFlushAppender) - before;
  }

  Database mDatabase;
  tarn::smart_ptr<tarn::lsql::I_DuckDBStatement> mStatement;
};

}  // namespace lumora::test
