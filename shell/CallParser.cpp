#include "CallParser.h"

#include <charconv>

#include <fmt/format.h>

#include "Script.h"
#include "Text.h"

namespace lumora::shell {

namespace {

bool IsDigit(char inByte) { return inByte >= '0' && inByte <= '9'; }

bool IsNameByte(char inByte) {
  auto const byte = static_cast<unsigned char>(inByte);
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || byte == '_' ||
         byte >= 0x80;
}

class Parser {
 public:
  explicit Parser(std::string_view inText) : mText(inText) { Skip(); }

  bool get_AtEnd() const { return mOffset >= mText.size(); }

  // The name at the current place, or nothing.
  std::string_view TakeName() {
    std::size_t const start = mOffset;
    while (!get_AtEnd() &&
           (IsNameByte(mText[mOffset]) || (mOffset > start && IsDigit(mText[mOffset])))) {
      ++mOffset;
    }
    std::string_view const name = mText.substr(start, mOffset - start);
    Skip();
    return name;
  }

  bool Take(char inByte) {
    if (get_AtEnd() || mText[mOffset] != inByte) return false;
    ++mOffset;
    Skip();
    return true;
  }

  void Require(char inByte, char const* inWhere) {
    if (!Take(inByte)) Fail(fmt::format("expected '{}' {}, found {}", inByte, inWhere, Found()));
  }

  void RequireEnd() {
    if (!get_AtEnd()) Fail("unexpected " + Found() + " behind the call");
  }

  // The items up to the closing byte.
  std::vector<HostValue> TakeList(char inClose, char const* inWhere, std::size_t inDepth) {
    std::vector<HostValue> items;
    if (Take(inClose)) return items;
    do {
      items.push_back(TakeValue(inDepth));
    } while (Take(','));
    Require(inClose, inWhere);
    return items;
  }

  HostValue TakeValue(std::size_t inDepth) {
    if (get_AtEnd()) Fail("an argument is missing at the end");
    char const first = mText[mOffset];
    if (first == '\'') return TakeText();
    if (first == '[') return TakeArray(inDepth + 1);
    if (first == '"') Fail("a text is written in single quotes, not in double quotes");
    if (IsDigit(first) || first == '-' || first == '+' || first == '.') return TakeNumber();
    return TakeWord();
  }

  [[noreturn]] void Fail(std::string const& inMessage) const {
    throw CallSyntaxError(inMessage, mOffset);
  }

  std::string Found() const {
    if (get_AtEnd()) return "the end";
    return "'" + MakePrintable(mText.substr(mOffset), 20).mText + "'";
  }

 private:
  void Skip() {
    bool isOpen = false;
    std::size_t const start = mOffset;
    mOffset = SkipBlanks(mText, mOffset, &isOpen);
    if (isOpen) {
      mOffset = start;
      Fail("a comment has no end");
    }
  }

  HostValue TakeText() {
    std::size_t const start = mOffset;
    std::string text;
    for (std::size_t i = start + 1; i < mText.size(); ++i) {
      if (mText[i] != '\'') {
        text += mText[i];
      } else if (i + 1 < mText.size() && mText[i + 1] == '\'') {
        text += mText[i++];
      } else {
        mOffset = i + 1;
        Skip();
        return HostValue::Text(std::move(text));
      }
    }
    Fail("a quoted text has no end");
  }

  HostValue TakeArray(std::size_t inDepth) {
    if (inDepth > kMaxArrayDepth) Fail("arrays stand too deep inside each other");
    Take('[');
    return HostValue::Array(TakeList(']', "at the end of an array", inDepth));
  }

  HostValue TakeNumber() {
    std::size_t end = mOffset;
    bool isInteger = true;
    while (end < mText.size()) {
      char const c = mText[end];
      bool const isSign = c == '-' || c == '+';
      bool const isExponent = end > mOffset && (mText[end - 1] | 0x20) == 'e';
      if (isSign ? !(end == mOffset || isExponent) : !(IsDigit(c) || c == '.' || IsNameByte(c))) {
        break;
      }
      if (!isSign && !IsDigit(c)) isInteger = false;
      ++end;
    }
    std::string_view const digits = mText.substr(mOffset, end - mOffset);
    HostValue const value = isInteger ? ToInteger(digits) : ToDecimal(digits);
    mOffset = end;
    Skip();
    return value;
  }

  HostValue ToInteger(std::string_view inDigits) const {
    std::string_view const digits = inDigits.substr(inDigits.front() == '+' ? 1 : 0);
    char const* const end = digits.data() + digits.size();
    std::int64_t number = 0;
    auto result = std::from_chars(digits.data(), end, number);
    if (result.ec == std::errc() && result.ptr == end) return HostValue::Int64(number);
    std::uint64_t large = 0;
    result = std::from_chars(digits.data(), end, large);
    if (result.ec == std::errc() && result.ptr == end) return HostValue::UInt64(large);
    if (result.ec == std::errc::result_out_of_range || inDigits.front() == '-') {
      bool const hasDigits = digits.size() > 1;
      if (hasDigits) Fail("an integer is out of the range of 64 bits");
    }
    Fail("expected a number, found " + Found());
  }

  HostValue ToDecimal(std::string_view inDigits) const {
    std::string_view const digits = inDigits.substr(inDigits.front() == '+' ? 1 : 0);
    char const* const end = digits.data() + digits.size();
    double number = 0;
    auto const result = std::from_chars(digits.data(), end, number);
    if (result.ec == std::errc::result_out_of_range) Fail("a number is out of range");
    bool const isWord = digits.empty() || (!IsDigit(digits.back()) && digits.back() != '.');
    if (result.ec != std::errc() || result.ptr != end || isWord) {
      Fail("expected a number, found " + Found());
    }
    return HostValue::Double(number);
  }

  HostValue TakeWord() {
    std::size_t const start = mOffset;
    std::string const word = ToLower(TakeName());
    if (word == "null") return HostValue();
    if (word == "true") return HostValue::Boolean(true);
    if (word == "false") return HostValue::Boolean(false);
    mOffset = start;
    Fail("expected a text in single quotes, a number, NULL, TRUE, FALSE or an array, found " +
         Found());
  }

  std::string_view mText;
  std::size_t mOffset = 0;
};

}  // namespace

std::optional<std::string> PeekCallName(std::string_view inText) {
  try {
    Parser parser(inText);
    if (!EqualsIgnoringCase(parser.TakeName(), "call")) return std::nullopt;
    std::string_view const name = parser.TakeName();
    if (name.empty()) return std::nullopt;
    return std::string(name);
  } catch (CallSyntaxError const&) {
    return std::nullopt;
  }
}

CallStatement ParseCall(std::string_view inText) {
  Parser parser(inText);
  if (!EqualsIgnoringCase(parser.TakeName(), "call")) parser.Fail("expected CALL");
  CallStatement call;
  call.mName = parser.TakeName();
  if (call.mName.empty()) parser.Fail("expected the name of a procedure, found " + parser.Found());
  parser.Require('(', "behind the name of the procedure");
  call.mArguments = parser.TakeList(')', "behind the arguments", 0);
  while (parser.Take(';')) {
  }
  parser.RequireEnd();
  return call;
}

HostValue ParseArgument(std::string_view inText) {
  Parser parser(inText);
  HostValue value = parser.TakeValue(0);
  parser.RequireEnd();
  return value;
}

}  // namespace lumora::shell
