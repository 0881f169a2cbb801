#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace lumora::test {

// What a statement is to do, told without DuckDB: its text is a list of pieces of known behaviour.
enum class PieceKind {
  kRows,        // a query of mNumber rows
  kChanged,     // an insertion of mNumber rows
  kNothing,     // neither rows nor a count
  kParameter,   // an insertion of as many rows as its one parameter says
  kUnprepared,  // cannot be prepared
  kFailing,     // fails in its execution
};

struct Piece {
  PieceKind mKind;
  std::uint32_t mNumber = 0;
  std::string mSql;
};

enum class Outcome {
  kDone,
  kUnsplit,  // the text cannot be split
  kUnprepared,
  kFailed,
  kNotProvided,  // a parameter has no value
  kNoParameter,  // a value has no parameter
  kBadValue,     // the parameter's value does not convert
  kInvalid,      // the statement is closed
  kFeature,      // a cursor over several parameter rows
};

// A parameter row: the numbers of rows to insert; -1 is a text that is no number.
using ModelRow = std::vector<int>;
using ModelRows = std::vector<std::optional<ModelRow>>;

enum class LastResult { kNone, kFailed, kRows, kChanged, kNothing };

class StatementModel {
 public:
  StatementModel(std::vector<Piece> inPieces, std::string inText, bool inSplits)
      : mPieces(std::move(inPieces)),
        mText(std::move(inText)),
        mSplits(inSplits),
        mCurrentSql(mText) {}

  std::string const& get_Text() const { return mText; }
  std::string const& get_CurrentSql() const { return mCurrentSql; }
  std::uint64_t get_Inserted() const { return mInserted; }
  std::uint64_t get_Remaining();

  void Close();
  Outcome PrepareNext();
  Outcome ExecuteNext(std::uint64_t& outChanged);
  Outcome ExecuteAll();
  Outcome TryExecuteAll(std::uint32_t& outExecuted);
  void ClearBindings();
  Outcome BindParameters(std::optional<ModelRow> inRow);
  Outcome BindParameterRows(std::optional<ModelRows> inRows);
  Outcome Execute(std::uint64_t& outChanged);
  // outLast: what the cursor or result is made of.
  Outcome ExecuteCursor(LastResult& outLast);
  Outcome ExecuteResult(LastResult& outLast);

 private:
  Outcome Bind() const;
  Outcome Run(std::uint64_t& outChanged);
  Outcome RunOnce(std::uint64_t& outChanged);
  void Insert(std::uint32_t inCount, std::uint64_t& outChanged);
  void Forget();

  std::vector<Piece> const mPieces;
  std::string const mText;
  bool const mSplits;
  bool mIsOpen = true;
  bool mIsSplit = false;
  bool mFinished = false;
  std::uint64_t mCount = 0;
  std::uint64_t mNext = 0;
  std::string mCurrentSql;
  std::optional<std::size_t> mPrepared;
  std::optional<ModelRow> mRow;
  std::optional<ModelRows> mRows;
  LastResult mLast = LastResult::kNone;
  std::uint64_t mInserted = 0;
};

}  // namespace lumora::test
