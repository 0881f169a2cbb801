#include "NumberText.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace tarn {
namespace {

using View = std::basic_string_view<WChar>;

bool IsBlank(WChar inUnit) noexcept { return inUnit == 0x20 || (inUnit >= 0x09 && inUnit <= 0x0D); }
bool IsDigit(WChar inUnit) noexcept { return inUnit >= 0x30 && inUnit <= 0x39; }

// Takes blanks and one sign off the text; true when the sign is a minus.
bool TakeSign(View& ioText) noexcept {
  while (!ioText.empty() && IsBlank(ioText.front())) ioText.remove_prefix(1);
  if (ioText.empty() || (ioText.front() != 0x2B && ioText.front() != 0x2D)) return false;
  bool const isMinus = ioText.front() == 0x2D;
  ioText.remove_prefix(1);
  return isMinus;
}

std::size_t DigitCount(View inText, std::size_t inFrom) noexcept {
  std::size_t end = inFrom;
  while (end < inText.size() && IsDigit(inText[end])) ++end;
  return end - inFrom;
}

// The value of the digits; false when it does not fit.
bool Digits(View inDigits, std::uint64_t& outValue) noexcept {
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
  outValue = 0;
  for (WChar const unit : inDigits) {
    auto const digit = static_cast<std::uint64_t>(unit - 0x30);
    if (outValue > (kMax - digit) / 10) return false;
    outValue = outValue * 10 + digit;
  }
  return true;
}

constexpr std::uint64_t kMinMagnitude = std::uint64_t{1} << 63;

std::int64_t Negative(std::uint64_t inMagnitude) noexcept {
  return inMagnitude >= kMinMagnitude ? std::numeric_limits<std::int64_t>::min()
                                      : -static_cast<std::int64_t>(inMagnitude);
}

bool IsLetter(WChar inUnit) noexcept { return (inUnit | 0x20) >= 0x61 && (inUnit | 0x20) <= 0x7A; }

// The text's first word is the given one, in any case.
bool IsWord(View inText, std::string_view inLowerCase) noexcept {
  if (inText.size() < inLowerCase.size()) return false;
  for (std::size_t i = 0; i < inLowerCase.size(); ++i) {
    if ((inText[i] | 0x20) != static_cast<WChar>(inLowerCase[i])) return false;
  }
  return inText.size() == inLowerCase.size() || !IsLetter(inText[inLowerCase.size()]);
}

// Length of the longest prefix that is a decimal number with an optional fraction and exponent.
std::size_t RealLength(View inText) noexcept {
  std::size_t const whole = DigitCount(inText, 0);
  std::size_t end = whole;
  std::size_t fraction = 0;
  if (end < inText.size() && inText[end] == 0x2E) {
    fraction = DigitCount(inText, end + 1);
    if (whole + fraction != 0) end += 1 + fraction;
  }
  if (whole + fraction == 0) return 0;
  if (end < inText.size() && (inText[end] | 0x20) == 0x65) {
    std::size_t exponent = end + 1;
    if (exponent < inText.size() && (inText[exponent] == 0x2B || inText[exponent] == 0x2D)) {
      ++exponent;
    }
    std::size_t const digits = DigitCount(inText, exponent);
    if (digits != 0) end = exponent + digits;
  }
  return end;
}

// The value of a number that no double holds, too large or too small: the parser does not tell
// which, the decimal exponent of its first significant digit does.
double OutOfRange(std::string_view inText) noexcept {
  std::size_t const e = inText.find_first_of("eE");
  std::string_view const mantissa = inText.substr(0, e);
  std::size_t const first = mantissa.find_first_of("123456789");
  if (first == std::string_view::npos) return 0;
  std::size_t const point = std::min(mantissa.find('.'), mantissa.size());
  auto const scale = static_cast<double>(point) - static_cast<double>(first);
  double exponent = 0;
  if (e != std::string_view::npos) {
    std::string_view digits = inText.substr(e + 1);
    bool const isMinus = digits.front() == '-';
    if (isMinus || digits.front() == '+') digits.remove_prefix(1);
    for (char const digit : digits) exponent = exponent * 10 + (digit - '0');
    if (isMinus) exponent = -exponent;
  }
  return scale + exponent > 0 ? std::numeric_limits<double>::infinity() : 0.0;
}

double ParseReal(View inText) {
  std::string text;
  text.reserve(inText.size());
  for (WChar const unit : inText) text.push_back(static_cast<char>(unit));
  double value = 0;
  auto const result = std::from_chars(text.data(), text.data() + text.size(), value);
  return result.ec == std::errc::result_out_of_range ? OutOfRange(text) : value;
}

template <typename TReal>
String RealText(TReal inValue) {
  if (std::isnan(inValue)) return String("NaN");
  if (std::isinf(inValue)) return String(inValue < 0 ? "-Infinity" : "Infinity");
  char text[64];
  auto const end = fmt::format_to(text, "{}", inValue);
  return String(text, static_cast<std::int32_t>(end - text));
}

template <typename TInteger>
String IntegerText(TInteger inValue) {
  fmt::format_int const text(inValue);
  return String(text.data(), static_cast<std::int32_t>(text.size()));
}

}  // namespace

std::int64_t ParseInteger(View inText) noexcept {
  bool const isMinus = TakeSign(inText);
  std::uint64_t magnitude = 0;
  if (!Digits(inText.substr(0, DigitCount(inText, 0)), magnitude)) {
    magnitude = std::numeric_limits<std::uint64_t>::max();
  }
  if (isMinus) return Negative(magnitude);
  constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
  return magnitude >= kMinMagnitude ? kMax : static_cast<std::int64_t>(magnitude);
}

Number ParseNumber(View inText) {
  bool const isMinus = TakeSign(inText);
  std::size_t const length = RealLength(inText);
  if (length == 0) {
    double const sign = isMinus ? -1 : 1;
    if (IsWord(inText, "nan")) return std::numeric_limits<double>::quiet_NaN();
    if (IsWord(inText, "inf") || IsWord(inText, "infinity")) {
      return sign * std::numeric_limits<double>::infinity();
    }
    return std::int64_t{0};
  }
  std::uint64_t magnitude = 0;
  if (length == DigitCount(inText, 0) && Digits(inText.substr(0, length), magnitude)) {
    if (!isMinus) return magnitude;
    if (magnitude <= kMinMagnitude) return Negative(magnitude);
  }
  double const value = ParseReal(inText.substr(0, length));
  return isMinus ? -value : value;
}

bool ParseBoolean(View inText) {
  View word = inText;
  while (!word.empty() && IsBlank(word.front())) word.remove_prefix(1);
  return IsWord(word, "true") || ConvertNumber<bool>(ParseNumber(inText));
}

String NumberText(bool inValue) { return String(inValue ? "true" : "false"); }
String NumberText(std::int64_t inValue) { return IntegerText(inValue); }
String NumberText(std::uint64_t inValue) { return IntegerText(inValue); }
String NumberText(float inValue) { return RealText(inValue); }
String NumberText(double inValue) { return RealText(inValue); }

}  // namespace tarn
