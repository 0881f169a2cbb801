// What a worker does with cursors, results and database objects: its own ones and others'.
#include <fmt/format.h>

#include "Worker.h"

namespace lumora::test {

namespace {

constexpr std::size_t kHeldAtMost = 6;
constexpr std::int64_t kCursorRows = 5000;  // three chunks

}  // namespace

void Worker::Hold(tarn::smart_ptr<tarn::lsql::I_DuckDBCursor> inCursor, bool inIsClient) {
  if (mHeld.size() == kHeldAtMost) mHeld.erase(mHeld.begin());
  mHeld.push_back({std::move(inCursor), inIsClient, 0});
}

void Worker::ReadResults() {
  SoakDatabase const database = Shared();
  std::int64_t const number = NextNumber();
  auto result = database->Execute(Wide(InsertSql(number) + "SELECT 'x' AS t, NULL AS n"),
                                  static_cast<std::uint32_t>(1 + Random(2)), nullptr);
  Acknowledge({number});
  Check(result->get_RowsChanged() == 1, "a result tells another number of rows");
  result = result->NextResult();
  if (Random(4) == 0) {
    mOthers.emplace_back(result.get());
    return;
  }
  // Null when the database was closed after the results were made.
  if (auto const cursor = result ? result->get_Cursor() : nullptr) {
    Check(cursor->NextRecord(), "a result has no row");
    Check(Utf8(cursor->get_Value(0)->get_String()) == "x", "a result has another text");
    Check(cursor->get_Value(1)->get_IsNull(), "NULL is not null");
    Check(!cursor->NextRecord(), "a result has another row");
  }
}

void Worker::OpenCursor() {
  bool const isClient = Random(3) == 0;
  std::int64_t const rows = isClient ? 100 : kCursorRows;
  SoakDatabase const& database = Random(2) == 0 ? Shared() : Private();
  std::string const sql = fmt::format(
      "SELECT range + 1 AS n, 'row ' || (range + 1) AS t, [range] AS l FROM range({})", rows);
  Hold(database->ExecuteQuery(Wide(sql), isClient ? 1 : 2, nullptr), isClient);
}

// A cursor that was opened some time ago, perhaps on a database that was closed since.
void Worker::StepCursor() {
  if (mHeld.empty()) return;
  std::size_t const chosen = Random(mHeld.size());
  Held& held = mHeld[chosen];
  try {
    bool isThere = true;
    if (held.mIsClient && Random(2) == 0) {
      held.mRow = static_cast<std::int64_t>(1 + Random(100));
      isThere = held.mCursor->put_CurrentRecord(static_cast<std::uint32_t>(held.mRow));
    } else {
      std::uint64_t const steps = 1 + Random(held.mIsClient ? 5 : 900);
      for (std::uint64_t i = 0; i < steps && isThere; ++i) {
        isThere = held.mCursor->NextRecord();
        if (isThere) ++held.mRow;
      }
    }
    if (!isThere) {
      Check(held.mRow == (held.mIsClient ? 100 : kCursorRows), "a cursor ends elsewhere");
      mHeld.erase(mHeld.begin() + static_cast<std::ptrdiff_t>(chosen));
      return;
    }
    Check(held.mCursor->get_Value(0)->get_LLong() == held.mRow, "a cursor is at another row");
    Check(Utf8(held.mCursor->get_Value(1)->get_String()) == fmt::format("row {}", held.mRow),
          "a cursor has another text");
    (void)held.mCursor->get_Value(2);
  } catch (tarn::lsql::xDuckDBError const& error) {
    if (Utf8(error.get_Text(1)) != "DuckDBCursor is invalid") throw;
    ++mSoak.mTally.mCancelled;
    mHeld.erase(mHeld.begin() + static_cast<std::ptrdiff_t>(chosen));
  }
}

void Worker::DropChild() {
  if (!mHeld.empty()) {
    std::size_t const chosen = Random(mHeld.size());
    if (Random(2) == 0) mHeld[chosen].mCursor->Close();
    mHeld.erase(mHeld.begin() + static_cast<std::ptrdiff_t>(chosen));
  }
  if (!mOthers.empty()) mOthers.erase(mOthers.begin());
}

// With whatever children it has; they die later.
void Worker::CloseOwn() {
  if (SoakDatabase const& database = mDatabases[Random(2)]) database->Close();
}

void Worker::ReplaceOwn() {
  std::size_t const place = Random(2);
  mSoak.Publish(mIndex, static_cast<int>(place), nullptr);
  mDatabases[place].reset();
}

void Worker::CancelOther() {
  int const other = static_cast<int>(Random(kWorkers));
  SoakDatabase const database = mSoak.get_Published(other, static_cast<int>(Random(2)));
  if (!database || other == mIndex || mKind == WorkerKind::kDiagnostic) return;
  if (database->get_IsOpen()) ++mSoak.mTally.mCancels;
  database->Close();
}

// Reads with another worker's object, which may be in the middle of a transaction.
void Worker::VisitOther() {
  int const other = static_cast<int>(Random(kWorkers));
  SoakDatabase const database = mSoak.get_Published(other, static_cast<int>(Random(2)));
  if (!database || mKind == WorkerKind::kDiagnostic || !database->get_IsOpen()) return;
  if (Random(2) == 0) {
    Check(Numbers(database, "SELECT 42", 1).first == 42, "42 is another number");
  } else {
    auto const statement = database->CreateStatement(Wide("SELECT 1; SELECT 2"));
    statement->PrepareNext();
    mOthers.emplace_back(statement.get());
    if (mOthers.size() > kHeldAtMost) mOthers.erase(mOthers.begin());
  }
}

void Worker::AskAboutFiles() {
  auto const extension = tarn::lsql::GetDuckDBExtension();
  std::string const name = Soak::SharedName(static_cast<int>(Random(kSharedFiles)));
  SoakDatabase const database = mSoak.NewDatabase(name);
  Check(database->get_Exists(), "a file does not exist");
  Check(!database->get_IsOpen(), "a new object is open");
  Check(database->get_ConnectionCount() <= 2 * kWorkers + 1, "a file is open too often");
  Check(extension->IsDuckDBFile(LocationAt(name)), "a database is none");
  Check(!extension->IsDuckDBFile(LocationAt("constant.parquet")), "a Parquet file is a database");
  Check(!extension->IsDuckDBFile(LocationAt("missing.db")), "what is not there is a database");
  Check(extension->get_IsDatabaseOpen(Wide(mSoak.mFolder.At(Soak::SharedName(0)))),
        "the kept file is not open");
}

void Worker::DropInUse() {
  SoakDatabase const database = mSoak.NewDatabase(Soak::SharedName(0));
  Thrown const thrown = ThrownBy([&] { database->Drop(); });
  Check(thrown.mText2.starts_with("Can not be dropped. "), "a file in use was dropped");
}

}  // namespace lumora::test
