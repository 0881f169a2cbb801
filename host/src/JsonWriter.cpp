#include "JsonWriter.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>

namespace tarn {
namespace {

// The letter behind the backslash, 0 for a unit without a short form.
constexpr char ShortEscape(WChar inUnit) noexcept {
  switch (inUnit) {
    case 0x08:
      return 'b';
    case 0x09:
      return 't';
    case 0x0A:
      return 'n';
    case 0x0C:
      return 'f';
    case 0x0D:
      return 'r';
    case 0x22:
      return '"';
    case 0x5C:
      return '\\';
    default:
      return 0;
  }
}

bool IsPlain(WChar inUnit) noexcept {
  return inUnit >= 0x20 && inUnit != 0x22 && inUnit != 0x5C && (inUnit & 0xF800) != 0xD800;
}

// Length of the surrogate pair at the start, 0 when there is none.
std::size_t PairLength(std::basic_string_view<WChar> inText) noexcept {
  bool const isPair =
      inText.size() >= 2 && (inText[0] & 0xFC00) == 0xD800 && (inText[1] & 0xFC00) == 0xDC00;
  return isPair ? 2 : 0;
}

}  // namespace

void JsonWriter::AppendQuoted(std::basic_string_view<WChar> inText) {
  Append(u'"');
  while (!inText.empty()) {
    std::size_t plain = 0;
    while (plain < inText.size() && IsPlain(inText[plain])) ++plain;
    if (plain == 0) plain = PairLength(inText);
    if (plain != 0) {
      Append(inText.substr(0, plain));
    } else {
      plain = 1;
      AppendEscaped(inText.front());
    }
    inText.remove_prefix(plain);
  }
  Append(u'"');
}

void JsonWriter::AppendEscaped(WChar inUnit) {
  if (inUnit > 0x5C) {
    Append(static_cast<WChar>(0xFFFD));
  } else if (char const letter = ShortEscape(inUnit); letter != 0) {
    Append(u'\\');
    Append(static_cast<WChar>(letter));
  } else {
    static constexpr char kDigits[] = "0123456789abcdef";
    AppendAscii("\\u00");
    Append(static_cast<WChar>(kDigits[inUnit >> 4 & 15]));
    Append(static_cast<WChar>(kDigits[inUnit & 15]));
  }
}

void JsonWriter::AppendBase64(std::uint8_t const* inBytes, std::size_t inSize) {
  static constexpr char kDigits[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  Append(u'"');
  for (std::size_t i = 0; i < inSize; i += 3) {
    std::size_t const count = std::min<std::size_t>(3, inSize - i);
    std::uint32_t bits = 0;
    for (std::size_t k = 0; k < 3; ++k) bits = bits << 8 | (k < count ? inBytes[i + k] : 0u);
    std::array<char, 4> digits{kDigits[bits >> 18], kDigits[bits >> 12 & 63],
                               kDigits[bits >> 6 & 63], kDigits[bits & 63]};
    std::fill(digits.begin() + static_cast<std::ptrdiff_t>(count) + 1, digits.end(), '=');
    AppendAscii({digits.data(), digits.size()});
  }
  Append(u'"');
}

String JsonWriter::get_Text() const {
  if (mText.size() > 0x7FFFFFFE) throw std::length_error("JSON text too long for tarn::String");
  return String(mText.data(), static_cast<std::int32_t>(mText.size()));
}

}  // namespace tarn
