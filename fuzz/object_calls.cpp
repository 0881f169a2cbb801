// Whole sequences of calls of the database interfaces, from bytes: objects are made, used, closed,
// used after that, and released in any order, on databases in memory and in files, some of them by
// host values that call back in the middle of a binding. A model says which objects are alive, what
// a cursor over known rows gives and how many objects have a file open; no error but the promised
// ones comes out; and in the end all handles of DuckDB's are given back and every database can be
// made anew.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/DuckDBCalls.h"
#include "support/HostValues.h"
#include "support/Input.h"
#include "support/ObjectModel.h"
#include "support/TestValue.h"
#include "tarn/tarn.h"

namespace {

using namespace lumora::fuzz;

constexpr unsigned kDeepest = 3;

class Machine : private ObjectModel {
 public:
  explicit Machine(Input& ioInput) : mInput(ioInput) {}

  void Run() {
    for (int i = 0; i < 60 && !mInput.get_IsEmpty(); ++i) Step();
  }
  void Finish();

 private:
  using Row = smart_ptr<tarn::ValueRow>;

  void Step() {
    std::size_t const what = mInput.TakeBelow(16);
    if (what < 3) {
      StepDatabase();
    } else if (what < 6) {
      StepSql();
    } else if (what < 10) {
      StepStatement();
    } else if (what < 13) {
      StepCursor();
    } else if (what < 15) {
      StepResult();
    } else {
      StepExtension();
    }
    Check();
  }

  template <typename T>
  std::size_t Pick(std::vector<Child<T>> const& inChildren) {
    return inChildren.empty() ? 0 : mInput.TakeBelow(inChildren.size());
  }
  smart_ptr<tarn::I_Value> TakeValue();
  Row TakeRow();
  std::uint32_t TakeKind() { return mInput.TakeBool() ? kCursorClient : kCursorServer; }
  void Change(I_DuckDBDatabase& ioDatabase);
  void StepDatabase();
  void StepSql();
  void StepStatement();
  void CallStatement(Child<I_DuckDBStatement> inStatement);
  void TakeOutcome(Child<I_DuckDBStatement> const& inStatement);
  void StepCursor();
  void MoveCursor(Child<I_DuckDBCursor>& ioCursor);
  void ReadCursor(Child<I_DuckDBCursor> const& inCursor);
  void StepResult();
  void StepExtension();
  void UnregisterFrom(I_DuckDBDatabase& ioDatabase);

  Input& mInput;
  unsigned mDepth = 0;
};

// Some values take a step of their own when they are read, some throw.
smart_ptr<tarn::I_Value> Machine::TakeValue() {
  if (mInput.TakeBelow(8) != 7 || mDepth >= kDeepest) return lumora::fuzz::TakeValue(mInput);
  smart_ptr<lumora::test::TestValue> const value(
      new lumora::test::TestValue(static_cast<std::uint32_t>(mInput.TakeBelow(40))));
  value->mNumber = mInput.Take<std::int8_t>();
  bool const isThrowing = mInput.TakeBelow(6) == 5;
  value->mOnRead = [this, isThrowing] {
    if (isThrowing) throw ValueFailure("a value that cannot be read");
    if (mDepth >= kDeepest || mInput.get_IsEmpty()) return;
    ++mDepth;
    Step();
    --mDepth;
  };
  return value;
}

Machine::Row Machine::TakeRow() {
  if (mInput.TakeBelow(3) == 0) return nullptr;
  Row row(new tarn::ValueRow);
  for (std::size_t i = mInput.TakeBelow(4); i > 0; --i) row->Append(TakeValue());
  return row;
}

void Machine::Change(I_DuckDBDatabase& ioDatabase) {
  DuckDBSettings settings;
  settings.mWritable = mInput.TakeBool() ? 1 : 0;
  settings.mThreads = static_cast<std::uint32_t>(mInput.TakeBelow(3));
  settings.mExternalAccess = mInput.TakeBool();
  if (mInput.TakeBool()) ioDatabase.put_Settings(settings);
  static constexpr std::uint32_t kSizes[] = {0, 16384, 262144, 7, 1};
  ioDatabase.put_BlockSize(kSizes[mInput.TakeBelow(std::size(kSizes))]);
  static constexpr char const* kVersions[] = {"", "v1.0.0", "latest", "v0.0.0", "'"};
  ioDatabase.put_StorageVersion(kVersions[mInput.TakeBelow(std::size(kVersions))]);
}

void Machine::StepDatabase() {
  std::size_t const which = mInput.TakeBelow(kPaths.size());
  // A host holds what it calls.
  smart_ptr<I_DuckDBDatabase> const database = mDatabases[which].mObject;
  switch (mInput.TakeBelow(10)) {
    case 0:
    case 1:
    case 2:
      SetOpen(which, Try([&] { database->Create(); }));
      break;
    case 3:
    case 4:
      SetOpen(which, Try([&] { database->Open(); }));
      break;
    case 5:
      Require(Try([&] { database->Close(); }), "closing works");
      SetOpen(which, false);
      break;
    case 6:
      (void)Try([&] { database->Drop(); });
      SetOpen(which, false);
      break;
    case 7:
      Renew(which);
      break;
    case 8:
      Change(*database);
      break;
    default:
      (void)database->get_IsReadOnly();
      database->Flush();
      Require(database->get_Exists() || which != 1 || !mDatabases[1].mIsOpen,
              "an open file exists");
      break;
  }
}

void Machine::StepSql() {
  std::size_t const which = mInput.TakeBelow(kPaths.size());
  smart_ptr<I_DuckDBDatabase> const database = mDatabases[which].mObject;
  Script const& script = kScripts[mInput.TakeBelow(kScripts.size())];
  std::uint32_t const kind = TakeKind();
  smart_ptr<I_DuckDBStatement> statement;
  smart_ptr<I_DuckDBCursor> cursor;
  smart_ptr<I_DuckDBQueryResult> result;
  Row row;
  std::size_t const how = mInput.TakeBelow(4);
  if (how != 0) row = TakeRow();
  bool const wasOpen = mDatabases[which].mIsOpen;
  bool const isDone = Try([&] {
    if (how == 0) statement = database->CreateStatement(script.mSql);
    if (how == 1) cursor = database->ExecuteQuery(script.mSql, kind, row);
    if (how == 2) result = database->Execute(script.mSql, kind, row);
    if (how == 3) database->ExecuteSQL(script.mSql, row);
  });
  Require(!isDone || wasOpen, "nothing runs on a closed database");
  if (statement) Add(mStatements, statement, which, script.mRows);
  if (cursor) Add(mCursors, cursor, which, script.mRows, kind == kCursorClient);
  if (result) Add(mResults, result, which);
}

void Machine::TakeOutcome(Child<I_DuckDBStatement> const& inStatement) {
  I_DuckDBStatement& statement = *inStatement.mObject;
  std::uint32_t const kind = TakeKind();
  switch (mInput.TakeBelow(3)) {
    case 0: {
      auto const cursor = statement.ExecuteCursor(kind);
      if (!cursor) return;
      Add(mCursors, cursor, inStatement.mDatabase, inStatement.mRows, kind == kCursorClient);
      return;
    }
    case 1: {
      std::string const json = Narrow(statement.ExecuteToJSON());
      Require(nlohmann::json::accept(json), "JSON");
      return;
    }
    default: {
      auto const result = statement.ExecuteResult(kind);
      Require(result != nullptr, "a result");
      Add(mResults, result, inStatement.mDatabase);
      return;
    }
  }
}

void Machine::CallStatement(Child<I_DuckDBStatement> inStatement) {
  I_DuckDBStatement& statement = *inStatement.mObject;
  std::uint64_t changed = 0;
  switch (mInput.TakeBelow(12)) {
    case 0:
      return statement.PrepareNext();
    case 1:
      return statement.ExecuteNext(changed);
    case 2:
      return statement.ExecuteAll();
    case 3:
      (void)statement.TryExecuteAll();
      return;
    case 4:
      return statement.ClearBindings();
    case 5:
      return statement.BindParameters(TakeRow());
    case 6: {
      smart_ptr<tarn::ValueRows> rows(new tarn::ValueRows);
      for (std::size_t i = mInput.TakeBelow(30); i > 0; --i) rows->Append(TakeRow());
      return statement.BindParameterRows(rows);
    }
    case 7:
      (void)statement.Execute();
      return;
    case 8:
    case 9:
    case 10:
      return TakeOutcome(inStatement);
    default:
      (void)statement.get_RemainingStatements();
      (void)statement.get_CurrentSql().length();
      return;
  }
}

void Machine::StepStatement() {
  if (mStatements.empty()) return;
  std::size_t const which = Pick(mStatements);
  Child<I_DuckDBStatement> const statement = mStatements[which];
  if (mInput.TakeBelow(12) == 0) {
    statement.mObject->Close();
    mStatements[which].mIsClosed = true;
    if (mInput.TakeBool()) mStatements.erase(mStatements.begin() + static_cast<long>(which));
    return;
  }
  // Its own references: a value that calls back may let go of everything.
  smart_ptr<I_DuckDBDatabase> const database = mDatabases[statement.mDatabase].mObject;
  (void)Try([&] { CallStatement(statement); });
}

void Machine::MoveCursor(Child<I_DuckDBCursor>& ioCursor) {
  I_DuckDBCursor& cursor = *ioCursor.mObject;
  bool const isKnown = ioCursor.mRows >= 0;
  int const rows = ioCursor.mRows;
  switch (mInput.TakeBelow(6)) {
    case 0: {
      auto const record = static_cast<std::uint32_t>(mInput.TakeNumber());
      bool const isThere = cursor.put_CurrentRecord(record);
      if (isThere) ioCursor.mRow = static_cast<int>(record) - 1;
      Require(!isKnown || isThere == (record >= 1 && static_cast<int>(record) <= rows), "a record");
      return;
    }
    case 1: {
      bool const isThere = cursor.LastRecord();
      ioCursor.mRow = rows - 1;
      Require(!isKnown || isThere == (rows > 0), "a last record");
      return;
    }
    case 2: {
      bool const isThere = cursor.PrevRecord();
      Require(!isKnown || isThere == (ioCursor.mRow > 0), "a record before");
      if (isThere) --ioCursor.mRow;
      return;
    }
    default: {
      bool const isThere = cursor.NextRecord();
      Require(!isKnown || isThere == (ioCursor.mRow + 1 < rows), "a next record");
      // A server cursor has no row behind its end, and stays there.
      if (isThere || !ioCursor.mIsClient) ++ioCursor.mRow;
      if (isKnown && !ioCursor.mIsClient) ioCursor.mRow = std::min(ioCursor.mRow, rows);
      return;
    }
  }
}

void Machine::ReadCursor(Child<I_DuckDBCursor> const& inCursor) {
  I_DuckDBCursor& cursor = *inCursor.mObject;
  auto const column = static_cast<std::uint32_t>(mInput.TakeNumber() % 4);
  bool const hasRow = inCursor.mRow >= 0 && inCursor.mRow < inCursor.mRows;
  auto const value = cursor.get_Value(column);
  Require(value != nullptr, "a value");
  if (inCursor.mRows < 0) return;
  Require(hasRow && column == 0, "a value where there is a cell alone");
  Require(value->get_LLong() == inCursor.mRow, "the row's own value");
}

void Machine::StepCursor() {
  if (mCursors.empty()) return;
  std::size_t const which = Pick(mCursors);
  Child<I_DuckDBCursor>& cursor = mCursors[which];
  smart_ptr<I_DuckDBCursor> const held = cursor.mObject;
  bool const isAlive = IsAlive(cursor);
  std::size_t const what = mInput.TakeBelow(10);
  if (what == 0) {
    if (mInput.TakeBool()) held->Close();
    mCursors.erase(mCursors.begin() + static_cast<long>(which));
    return;
  }
  if (what == 1) {
    held->Close();
    cursor.mIsClosed = true;
    return;
  }
  if (what == 2) {
    (void)held->get_ColumnName(static_cast<std::uint32_t>(mInput.TakeNumber())).length();
    (void)held->get_ColumnType(held->get_ColumnCount());
    return;
  }
  bool const isDone = Try([&] { what < 7 ? MoveCursor(cursor) : ReadCursor(cursor); });
  Require(!isDone || isAlive, "a dead cursor says so");
}

void Machine::StepResult() {
  if (mResults.empty()) return;
  std::size_t const which = Pick(mResults);
  Child<I_DuckDBQueryResult> const result = mResults[which];
  I_DuckDBQueryResult& object = *result.mObject;
  std::uint32_t const flags = object.get_Flags();
  Require(flags == 0 || flags == 1 || flags == 2 || flags == 4, "one flag at most");
  switch (mInput.TakeBelow(5)) {
    case 0:
      object.Close();
      mResults[which].mIsClosed = true;
      break;
    case 1:
      mResults.erase(mResults.begin() + static_cast<long>(which));
      break;
    case 2: {
      smart_ptr<I_DuckDBQueryResult> next;
      (void)Try([&] { next = object.NextResult(); });
      if (!next) break;
      Require(IsAlive(result), "a closed result has no next one");
      Add(mResults, next, result.mDatabase);
      break;
    }
    case 3: {
      auto const cursor = object.get_Cursor();
      Require(!cursor || flags == kResultHasCursor, "a cursor where the flag says so");
      bool const isKnown = std::any_of(mCursors.begin(), mCursors.end(),
                                       [&](auto const& known) { return known.mObject == cursor; });
      if (!cursor || isKnown) break;
      Child<I_DuckDBCursor>& child = Add(mCursors, cursor, result.mDatabase);
      child.mOpening = result.mOpening;
      child.mIsClosed = cursor->get_Database() == nullptr;
      break;
    }
    default:
      (void)object.get_RowsChanged();
      Require(flags == kResultHasError || object.get_ErrorMessage().isEmpty(), "no error, no text");
      break;
  }
}

// A backup that is made can be restored, and what is restored opens.
void BackupAndRestore(I_DuckDBDatabase& ioDatabase) {
  std::filesystem::path const folder = get_Folder().At("backup");
  std::filesystem::create_directory(folder);
  bool const isMade = ObjectModel::Try([&] {
    smart_ptr<tarn::I_Location> location = tarn::CreateLocation(Wide(folder.string()));
    ioDatabase.Backup(location);
  });
  if (isMade) {
    std::string const made = std::filesystem::directory_iterator(folder)->path().string();
    auto const target = tarn::CreateLocation(Wide(get_Folder().At("c.db")));
    auto const restored =
        LoadedExtension::Instance()->RestoreDatabase(target, tarn::CreateLocation(Wide(made)));
    restored->Open();
    restored->Drop();
  }
  std::filesystem::remove_all(folder);
}

void Machine::UnregisterFrom(I_DuckDBDatabase& ioDatabase) {
  if (mStatements.empty()) return;
  Child<I_DuckDBStatement>& statement = mStatements[Pick(mStatements)];
  smart_ptr<I_DuckDBStatement> const held = statement.mObject;
  if (Try([&] { ioDatabase.UnregisterStatement(held.get()); })) statement.mIsClosed = true;
}

void Machine::StepExtension() {
  LoadedExtension& extension = LoadedExtension::Instance();
  std::size_t const which = mInput.TakeBelow(kPaths.size());
  smart_ptr<I_DuckDBDatabase> const database = mDatabases[which].mObject;
  smart_ptr<I_DuckDBCursor> const cursor =
      mCursors.empty() ? nullptr : mCursors[Pick(mCursors)].mObject;
  switch (mInput.TakeBelow(6)) {
    case 1:
      (void)extension->IsDuckDBFile(tarn::CreateLocation(database->get_Path()));
      break;
    case 2: {
      auto const rows = extension->get_CursorRows(cursor);
      Require((rows != nullptr) <= extension->get_IsClientCursor(cursor),
              "rows of a client cursor");
      break;
    }
    case 3:
      if (void* const view = database->QueryInterface(mInput.TakeBool() ? 406U : 608U)) {
        static_cast<tarn::I_Unknown*>(view)->Release();
      }
      Require(database->QueryInterface(407) == nullptr, "a database is no statement");
      break;
    case 4:
      (void)Try([&] { (void)Narrow(CursorToJSON(cursor)); });
      for (auto& known : mCursors) {
        if (known.mObject == cursor) known.mRows = -1;
      }
      break;
    case 5:
      UnregisterFrom(*database);
      break;
    default:
      BackupAndRestore(*database);
      break;
  }
}

void Machine::Finish() {
  bool const isChildrenFirst = mInput.TakeBool();
  if (isChildrenFirst) mStatements.clear();
  for (std::size_t i = 0; i < kPaths.size(); ++i) Renew(i);
  Check();
  mCursors.clear();
  mResults.clear();
  mStatements.clear();
  // Those alone that were open: making a database takes longer than all other calls.
  for (std::size_t i = 0; i < kPaths.size(); ++i) {
    if (!mDatabases[i].mIsUsed) continue;
    I_DuckDBDatabase& database = *mDatabases[i].mObject;
    database.Create();
    database.ExecuteSQL("CREATE TABLE n AS FROM range(3)", nullptr);
    auto const cursor = database.ExecuteQuery("SELECT count(*) FROM n", kCursorServer, nullptr);
    Require(cursor->NextRecord() && cursor->get_Value(0)->get_LLong() == 3, "a new database works");
    database.Drop();
    Require(!database.get_Exists(), "a dropped database is gone");
  }
  Require(get_Folder().Names().empty(), "no file is left");
}

void RunMachine(std::uint8_t const* inData, std::size_t inSize) {
  Input input(inData, inSize);
  Machine machine(input);
  machine.Run();
  machine.Finish();
}

// What is made once and kept does not count: the extension's own databases among it.
bool Prepare() {
  auto const database = LoadedExtension::Instance().Database(":memory:");
  database->Create();
  auto const cursor = database->ExecuteQuery("SELECT [1], {'a': 1}::VARIANT", 2, nullptr);
  while (cursor->NextRecord()) (void)cursor->get_Value(1)->get_String();
  BackupAndRestore(*database);
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* inData, std::size_t inSize) {
  static bool const isReady = Prepare();
  Require(isReady, "the extension");
  auto before = lumora::test::get_LiveHandles();
  std::int64_t const chunks = lumora::test::get_LiveChunks();
  RunMachine(inData, inSize);
  auto const after = lumora::test::get_LiveHandles();
  // The private database keeps what it has prepared; whether others do is the leak sanitizer's.
  before.mPrepared = after.mPrepared;
  bool const isClean = after == before && lumora::test::get_LiveChunks() == chunks;
  Require(isClean, "all handles given back");
  return 0;
}
