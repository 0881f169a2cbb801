// The UTF-8 converter against a slow one that is written down from the definition: a sequence is
// right when some code point is encoded so, and what is wrong becomes one U+FFFD for each longest
// part that a right sequence could begin with.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Text.h"
#include "support/Input.h"
#include "tarn/Converter.h"

namespace {

using lumora::fuzz::Input;
using lumora::fuzz::Require;
using Units = std::basic_string<tarn::WChar>;

struct Form {
  unsigned mMark;  // of the first byte
  unsigned mMask;
  std::uint32_t mLeast;
  std::uint32_t mGreatest;
};
constexpr Form kForms[] = {{0x00, 0x80, 0x00, 0x7F},
                           {0xC0, 0xE0, 0x80, 0x7FF},
                           {0xE0, 0xF0, 0x800, 0xFFFF},
                           {0xF0, 0xF8, 0x10000, 0x10FFFF}};

// The code points of inLength bytes that begin with those: whether there is one, and which is the
// least of them.
bool FindCode(std::string_view inBytes, std::size_t inLength, std::uint32_t& outCode) {
  Form const& form = kForms[inLength - 1];
  if ((static_cast<unsigned char>(inBytes[0]) & form.mMask) != form.mMark) return false;
  std::uint32_t low = static_cast<unsigned char>(inBytes[0]) & ~form.mMask;
  std::uint32_t high = low;
  for (std::size_t i = 1; i < inLength; ++i) {
    std::uint32_t first = 0x80;
    std::uint32_t last = 0xBF;
    if (i < inBytes.size()) first = last = static_cast<unsigned char>(inBytes[i]);
    if ((first & 0xC0) != 0x80) return false;
    low = low * 64 + first % 64;
    high = high * 64 + last % 64;
  }
  low = std::max(low, form.mLeast);
  high = std::min(high, form.mGreatest);
  if (low >= 0xD800 && low <= 0xDFFF) low = 0xE000;
  outCode = low;
  return low <= high && !(low < 0xD800 && low > high);
}

// The length of the longest right sequence, or of the longest beginning of one, at the start.
std::size_t Measure(std::string_view inText, bool& outIsWhole, std::uint32_t& outCode) {
  outIsWhole = false;
  std::size_t longest = 1;
  for (std::size_t length = 1; length <= 4; ++length) {
    for (std::size_t size = 1; size <= std::min(length, inText.size()); ++size) {
      std::uint32_t code = 0;
      if (!FindCode(inText.substr(0, size), length, code)) continue;
      longest = std::max(longest, size);
      if (size != length) continue;
      outIsWhole = true;
      outCode = code;
    }
  }
  return longest;
}

Units DecodeSlowly(std::string_view inText, bool& outIsRight) {
  Units units;
  outIsRight = true;
  while (!inText.empty()) {
    bool isWhole = false;
    std::uint32_t code = 0xFFFD;
    std::size_t const size = Measure(inText, isWhole, code);
    if (!isWhole) code = 0xFFFD;
    outIsRight = outIsRight && isWhole;
    if (code > 0xFFFF) units += static_cast<tarn::WChar>(0xD800 + (code - 0x10000) / 0x400);
    units += static_cast<tarn::WChar>(code > 0xFFFF ? 0xDC00 + code % 0x400 : code);
    inText.remove_prefix(size);
  }
  return units;
}

// Unpaired surrogates become U+FFFD.
Units Repair(Units inUnits) {
  auto const isAt = [&](std::size_t i, unsigned inMark) {
    return i < inUnits.size() && (inUnits[i] & 0xFC00u) == inMark;
  };
  for (std::size_t i = 0; i < inUnits.size(); ++i) {
    if (isAt(i, 0xD800) && isAt(i + 1, 0xDC00)) {
      ++i;
    } else if (isAt(i, 0xD800) || isAt(i, 0xDC00)) {
      inUnits[i] = 0xFFFD;
    }
  }
  return inUnits;
}

// In memory of exactly their size, so that a read outside is seen.
template <typename T>
std::unique_ptr<T[]> Exact(std::basic_string<T> const& inText) {
  auto copy = std::make_unique<T[]>(inText.size());
  std::copy(inText.begin(), inText.end(), copy.get());
  return copy;
}

void CheckDecoding(std::string const& inText) {
  bool isRight = false;
  Units const expected = DecodeSlowly(inText, isRight);
  auto const bytes = Exact(inText);
  tarn::I_Converter& converter = *tarn::GetConverter_UTF8();
  tarn::String const text = converter.ToUTF16(bytes.get(), inText.size());
  Require(text.view() == expected, "decoded as defined");
  Require(text.c_str()[text.length()] == 0, "a terminator");
  tarn::String const cut = tarn::StToUTF16(inText.c_str(), -1, nullptr);
  Require(cut == tarn::String(inText.c_str()), "one decoding of a text up to its terminator");
  std::string const back = tarn::StFromUTF16(text, &converter);
  Require(!isRight || back == inText, "a right text comes back");
  Require(lumora::shell::ValidUtf8(inText) == inText || !isRight, "a right text is left alone");
  Require(converter.ToUTF16(back.data(), back.size()).view() == expected, "repaired once");
}

void CheckEncoding(Units const& inUnits) {
  auto const units = Exact(inUnits);
  tarn::I_Converter& converter = *tarn::GetConverter_UTF8();
  std::string const text = converter.FromUTF16(units.get(), inUnits.size());
  bool isRight = false;
  Require(DecodeSlowly(text, isRight) == Repair(inUnits) && isRight, "encoded as defined");
}

void CheckQuotes(tarn::String const& inText, std::uint32_t inQuote) {
  tarn::String const doubled = tarn::EscapeStringU(inText.c_str(), inQuote);
  Units single;
  for (std::size_t i = 0; i < doubled.length(); ++i) {
    single += doubled.c_str()[i];
    if (doubled.c_str()[i] != inQuote) continue;
    Require(++i < doubled.length() && doubled.c_str()[i] == inQuote, "every quote is doubled");
  }
  Require(single == Units(inText.c_str()), "nothing but quotes is added");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* inData, std::size_t inSize) {
  Input input(inData, inSize);
  auto const quote = input.Take<std::uint8_t>();
  // Long runs of ASCII are what the fast ways are for.
  std::string const ahead(input.TakeBelow(40), 'x');
  std::string const rest = input.TakeRest();
  CheckDecoding(ahead + rest);
  Units units(ahead.begin(), ahead.end());
  for (std::size_t i = 0; i + 1 < rest.size(); i += 2) {
    units += static_cast<tarn::WChar>(static_cast<unsigned char>(rest[i]) |
                                      static_cast<unsigned char>(rest[i + 1]) << 8);
  }
  CheckEncoding(units);
  CheckQuotes(tarn::String(units.data(), static_cast<std::int32_t>(units.size())), quote);
  return 0;
}
