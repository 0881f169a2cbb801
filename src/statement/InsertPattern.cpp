#include "statement/InsertPattern.h"

#include <algorithm>
#include <array>
#include <charconv>

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

// DuckDB takes some characters beyond ASCII for blanks: U+00A0, U+3000, U+FEFF and some of U+2000
// to U+207F. Their neighbours with the same first bytes are hardly ever in a name.
bool HoldsWideBlank(std::string_view inWord) {
  static constexpr std::array<std::string_view, 5> kBeginnings = {
      "\xC2\xA0", "\xE2\x80", "\xE2\x81", "\xE3\x80", "\xEF\xBB"};
  return std::any_of(kBeginnings.begin(), kBeginnings.end(), [&](std::string_view inBeginning) {
    return inWord.find(inBeginning) != inWord.npos;
  });
}

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
  // The identifier as it is written, quotes included; empty when there is none.
  std::string_view TakeIdentifier() {
    SkipBlanks();
    auto const before = mRest;
    if (mRest.empty()) return {};
    if (mRest.front() == '"') {
      if (!TakeQuoted('"')) return {};
    } else if (StartsWord(mRest.front())) {
      auto const word = mRest.substr(0, Count(GoesOnWord));
      if (HoldsWideBlank(word)) return {};
      mRest.remove_prefix(word.size());
    }
    return before.substr(0, before.size() - mRest.size());
  }
  // "?", "?1", "$1", "$name": as it is written; empty when there is none.
  std::string_view TakeParameter() {
    SkipBlanks();
    auto const before = mRest;
    if (TakeSign('?')) {
      mRest.remove_prefix(Count(IsDigit));
    } else if (TakeSign('$')) {
      auto const name = mRest.substr(0, Count(GoesOnWord));
      if (name.empty() || HoldsWideBlank(name)) return {};
      mRest.remove_prefix(name.size());
    }
    return before.substr(0, before.size() - mRest.size());
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
  std::string_view get_Rest() const { return mRest; }
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

// Pieces of the text, as they are written.
using Texts = std::vector<std::string_view>;

// Where the pieces are kept; any of them may be null.
struct Pieces {
  Texts* mName = nullptr;
  Texts* mColumns = nullptr;
  Texts* mParameters = nullptr;       // an empty one for an item that is none
  std::string_view* mRest = nullptr;  // the text from VALUES on
};

void Keep(Texts* outTexts, std::string_view inText) {
  if (outTexts) outTexts->push_back(inText);
}

bool TakeItem(Scanner& ioScanner, Texts* outParameters) {
  static constexpr std::array<std::string_view, 4> kWords = {"default", "null", "true", "false"};
  auto const parameter = ioScanner.TakeParameter();
  Keep(outParameters, parameter);
  if (!parameter.empty() || ioScanner.TakeNumber() || ioScanner.TakeText()) return true;
  return std::any_of(kWords.begin(), kWords.end(),
                     [&](std::string_view inWord) { return ioScanner.TakeWord(inWord); });
}

bool TakeIdentifier(Scanner& ioScanner, Texts* outTexts) {
  auto const name = ioScanner.TakeIdentifier();
  Keep(outTexts, name);
  return !name.empty();
}

template <typename TTake>
bool TakeList(Scanner& ioScanner, TTake inTake) {
  do {
    if (!inTake()) return false;
  } while (ioScanner.TakeSign(','));
  return ioScanner.TakeSign(')');
}

bool TakeName(Scanner& ioScanner, Texts* outName) {
  for (int parts = 1; parts <= 3; ++parts) {
    if (!TakeIdentifier(ioScanner, outName)) return false;
    if (!ioScanner.TakeSign('.')) return true;
  }
  return false;
}

bool TakeInsert(std::string_view inSql, Pieces const& outPieces) {
  Scanner scanner(inSql);
  if (!scanner.TakeWord("insert") || !scanner.TakeWord("into") ||
      !TakeName(scanner, outPieces.mName)) {
    return false;
  }
  auto const takeColumn = [&] { return TakeIdentifier(scanner, outPieces.mColumns); };
  if (scanner.TakeSign('(') && !TakeList(scanner, takeColumn)) return false;
  if (outPieces.mRest) *outPieces.mRest = scanner.get_Rest();
  auto const takeItem = [&] { return TakeItem(scanner, outPieces.mParameters); };
  if (!scanner.TakeWord("values") || !scanner.TakeSign('(')) return false;
  if (!TakeList(scanner, takeItem)) return false;
  (void)scanner.TakeSign(';');
  return scanner.TakeEnd();
}

std::string Unquoted(std::string_view inText) {
  if (inText.front() != '"') return std::string(inText);
  std::string name;
  for (std::size_t i = 1; i + 1 < inText.size(); ++i) {
    name += inText[i];
    if (inText[i] == '"') ++i;
  }
  return name;
}

std::vector<std::string> Unquoted(Texts const& inTexts) {
  std::vector<std::string> names;
  for (std::string_view const text : inTexts) names.push_back(Unquoted(text));
  return names;
}

// The 0-based number of a parameter that stands at that place; nothing for a name.
std::optional<std::uint32_t> NumberOf(std::string_view inParameter, std::size_t inPlace) {
  if (inParameter == "?") return static_cast<std::uint32_t>(inPlace);
  if (inParameter.size() < 2) return std::nullopt;
  std::uint32_t number = 0;
  char const* const end = inParameter.data() + inParameter.size();
  auto const [rest, error] = std::from_chars(inParameter.data() + 1, end, number);
  if (error != std::errc{} || rest != end || number == 0) return std::nullopt;
  return number - 1;
}

bool IsEachOnce(std::vector<std::uint32_t> inNumbers) {
  std::sort(inNumbers.begin(), inNumbers.end());
  for (std::size_t i = 0; i < inNumbers.size(); ++i) {
    if (inNumbers[i] != i) return false;
  }
  return true;
}

}  // namespace

bool IsPlainInsert(std::string_view inSql) noexcept { return TakeInsert(inSql, {}); }

std::optional<ParameterInsert> ReadParameterInsert(std::string_view inSql) {
  Texts name;
  Texts columns;
  Texts parameters;
  std::string_view rest;
  if (!TakeInsert(inSql, {&name, &columns, &parameters, &rest})) return std::nullopt;
  ParameterInsert insert{std::string(inSql.substr(0, inSql.size() - rest.size())),
                         Unquoted(name),
                         Unquoted(columns),
                         {}};
  for (std::string_view const parameter : parameters) {
    auto const number = NumberOf(parameter, insert.mParameters.size());
    if (!number) return std::nullopt;
    insert.mParameters.push_back(*number);
  }
  if (!IsEachOnce(insert.mParameters)) return std::nullopt;
  return insert;
}

}  // namespace lumora
