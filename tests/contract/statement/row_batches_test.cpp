#include <regex>
#include <sstream>

#include "RowCases.h"
#include "support/DatabaseTest.h"
#include "support/DuckDBCalls.h"
#include "support/Rounds.h"
#include "support/Seed.h"

// A plain INSERT runs many parameter rows as data chunks, any other text row by row. Nothing of
// that may be seen: the same rows through a text that is not recognised (it holds a comment, and
// the other one as many blanks) do the same to the same table.
namespace {

using namespace lumora::test;
using tarn::lsql::I_DuckDBStatement;
using StatementPtr = tarn::smart_ptr<I_DuckDBStatement>;

constexpr char kComment[] = "/*one by one*/";

std::string WithoutComment(std::string const& inText) {
  return std::regex_replace(inText, std::regex(R"(/\*one by one\*/)"), "              ");
}

// What of a case can be seen from outside, step by step.
class Witness {
 public:
  Witness(tarn::smart_ptr<tarn::lsql::I_DuckDBDatabase> inDatabase, RowCase const& inCase)
      : mDatabase(std::move(inDatabase)), mCase(inCase) {}

  std::vector<std::string> Run(std::string const& inComment) {
    CleanUp();
    if (mCase.mIsOtherAttached) Sql("ATTACH ':memory:' AS other");
    for (std::string const& sql : mCase.mSetUp) Sql(sql);
    if (!mCase.mBefore.empty()) Sql(mCase.mBefore);
    std::string sql = mCase.mInsert;
    for (std::size_t at; (at = sql.find('@')) != std::string::npos;) sql.replace(at, 1, inComment);
    {
      StatementPtr const statement = mDatabase->CreateStatement(Wide(sql));
      Operate(*statement);
      if (mCase.mAgain) Tell("again", [&] { return std::to_string(statement->Execute()); });
      Note(WithoutComment(Utf8(statement->get_CurrentSql())));
      Note(std::to_string(statement->get_RemainingStatements()));
    }
    Sql("SELECT 'the transaction goes on'");
    if (!mCase.mAfter.empty()) Sql(mCase.mAfter);
    Query(mCase.mContents);
    Query("SELECT nextval('q')");
    return std::move(mLines);
  }

 private:
  void Note(std::string const& inLine) { mLines.push_back(inLine); }
  template <typename TAct>
  void Tell(std::string const& inWhat, TAct const& inAct) {
    std::string done;
    Thrown const thrown = ThrownBy([&] { done = inAct(); });
    std::ostringstream line;
    line << inWhat << ": " << done << " " << thrown;
    Note(line.str());
  }
  void Sql(std::string const& inSql) {
    Tell(inSql, [&] {
      mDatabase->ExecuteSQL(Wide(inSql), nullptr);
      return "";
    });
  }
  void Query(std::string const& inSql) {
    Tell(inSql, [&] {
      auto const query = mDatabase->CreateStatement(Wide(inSql));
      query->PrepareNext();
      return Utf8(query->ExecuteToJSON());
    });
  }
  void CleanUp() {
    for (std::string const& sql :
         {std::string("ROLLBACK"), std::string("DROP VIEW IF EXISTS aview"),
          "DROP TABLE IF EXISTS " + mCase.mTable, std::string("DROP TABLE IF EXISTS parent"),
          std::string("CREATE OR REPLACE SEQUENCE q"), std::string("DETACH other")}) {
      (void)ThrownBy([&] { mDatabase->ExecuteSQL(Wide(sql), nullptr); });
    }
  }
  void Operate(I_DuckDBStatement& inStatement) {
    auto const rows = MakeRows(mCase.mRows);
    auto const bind = [&] {
      Tell("bind", [&] { return inStatement.BindParameterRows(rows), ""; });
    };
    auto const prepare = [&] { Tell("prepare", [&] { return inStatement.PrepareNext(), ""; }); };
    switch (mCase.mOperation) {
      case 1:
        bind();
        Tell("execute next", [&] {
          std::uint64_t changed = 77;
          inStatement.ExecuteNext(changed);
          return std::to_string(changed);
        });
        return;
      case 2:
        bind();
        Tell("execute all", [&] { return inStatement.ExecuteAll(), ""; });
        return;
      case 3:
        bind();
        Tell("try", [&] {
          auto const record = inStatement.TryExecuteAll();
          return std::to_string(record.mStatementsExecuted) + " " +
                 std::to_string(record.mErrorCode) + " " + Utf8(record.mErrorMessage);
        });
        return;
      case 4:
        prepare();
        bind();
        Tell("result", [&] { return ToText(inStatement.ExecuteResult(1)); });
        return;
      case 5:
        prepare();
        bind();
        Tell("cursor", [&] { return inStatement.ExecuteCursor(1) ? "cursor" : "none"; });
        return;
      default:
        prepare();
        bind();
        Tell("execute", [&] { return std::to_string(inStatement.Execute()); });
    }
  }
  static std::string ToText(tarn::smart_ptr<tarn::lsql::I_DuckDBQueryResult> const& inResult) {
    auto const cursor = inResult->get_Cursor();
    return std::to_string(inResult->get_RowsChanged()) + " " +
           std::to_string(inResult->get_Flags()) + " " +
           (cursor ? std::to_string(cursor->get_RecordCount()) : "no") + " records " +
           (inResult->NextResult() ? "and another" : "alone");
  }

  tarn::smart_ptr<tarn::lsql::I_DuckDBDatabase> const mDatabase;
  RowCase const& mCase;
  std::vector<std::string> mLines;
};

class RowBatches : public DatabaseTest {
 protected:
  // Two of these are alike.
  Database Made() {
    Database const database = InMemory();
    database->Create();
    Run(database, "CREATE SCHEMA s");
    return database;
  }
};

TEST_F(RowBatches, CannotBeToldFromRowsOneByOne) {
  std::mt19937_64 random(get_Seed("row batches"));
  Database const batched = Made();
  Database const single = Made();
  std::uint64_t const before = get_CallCount(Call::kFlushAppender);
  int const rounds = Rounds(400, 40);
  for (int i = 0; i < rounds && !HasFailure(); ++i) {
    RowCase const one = MakeRowCase(random);
    EXPECT_EQ(Witness(batched, one).Run(std::string(sizeof kComment - 1, ' ')),
              Witness(single, one).Run(kComment))
        << "case " << i << ": " << one;
  }
  std::cout << "batches: " << get_CallCount(Call::kFlushAppender) - before << " of " << rounds
            << " cases" << std::endl;
  EXPECT_GT(get_CallCount(Call::kFlushAppender) - before, static_cast<std::uint64_t>(rounds) / 8);
}

}  // namespace
