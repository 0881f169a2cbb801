// What a worker does with the shared file that it has at hand. A row counts as inserted when the
// call that inserted it has returned.
#include <fmt/format.h>

#include <utility>

#include "Worker.h"
#include "support/TestValue.h"

namespace lumora::test {

namespace {

tarn::smart_ptr<tarn::ValueRow> LogRow(int inWorker, std::int64_t inNumber) {
  return MakeRow({MakeLong(inWorker), MakeLLong(inNumber), MakeText(fmt::format("t{}", inNumber))});
}

constexpr char kConflict[] =
    R"({"exception_type":"TransactionContext","exception_message":"Conflict on update!"})";

}  // namespace

void Worker::InsertRow() {
  std::int64_t const number = NextNumber();
  Shared()->ExecuteSQL(Wide(InsertSql(number)), nullptr);
  Acknowledge({number});
}

void Worker::InsertByParameters() {
  std::int64_t const number = NextNumber();
  Shared()->ExecuteSQL(Wide("INSERT INTO log VALUES ($1, $2, $3)"), LogRow(mIndex, number));
  Acknowledge({number});
}

void Worker::InsertManyRows() {
  auto const statement = Shared()->CreateStatement(Wide("INSERT INTO log VALUES (?, ?, ?)"));
  statement->PrepareNext();
  for (std::uint64_t rounds = 1 + Random(3); rounds != 0; --rounds) {
    auto const rows = MakeRows({});
    std::vector<std::int64_t> numbers;
    for (std::uint64_t i = 1 + Random(20); i != 0; --i) {
      numbers.push_back(NextNumber());
      rows->Append(LogRow(mIndex, numbers.back()));
    }
    statement->BindParameterRows(rows);
    Check(statement->Execute() == 1, "the last of many rows changed another number of rows");
    Acknowledge(numbers);
  }
}

// A whole transaction in one call, which now and then is undone.
void Worker::InsertByScript() {
  std::vector<std::int64_t> const numbers = {NextNumber(), NextNumber()};
  std::string const script = "BEGIN;" + InsertSql(numbers[0]) + InsertSql(numbers[1]);
  switch (Random(4)) {
    case 0:
      Shared()->ExecuteSQL(Wide(script + "ROLLBACK"), nullptr);
      return;
    case 1: {
      // A failing script is rolled back.
      std::string const failing =
          script + "INSERT INTO log SELECT range, 'x' || range, '' FROM range(1); COMMIT";
      Thrown const thrown = ThrownBy([&] { Shared()->ExecuteSQL(Wide(failing), nullptr); });
      Check(thrown.mClass == "xDuckDBError", "a failing script was run");
      return;
    }
    default:
      Shared()->ExecuteSQL(Wide(script + "COMMIT"), nullptr);
      Acknowledge(numbers);
  }
}

// A transaction over several calls: another worker may close the database in its middle.
void Worker::InsertInTransaction() {
  SoakDatabase const database = Shared();
  std::vector<std::int64_t> const numbers = {NextNumber(), NextNumber(), NextNumber()};
  database->ExecuteSQL(Wide("BEGIN"), nullptr);
  for (std::int64_t const number : numbers) {
    if (mKind != WorkerKind::kHolder) std::this_thread::yield();
    database->ExecuteSQL(Wide(InsertSql(number)), nullptr);
  }
  bool const isKept = Random(4) != 0;
  database->ExecuteSQL(Wide(isKept ? "COMMIT" : "ROLLBACK"), nullptr);
  if (isKept) Acknowledge(numbers);
}

void Worker::AddToCounter() {
  Shared()->ExecuteSQL(Wide(fmt::format("UPDATE counter SET n = n + 1 WHERE worker = {}", mIndex)),
                       nullptr);
  ++SharedModel().mCounted;
}

// Changes a row that all workers change, and leaves the transaction open until the next time. Who
// wants the same row meanwhile is refused, and his transaction is rolled back.
void Worker::CollideOnARow() {
  if (mRival) return EndRival();
  mRivalFile = static_cast<int>(Random(kSharedFiles));
  SoakDatabase const database = mSoak.NewDatabase(Soak::SharedName(mRivalFile));
  database->Open();
  database->ExecuteSQL(Wide("BEGIN"), nullptr);
  Thrown const thrown =
      ThrownBy([&] { database->ExecuteSQL(Wide("UPDATE contended SET n = n + 1"), nullptr); });
  if (thrown.mClass.empty()) {
    mRival = database;
    return;
  }
  Check(thrown.mClass == "xDuckDBError" && thrown.mText2 == kConflict,
        "a conflict is told in another way");
  ++mSoak.mTally.mConflicts;
  Check(ThrownBy([&] { database->ExecuteSQL(Wide("COMMIT"), nullptr); }).mClass == "xDuckDBError",
        "who lost a row has a transaction still");
  Check(Numbers(database, "SELECT 42", 1).first == 42, "who lost a row cannot go on");
}

void Worker::EndRival() {
  bool const isKept = Random(4) != 0;
  SoakDatabase const rival = std::exchange(mRival, nullptr);
  // What is not committed goes with the object.
  if (!isKept) return;
  rival->ExecuteSQL(Wide("COMMIT"), nullptr);
  ++mModel.mShared[static_cast<std::size_t>(mRivalFile)].mContended;
}

// Piece by piece; each that returns is acknowledged by itself.
void Worker::RunPieces() {
  std::int64_t const first = NextNumber();
  std::int64_t const second = NextNumber();
  auto const statement = Shared()->CreateStatement(
      Wide(InsertSql(first) + "SELECT range AS n FROM range(3);" + InsertSql(second)));
  std::uint64_t changed = 0;
  statement->ExecuteNext(changed);
  Acknowledge({first});
  Check(changed == 1, "a piece changed another number of rows");
  statement->PrepareNext();
  if (Random(2) == 0) {
    Check(Utf8(statement->ExecuteToJSON()).find("2") != std::string::npos, "the JSON lacks a row");
  } else {
    auto const cursor = statement->ExecuteCursor(static_cast<std::uint32_t>(1 + Random(2)));
    Check(cursor->NextRecord() && cursor->NextRecord(), "a piece's cursor lacks rows");
  }
  statement->ExecuteNext();
  Acknowledge({second});
  if (Random(8) == 0) mOthers.emplace_back(statement.get());
}

void Worker::TryPieces() {
  std::vector<std::int64_t> const numbers = {NextNumber(), NextNumber(), NextNumber()};
  std::size_t const good = 1 + Random(2);
  std::string text;
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    if (i == good) text += "SELECT * FROM nowhere;";
    text += InsertSql(numbers[i]);
  }
  auto const statement = Shared()->CreateStatement(Wide(text));
  auto const done = statement->TryExecuteAll();
  if (done.mErrorCode == 0) {
    // Nothing is done, and nothing told, for a statement that another worker's close has closed.
    Check(done.mStatementsExecuted == 0 && !statement->get_Database(), "a wrong piece was run");
    ++mSoak.mTally.mCancelled;
    return;
  }
  Check(done.mStatementsExecuted == good || done.mStatementsExecuted == 0,
        "another number of pieces was run");
  for (std::size_t i = 0; i < done.mStatementsExecuted; ++i) Acknowledge({numbers[i]});
}

void Worker::CountOwnRows() {
  SoakDatabase const& database = Shared();
  if (Random(2) == 0) {
    CheckOwnRows(Numbers(database, fmt::format("FROM own_{}", mIndex), 2), "own rows");
  } else {
    auto const counted =
        Numbers(database, fmt::format("SELECT n FROM counter WHERE worker = {}", mIndex), 1);
    Check(counted.first == SharedModel().mCounted, "the counter is another one");
  }
}

void Worker::MeetAnError() {
  SoakDatabase const database = Shared();
  char const* const sql = Random(2) == 0 ? "SELEC 1" : "SELECT nothing FROM log";
  switch (Random(3)) {
    case 0: {
      Thrown const thrown = ThrownBy([&] { database->ExecuteSQL(Wide(sql), nullptr); });
      Check(thrown.mClass == "xDuckDBError", "an error is of another class");
      return;
    }
    case 1: {
      Thrown const thrown = ThrownBy(
          [&] { (void)database->Execute(Wide(std::string("SELECT 1;") + sql), 1, nullptr); });
      Check(thrown.mClass == "xDuckDBError", "an error is of another class");
      return;
    }
    default: {
      auto const statement = database->CreateStatement(Wide(sql));
      Thrown const thrown = ThrownBy([&] { statement->ExecuteAll(); });
      Check(thrown.mClass == "xDuckDBError", "an error is of another class");
    }
  }
}

}  // namespace lumora::test
