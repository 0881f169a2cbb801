#pragma once

#include <cstdint>
#include <string_view>

#include "Number.h"
#include "tarn/String.h"

// Numbers as text and back, independent of any locale.
namespace tarn {

// The leading integer (blanks and a sign allowed), clamped; 0 when there is none.
std::int64_t ParseInteger(std::basic_string_view<WChar> inText) noexcept;

// The leading number: exact when it is an integer of at most 64 bits, else the nearest double
// ("12.5e3", "NaN", "Infinity"). 0 when there is none.
Number ParseNumber(std::basic_string_view<WChar> inText);

// "true" and "false" (in any case), else whether the leading number is not 0.
bool ParseBoolean(std::basic_string_view<WChar> inText);

// Decimal text; a floating-point number in the shortest form that reads back equal. "NaN",
// "Infinity" and "-Infinity" are what JSON and SQL users know.
String NumberText(bool inValue);
String NumberText(std::int64_t inValue);
String NumberText(std::uint64_t inValue);
String NumberText(float inValue);
String NumberText(double inValue);
inline String NumberText(std::int32_t inValue) { return NumberText(std::int64_t{inValue}); }
inline String NumberText(std::int16_t inValue) { return NumberText(std::int64_t{inValue}); }
inline String NumberText(std::uint32_t inValue) { return NumberText(std::uint64_t{inValue}); }
inline String NumberText(std::uint16_t inValue) { return NumberText(std::uint64_t{inValue}); }
inline String NumberText(std::uint8_t inValue) { return NumberText(std::uint64_t{inValue}); }

}  // namespace tarn
