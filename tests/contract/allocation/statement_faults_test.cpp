// The operations of a statement.
#include <fmt/format.h>

#include "StatementFaultTest.h"

namespace {

using namespace lumora::test;
using tarn::lsql::DuckDBExecutionResult;
using tarn::lsql::I_DuckDBStatement;
using tarn::lsql::kCursorClient;
using tarn::lsql::kCursorServer;

using Row = tarn::smart_ptr<tarn::ValueRow>;
using Rows = tarn::smart_ptr<tarn::ValueRows>;

constexpr char kThreePieces[] =
    "INSERT INTO t VALUES (1, 'a text that does not stand inside a String'); "
    "SELECT i, s FROM t; DELETE FROM t";

void Prepare(I_DuckDBStatement& ioStatement) { ioStatement.PrepareNext(); }

// One value of each way to be bound.
std::vector<tarn::smart_ptr<tarn::I_Value>> EveryKind() {
  using Value = tarn::smart_ptr<tarn::I_Value>;
  std::vector<Value> values = {MakeLong(1),
                               MakeLLong(2),
                               MakeDouble(2.5),
                               MakeBoolean(true),
                               MakeNullValue(),
                               nullptr,
                               MakeText("a text that does not stand inside a String"),
                               MakeDate(2026, 11, 21),
                               MakeJSON(R"({"a": "a JSON object that is no envelope"})")};
  for (auto const& [type, text] :
       {std::pair("INT128", "170141183460469231731687303715884105727"), std::pair("INT8", "-5"),
        std::pair("DECIMAL", "123.45"), std::pair("UUID", "5b9cb1c2-0000-4000-8000-000000000001"),
        std::pair("OBJECT", R"({"a": [1, 2, "x"]})"),
        std::pair("TIMESTAMP_NANOS", "2026-11-21 03:04:05.123456789")}) {
    values.push_back(MakeJSON(MakeEnvelope(type, text)));
  }
  Value const bytes(tarn::CreateValueFixedBinary(true, nullptr, nullptr));
  tarn::query_interface<tarn::I_ValueBinary>(bytes.get(), tarn::kIID_ValueBinary)
      ->put_Data("0123456789abcdef0123456789abcdef", 32);
  Value const moment(tarn::CreateValueDateTime(true, nullptr, nullptr));
  tarn::query_interface<tarn::I_ValueDateTime>(moment.get(), tarn::kIID_ValueDateTime)
      ->put_DateTime(2026, 11, 21, 3, 4, 5, 6);
  Value const wrapped(tarn::CreateValueWrapped(true, nullptr, nullptr));
  tarn::query_interface<tarn::I_ValueWrapper>(wrapped.get(), tarn::kIID_ValueWrapper)
      ->put_InnerValue(MakeText("inside"));
  values.insert(values.end(), {bytes, moment, wrapped});
  return values;
}

std::string SelectOf(std::size_t inParameters) {
  std::string sql = "SELECT ";
  for (std::size_t i = 1; i <= inParameters; ++i) sql += fmt::format("{}${}", i > 1 ? ", " : "", i);
  return sql;
}

std::string TextOfRecord(DuckDBExecutionResult const& inRecord) {
  return fmt::format("{} 0x{:X} {}", inRecord.mStatementsExecuted, inRecord.mErrorCode,
                     Utf8(inRecord.mErrorMessage));
}

class AStatement : public StatementFaultTest {
 protected:
  // TryExecuteAll never throws: what fails is in its record, with a code and, as far as there is
  // memory for one, a message.
  void CheckTryExecuteAll(std::string const& inSql, bool inIsRefused) {
    DuckDBExecutionResult record;
    Attempt attempt = On(inSql, [&](I_DuckDBStatement& statement) {
      record = {};
      record = statement.TryExecuteAll();
      return std::string("told");
    });
    attempt.mIsNeverThrownAt = true;
    std::string clean;
    auto const check = attempt.mCheck;
    attempt.mCheck = [&, check] {
      std::string const told = TextOfRecord(record);
      if (clean.empty()) clean = told;
      bool const isCode = record.mErrorCode == 0x72501 || record.mErrorCode == 0x72000;
      EXPECT_TRUE(isCode || told == clean) << told << "\ninstead of " << clean;
      EXPECT_EQ(mStatement->get_RemainingStatements(), 0U);
      if (inIsRefused) EXPECT_NE(record.mErrorCode, 0U);
      record = {};
      check();
    };
    CheckEveryFault(attempt);
  }
};

TEST_F(AStatement, ThatIsMadeInVainLeavesNothing) {
  CheckEveryFault(OnDatabase([&] {
    auto const statement = mDatabase->CreateStatement(Wide(kThreePieces));
    return Utf8(statement->get_SqlText()) + Utf8(statement->get_CurrentSql());
  }));
}

TEST_F(AStatement, CountsItsPiecesOrThrows) {
  CheckEveryFault(On(kThreePieces, [](I_DuckDBStatement& statement) {
    return fmt::format("{}", statement.get_RemainingStatements());
  }));
}

TEST_F(AStatement, GoesOnAfterAPreparationThatFailed) {
  CheckEveryFault(On(kThreePieces, [](I_DuckDBStatement& statement) {
    statement.PrepareNext();
    statement.PrepareNext();
    return Utf8(statement.get_CurrentSql());
  }));
}

// A piece that could not be prepared is prepared by the next call.
TEST_F(AStatement, PreparesThePieceThatFailedAtTheNextCall) {
  Attempt attempt = On(kThreePieces, [](I_DuckDBStatement& statement) {
    statement.PrepareNext();
    return Utf8(statement.get_CurrentSql());
  });
  auto const check = attempt.mCheck;
  attempt.mCheck = [&, check] {
    EXPECT_GE(mStatement->get_RemainingStatements(), 2U);
    mStatement->ExecuteAll();
    EXPECT_EQ(Number(mDatabase, "SELECT count(*) FROM t"), 0);
    EXPECT_EQ(Utf8(mStatement->get_CurrentSql()), kThreePieces);
    check();
  };
  CheckEveryFault(attempt);
}

TEST_F(AStatement, ExecutesTheNextPieceOrThrows) {
  CheckEveryFault(On(kThreePieces, [](I_DuckDBStatement& statement) {
    std::uint64_t changed = 0;
    statement.ExecuteNext(changed);
    statement.ExecuteNext();
    return fmt::format("{} {}", changed, statement.get_RemainingStatements());
  }));
}

TEST_F(AStatement, ExecutesAllPiecesOrThrows) {
  CheckEveryFault(On(kThreePieces, [](I_DuckDBStatement& statement) {
    statement.ExecuteAll();
    return Utf8(statement.get_CurrentSql());
  }));
}

TEST_F(AStatement, RecordsWhateverFailsInTryExecuteAll) { CheckTryExecuteAll(kThreePieces, false); }

TEST_F(AStatement, RecordsARefusedPieceInTryExecuteAll) {
  CheckTryExecuteAll("INSERT INTO k VALUES (1); INSERT INTO k VALUES (1)", true);
}

TEST_F(AStatement, RecordsATextThatCannotBeSplitInTryExecuteAll) {
  CheckTryExecuteAll("SELECT 1; SELEKT 2 FROM a_table_with_a_long_name", true);
}

TEST_F(AStatement, TellsWhyAPieceFailedOrThatMemoryRanOut) {
  CheckEveryFault(On(
      "INSERT INTO k VALUES (1), (1)",
      [](I_DuckDBStatement& statement) { return fmt::format("{}", statement.Execute()); },
      Prepare));
}

TEST_F(AStatement, BindsARowOfEveryKindOrThrows) {
  auto const values = EveryKind();
  Row const row = MakeRow(values);
  CheckEveryFault(On(
      SelectOf(values.size()),
      [&](I_DuckDBStatement& statement) {
        statement.BindParameters(row);
        return TextOf(statement.ExecuteCursor(kCursorServer));
      },
      Prepare));
}

TEST_F(AStatement, BindsBeforeItIsPreparedOrThrows) {
  Row const row = MakeRow({MakeLong(1), MakeText("a text that does not stand inside a String")});
  CheckEveryFault(On("INSERT INTO t VALUES ($1, $2)", [&](I_DuckDBStatement& statement) {
    statement.BindParameters(row);
    statement.PrepareNext();
    return fmt::format("{}", statement.Execute());
  }));
}

TEST_F(AStatement, ExecutesParameterRowsOrThrows) {
  Rows const rows =
      MakeRows({MakeRow({MakeLong(1), MakeText("one")}), MakeRow({MakeLLong(2), MakeNullValue()}),
                MakeRow({MakeDouble(3), MakeText(std::string(50, 'x'))})});
  CheckEveryFault(On(
      "INSERT INTO t VALUES ($1, $2)",
      [&](I_DuckDBStatement& statement) {
        statement.BindParameterRows(rows);
        return fmt::format("{}", statement.Execute());
      },
      Prepare));
}

TEST_F(AStatement, ForgetsItsParametersWithoutMemory) {
  Row const row = MakeRow({MakeLong(1)});
  Attempt attempt = On(
      "SELECT $1",
      [&](I_DuckDBStatement& statement) {
        statement.ClearBindings();
        return std::string("cleared");
      },
      [&](I_DuckDBStatement& statement) {
        statement.PrepareNext();
        statement.BindParameters(row);
      });
  attempt.mAccepts = [](std::string const& answer) { return answer == "cleared"; };
  CheckEveryFault(attempt);
}

TEST_F(AStatement, MakesACursorOrThrows) {
  for (auto const kind : {kCursorClient, kCursorServer}) {
    CheckEveryFault(On(
        "SELECT i, 'a text that does not stand inside a String' AS s FROM range(3) r(i)",
        [kind](I_DuckDBStatement& statement) { return TextOf(statement.ExecuteCursor(kind)); },
        Prepare));
  }
}

TEST_F(AStatement, RefusesACursorOfSeveralRowsOrThrows) {
  Rows const rows = MakeRows({MakeRow({MakeLong(1)}), MakeRow({MakeLong(2)})});
  Attempt attempt = On(
      "SELECT $1",
      [&](I_DuckDBStatement& statement) {
        statement.BindParameterRows(rows);
        return TextOf(statement.ExecuteCursor(kCursorClient));
      },
      Prepare);
  CheckEveryFault(attempt);
}

TEST_F(AStatement, MakesJSONOrThrows) {
  Attempt attempt = On(
      "SELECT i AS number, i::VARCHAR || ' \"quoted\" and long enough' AS text, "
      "'2026-11-21'::DATE AS date, [i] AS list, '\\x01\\x02'::BLOB AS bytes "
      "FROM range(2) r(i)",
      [](I_DuckDBStatement& statement) { return Utf8(statement.ExecuteToJSON()); }, Prepare);
  // A name that DuckDB does not tell is empty.
  attempt.mAccepts = [](std::string const& answer) {
    return answer.find(R"("":)") != std::string::npos;
  };
  CheckEveryFault(attempt);
}

TEST_F(AStatement, MakesAResultOrThrows) {
  for (auto const kind : {kCursorClient, kCursorServer}) {
    CheckEveryFault(On(
        "SELECT i, i::VARCHAR FROM range(3) r(i)",
        [kind](I_DuckDBStatement& statement) { return TextOf(statement.ExecuteResult(kind)); },
        Prepare));
  }
}

TEST_F(AStatement, ClosesAndDiesWithoutMemory) {
  Attempt attempt = On(
      "SELECT 1; SELECT 2",
      [&](I_DuckDBStatement& statement) {
        statement.Close();
        mStatement.reset();
        return std::string("gone");
      },
      [](I_DuckDBStatement& statement) { statement.ExecuteNext(); });
  CheckEveryFault(attempt);
}

TEST_F(AStatement, DiesOpenWithoutMemory) {
  CheckEveryFault(On(
      "SELECT 1; SELECT 2",
      [&](I_DuckDBStatement&) {
        mStatement.reset();
        return std::string("gone");
      },
      [](I_DuckDBStatement& statement) { statement.ExecuteNext(); }));
}

TEST_F(AStatement, AnswersItsDatabaseOrThrows) {
  CheckEveryFault(On("SELECT 1", [&](I_DuckDBStatement& statement) {
    return statement.get_Database() == mDatabase ? "it" : "another";
  }));
}

TEST_F(AStatement, WithoutADatabaseThrows) {
  Attempt attempt = On(
      "SELECT 1",
      [](I_DuckDBStatement& statement) {
        statement.PrepareNext();
        return std::string("prepared");
      },
      [](I_DuckDBStatement& statement) { statement.Close(); });
  CheckEveryFault(attempt);
}

}  // namespace
