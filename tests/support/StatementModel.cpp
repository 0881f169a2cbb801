#include "support/StatementModel.h"

#include <utility>

namespace lumora::test {

std::uint64_t StatementModel::get_Remaining() {
  if (mIsOpen && !mIsSplit && !mFinished && mSplits && !mPieces.empty()) {
    mIsSplit = true;
    mCount = mPieces.size();
  }
  return mCount - mNext;
}

void StatementModel::Forget() {
  mIsSplit = false;
  mCount = 0;
  mNext = 0;
}

void StatementModel::Close() {
  mIsOpen = false;
  mLast = LastResult::kNone;
  mPrepared.reset();
  Forget();
}

Outcome StatementModel::PrepareNext() {
  if (!mIsOpen) return Outcome::kInvalid;
  mLast = LastResult::kNone;
  mPrepared.reset();
  if (!mIsSplit) {
    mFinished = false;
    if (!mSplits) return Outcome::kUnsplit;
    mIsSplit = !mPieces.empty();
    mCount = mPieces.size();
  }
  if (mNext >= mCount) return Outcome::kDone;
  mCurrentSql = mPieces[mNext].mSql;
  if (mPieces[mNext].mKind == PieceKind::kUnprepared) return Outcome::kUnprepared;
  mPrepared = mNext;
  Outcome const bound = Bind();
  if (bound == Outcome::kDone) ++mNext;
  return bound;
}

Outcome StatementModel::Bind() const {
  if (!mPrepared || !mRow) return Outcome::kDone;
  std::size_t const parameters = mPieces[*mPrepared].mKind == PieceKind::kParameter ? 1 : 0;
  return mRow->size() > parameters ? Outcome::kNoParameter : Outcome::kDone;
}

Outcome StatementModel::Execute(std::uint64_t& outChanged) { return Run(outChanged); }

Outcome StatementModel::Run(std::uint64_t& outChanged) {
  if (!mIsOpen) return Outcome::kInvalid;
  outChanged = 0;
  if (!mRows) {
    Outcome const bound = Bind();
    return bound == Outcome::kDone ? RunOnce(outChanged) : bound;
  }
  for (auto const& row : *mRows) {
    mRow = row;
    Outcome outcome = Bind();
    if (outcome == Outcome::kDone) outcome = RunOnce(outChanged);
    if (outcome != Outcome::kDone) return outcome;
  }
  return Outcome::kDone;
}

void StatementModel::Insert(std::uint32_t inCount, std::uint64_t& outChanged) {
  mLast = LastResult::kChanged;
  mInserted += inCount;
  outChanged = inCount;
}

Outcome StatementModel::RunOnce(std::uint64_t& outChanged) {
  if (!mPrepared) return Outcome::kDone;
  Piece const& piece = mPieces[*mPrepared];
  mLast = LastResult::kFailed;
  switch (piece.mKind) {
    case PieceKind::kFailing:
      return Outcome::kFailed;
    case PieceKind::kRows:
      mLast = LastResult::kRows;
      break;
    case PieceKind::kChanged:
      Insert(piece.mNumber, outChanged);
      break;
    case PieceKind::kParameter:
      if (!mRow || mRow->empty()) return Outcome::kNotProvided;
      if (mRow->front() < 0) return Outcome::kBadValue;
      Insert(static_cast<std::uint32_t>(mRow->front()), outChanged);
      break;
    default:
      mLast = LastResult::kNothing;
      break;
  }
  return Outcome::kDone;
}

Outcome StatementModel::ExecuteNext(std::uint64_t& outChanged) {
  Outcome const prepared = PrepareNext();
  return prepared == Outcome::kDone ? Run(outChanged) : prepared;
}

Outcome StatementModel::ExecuteAll() {
  std::uint64_t changed = 0;
  do {
    Outcome const outcome = ExecuteNext(changed);
    if (outcome != Outcome::kDone) return outcome;
  } while (mNext < mCount);
  Forget();
  mFinished = true;
  mCurrentSql = mText;
  return Outcome::kDone;
}

Outcome StatementModel::TryExecuteAll(std::uint32_t& outExecuted) {
  outExecuted = 0;
  std::uint64_t changed = 0;
  Outcome outcome = Outcome::kDone;
  if (mIsOpen) {
    do {
      outcome = ExecuteNext(changed);
      if (outcome == Outcome::kDone) ++outExecuted;
    } while (outcome == Outcome::kDone && mNext < mCount);
    if (outcome == Outcome::kDone) mCurrentSql = mText;
  }
  Forget();
  mFinished = true;
  return outcome;
}

void StatementModel::ClearBindings() {
  mRow.reset();
  mRows.reset();
}

Outcome StatementModel::BindParameters(std::optional<ModelRow> inRow) {
  mRows.reset();
  mRow = std::move(inRow);
  return mIsOpen ? Bind() : Outcome::kInvalid;
}

Outcome StatementModel::BindParameterRows(std::optional<ModelRows> inRows) {
  mRows.reset();
  mRow = inRows && !inRows->empty() ? inRows->front() : std::nullopt;
  if (!mIsOpen) return Outcome::kInvalid;
  Outcome const bound = Bind();
  if (bound != Outcome::kDone) return bound;
  mRow.reset();
  mRows = std::move(inRows);
  return Outcome::kDone;
}

Outcome StatementModel::ExecuteCursor(LastResult& outLast) {
  outLast = LastResult::kNone;
  if (!mIsOpen) return Outcome::kInvalid;
  if (mRows && mRows->size() > 1) return Outcome::kFeature;
  if (mRows && mRows->size() == 1) {
    mRow = mRows->front();
    Outcome const bound = Bind();
    if (bound != Outcome::kDone) return bound;
  }
  std::uint64_t changed = 0;
  Outcome const outcome = Run(changed);
  if (outcome == Outcome::kDone) outLast = std::exchange(mLast, LastResult::kNone);
  return outcome;
}

Outcome StatementModel::ExecuteResult(LastResult& outLast) {
  std::uint64_t changed = 0;
  Outcome const outcome = Run(changed);
  outLast = outcome == Outcome::kDone ? std::exchange(mLast, LastResult::kNone) : LastResult::kNone;
  return outcome;
}

}  // namespace lumora::test
