#pragma once

#include <cstddef>

#include "tarn/Types.h"

// The loops of the UTF-8 converter. Output ranges are the caller's and large enough; no range
// overlaps another.
namespace tarn::utf8 {

// Widens the leading ASCII bytes and returns how many there were. Writes nothing past inLength
// units, but may write units past the returned count.
std::size_t WidenAscii(char const* inText, std::size_t inLength, WChar* outText) noexcept;

// Decodes any bytes to at most inLength units and returns their number; writes nothing past
// inLength units. Each maximal part of an
// invalid sequence becomes one U+FFFD.
std::size_t Decode(char const* inText, std::size_t inLength, WChar* outText) noexcept;

// Encodes any units and returns the number of bytes; writes nothing past kMaxBytesPerUnit bytes a
// unit. An unpaired surrogate becomes U+FFFD.
inline constexpr std::size_t kMaxBytesPerUnit = 3;
std::size_t Encode(WChar const* inText, std::size_t inLength, char* outText) noexcept;

}  // namespace tarn::utf8
