#include <gtest/gtest.h>

#include <array>
#include <random>

#include "support/Seed.h"
#include "support/StatementFixture.h"
#include "support/StatementModel.h"

// Random calls of all operations on statements over texts of 0 to 5 pieces, against the model.
namespace lumora {
namespace {

using test::LastResult;
using test::ModelRow;
using test::ModelRows;
using test::Outcome;
using test::Piece;
using test::PieceKind;
using test::StatementModel;
using test::ToUTF8;

constexpr int kCalls = test::kIsSlow ? 6000 : 100000;

struct Expected {
  Outcome mOutcome;
  char const* mText;  // part of the message
};
constexpr std::array kMessages = {
    Expected{Outcome::kUnsplit, "SELEKT"},
    Expected{Outcome::kUnprepared, "missing does not exist"},
    Expected{Outcome::kFailed, "'x0'"},
    Expected{Outcome::kNotProvided, "Values were not provided"},
    Expected{Outcome::kNoParameter, "Can not bind to parameter number"},
    Expected{Outcome::kBadValue, "'not a number'"},
    Expected{Outcome::kInvalid, "DuckDBDatabase is invalid"},
    Expected{Outcome::kFeature, "multi-row binding"},
};

Outcome OutcomeOf(std::string const& inMessage) {
  for (auto const& [outcome, text] : kMessages) {
    if (inMessage.find(text) != std::string::npos) return outcome;
  }
  ADD_FAILURE() << "unknown message: " << inMessage;
  return Outcome::kDone;
}

class StatementModelTest : public test::StatementFixture {
 protected:
  int Roll(int inBelow) { return static_cast<int>(mRandom() % static_cast<unsigned>(inBelow)); }

  Piece MakePiece() {
    auto const number = static_cast<std::uint32_t>(Roll(4));
    std::string const range = "range FROM range(" + std::to_string(number) + ")";
    switch (Roll(8)) {
      case 0:
        return {PieceKind::kUnprepared, 0, "SELECT * FROM missing"};
      case 1:
        return {PieceKind::kFailing, 0, "SELECT CAST('x' || range AS INT) FROM range(1)"};
      case 2:
        return {PieceKind::kNothing, 0, "CREATE OR REPLACE TABLE u(i INTEGER)"};
      case 3:
        return {PieceKind::kRows, number, "SELECT " + range};
      case 4:
        return {PieceKind::kChanged, number, "INSERT INTO t SELECT " + range};
      default:
        return {PieceKind::kParameter, 0, "INSERT INTO t SELECT range FROM range(CAST(? AS INT))"};
    }
  }

  void Renew() {
    if (mModel) mInsertedBefore += mModel->get_Inserted();
    std::vector<Piece> pieces;
    std::string text;
    for (int i = Roll(6); i > 0; --i) {
      pieces.push_back(MakePiece());
      text += pieces.back().mSql + (Roll(2) == 0 ? ";" : " ;\n");
    }
    bool const splits = Roll(12) != 0;
    if (!splits) text += "SELEKT 1";
    mModel.emplace(std::move(pieces), text, splits);
    mStatement = Make(text);
  }

  std::optional<ModelRow> MakeModelRow() {
    if (Roll(10) == 0) return std::nullopt;
    ModelRow row(Roll(6) == 0 ? 2U : (Roll(5) == 0 ? 0U : 1U));
    for (int& value : row) value = Roll(10) == 0 ? -1 : Roll(4);
    return row;
  }
  static tarn::smart_ptr<tarn::ValueRow> ToHost(std::optional<ModelRow> const& inRow) {
    if (!inRow) return nullptr;
    auto const row = test::MakeRow({});
    for (int const value : *inRow) {
      row->Append(value < 0 ? test::MakeText("not a number") : test::MakeLong(value));
    }
    return row;
  }

  // The call's outcome by what it throws.
  Outcome Try(std::function<void()> const& inCall) {
    try {
      inCall();
      return Outcome::kDone;
    } catch (tarn::xException const& error) {
      return OutcomeOf(ToUTF8(error.get_Message()));
    }
  }

  void CheckResult(tarn::smart_ptr<tarn::lsql::I_DuckDBQueryResult> const& inResult,
                   LastResult inLast) {
    constexpr std::uint32_t kFlags[] = {0, 4, 1, 2, 0};
    ASSERT_NE(inResult, nullptr);
    EXPECT_EQ(inResult->get_Flags(), kFlags[static_cast<int>(inLast)]);
  }

  void StepBinding();
  void StepExecution();
  void StepTexts();
  void Step();

  std::mt19937_64 mRandom;
  std::optional<StatementModel> mModel;
  StatementPtr mStatement;
  std::uint64_t mInsertedBefore = 0;
};

void StatementModelTest::StepBinding() {
  if (Roll(5) == 0) {
    mModel->ClearBindings();
    mStatement->ClearBindings();
    return;
  }
  if (Roll(2) == 0) {
    auto const row = MakeModelRow();
    EXPECT_EQ(Try([&] { mStatement->BindParameters(ToHost(row)); }), mModel->BindParameters(row));
    return;
  }
  std::optional<ModelRows> rows;
  tarn::smart_ptr<tarn::ValueRows> hostRows;
  if (Roll(8) != 0) {
    rows.emplace();
    hostRows = test::MakeRows({});
    for (int i = Roll(4); i > 0; --i) {
      rows->push_back(MakeModelRow());
      hostRows->Append(ToHost(rows->back()));
    }
  }
  EXPECT_EQ(Try([&] { mStatement->BindParameterRows(hostRows); }), mModel->BindParameterRows(rows));
}

void StatementModelTest::StepExecution() {
  std::uint64_t expected = 0;
  std::uint64_t changed = 0;
  LastResult last = LastResult::kNone;
  auto const kind = static_cast<std::uint32_t>(Roll(3));
  switch (Roll(6)) {
    case 0: {
      tarn::smart_ptr<tarn::lsql::I_DuckDBCursor> cursor;
      Outcome const outcome = mModel->ExecuteCursor(last);
      Outcome const actual = Try([&] { cursor = mStatement->ExecuteCursor(kind); });
      if (last == LastResult::kFailed && kind == 1) {
        EXPECT_NE(actual, Outcome::kDone);
      } else {
        EXPECT_EQ(actual, outcome);
        EXPECT_EQ(cursor == nullptr, last == LastResult::kNone);
      }
      break;
    }
    case 1: {
      tarn::smart_ptr<tarn::lsql::I_DuckDBQueryResult> result;
      Outcome const outcome = mModel->ExecuteResult(last);
      EXPECT_EQ(Try([&] { result = mStatement->ExecuteResult(kind); }), outcome);
      if (outcome == Outcome::kDone) CheckResult(result, last);
      break;
    }
    case 2: {
      // A failed result that no row has replaced tells its failure when it is walked.
      Outcome const outcome = mModel->ExecuteCursor(last);
      Outcome const actual = Try([&] { mStatement->ExecuteToJSON(); });
      EXPECT_TRUE(last == LastResult::kFailed ? actual != Outcome::kDone : actual == outcome);
      break;
    }
    default: {
      Outcome const outcome = mModel->Execute(expected);
      EXPECT_EQ(Try([&] { changed = static_cast<std::uint64_t>(mStatement->Execute()); }), outcome);
      if (outcome == Outcome::kDone) {
        EXPECT_EQ(changed, expected);
      }
      break;
    }
  }
}

void StatementModelTest::StepTexts() {
  std::uint64_t expected = 0;
  std::uint64_t changed = 0;
  std::uint32_t executed = 0;
  switch (Roll(7)) {
    case 0:
      EXPECT_EQ(Try([&] { mStatement->ExecuteAll(); }), mModel->ExecuteAll());
      break;
    case 1: {
      Outcome const outcome = mModel->TryExecuteAll(executed);
      auto const record = mStatement->TryExecuteAll();
      EXPECT_EQ(record.mStatementsExecuted, executed);
      EXPECT_EQ(record.mErrorCode, outcome == Outcome::kDone ? 0U : 0x72501U);
      break;
    }
    case 2:
      EXPECT_EQ(Try([&] { mStatement->ExecuteNext(); }), mModel->ExecuteNext(expected));
      break;
    case 3: {
      Outcome const outcome = mModel->ExecuteNext(expected);
      EXPECT_EQ(Try([&] { mStatement->ExecuteNext(changed); }), outcome);
      if (outcome == Outcome::kDone) {
        EXPECT_EQ(changed, expected);
      }
      break;
    }
    case 4:
      EXPECT_EQ(mStatement->get_RemainingStatements(), mModel->get_Remaining());
      break;
    default:
      EXPECT_EQ(Try([&] { mStatement->PrepareNext(); }), mModel->PrepareNext());
      break;
  }
}

void StatementModelTest::Step() {
  int const roll = Roll(60);
  if (roll == 0) Renew();
  if (roll == 1 && Roll(4) == 0) {
    mModel->Close();
    mStatement->Close();
  }
  if (roll == 2) mStatement->Reserved18();
  if (roll >= 3 && roll < 18) StepBinding();
  if (roll >= 18 && roll < 40) StepExecution();
  if (roll >= 40) StepTexts();
  EXPECT_EQ(ToUTF8(mStatement->get_CurrentSql()), mModel->get_CurrentSql());
  EXPECT_EQ(ToUTF8(mStatement->get_SqlText()), mModel->get_Text());
}

TEST_F(StatementModelTest, DoesWhatTheModelSaysInAnyOrderOfCalls) {
  mRandom.seed(test::get_Seed("statement model"));
  Renew();
  for (int i = 0; i < kCalls && !HasFailure(); ++i) {
    Step();
    if (i % 1000 != 999) continue;
    EXPECT_EQ(mDatabase.QueryText("SELECT count(*) FROM t"),
              std::to_string(mInsertedBefore + mModel->get_Inserted()));
  }
  mStatement.reset();
}

}  // namespace
}  // namespace lumora
