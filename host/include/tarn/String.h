#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

#include "tarn/Export.h"
#include "tarn/Types.h"

namespace tarn {

// How a String keeps its text. There is one kind today; the parameter keeps the signature stable.
enum class StringImplementation { kDefault };

// The host's text: UTF-16 units, always followed by a NUL unit, which the length does not count.
// A text may hold NUL units. Short texts (up to kInlineUnits) stand inside the object.
// Not synchronised, as any value type. Throws std::bad_alloc when memory runs out and
// std::length_error beyond 2^31 - 2 units.
class LSHARED_API String {
 public:
  static constexpr std::uint32_t kInlineUnits = 11;
  static String const sEmpty;  // shared empty text; valid for the life of the library

  constexpr String() noexcept : mInline{} {}
  // inLength counts units; -1 = up to the terminator. A null text is the empty text.
  String(WChar const* inText, std::int32_t inLength = -1);
  // inLength counts bytes; -1 = up to the terminator. A null encoding name means UTF-8, the only
  // encoding; invalid bytes become U+FFFD.
  String(char const* inText, std::int32_t inLength = -1, char const* inEncoding = nullptr,
         StringImplementation inKind = StringImplementation::kDefault);
  String(String const& inOther);
  // Moving takes the text over and leaves the empty text.
  String(String&& ioOther) noexcept : mInline{} { take(ioOther); }
  ~String() {
    if (mCapacity != 0) release();
  }

  String& operator=(String const& inOther);
  String& operator=(String&& ioOther) noexcept;
  String& operator=(WChar const* inText);
  String& operator=(char const* inText);

  String& operator+=(String const& inText);
  String& operator+=(WChar const* inText);
  String& operator+=(char const* inText);
  String& operator<<(String const& inText);
  String& operator<<(WChar const* inText);
  String& operator<<(char const* inText);
  String& operator<<(std::uint32_t inNumber);  // in decimal
  String& operator<<(std::uint64_t inNumber);
  String& operator<<(std::int64_t inNumber);

  // NUL-terminated; valid until the String is changed or destroyed.
  WChar const* c_str() const noexcept { return mCapacity != 0 ? mHeap : mInline; }
  std::uint32_t length() const noexcept { return mLength; }  // in units
  bool isEmpty() const noexcept { return mLength == 0; }
  void clear() noexcept;
  std::basic_string_view<WChar> view() const noexcept { return {c_str(), mLength}; }

  // Room for inUnits units without a new allocation. Keeps the text.
  void reserve(std::uint32_t inUnits);
  // Makes the text inUnits long and returns its first unit for the caller to fill; the old text
  // is not kept. The way to build a long text without a copy.
  WChar* resize_for_overwrite(std::uint32_t inUnits) {
    if (inUnits > kInlineUnits && inUnits > mCapacity) replace(inUnits);
    mLength = inUnits;
    WChar* const text = data();
    text[inUnits] = 0;
    return text;
  }

  // The leading decimal number of the text (blanks and a sign allowed), clamped to the range of
  // the type; 0 when there is none.
  std::int64_t parseLLong() const noexcept;

  // Both compare unit by unit; operator< is the order of the unit values, shorter first.
  friend LSHARED_API bool operator==(String const& a, String const& b) noexcept;
  friend LSHARED_API bool operator<(String const& a, String const& b) noexcept;

 private:
  WChar* data() noexcept { return mCapacity != 0 ? mHeap : mInline; }
  void take(String& ioOther) noexcept {
    mLength = ioOther.mLength;
    mCapacity = ioOther.mCapacity;
    std::memcpy(mInline, ioOther.mInline, sizeof mInline);
    ioOther.mLength = ioOther.mCapacity = 0;
    ioOther.mInline[0] = 0;
  }
  void release() noexcept;
  // Gives the text up for an empty one with room.
  void replace(std::uint32_t inUnits);
  void assign(WChar const* inText, std::size_t inLength);
  void append(WChar const* inText, std::size_t inLength);

  std::uint32_t mLength = 0;
  std::uint32_t mCapacity = 0;  // 0 = the text stands in mInline
  union {
    WChar mInline[kInlineUnits + 1];
    WChar* mHeap;
  };
};

}  // namespace tarn
