#include "statement/InsertPattern.h"

#include <algorithm>
#include <array>

namespace lumora {
namespace {

bool IsBlank(char inChar) { return inChar == ' ' || (inChar >= '\t' && inChar <= '\r'); }
bool IsDigit(char inChar) { return inChar >= '0' && inChar <= '9'; }
char ToLower(char inChar) {
  return inChar >= 'A' && inChar <= 'Z' ? static_cast<char>(inChar + ('a' - 'A')) : inChar;
}
bool StartsWord(char inChar) {
  char const lower = ToLower(inChar);
  return (lower >= 'a' && lower <= 'z') || lower == '_' || static_cast<signed char>(lower) < 0;
}
bool GoesOnWord(char inChar) { return StartsWord(inChar) || IsDigit(inChar); }

// A walk over the text; each Take skips blanks and consumes what it names, or nothing.
class Scanner {
 public:
  explicit Scanner(std::string_view inText) : mRest(inText) {}

  bool TakeEnd() {
    SkipBlanks();
    return mRest.empty();
  }
  bool TakeSign(char inSign) {
    SkipBlanks();
    if (mRest.empty() || mRest.front() != inSign) return false;
    mRest.remove_prefix(1);
    return true;
  }
  // An unquoted word in any case.
  bool TakeWord(std::string_view inLower) {
    SkipBlanks();
    auto const word = mRest.substr(0, Count(GoesOnWord));
    auto const same = [](char inLeft, char inRight) { return ToLower(inLeft) == inRight; };
    if (!std::equal(word.begin(), word.end(), inLower.begin(), inLower.end(), same)) {
      return false;
    }
    mRest.remove_prefix(word.size());
    return true;
  }
  bool TakeIdentifier() {
    SkipBlanks();
    if (mRest.empty()) return false;
    if (mRest.front() == '"') return TakeQuoted('"');
    if (!StartsWord(mRest.front())) return false;
    mRest.remove_prefix(Count(GoesOnWord));
    return true;
  }
  // "?", "?1", "$1", "$name"
  bool TakeParameter() {
    if (TakeSign('?')) {
      mRest.remove_prefix(Count(IsDigit));
      return true;
    }
    if (!TakeSign('$')) return false;
    auto const name = Count(GoesOnWord);
    mRest.remove_prefix(name);
    return name != 0;
  }
  bool TakeNumber() {
    SkipBlanks();
    auto const isPart = [](char c) { return IsDigit(c) || c == '.'; };
    std::size_t const sign = !mRest.empty() && mRest.front() == '-' ? 1 : 0;
    auto const digits = mRest.substr(sign);
    auto const size = static_cast<std::size_t>(
        std::find_if_not(digits.begin(), digits.end(), isPart) - digits.begin());
    if (size == 0 || !IsDigit(digits.front())) return false;
    mRest.remove_prefix(sign + size);
    return true;
  }
  bool TakeText() {
    SkipBlanks();
    return !mRest.empty() && mRest.front() == '\'' && TakeQuoted('\'');
  }

 private:
  template <typename TTest>
  std::size_t Count(TTest inTest) const {
    return static_cast<std::size_t>(std::find_if_not(mRest.begin(), mRest.end(), inTest) -
                                    mRest.begin());
  }
  void SkipBlanks() { mRest.remove_prefix(Count(IsBlank)); }
  // The rest begins with the quote; doubled quotes inside are passed over.
  bool TakeQuoted(char inQuote) {
    for (std::size_t i = 1; i < mRest.size(); ++i) {
      if (mRest[i] != inQuote) continue;
      if (i + 1 < mRest.size() && mRest[i + 1] == inQuote) {
        ++i;
        continue;
      }
      mRest.remove_prefix(i + 1);
      return true;
    }
    return false;
  }

  std::string_view mRest;
};

bool TakeItem(Scanner& ioScanner) {
  static constexpr std::array<std::string_view, 4> kWords = {"default", "null", "true", "false"};
  if (ioScanner.TakeParameter() || ioScanner.TakeNumber() || ioScanner.TakeText()) return true;
  return std::any_of(kWords.begin(), kWords.end(),
                     [&](std::string_view inWord) { return ioScanner.TakeWord(inWord); });
}

template <typename TTake>
bool TakeList(Scanner& ioScanner, TTake inTake) {
  do {
    if (!inTake()) return false;
  } while (ioScanner.TakeSign(','));
  return ioScanner.TakeSign(')');
}

bool TakeName(Scanner& ioScanner) {
  for (int parts = 1; parts <= 3; ++parts) {
    if (!ioScanner.TakeIdentifier()) return false;
    if (!ioScanner.TakeSign('.')) return true;
  }
  return false;
}

}  // namespace

bool IsPlainInsert(std::string_view inSql) noexcept {
  Scanner scanner(inSql);
  if (!scanner.TakeWord("insert") || !scanner.TakeWord("into") || !TakeName(scanner)) {
    return false;
  }
  auto const takeColumn = [&] { return scanner.TakeIdentifier(); };
  if (scanner.TakeSign('(') && !TakeList(scanner, takeColumn)) return false;
  auto const takeItem = [&] { return TakeItem(scanner); };
  if (!scanner.TakeWord("values") || !scanner.TakeSign('(')) return false;
  if (!TakeList(scanner, takeItem)) return false;
  (void)scanner.TakeSign(';');
  return scanner.TakeEnd();
}

}  // namespace lumora
