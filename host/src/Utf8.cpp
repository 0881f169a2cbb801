#include "Utf8.h"

#include <bit>
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

bool IsContinuation(std::uint8_t inByte) noexcept { return (inByte & 0xC0) == 0x80; }

// Decodes the sequence at ioText, which does not start with an ASCII byte: those of two and three
// bytes, of which nearly all text is, at once.
WChar* DecodeSequence(std::uint8_t const*& ioText, std::uint8_t const* inEnd,
                      WChar* outText) noexcept {
  std::uint32_t const first = *ioText;
  if (first >= 0xC2 && first < 0xE0 && inEnd - ioText >= 2 && IsContinuation(ioText[1])) {
    *outText++ = static_cast<WChar>((first & 0x1F) << 6 | (ioText[1] & 0x3Fu));
    ioText += 2;
    return outText;
  }
  if ((first & 0xF0) == 0xE0 && inEnd - ioText >= 3 && IsContinuation(ioText[1]) &&
      IsContinuation(ioText[2])) {
    std::uint32_t const code =
        (first & 0x0F) << 12 | (ioText[1] & 0x3Fu) << 6 | (ioText[2] & 0x3Fu);
    if (code >= 0x800 && (code & 0xF800) != 0xD800) {
      *outText++ = static_cast<WChar>(code);
      ioText += 3;
      return outText;
    }
  }
  return DecodeOne(ioText, inEnd, outText);
}

// How many places of inBits bits each, from the first one in memory on, come before the first one
// that is marked. The marks are not all clear.
std::size_t PlacesBefore(std::uint64_t inMarks, int inBits) noexcept {
  if constexpr (std::endian::native == std::endian::big) {
    return static_cast<std::size_t>(std::countl_zero(inMarks) / inBits);
  }
  return static_cast<std::size_t>(std::countr_zero(inMarks) / inBits);
}

// Widens eight bytes and returns how many of them, from the first on, are ASCII.
std::size_t Widen8(char const* inText, WChar* outText) noexcept {
  std::uint64_t const marks = Load8(inText) & kHighBits;
#if TARN_SSE2
  __m128i const bytes = _mm_loadl_epi64(reinterpret_cast<__m128i const*>(inText));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(outText),
                   _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
#else
  for (int i = 0; i < 8; ++i) outText[i] = static_cast<WChar>(inText[i]);
#endif
  return marks == 0 ? 8 : PlacesBefore(marks, 8);
}

// Widens 16 bytes; false when not all of them are ASCII.
bool Widen16(char const* inText, WChar* outText) noexcept {
#if TARN_SSE2
  __m128i const bytes = _mm_loadu_si128(reinterpret_cast<__m128i const*>(inText));
  __m128i const zero = _mm_setzero_si128();
  auto* const out = reinterpret_cast<__m128i*>(outText);
  _mm_storeu_si128(out, _mm_unpacklo_epi8(bytes, zero));
  _mm_storeu_si128(out + 1, _mm_unpackhi_epi8(bytes, zero));
  return _mm_movemask_epi8(bytes) == 0;
#else
  return Widen8(inText, outText) == 8 && Widen8(inText + 8, outText + 8) == 8;
#endif
}

// How many of eight units, from the first on, are ASCII.
std::size_t Ascii8(WChar const* inText) noexcept {
  constexpr std::uint64_t kMask = 0xFF80FF80FF80FF80u;
  std::uint64_t const first = Load8(inText) & kMask;
  if (first != 0) return PlacesBefore(first, 16);
  std::uint64_t const second = Load8(inText + 4) & kMask;
  return second == 0 ? 8 : 4 + PlacesBefore(second, 16);
}

// Narrows eight units; what is not ASCII among them becomes any byte.
void Narrow8(WChar const* inText, char* outText) noexcept {
#if TARN_SSE2
  __m128i const units = _mm_loadu_si128(reinterpret_cast<__m128i const*>(inText));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(outText), _mm_packus_epi16(units, units));
#else
  for (int i = 0; i < 8; ++i) outText[i] = static_cast<char>(inText[i]);
#endif
}

// Narrows 16 units; false when not all of them are ASCII.
bool Narrow16(WChar const* inText, char* outText) noexcept {
#if TARN_SSE2
  auto const* const in = reinterpret_cast<__m128i const*>(inText);
  __m128i const low = _mm_loadu_si128(in);
  __m128i const high = _mm_loadu_si128(in + 1);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(outText), _mm_packus_epi16(low, high));
  __m128i const marks = _mm_and_si128(_mm_or_si128(low, high), _mm_set1_epi16(-128));
  return _mm_movemask_epi8(_mm_cmpeq_epi8(marks, _mm_setzero_si128())) == 0xFFFF;
#else
  Narrow8(inText, outText);
  Narrow8(inText + 8, outText + 8);
  return Ascii8(inText) == 8 && Ascii8(inText + 8) == 8;
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
  while (inLength - i >= 8) {
    std::size_t const count = Widen8(inText + i, outText + i);
    i += count;
    if (count != 8) return i;
  }
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
      out = DecodeSequence(text, end, out);
    } else if (end - text >= 8) {
      std::size_t const count = Widen8(reinterpret_cast<char const*>(text), out);
      text += count;
      out += count;
    } else {
      *out++ = *text++;
    }
  }
  return static_cast<std::size_t>(out - outText);
}

std::size_t Encode(WChar const* inText, std::size_t inLength, char* outText) noexcept {
  WChar const* const end = inText + inLength;
  char* out = outText;
  while (inText != end) {
    std::uint32_t code = *inText;
    // Behind an ASCII unit there are mostly more. What is left of the text takes a byte a unit at
    // least, so there is room for whole blocks.
    if (code < 0x80 && end - inText >= 16 && Narrow16(inText, out)) {
      inText += 16;
      out += 16;
      continue;
    }
    if (code < 0x80 && end - inText >= 8) {
      std::size_t const count = Ascii8(inText);
      Narrow8(inText, out);
      inText += count;
      out += count;
      continue;
    }
    ++inText;
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
