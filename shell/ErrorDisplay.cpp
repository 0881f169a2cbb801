#include "ErrorDisplay.h"

#include <algorithm>

#include <fmt/format.h>

#include "Script.h"
#include "Text.h"

namespace lumora::shell {

namespace {

// What is shown of a long line, before and behind the place of the error.
constexpr std::size_t kBytesBefore = 60;
constexpr std::size_t kColumnsShown = 100;

bool IsContinuationByte(char inByte) { return (static_cast<unsigned char>(inByte) & 0xC0) == 0x80; }

std::string CaretLines(TextPosition const& inPlace) {
  std::string const prefix = fmt::format("line {}: ", inPlace.mLine);
  std::size_t start = inPlace.mOffsetInLine - std::min(inPlace.mOffsetInLine, kBytesBefore);
  while (start > 0 && IsContinuationByte(inPlace.mLineText[start])) --start;
  std::string const before =
      MakePrintable(inPlace.mLineText.substr(start, inPlace.mOffsetInLine - start)).mText;
  std::string const mark = start > 0 ? "…" : "";
  std::string const line = MakePrintable(inPlace.mLineText.substr(start), kColumnsShown).mText;
  std::size_t const blanks = DisplayWidth(prefix) + DisplayWidth(mark) + DisplayWidth(before);
  return prefix + mark + line + "\n" + std::string(blanks, ' ') + "^\n";
}

}  // namespace

std::string DescribeError(StatementError const& inError, std::string_view inScript) {
  std::string text = inError.mType.empty() ? "Error: " : inError.mType + " Error: ";
  text += inError.what();
  if (!inError.mOffset) return PrintableLines(text) + "\n";
  TextPosition const place = LocateOffset(inScript, *inError.mOffset);
  // DuckDB's hints stand on lines of their own.
  text.insert(std::min(text.find('\n'), text.size()),
              fmt::format(" (line {}, column {})", place.mLine, place.mColumn));
  return PrintableLines(text) + "\n" + CaretLines(place);
}

}  // namespace lumora::shell
