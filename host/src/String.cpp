#include "tarn/String.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string>

#include "NumberText.h"
#include "Pool.h"
#include "tarn/Converter.h"

namespace tarn {
namespace {

static_assert(sizeof(String) == 32, "two length fields and the inline text");

using View = std::basic_string_view<WChar>;

constexpr std::size_t kMaxUnits = 0x7FFFFFFE;

std::size_t HeapBytes(std::uint32_t inCapacity) noexcept {
  return (std::size_t{inCapacity} + 1) * sizeof(WChar);
}

// The least capacity for inUnits that fills whole steps of the pool.
std::uint32_t CapacityFor(std::size_t inUnits) {
  if (inUnits > kMaxUnits) throw std::length_error("tarn::String is too long");
  constexpr std::size_t kStepUnits = 8;
  std::size_t const room = (inUnits + 1 + kStepUnits - 1) / kStepUnits * kStepUnits - 1;
  return static_cast<std::uint32_t>(std::min(room, kMaxUnits));
}

WChar* NewText(std::uint32_t inCapacity) {
  return static_cast<WChar*>(pool::Allocate(HeapBytes(inCapacity)));
}

void Copy(WChar* outText, WChar const* inText, std::size_t inLength) noexcept {
  if (inLength != 0) std::memmove(outText, inText, inLength * sizeof(WChar));
}

std::size_t UnitsOf(WChar const* inText, std::int32_t inLength) noexcept {
  if (!inText) return 0;
  return inLength < 0 ? std::char_traits<WChar>::length(inText)
                      : static_cast<std::size_t>(inLength);
}

String Narrow(std::string_view inText) {
  return GetConverter_UTF8()->ToUTF16(inText.data(), inText.size());
}

}  // namespace

constinit String const String::sEmpty;

String::String(WChar const* inText, std::int32_t inLength) : String() {
  assign(inText, UnitsOf(inText, inLength));
}

String::String(char const* inText, std::int32_t inLength, char const*, StringImplementation)
    : String(StToUTF16(inText, inLength, GetConverter_UTF8())) {}

String::String(String const& inOther) : String() { assign(inOther.c_str(), inOther.mLength); }

String& String::operator=(String const& inOther) {
  if (this != &inOther) assign(inOther.c_str(), inOther.mLength);
  return *this;
}

String& String::operator=(String&& ioOther) noexcept {
  if (this != &ioOther) {
    if (mCapacity != 0) release();
    take(ioOther);
  }
  return *this;
}

String& String::operator=(WChar const* inText) {
  assign(inText, UnitsOf(inText, -1));
  return *this;
}

String& String::operator=(char const* inText) { return *this = String(inText); }

String& String::operator+=(String const& inText) {
  append(inText.c_str(), inText.mLength);
  return *this;
}

String& String::operator+=(WChar const* inText) {
  append(inText, UnitsOf(inText, -1));
  return *this;
}

String& String::operator+=(char const* inText) { return *this += String(inText); }

String& String::operator<<(String const& inText) { return *this += inText; }
String& String::operator<<(WChar const* inText) { return *this += inText; }
String& String::operator<<(char const* inText) { return *this += inText; }

String& String::operator<<(std::uint32_t inNumber) { return *this << std::uint64_t{inNumber}; }

String& String::operator<<(std::uint64_t inNumber) {
  fmt::format_int const text(inNumber);
  return *this += Narrow({text.data(), text.size()});
}

String& String::operator<<(std::int64_t inNumber) {
  fmt::format_int const text(inNumber);
  return *this += Narrow({text.data(), text.size()});
}

void String::clear() noexcept {
  if (mCapacity != 0) release();
  mLength = mCapacity = 0;
  mInline[0] = 0;
}

void String::reserve(std::uint32_t inUnits) {
  if (inUnits <= std::max(mCapacity, kInlineUnits)) return;
  std::uint32_t const capacity = CapacityFor(inUnits);
  WChar* const text = NewText(capacity);
  Copy(text, c_str(), std::size_t{mLength} + 1);
  if (mCapacity != 0) release();
  mHeap = text;
  mCapacity = capacity;
}

std::int64_t String::parseLLong() const noexcept { return ParseInteger(view()); }

bool operator==(String const& a, String const& b) noexcept {
  return a.mLength == b.mLength &&
         std::memcmp(a.c_str(), b.c_str(), a.mLength * sizeof(WChar)) == 0;
}

bool operator<(String const& a, String const& b) noexcept { return a.view() < b.view(); }

void String::release() noexcept { pool::Free(mHeap, HeapBytes(mCapacity)); }

void String::replace(std::uint32_t inUnits) {
  std::uint32_t const capacity = CapacityFor(inUnits);
  WChar* const text = NewText(capacity);
  if (mCapacity != 0) release();
  mHeap = text;
  mCapacity = capacity;
}

// The text may be part of this one.
void String::assign(WChar const* inText, std::size_t inLength) {
  if (inLength <= std::max(mCapacity, kInlineUnits)) {
    WChar* const text = data();
    Copy(text, inText, inLength);
    text[inLength] = 0;
    mLength = static_cast<std::uint32_t>(inLength);
    return;
  }
  std::uint32_t const capacity = CapacityFor(inLength);
  WChar* const text = NewText(capacity);
  Copy(text, inText, inLength);
  text[inLength] = 0;
  if (mCapacity != 0) release();
  mHeap = text;
  mCapacity = capacity;
  mLength = static_cast<std::uint32_t>(inLength);
}

// The text may be part of this one.
void String::append(WChar const* inText, std::size_t inLength) {
  std::size_t const length = mLength + inLength;
  std::size_t const room = std::max(mCapacity, kInlineUnits);
  if (length <= room) {
    Copy(data() + mLength, inText, inLength);
  } else {
    std::uint32_t const capacity = CapacityFor(std::max(length, std::min(room * 2, kMaxUnits)));
    WChar* const text = NewText(capacity);
    Copy(text, c_str(), mLength);
    Copy(text + mLength, inText, inLength);
    if (mCapacity != 0) release();
    mHeap = text;
    mCapacity = capacity;
  }
  data()[length] = 0;
  mLength = static_cast<std::uint32_t>(length);
}

}  // namespace tarn
