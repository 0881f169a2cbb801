#pragma once

#include <cstdint>
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

  String() noexcept;
  // inLength counts units; -1 = up to the terminator. A null text is the empty text.
  String(WChar const* inText, std::int32_t inLength = -1);
  // inLength counts bytes; -1 = up to the terminator. A null encoding name means UTF-8, the only
  // encoding; invalid bytes become U+FFFD.
  String(char const* inText, std::int32_t inLength = -1, char const* inEncoding = nullptr,
         StringImplementation inKind = StringImplementation::kDefault);
  String(String const& inOther);
  String(String&& ioOther) noexcept;
  ~String();

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
  WChar const* c_str() const noexcept;
  std::uint32_t length() const noexcept { return mLength; }  // in units
  bool isEmpty() const noexcept { return mLength == 0; }
  void clear() noexcept;
  std::basic_string_view<WChar> view() const noexcept { return {c_str(), mLength}; }

  // Room for inUnits units without a new allocation. Keeps the text.
  void reserve(std::uint32_t inUnits);
  // Makes the text inUnits long and returns its first unit for the caller to fill; the old text
  // is not kept. The way to build a long text without a copy.
  WChar* resize_for_overwrite(std::uint32_t inUnits);

  // The leading decimal number of the text (blanks and a sign allowed), clamped to the range of
  // the type; 0 when there is none.
  std::int64_t parseLLong() const noexcept;

  // Both compare unit by unit; operator< is the order of the unit values, shorter first.
  friend LSHARED_API bool operator==(String const& a, String const& b) noexcept;
  friend LSHARED_API bool operator<(String const& a, String const& b) noexcept;

 private:
  WChar* data() noexcept;
  void release() noexcept;
  void append(WChar const* inText, std::uint32_t inLength);

  std::uint32_t mLength = 0;
  std::uint32_t mCapacity = 0;  // 0 = the text stands in mInline
  union {
    WChar mInline[kInlineUnits + 1];
    WChar* mHeap;
  };
};

}  // namespace tarn
