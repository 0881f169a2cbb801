#include "Worker.h"

#include <fmt/format.h>

#include "tarn/EngineLock.h"

namespace lumora::test {

namespace {

// The host's lock around one operation, taken by the host itself.
class HostLock {
 public:
  explicit HostLock(bool inIsTaken) : mIsTaken(inIsTaken) {
    if (!mIsTaken) return;
    tarn::GetGlobalEngineLock()->lock();
    tarn::gIsGlobalLockTaken.set(true);
  }
  ~HostLock() {
    if (!mIsTaken) return;
    tarn::gIsGlobalLockTaken.set(false);
    tarn::GetGlobalEngineLock()->unlock();
  }
  HostLock(HostLock const&) = delete;
  HostLock& operator=(HostLock const&) = delete;

 private:
  bool mIsTaken;
};

constexpr Worker::Operation kOperations[] = {
    {"insert a row", 150, &Worker::InsertRow},
    {"insert by parameters", 150, &Worker::InsertByParameters},
    {"insert many rows", 15, &Worker::InsertManyRows},
    {"insert by a script", 40, &Worker::InsertByScript},
    {"insert in a transaction", 40, &Worker::InsertInTransaction},
    {"add to the counter", 60, &Worker::AddToCounter},
    {"run pieces", 40, &Worker::RunPieces},
    {"try pieces", 40, &Worker::TryPieces},
    {"count own rows", 100, &Worker::CountOwnRows},
    {"meet an error", 40, &Worker::MeetAnError},
    {"collide on a row", 30, &Worker::CollideOnARow},
    {"read results", 80, &Worker::ReadResults},
    {"open a cursor", 60, &Worker::OpenCursor},
    {"step a cursor", 500, &Worker::StepCursor},
    {"drop a child", 100, &Worker::DropChild},
    {"close own", 4, &Worker::CloseOwn},
    {"replace own", 4, &Worker::ReplaceOwn},
    {"close another's", 10, &Worker::CancelOther},
    {"visit another's", 80, &Worker::VisitOther},
    {"ask about files", 120, &Worker::AskAboutFiles},
    {"drop what is in use", 10, &Worker::DropInUse},
    {"change the private file", 50, &Worker::ChangePrivate},
    {"compare the private file", 15, &Worker::ComparePrivate},
    {"back up and restore", 1, &Worker::BackUpAndRestore},
    {"live of a scratch file", 2, &Worker::LiveOfScratch},
    {"work in memory", 3, &Worker::WorkInMemory},
    {"read the constant file", 3, &Worker::ReadConstant},
    {"fetch_duckdb", 10, &Worker::FetchDuckDB},
    {"fetch_parquet", 4, &Worker::FetchParquet},
};

constexpr std::uint32_t TotalWeight() {
  std::uint32_t total = 0;
  for (Worker::Operation const& operation : kOperations) total += operation.mWeight;
  return total;
}

bool IsCancelled(std::string const& inText) {
  return inText == "DuckDBDatabase is not open" || inText == "DuckDBDatabase is invalid" ||
         inText == "DuckDBCursor is invalid";
}

}  // namespace

Worker::Worker(Soak& ioSoak, int inIndex, std::uint64_t inSeed)
    : mSoak(ioSoak),
      mIndex(inIndex),
      mKind(static_cast<WorkerKind>(inIndex % 3)),
      mRandom(inSeed + static_cast<std::uint64_t>(inIndex)) {}

void Worker::Run(int inOperations) {
  tarn::gIsThisDiagnoseMTThread.set(mKind == WorkerKind::kDiagnostic);
  for (int i = 0; i < inOperations && !mSoak.get_HasFailed(); ++i) Step();
}

// Each operation once, from another one on for each worker, and from then on as their weights say.
Worker::Operation const& Worker::Choose() {
  std::size_t const begun = mBegun++;
  std::size_t const first = static_cast<std::size_t>(mIndex) * 5;
  if (begun < std::size(kOperations)) return kOperations[(first + begun) % std::size(kOperations)];
  std::uint64_t chosen = Random(TotalWeight());
  Operation const* operation = kOperations;
  for (; chosen >= operation->mWeight; ++operation) chosen -= operation->mWeight;
  return *operation;
}

void Worker::Step() {
  Operation const& operation = Choose();
  mSoak.mBoard.Begin(static_cast<std::size_t>(mIndex), operation.mName);
  try {
    HostLock const lock(mKind == WorkerKind::kHolder);
    (this->*operation.mRun)();
  } catch (tarn::xException const& error) {
    Judge(operation.mName, error);
  } catch (std::exception const& error) {
    Fail(fmt::format("{}: {}", operation.mName, error.what()));
  }
  mSoak.mBoard.End(static_cast<std::size_t>(mIndex));
}

// Only who can be met by another worker's close may be told of it.
void Worker::Judge(char const* inOperation, tarn::xException const& inError) {
  std::string const text = Utf8(inError.get_Text(1));
  if (IsCancelled(text) && mKind != WorkerKind::kDiagnostic) {
    ++mSoak.mTally.mCancelled;
  } else {
    Fail(fmt::format("{}: {} 0x{:X} ({}, {})", inOperation, inError.get_Name(), inError.get_Code(),
                     Utf8(inError.get_Text(0)), text));
  }
}

void Worker::Fail(std::string const& inWhat) {
  mSoak.Fail(fmt::format("worker {}: {}", mIndex, inWhat));
}

void Worker::Check(bool inIsSo, char const* inWhat) {
  if (!inIsSo) Fail(inWhat);
}

void Worker::Rest() {
  for (int place : {kShared, kPrivate}) mSoak.Publish(mIndex, place, nullptr);
  mHeld.clear();
  mOthers.clear();
  mRival.reset();
  for (SoakDatabase& database : mDatabases) database.reset();
}

SoakDatabase const& Worker::Shared() {
  SoakDatabase& database = mDatabases[kShared];
  if (!database) {
    mFile = static_cast<int>(Random(kSharedFiles));
    database = mSoak.NewDatabase(Soak::SharedName(mFile));
    if (mKind != WorkerKind::kDiagnostic) mSoak.Publish(mIndex, kShared, database);
  }
  return Open(kShared);
}

SoakDatabase const& Worker::Private() {
  SoakDatabase& database = mDatabases[kPrivate];
  if (!database) {
    database = mSoak.NewDatabase(Soak::PrivateName(mIndex));
    if (mKind != WorkerKind::kDiagnostic) mSoak.Publish(mIndex, kPrivate, database);
  }
  return Open(kPrivate);
}

SoakDatabase const& Worker::Open(Place inPlace) {
  SoakDatabase const& database = mDatabases[inPlace];
  if (!database->get_IsOpen()) database->Open();
  Check(!database->get_IsReadOnly() || !database->get_IsOpen(), "opened for reading only");
  return database;
}

std::string Worker::InsertSql(std::int64_t inNumber) const {
  return fmt::format("INSERT INTO log VALUES ({}, {}, 't{}');", mIndex, inNumber, inNumber);
}

void Worker::Acknowledge(std::vector<std::int64_t> const& inNumbers) {
  auto& logged = SharedModel().mLogged;
  logged.insert(logged.end(), inNumbers.begin(), inNumbers.end());
  mSoak.mTally.mInserted += inNumbers.size();
}

std::pair<std::int64_t, std::int64_t> Worker::Numbers(SoakDatabase const& inDatabase,
                                                      std::string const& inSql, int inColumns) {
  auto const cursor = inDatabase->ExecuteQuery(Wide(inSql), tarn::lsql::kCursorServer, nullptr);
  if (!cursor->NextRecord()) throw std::runtime_error("no row: " + inSql);
  return {cursor->get_Value(0)->get_LLong(),
          inColumns == 2 ? cursor->get_Value(1)->get_LLong() : 0};
}

void Worker::CheckOwnRows(std::pair<std::int64_t, std::int64_t> const& inCountAndSum,
                          char const* inWhat) {
  auto const& logged = SharedModel().mLogged;
  std::int64_t sum = 0;
  for (std::int64_t const n : logged) sum += n;
  std::pair<std::int64_t, std::int64_t> const wanted{logged.size(), sum};
  if (inCountAndSum == wanted) return;
  Fail(fmt::format("{}: {} rows of sum {}, wanted {} of {}", inWhat, inCountAndSum.first,
                   inCountAndSum.second, wanted.first, wanted.second));
}

tarn::smart_ptr<tarn::I_Location> Worker::LocationAt(std::string const& inName) const {
  return tarn::CreateLocation(Wide(mSoak.mFolder.At(inName)));
}

}  // namespace lumora::test
