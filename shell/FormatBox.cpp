#include <algorithm>
#include <deque>

#include "Formats.h"
#include "Text.h"

namespace lumora::shell {

namespace {

// Wider cells are cut where no screen sets a limit.
constexpr std::size_t kMaxCellWidth = 500;
// A cell is not made narrower than this to fit the screen; columns are left out instead.
constexpr std::size_t kMinCellWidth = 8;

struct BoxCell {
  PrintableText mPrintable;
  bool mIsNull = false;
};
using BoxRow = std::vector<BoxCell>;

struct BoxColumn {
  PrintableText mName;
  PrintableText mKind;
  bool mIsRight = false;
  std::size_t mWidth = 1;
  bool mIsGap = false;  // stands for columns that were left out
  std::size_t mIndex = 0;
};

struct Gathered {
  std::vector<BoxRow> mHead;
  std::deque<BoxRow> mTail;
  std::uint64_t mCount = 0;
  std::uint64_t get_Shown() const { return mHead.size() + mTail.size(); }
};

BoxRow RenderRow(std::vector<Cell> const& inCells, std::size_t inMaxWidth) {
  BoxRow row;
  row.reserve(inCells.size());
  for (Cell const& cell : inCells) {
    row.push_back(
        {MakePrintable(CellText(cell, inMaxWidth), inMaxWidth), cell.mKind == CellKind::kNull});
  }
  return row;
}

// Head and tail of all rows. A source that knows its count is not read in between.
class Gatherer {
 public:
  Gatherer(RowSource& inRows, std::size_t inMaxRows, std::size_t inMaxWidth)
      : mRows(inRows), mMaxRows(inMaxRows), mMaxWidth(inMaxWidth) {}

  Gathered Run() {
    std::size_t const headSize = mMaxRows - mMaxRows / 2;
    while ((mMaxRows == 0 || mResult.mHead.size() < headSize) && mRows.Next()) {
      mResult.mHead.push_back(TakeRow());
    }
    mResult.mCount = mResult.mHead.size();
    if (mMaxRows != 0 && mResult.mHead.size() == headSize && !SeekTail()) WalkTail();
    return std::move(mResult);
  }

 private:
  BoxRow TakeRow() {
    mRows.Read(mCells);
    return RenderRow(mCells, mMaxWidth);
  }

  bool SeekTail() {
    auto const count = mRows.get_Count();
    if (!count || *count <= mMaxRows) return false;
    std::uint64_t const first = *count - mMaxRows / 2;
    for (std::uint64_t row = first; row < *count && mRows.Seek(row); ++row) {
      mResult.mTail.push_back(TakeRow());
    }
    mResult.mCount = *count;
    return true;
  }

  void WalkTail() {
    while (mRows.Next()) {
      ++mResult.mCount;
      if (mMaxRows / 2 == 0) continue;
      if (mResult.mTail.size() == mMaxRows / 2) mResult.mTail.pop_front();
      mResult.mTail.push_back(TakeRow());
    }
  }

  RowSource& mRows;
  std::size_t mMaxRows;
  std::size_t mMaxWidth;
  std::vector<Cell> mCells;
  Gathered mResult;
};

std::vector<BoxColumn> MeasureColumns(std::vector<Column> const& inColumns, Gathered const& inRows,
                                      std::size_t inMaxWidth) {
  std::vector<BoxColumn> columns;
  for (std::size_t c = 0; c < inColumns.size(); ++c) {
    BoxColumn column;
    column.mName = MakePrintable(inColumns[c].mName, inMaxWidth);
    column.mKind = MakePrintable(inColumns[c].mKind, inMaxWidth);
    column.mIsRight = inColumns[c].mIsNumber;
    column.mIndex = c;
    column.mWidth = std::max({column.mWidth, column.mName.mWidth, column.mKind.mWidth});
    auto const widen = [&](BoxRow const& inRow) {
      column.mWidth = std::max(column.mWidth, inRow[c].mPrintable.mWidth);
    };
    std::for_each(inRows.mHead.begin(), inRows.mHead.end(), widen);
    std::for_each(inRows.mTail.begin(), inRows.mTail.end(), widen);
    columns.push_back(std::move(column));
  }
  return columns;
}

std::size_t BoxWidth(std::vector<BoxColumn> const& inColumns, std::size_t inCellLimit) {
  std::size_t width = 1;
  for (BoxColumn const& column : inColumns) width += std::min(column.mWidth, inCellLimit) + 3;
  return width;
}

// Narrows the widest columns, and when that is not enough leaves columns in the middle out.
void FitScreen(std::vector<BoxColumn>& ioColumns, std::size_t inScreenWidth) {
  std::size_t limit = inScreenWidth;
  while (limit > kMinCellWidth && BoxWidth(ioColumns, limit) > inScreenWidth) --limit;
  for (BoxColumn& column : ioColumns) column.mWidth = std::min(column.mWidth, limit);
  if (BoxWidth(ioColumns, kNoWidthLimit) <= inScreenWidth || ioColumns.size() < 2) return;
  BoxColumn gap;
  gap.mName = gap.mKind = {"…", 1};
  gap.mIsGap = true;
  std::size_t const middle = ioColumns.size() / 2;
  ioColumns[middle] = gap;
  std::size_t left = middle;
  while (BoxWidth(ioColumns, kNoWidthLimit) > inScreenWidth && ioColumns.size() > 2) {
    // The gap stays in the middle; the first column stays always.
    bool const takeRight = ioColumns.size() - left - 1 >= left;
    std::size_t const victim = takeRight ? left + 1 : left - 1;
    ioColumns.erase(ioColumns.begin() + static_cast<std::ptrdiff_t>(victim));
    if (!takeRight) --left;
  }
}

class BoxPrinter {
 public:
  BoxPrinter(std::vector<BoxColumn> const& inColumns, Output& outOutput, bool inColor)
      : mColumns(inColumns), mOutput(outOutput), mColor(inColor) {}

  void Rule(char const* inLeft, char const* inMiddle, char const* inRight) {
    std::string line;
    for (BoxColumn const& column : mColumns) {
      line += line.empty() ? inLeft : inMiddle;
      for (std::size_t i = 0; i < column.mWidth + 2; ++i) line += "─";
    }
    mOutput.Write(line + inRight + "\n");
  }

  void Header() {
    std::string names;
    std::string kinds;
    for (BoxColumn const& column : mColumns) {
      names += "│ " + Aligned(column, column.mName, "\x1b[1m") + " ";
      kinds += "│ " + Aligned(column, column.mKind, "\x1b[2m") + " ";
    }
    mOutput.Write(names + "│\n" + kinds + "│\n");
  }

  void Row(BoxRow const& inRow) {
    std::string line;
    for (BoxColumn const& column : mColumns) {
      line += "│ ";
      if (column.mIsGap) {
        line += "…";
      } else {
        BoxCell const& cell = inRow[column.mIndex];
        line += Aligned(column, cell.mPrintable, cell.mIsNull ? "\x1b[2m" : "");
      }
      line += " ";
    }
    mOutput.Write(line + "│\n");
  }

  void Ellipsis() {
    std::string line;
    for (BoxColumn const& column : mColumns) {
      line += "│ " + Aligned(column, {"…", 1}, "\x1b[2m") + " ";
    }
    mOutput.Write(line + "│\n");
  }

 private:
  std::string Aligned(BoxColumn const& inColumn, PrintableText const& inText,
                      std::string_view inColor) const {
    bool const isCut = inText.mWidth > inColumn.mWidth;
    PrintableText const text = isCut ? CutPrintable(inText, inColumn.mWidth) : inText;
    std::string const blanks(inColumn.mWidth - text.mWidth, ' ');
    bool const hasColor = mColor && !inColor.empty();
    std::string const shown = hasColor ? std::string(inColor) + text.mText + "\x1b[0m" : text.mText;
    return inColumn.mIsRight ? blanks + shown : shown + blanks;
  }

  // Nothing is left to be escaped in a printable text, so that it can be cut as it is.
  static PrintableText CutPrintable(PrintableText const& inText, std::size_t inWidth) {
    return MakePrintable(inText.mText, inWidth);
  }

  std::vector<BoxColumn> const& mColumns;
  Output& mOutput;
  bool mColor;
};

std::string Footer(Gathered const& inRows, std::size_t inColumns, std::size_t inShownColumns) {
  std::string text = RowCountText(inRows.mCount);
  if (inRows.get_Shown() < inRows.mCount) {
    text += " (" + GroupDigits(inRows.get_Shown()) + " shown)";
  }
  if (inShownColumns < inColumns) {
    text += ", " + GroupDigits(inColumns) + " columns (" + GroupDigits(inShownColumns) + " shown)";
  }
  return text + "\n";
}

}  // namespace

std::uint64_t WriteBox(RowSource& inRows, Output& outOutput, DisplayLimits const& inLimits) {
  std::size_t const maxWidth =
      inLimits.mScreenWidth ? std::max(inLimits.mScreenWidth, kMinCellWidth) : kMaxCellWidth;
  Gathered const rows = Gatherer(inRows, inLimits.mMaxRows, maxWidth).Run();
  std::vector<BoxColumn> columns = MeasureColumns(inRows.get_Columns(), rows, maxWidth);
  std::size_t const columnCount = columns.size();
  if (inLimits.mScreenWidth) FitScreen(columns, inLimits.mScreenWidth);
  auto const isShown = [](BoxColumn const& c) { return !c.mIsGap; };
  auto const shown = std::count_if(columns.begin(), columns.end(), isShown);
  if (!columns.empty()) {
    BoxPrinter printer(columns, outOutput, inLimits.mColor);
    printer.Rule("┌", "┬", "┐");
    printer.Header();
    printer.Rule("├", "┼", "┤");
    for (BoxRow const& row : rows.mHead) printer.Row(row);
    if (rows.get_Shown() < rows.mCount) printer.Ellipsis();
    for (BoxRow const& row : rows.mTail) printer.Row(row);
    printer.Rule("└", "┴", "┘");
  }
  outOutput.Write(Footer(rows, columnCount, static_cast<std::size_t>(shown)));
  return rows.mCount;
}

}  // namespace lumora::shell
