#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <string_view>

#include "tarn/String.h"

namespace tarn {

// Builds a JSON text of UTF-16 units.
class JsonWriter {
 public:
  void Append(WChar inUnit) { mText.push_back(inUnit); }
  void Append(std::basic_string_view<WChar> inText) {
    mText.append(inText.data(), inText.data() + inText.size());
  }
  void AppendAscii(std::string_view inText) {
    for (char const byte : inText) mText.push_back(static_cast<WChar>(byte));
  }

  // A JSON string. Unpaired surrogates become U+FFFD.
  void AppendQuoted(std::basic_string_view<WChar> inText);

  // A JSON string of the bytes in base64.
  void AppendBase64(std::uint8_t const* inBytes, std::size_t inSize);

  // Throws std::length_error when the text is too long for a String.
  String get_Text() const;

 private:
  void AppendEscaped(WChar inUnit);

  fmt::basic_memory_buffer<WChar, 512> mText;
};

}  // namespace tarn
