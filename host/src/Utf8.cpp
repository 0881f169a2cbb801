#include "Utf8.h"

#include <cstdint>
#include <cstring>

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#define TARN_SSE2 1
#else
#define TARN_SSE2 0
#endif

namespace tarn::utf8 {
namespace {

constexpr WChar kReplacement = 0xFFFD;
constexpr std::uint64_t kHighBits = 0x8080808080808080u;

std::uint64_t Load8(void const* inBytes) noexcept {
  std::uint64_t word = 0;
  std::memcpy(&word, inBytes, sizeof word);
  return word;
}

// What may follow a lead byte: the number of continuation bytes (0 = not a lead byte) and the range
// of the first of them. The others are 80 to BF.
struct Lead {
  std::uint8_t mCount;
  std::uint8_t mLow;
  std::uint8_t mHigh;
};

constexpr Lead LeadOf(std::uint8_t inByte) noexcept {
  if (inByte < 0xC2 || inByte > 0xF4) return {0, 0, 0};
  if (inByte < 0xE0) return {1, 0x80, 0xBF};
  if (inByte < 0xF0) {
    return {2, static_cast<std::uint8_t>(inByte == 0xE0 ? 0xA0 : 0x80),
            static_cast<std::uint8_t>(inByte == 0xED ? 0x9F : 0xBF)};
  }
  return {3, static_cast<std::uint8_t>(inByte == 0xF0 ? 0x90 : 0x80),
          static_cast<std::uint8_t>(inByte == 0xF4 ? 0x8F : 0xBF)};
}

WChar* PutCodePoint(std::uint32_t inCode, WChar* outText) noexcept {
  if (inCode < 0x10000) {
    *outText++ = static_cast<WChar>(inCode);
  } else {
    *outText++ = static_cast<WChar>(0xD7C0 + (inCode >> 10));
    *outText++ = static_cast<WChar>(0xDC00 + (inCode & 0x3FF));
  }
  return outText;
}

// Decodes the sequence at ioText, which does not start with an ASCII byte, and moves past it.
WChar* DecodeOne(std::uint8_t const*& ioText, std::uint8_t const* inEnd, WChar* outText) noexcept {
  std::uint8_t const first = *ioText++;
  Lead const lead = LeadOf(first);
  std::uint32_t code = first & (0x3Fu >> lead.mCount);
  std::uint8_t low = lead.mLow;
  std::uint8_t high = lead.mHigh;
  for (unsigned i = 0; i < lead.mCount; ++i) {
    if (ioText == inEnd || *ioText < low || *ioText > high) {
      *outText++ = kReplacement;
      return outText;
    }
    code = code << 6 | (*ioText++ & 0x3Fu);
    low = 0x80;
    high = 0xBF;
  }
  if (lead.mCount == 0) code = kReplacement;
  return PutCodePoint(code, outText);
}

#if TARN_SSE2
// 16 bytes that all are ASCII become 16 units.
bool Widen16(char const* inText, WChar* outText) noexcept {
  __m128i const bytes = _mm_loadu_si128(reinterpret_cast<__m128i const*>(inText));
  if (_mm_movemask_epi8(bytes) != 0) return false;
  __m128i const zero = _mm_setzero_si128();
  auto* const out = reinterpret_cast<__m128i*>(outText);
  _mm_storeu_si128(out, _mm_unpacklo_epi8(bytes, zero));
  _mm_storeu_si128(out + 1, _mm_unpackhi_epi8(bytes, zero));
  return true;
}

bool Widen8(char const* inText, WChar* outText) noexcept {
  std::uint64_t const word = Load8(inText);
  if ((word & kHighBits) != 0) return false;
  __m128i const bytes = _mm_loadl_epi64(reinterpret_cast<__m128i const*>(inText));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(outText),
                   _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
  return true;
}
#else
bool Widen8(char const* inText, WChar* outText) noexcept {
  if ((Load8(inText) & kHighBits) != 0) return false;
  for (int i = 0; i < 8; ++i) outText[i] = static_cast<WChar>(inText[i]);
  return true;
}

bool Widen16(char const* inText, WChar* outText) noexcept {
  return Widen8(inText, outText) && Widen8(inText + 8, outText + 8);
}
#endif

// Eight units that all are ASCII.
bool IsAscii8(WChar const* inText) noexcept {
  constexpr std::uint64_t kMask = 0xFF80FF80FF80FF80u;
  return ((Load8(inText) | Load8(inText + 4)) & kMask) == 0;
}

void Narrow8(WChar const* inText, char* outText) noexcept {
#if TARN_SSE2
  __m128i const units = _mm_loadu_si128(reinterpret_cast<__m128i const*>(inText));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(outText), _mm_packus_epi16(units, units));
#else
  for (int i = 0; i < 8; ++i) outText[i] = static_cast<char>(inText[i]);
#endif
}

char Byte(std::uint32_t inBits) noexcept { return static_cast<char>(inBits); }

char* PutBytes(std::uint32_t inCode, char* outText) noexcept {
  if (inCode < 0x80) {
    *outText++ = Byte(inCode);
    return outText;
  }
  if (inCode < 0x800) {
    *outText++ = Byte(0xC0 | inCode >> 6);
  } else {
    if (inCode < 0x10000) {
      *outText++ = Byte(0xE0 | inCode >> 12);
    } else {
      *outText++ = Byte(0xF0 | inCode >> 18);
      *outText++ = Byte(0x80 | (inCode >> 12 & 0x3F));
    }
    *outText++ = Byte(0x80 | (inCode >> 6 & 0x3F));
  }
  *outText++ = Byte(0x80 | (inCode & 0x3F));
  return outText;
}

bool IsHighSurrogate(WChar inUnit) noexcept { return (inUnit & 0xFC00) == 0xD800; }
bool IsLowSurrogate(WChar inUnit) noexcept { return (inUnit & 0xFC00) == 0xDC00; }

}  // namespace

std::size_t WidenAscii(char const* inText, std::size_t inLength, WChar* outText) noexcept {
  std::size_t i = 0;
  while (inLength - i >= 16 && Widen16(inText + i, outText + i)) i += 16;
  while (inLength - i >= 8 && Widen8(inText + i, outText + i)) i += 8;
  for (; i < inLength && static_cast<signed char>(inText[i]) >= 0; ++i) {
    outText[i] = static_cast<WChar>(inText[i]);
  }
  return i;
}

std::size_t Decode(char const* inText, std::size_t inLength, WChar* outText) noexcept {
  auto const* text = reinterpret_cast<std::uint8_t const*>(inText);
  std::uint8_t const* const end = text + inLength;
  WChar* out = outText;
  while (text != end) {
    if (*text >= 0x80) {
      out = DecodeOne(text, end, out);
    } else if (end - text >= 8 && Widen8(reinterpret_cast<char const*>(text), out)) {
      text += 8;
      out += 8;
    } else {
      *out++ = *text++;
    }
  }
  return static_cast<std::size_t>(out - outText);
}

std::size_t AsciiUnits(WChar const* inText, std::size_t inLength) noexcept {
  std::size_t i = 0;
  while (inLength - i >= 8 && IsAscii8(inText + i)) i += 8;
  while (i < inLength && inText[i] < 0x80) ++i;
  return i;
}

void NarrowAscii(WChar const* inText, std::size_t inLength, char* outText) noexcept {
  std::size_t i = 0;
  for (; inLength - i >= 8; i += 8) Narrow8(inText + i, outText + i);
  for (; i < inLength; ++i) outText[i] = static_cast<char>(inText[i]);
}

std::size_t EncodedSizeBound(WChar const* inText, std::size_t inLength) noexcept {
  std::size_t size = inLength;
  for (std::size_t i = 0; i < inLength; ++i) {
    size += (inText[i] >= 0x80 ? 1u : 0u) + (inText[i] >= 0x800 ? 1u : 0u);
  }
  return size;
}

std::size_t Encode(WChar const* inText, std::size_t inLength, char* outText) noexcept {
  WChar const* const end = inText + inLength;
  char* out = outText;
  while (inText != end) {
    std::uint32_t code = *inText++;
    if (code < 0x80) {
      // The most frequent kind by far, and the only one that has company of its own kind.
      *out++ = Byte(code);
      while (end - inText >= 8 && IsAscii8(inText)) {
        Narrow8(inText, out);
        inText += 8;
        out += 8;
      }
      continue;
    }
    if ((code & 0xF800) == 0xD800) {
      if (IsHighSurrogate(static_cast<WChar>(code)) && inText != end && IsLowSurrogate(*inText)) {
        code = 0x10000 + ((code & 0x3FF) << 10) + (*inText++ & 0x3FFu);
      } else {
        code = kReplacement;
      }
    }
    out = PutBytes(code, out);
  }
  return static_cast<std::size_t>(out - outText);
}

}  // namespace tarn::utf8
