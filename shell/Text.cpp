#include "Text.h"

#include <algorithm>
#include <cctype>
#include <cstdint>

#include <fmt/format.h>
#include <utf8proc.h>

namespace lumora::shell {

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kZeroWidthJoiner = 0x200D;

std::string EscapeCharacter(char32_t inCharacter) {
  switch (inCharacter) {
    case U'\n':
      return "\\n";
    case U'\r':
      return "\\r";
    case U'\t':
      return "\\t";
    default:
      break;
  }
  auto const code = static_cast<std::uint32_t>(inCharacter);
  return code < 0x100 ? fmt::format("\\x{:02x}", code) : fmt::format("\\u{{{:04x}}}", code);
}

bool IsEmojiPart(char32_t inCharacter) {
  bool const isSkinTone = inCharacter >= 0x1F3FB && inCharacter <= 0x1F3FF;
  auto const* property = utf8proc_get_property(static_cast<utf8proc_int32_t>(inCharacter));
  return isSkinTone || property->boundclass == UTF8PROC_BOUNDCLASS_EXTENDED_PICTOGRAPHIC;
}

// Measures character by character; what joins the emoji before it takes no columns of its own.
class WidthCounter {
 public:
  std::size_t Add(char32_t inCharacter) {
    auto const character = static_cast<utf8proc_int32_t>(inCharacter);
    bool joins = false;
    if (mPrevious >= 0) {
      joins = !utf8proc_grapheme_break_stateful(mPrevious, character, &mState);
    }
    mPrevious = character;
    if (inCharacter == kZeroWidthJoiner || (joins && IsEmojiPart(inCharacter))) return 0;
    return static_cast<std::size_t>(std::max(0, utf8proc_charwidth(character)));
  }

 private:
  utf8proc_int32_t mPrevious = -1;
  utf8proc_int32_t mState = 0;
};

// What one character becomes, and how wide that is.
PrintableText RenderCharacter(char32_t inCharacter, WidthCounter& ioCounter) {
  PrintableText result;
  if (IsUnprintable(inCharacter)) {
    result.mText = EscapeCharacter(inCharacter);
    for (char const c : result.mText) result.mWidth += ioCounter.Add(static_cast<char32_t>(c));
    return result;
  }
  AppendCharacter(result.mText, inCharacter);
  result.mWidth = ioCounter.Add(inCharacter);
  return result;
}

}  // namespace

char32_t TakeCharacter(std::string_view& ioText) {
  utf8proc_int32_t character = 0;
  auto const* bytes = reinterpret_cast<utf8proc_uint8_t const*>(ioText.data());
  // A character has four bytes at most; the length is a signed type that a view can exceed.
  auto const available = static_cast<utf8proc_ssize_t>(std::min<std::size_t>(ioText.size(), 4));
  utf8proc_ssize_t const length = utf8proc_iterate(bytes, available, &character);
  if (length <= 0) {
    ioText.remove_prefix(1);
    return kReplacement;
  }
  ioText.remove_prefix(static_cast<std::size_t>(length));
  return static_cast<char32_t>(character);
}

void AppendCharacter(std::string& ioText, char32_t inCharacter) {
  utf8proc_uint8_t bytes[4];
  auto const length = utf8proc_encode_char(static_cast<utf8proc_int32_t>(inCharacter), bytes);
  ioText.append(reinterpret_cast<char const*>(bytes), static_cast<std::size_t>(length));
}

bool IsUnprintable(char32_t inCharacter) {
  if (inCharacter < 0x20 || (inCharacter >= 0x7F && inCharacter < 0xA0)) return true;
  if (inCharacter < 0x061C) return false;
  bool const isDirection = inCharacter == 0x061C || inCharacter == 0x200E ||
                           inCharacter == 0x200F ||
                           (inCharacter >= 0x202A && inCharacter <= 0x202E) ||
                           (inCharacter >= 0x2066 && inCharacter <= 0x2069);
  return isDirection || inCharacter == 0x2028 || inCharacter == 0x2029 || inCharacter == 0xFEFF;
}

PrintableText MakePrintable(std::string_view inText, std::size_t inMaxWidth) {
  PrintableText result;
  WidthCounter counter;
  // The longest prefix that leaves a column for the mark of the cut.
  std::size_t cutLength = 0;
  std::size_t cutWidth = 0;
  while (!inText.empty()) {
    PrintableText const next = RenderCharacter(TakeCharacter(inText), counter);
    if (result.mWidth + next.mWidth > inMaxWidth) {
      result.mText.resize(cutLength);
      result.mText += "…";
      result.mWidth = cutWidth + 1;
      return result;
    }
    result.mText += next.mText;
    result.mWidth += next.mWidth;
    if (result.mWidth + 1 <= inMaxWidth) {
      cutLength = result.mText.size();
      cutWidth = result.mWidth;
    }
  }
  return result;
}

std::size_t DisplayWidth(std::string_view inText) { return MakePrintable(inText).mWidth; }

std::string PrintableLines(std::string_view inText) {
  std::string result;
  while (!inText.empty()) {
    char32_t const character = TakeCharacter(inText);
    if (character == U'\n' || character == U'\t' || !IsUnprintable(character)) {
      AppendCharacter(result, character);
    } else {
      result += EscapeCharacter(character);
    }
  }
  return result;
}

std::string ValidUtf8(std::string_view inText) {
  std::string result;
  result.reserve(inText.size());
  while (!inText.empty()) AppendCharacter(result, TakeCharacter(inText));
  return result;
}

std::string WrapWords(std::string_view inText, std::size_t inWidth, std::size_t inIndent) {
  std::string wrapped;
  std::size_t column = 0;
  while (!(inText = Trim(inText)).empty()) {
    std::string_view const word = inText.substr(0, inText.find(' '));
    inText.remove_prefix(word.size());
    std::size_t const width = DisplayWidth(word);
    bool const isFirst = wrapped.empty();
    bool const breaks = !isFirst && column + 1 + width > inWidth;
    if (breaks) wrapped += "\n" + std::string(inIndent, ' ');
    if (!breaks && !isFirst) wrapped += ' ';
    column = breaks ? inIndent + width : column + width + (isFirst ? 0 : 1);
    wrapped += word;
  }
  return wrapped + "\n";
}

std::string ToLower(std::string_view inText) {
  std::string result(inText);
  for (char& c : result) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return result;
}

bool EqualsIgnoringCase(std::string_view inA, std::string_view inB) {
  return inA.size() == inB.size() && ToLower(inA) == ToLower(inB);
}

std::string_view Trim(std::string_view inText) {
  constexpr std::string_view kBlanks = " \t\n\r\f\v";
  auto const first = inText.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return inText.substr(first, inText.find_last_not_of(kBlanks) - first + 1);
}

std::string GroupDigits(unsigned long long inNumber) {
  std::string digits = std::to_string(inNumber);
  for (std::size_t i = digits.size(); i > 3;) {
    i -= 3;
    digits.insert(i, 1, ',');
  }
  return digits;
}

std::string ToHex(std::string_view inBytes, std::size_t inMaxBytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string result;
  std::string_view const bytes = inBytes.substr(0, inMaxBytes);
  result.reserve(bytes.size() * 2);
  for (char const c : bytes) {
    auto const byte = static_cast<unsigned char>(c);
    result += kDigits[byte >> 4];
    result += kDigits[byte & 15];
  }
  return result;
}

std::string ToBase64(std::string_view inBytes) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string result;
  result.reserve((inBytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < inBytes.size(); i += 3) {
    std::size_t const count = std::min<std::size_t>(3, inBytes.size() - i);
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      group = group << 8 | (k < count ? static_cast<unsigned char>(inBytes[i + k]) : 0U);
    }
    for (std::size_t k = 0; k < 4; ++k) {
      result += k <= count ? kDigits[(group >> (18 - 6 * k)) & 63] : '=';
    }
  }
  return result;
}

}  // namespace lumora::shell
