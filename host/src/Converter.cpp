#include "tarn/Converter.h"

#include <stdexcept>

#include "Utf8.h"

namespace tarn {
namespace {

constexpr std::size_t kMaxUnits = 0x7FFFFFFE;

constexpr std::size_t kPieceUnits = 256;

// The next units to convert together: no surrogate pair is split.
std::size_t PieceLength(WChar const* inText, std::size_t inLength) noexcept {
  if (inLength <= kPieceUnits) return inLength;
  bool const isHighSurrogate = (inText[kPieceUnits - 1] & 0xFC00) == 0xD800;
  return isHighSurrogate ? kPieceUnits - 1 : kPieceUnits;
}

class ConverterUtf8 final : public I_Converter {
 public:
  String ToUTF16(char const* inText, std::size_t inLength) const override {
    if (inLength > kMaxUnits) throw std::length_error("text too long for tarn::String");
    String text;
    // As many units as bytes are enough for every text, and exact for an ASCII one.
    WChar* const units = text.resize_for_overwrite(static_cast<std::uint32_t>(inLength));
    std::size_t const ascii = utf8::WidenAscii(inText, inLength, units);
    if (ascii != inLength) {
      std::size_t const rest = utf8::Decode(inText + ascii, inLength - ascii, units + ascii);
      text = String(units, static_cast<std::int32_t>(ascii + rest));
    }
    return text;  // on every way, so that it is made in the caller's place
  }

  std::string FromUTF16(WChar const* inText, std::size_t inLength) const override {
    if (inLength > kMaxUnits) throw std::length_error("text too long for tarn::String");
    // In pieces through a buffer, since a string cannot grow without filling its new room.
    char bytes[kPieceUnits * utf8::kMaxBytesPerUnit];
    std::string text;
    if (inLength > kPieceUnits) text.reserve(inLength + inLength / 8);
    while (inLength != 0) {
      std::size_t const units = PieceLength(inText, inLength);
      text.append(bytes, utf8::Encode(inText, units, bytes));
      inText += units;
      inLength -= units;
    }
    return text;
  }
};

constinit ConverterUtf8 gConverter;

}  // namespace

I_Converter* GetConverter_UTF8() noexcept { return &gConverter; }

String StToUTF16(char const* inText, std::int64_t inLength, I_Converter* inConverter) {
  if (!inText) return {};
  std::size_t const length =
      inLength < 0 ? std::char_traits<char>::length(inText) : static_cast<std::size_t>(inLength);
  return (inConverter ? inConverter : &gConverter)->ToUTF16(inText, length);
}

std::string StFromUTF16(String const& inText, I_Converter* inConverter) {
  return (inConverter ? inConverter : &gConverter)->FromUTF16(inText.c_str(), inText.length());
}

String EscapeStringU(WChar const* inText, std::uint32_t inQuote) {
  String result;
  if (!inText) return result;
  std::size_t length = 0;
  std::size_t quotes = 0;
  for (; inText[length] != 0; ++length) quotes += inText[length] == inQuote ? 1 : 0;
  if (length + quotes > kMaxUnits) throw std::length_error("text too long for tarn::String");
  WChar* out = result.resize_for_overwrite(static_cast<std::uint32_t>(length + quotes));
  for (std::size_t i = 0; i < length; ++i) {
    *out++ = inText[i];
    if (inText[i] == inQuote) *out++ = inText[i];
  }
  return result;
}

}  // namespace tarn
