#include "statement/RowCollector.h"

#include <utility>

#include "statement/StatementErrors.h"

namespace lumora {
namespace {

// The bounds of a batch, and so of what a run of any number of rows takes of memory. So many rows
// are a row group of DuckDB's, which it moves into the table as it is; fewer it copies, unless the
// table is empty; and an appender inserts by itself when it has more than 200,000.
constexpr std::uint32_t kMostRows = 122880;
constexpr std::size_t kMostBytes = std::size_t{16} << 20;

}  // namespace

RowCollector::RowCollector(I_RowRunner& inRunner, duckdb_c::PreparedHandle const& inPrepared,
                           I_DatabaseLink* const& inDatabase,
                           std::shared_ptr<ParameterTypes const> const& inTypes,
                           ParameterInsert&& ioInsert)
    : mRunner(inRunner),
      mDatabase(inDatabase),
      mTypes(inTypes),
      mBinder(inPrepared, inDatabase, inTypes),
      mInsert(std::move(ioInsert)),
      mBatch(mInsert.get_ParameterCount()) {}

bool RowCollector::IsFull() const {
  return mRows.size() >= kMostRows || mBatch.get_Bytes() >= kMostBytes;
}

bool RowCollector::TakesFirst() {
  auto const connection = mDatabase ? mDatabase->get_Connection() : nullptr;
  return connection && mInsert.IsOwnTransaction(connection->get());
}

bool RowCollector::Take(tarn::smart_ptr<tarn::ValueRow> const& inRow) {
  if (mIsOff || !inRow || inRow->get_Count() != mBatch.get_Columns()) return false;
  mRow = inRow;
  mRead = 0;
  bool isWhole = false;
  try {
    DeferredWorkScope const scope(*this);
    isWhole = ReadRow();
  } catch (...) {
    // A row before this one fails first.
    if (mError) std::rethrow_exception(mError);
    if (!mIsEntered) Flush();
    mRunner.put_CurrentRow(inRow);
    throw;
  }
  if (mError) std::rethrow_exception(mError);
  if (!isWhole) {
    FinishSingly(mRead);
    return true;
  }
  mBatch.FinishRow();
  mRows.push_back(std::move(mRow));
  if (IsFull()) Flush();
  return true;
}

// False when the row is not one of the batch: then mRead cells of it are, and mCell is the next one
// if there is another.
bool RowCollector::ReadRow() {
  while (mRead < mRow->get_Count()) {
    tarn::smart_ptr<tarn::I_Value> const element = mRow->get_Item(mRead);
    mBinder.Read(mRead, element.get(), mTypes.get(), mCell);
    if (mIsEntered || !mBatch.Put(mRead, mCell)) return false;
    ++mRead;
  }
  return mRead == mBatch.get_Columns();
}

// The rest of a row that is not like those before it.
void RowCollector::FinishSingly(std::uint32_t inIndex) {
  if (!mIsEntered) InsertWhatWasRead();
  auto const row = mRow;
  if (inIndex < row->get_Count()) {
    mBinder.Bind(inIndex, mCell);
    mBinder.BindFrom(*row, inIndex + 1);
  }
  mRunner.RunBound();
}

// The rows before, and as binding the row would have left it, the bound part of it.
void RowCollector::InsertWhatWasRead() {
  std::vector<ParameterCell> cells(mRead);
  for (std::uint32_t i = 0; i < mRead; ++i) mBatch.Get(i, mBatch.get_Rows(), cells[i]);
  Flush();
  mRunner.put_CurrentRow(mRow);
  mBinder.Clear();
  for (std::uint32_t i = 0; i < mRead; ++i) mBinder.Bind(i, cells[i]);
}

// A value has called back: it may look at the table, close the statement or bind other rows.
void RowCollector::Finish() {
  mIsEntered = true;
  try {
    InsertWhatWasRead();
    mIsOff = true;
  } catch (...) {
    // The host's code, which this goes through, might keep it.
    mError = std::current_exception();
    throw;
  }
}

void RowCollector::Flush() {
  mBatch.DropUnfinished();
  if (mRows.empty()) return;
  // What was tried is not tried again, whatever happens.
  struct Emptying {
    RowCollector& mCollector;
    ~Emptying() {
      mCollector.mBatch.Clear();
      mCollector.mRows.clear();
    }
  } const emptying{*this};
  Insert(0, mBatch.get_Rows());
}

void RowCollector::Insert(std::uint32_t inFirst, std::uint32_t inCount) {
  using Outcome = BatchInsert::Outcome;
  if (mIsOff || inCount < kFewestRows || !mDatabase) return InsertSingly(inFirst, inCount);
  auto const connection = mDatabase->get_Connection();
  if (!connection) return InsertSingly(inFirst, inCount);
  switch (mInsert.Run(connection->get(), mBatch, inFirst, inCount)) {
    case Outcome::kDone:
      return;
    case Outcome::kUnfit:
      mIsOff = true;
      return InsertSingly(inFirst, inCount);
    case Outcome::kFinal:
      mRunner.put_CurrentRow(mRows[inFirst]);
      ThrowError(mDatabase, mInsert.get_Error());
    case Outcome::kFailed:
      return InsertParts(inFirst, inCount);
  }
}

void RowCollector::InsertParts(std::uint32_t inFirst, std::uint32_t inCount) {
  std::uint32_t const half = inCount / 2;
  Insert(inFirst, half);
  Insert(inFirst + half, inCount - half);
}

void RowCollector::InsertSingly(std::uint32_t inFirst, std::uint32_t inCount) {
  ParameterCell cell;
  for (std::uint32_t row = inFirst; row < inFirst + inCount; ++row) {
    mRunner.put_CurrentRow(mRows[row]);
    mBinder.Clear();
    for (std::uint32_t i = 0; i < mBatch.get_Columns(); ++i) {
      mBatch.Get(i, row, cell);
      mBinder.Bind(i, cell);
    }
    mRunner.RunBound();
  }
}

}  // namespace lumora
