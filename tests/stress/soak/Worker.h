#pragma once

#include <random>

#include "Soak.h"

namespace lumora::test {

// What a thread of the host can be with regard to the engine lock: it leaves the lock to the
// library, takes it itself around each operation, or runs without (and then keeps its objects to
// itself).
enum class WorkerKind { kOrdinary, kHolder, kDiagnostic };

// One worker: its objects, its model, and what it does on a thread of a phase.
class Worker {
 public:
  struct Operation {
    char const* mName;
    std::uint32_t mWeight;  // how often, compared with the others
    void (Worker::*mRun)();
  };

  Worker(Soak& ioSoak, int inIndex, std::uint64_t inSeed);

  // So many random operations.
  void Run(int inOperations);
  // Gives up every object.
  void Rest();
  // The shared files are made anew.
  void ForgetShared() { mModel.mShared = {}; }
  SoakModel const& get_Model() const { return mModel; }

  // --- operations: Operations.cpp ---
  void InsertRow();
  void InsertByParameters();
  void InsertManyRows();
  void InsertByScript();
  void InsertInTransaction();
  void AddToCounter();
  void RunPieces();
  void TryPieces();
  void CountOwnRows();
  void MeetAnError();
  void CollideOnARow();

  // --- operations: OperationsObjects.cpp ---
  void ReadResults();
  void OpenCursor();
  void StepCursor();
  void DropChild();
  void CloseOwn();
  void ReplaceOwn();
  void CancelOther();
  void VisitOther();
  void AskAboutFiles();
  void DropInUse();

  // --- operations: OperationsFiles.cpp ---
  void ChangePrivate();
  void ComparePrivate();
  void BackUpAndRestore();
  void LiveOfScratch();
  void WorkInMemory();
  void ReadConstant();
  void FetchDuckDB();
  void FetchParquet();

 private:
  enum Place { kShared = 0, kPrivate = 1 };
  struct Held {
    tarn::smart_ptr<tarn::lsql::I_DuckDBCursor> mCursor;
    bool mIsClient = false;
    std::int64_t mRow = 0;  // the number of the current row from 1; 0 = none
  };

  Operation const& Choose();
  void Step();
  void Judge(char const* inOperation, tarn::xException const& inError);
  void Fail(std::string const& inWhat);
  // Fails the soak unless it is so.
  void Check(bool inIsSo, char const* inWhat);

  std::uint64_t Random(std::uint64_t inBelow) { return mRandom() % inBelow; }
  // The shared file that is at hand, open; a new object now and then is for another file.
  SoakDatabase const& Shared();
  SoakDatabase const& Private();
  SoakDatabase const& Open(Place inPlace);
  SoakModel::Shared& SharedModel() { return mModel.mShared[static_cast<std::size_t>(mFile)]; }
  std::int64_t NextNumber() { return ++mNumber; }
  std::string InsertSql(std::int64_t inNumber) const;
  void Acknowledge(std::vector<std::int64_t> const& inNumbers);
  void EndRival();
  // What a query of one number, or of two, gives.
  static std::pair<std::int64_t, std::int64_t> Numbers(SoakDatabase const& inDatabase,
                                                       std::string const& inSql, int inColumns);
  void CheckOwnRows(std::pair<std::int64_t, std::int64_t> const& inCountAndSum, char const* inWhat);
  std::pair<std::int64_t, std::int64_t> Call(char const* inProcedure,
                                             std::vector<std::string> const& inTexts);
  void CheckRows(SoakDatabase const& inDatabase);
  void Hold(tarn::smart_ptr<tarn::lsql::I_DuckDBCursor> inCursor, bool inIsClient);
  std::string Name(char const* inBase) const { return inBase + std::to_string(mIndex); }
  tarn::smart_ptr<tarn::I_Location> LocationAt(std::string const& inName) const;

  Soak& mSoak;
  int const mIndex;
  WorkerKind const mKind;
  std::mt19937_64 mRandom;
  SoakModel mModel;
  std::size_t mBegun = 0;    // operations
  std::int64_t mNumber = 0;  // of the last row that it tried to insert
  int mFile = 0;
  std::array<SoakDatabase, 2> mDatabases;
  // One with a change that is not committed yet, and the shared file that it is of. Nobody else has
  // it.
  SoakDatabase mRival;
  int mRivalFile = 0;
  std::vector<Held> mHeld;
  std::vector<tarn::smart_ptr<tarn::I_Unknown>> mOthers;  // statements and results that are kept
};

}  // namespace lumora::test
