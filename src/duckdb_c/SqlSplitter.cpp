#include "duckdb_c/SqlSplitter.h"

#include <algorithm>
#include <cstdint>

namespace lumora::duckdb_c {
namespace {

bool IsDigit(char inChar) { return inChar >= '0' && inChar <= '9'; }

bool IsNameStart(char inChar) {
  return (inChar >= 'a' && inChar <= 'z') || (inChar >= 'A' && inChar <= 'Z') || inChar == '_' ||
         (static_cast<std::uint8_t>(inChar) & 0x80U) != 0;
}

// Of a dollar quote's tag; a name may hold dollar signs as well.
bool IsTagPart(char inChar) { return IsNameStart(inChar) || IsDigit(inChar); }

bool IsHorizontalBlank(char inChar) { return inChar == ' ' || inChar == '\t' || inChar == '\f'; }

bool IsLineEnd(char inChar) { return inChar == '\n' || inChar == '\r'; }

bool IsBlank(char inChar) { return IsHorizontalBlank(inChar) || IsLineEnd(inChar); }

bool IsBetween(char inChar, int inLow, int inHigh) {
  const int code = static_cast<std::uint8_t>(inChar);
  return code >= inLow && code <= inHigh;
}

// A walk over a script. Every step moves forward; reading past the end gives NUL, which is part of
// nothing.
class Scanner {
 public:
  explicit Scanner(std::string_view inScript) : mScript(inScript) {}

  std::vector<SqlPiece> Split();

 private:
  bool AtEnd() const { return mPos >= mScript.size(); }
  char At(std::size_t inPos) const { return inPos < mScript.size() ? mScript[inPos] : '\0'; }
  char Peek(std::size_t inAhead = 0) const { return At(mPos + inAhead); }

  std::size_t UnicodeBlankLength() const;
  bool SkipBlank();
  bool SkipLineComment();
  bool SkipBlockComment();
  void SkipToken();
  void SkipDigits();
  void SkipNumber();
  void SkipName();
  void SkipQuoted(char inQuote);
  void SkipEscapeText();
  bool ContinueEscapeText();
  bool SkipDollarQuoted();

  std::string_view mScript;
  std::size_t mPos = 0;
};

// DuckDB reads these as a blank wherever they stand outside a quoted text.
std::size_t Scanner::UnicodeBlankLength() const {
  if (!IsBetween(Peek(), 0x80, 0xFF)) return 0;
  if (mPos + 2 >= mScript.size()) return 0;
  const std::string_view next = mScript.substr(mPos, 3);
  if (next.substr(0, 2) == "\xC2\xA0") return 2;
  if (next.substr(0, 2) == "\xE2\x80") {
    return IsBetween(next[2], 0x80, 0x8D) || next[2] == '\xAF' ? 3 : 0;
  }
  constexpr std::string_view kOthers[] = {"\xE2\x81\x9F", "\xE2\x81\xA0", "\xE3\x80\x80",
                                          "\xEF\xBB\xBF"};
  return std::find(std::begin(kOthers), std::end(kOthers), next) != std::end(kOthers) ? 3 : 0;
}

bool Scanner::SkipBlank() {
  if (IsBlank(Peek()) && !AtEnd()) {
    ++mPos;
    return true;
  }
  const std::size_t length = UnicodeBlankLength();
  mPos += length;
  return length != 0;
}

bool Scanner::SkipLineComment() {
  if (Peek() != '-' || Peek(1) != '-') return false;
  while (!AtEnd() && !IsLineEnd(Peek())) ++mPos;
  return true;
}

bool Scanner::SkipBlockComment() {
  if (Peek() != '/' || Peek(1) != '*') return false;
  std::size_t depth = 0;
  do {
    if (Peek() == '/' && Peek(1) == '*') {
      ++depth;
      mPos += 2;
    } else if (Peek() == '*' && Peek(1) == '/') {
      --depth;
      mPos += 2;
    } else {
      ++mPos;
    }
  } while (depth != 0 && !AtEnd());
  return true;
}

// Single underscores may stand between digits.
void Scanner::SkipDigits() {
  while (IsDigit(Peek()) || (Peek() == '_' && IsDigit(Peek(1)))) ++mPos;
}

// Hazard: letters that follow a number at once begin a name, and a name swallows dollar signs: the
// exponent belongs to the number only when it has digits.
void Scanner::SkipNumber() {
  SkipDigits();
  if (Peek() == '.') {
    ++mPos;
    if (IsDigit(Peek())) SkipDigits();
  }
  if (Peek() == 'e' || Peek() == 'E') {
    const std::size_t sign = Peek(1) == '+' || Peek(1) == '-' ? 1 : 0;
    if (!IsDigit(Peek(1 + sign))) return;
    mPos += 1 + sign;
    SkipDigits();
  }
}

void Scanner::SkipName() {
  if ((Peek() == 'e' || Peek() == 'E') && Peek(1) == '\'') {
    ++mPos;
    SkipEscapeText();
    return;
  }
  while (!AtEnd() && UnicodeBlankLength() == 0 && (IsTagPart(Peek()) || Peek() == '$')) ++mPos;
}

// A doubled quote inside reads as two texts in a row, which end at the same place.
void Scanner::SkipQuoted(char inQuote) {
  const std::size_t end = mScript.find(inQuote, mPos + 1);
  mPos = end == std::string_view::npos ? mScript.size() : end + 1;
}

// E'...': a backslash takes the next byte with it. Hazard: after a line end such a text goes on in
// the next quotes, where a backslash still escapes.
void Scanner::SkipEscapeText() {
  ++mPos;
  while (!AtEnd()) {
    const char current = Peek();
    if (current == '\\') {
      mPos = std::min(mPos + 2, mScript.size());
      continue;
    }
    ++mPos;
    if (current != '\'') continue;
    if (Peek() == '\'' || ContinueEscapeText()) {
      ++mPos;
      continue;
    }
    return;
  }
}

// Blanks and line comments up to another quote, a line end among them: moves onto that quote.
bool Scanner::ContinueEscapeText() {
  const std::size_t start = mPos;
  while (IsHorizontalBlank(Peek())) ++mPos;
  SkipLineComment();
  bool continues = IsLineEnd(Peek());
  while (continues && (IsBlank(Peek()) || (Peek() == '-' && Peek(1) == '-'))) {
    // A comment counts only with the line end that closes it.
    if (SkipLineComment() && AtEnd()) break;
    ++mPos;
  }
  continues = continues && Peek() == '\'';
  if (!continues) mPos = start;
  return continues;
}

// $$...$$ or $tag$...$tag$. False, and nothing skipped, when no such quote opens here.
bool Scanner::SkipDollarQuoted() {
  std::size_t end = mPos + 1;
  if (!IsDigit(At(end))) {
    while (IsTagPart(At(end))) ++end;
  }
  if (At(end) != '$') return false;
  const std::string_view tag = mScript.substr(mPos, end + 1 - mPos);
  const std::size_t close = mScript.find(tag, end + 1);
  mPos = close == std::string_view::npos ? mScript.size() : close + tag.size();
  return true;
}

void Scanner::SkipToken() {
  const char current = Peek();
  if (current == '\'' || current == '"') {
    SkipQuoted(current);
  } else if (current == '$') {
    if (SkipDollarQuoted()) return;
    ++mPos;
    SkipDigits();  // of a parameter, so that letters behind it begin a name
  } else if (IsDigit(current) || (current == '.' && IsDigit(Peek(1)))) {
    SkipNumber();
  } else if (IsNameStart(current)) {
    SkipName();
  } else {
    ++mPos;
  }
}

std::vector<SqlPiece> Scanner::Split() {
  std::vector<SqlPiece> pieces;
  SqlPiece piece;
  const auto finish = [&] {
    if (piece.mLength != 0) pieces.push_back(piece);
    piece = SqlPiece{};
  };
  while (!AtEnd()) {
    if (SkipBlank() || SkipLineComment() || SkipBlockComment()) continue;
    if (Peek() == ';') {
      finish();
      ++mPos;
      continue;
    }
    if (piece.mLength == 0) piece.mOffset = mPos;
    SkipToken();
    piece.mLength = std::min(mPos, mScript.size()) - piece.mOffset;
  }
  finish();
  return pieces;
}

}  // namespace

std::vector<SqlPiece> SplitSql(std::string_view inScript) { return Scanner(inScript).Split(); }

}  // namespace lumora::duckdb_c
