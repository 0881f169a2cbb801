#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <utility>
#include <variant>

// Conversion between the number kinds: clamping to the target's range.
namespace tarn {

// An integer exactly, or a floating-point number.
using Number = std::variant<std::int64_t, std::uint64_t, double>;

template <typename TTo>
TTo ClampInteger(double inValue) noexcept {
  // 2^digits is exact as a double, the largest integer below it may not be.
  double const limit = std::ldexp(1.0, std::numeric_limits<TTo>::digits);
  if (std::isnan(inValue)) return 0;
  if (inValue >= limit) return std::numeric_limits<TTo>::max();
  if (inValue <= static_cast<double>(std::numeric_limits<TTo>::min())) {
    return std::numeric_limits<TTo>::min();
  }
  return static_cast<TTo>(inValue);
}

template <typename TTo, typename TFrom>
TTo ClampInteger(TFrom inValue) noexcept requires std::is_integral_v<TFrom> {
  if (std::cmp_greater(inValue, std::numeric_limits<TTo>::max())) {
    return std::numeric_limits<TTo>::max();
  }
  if (std::cmp_less(inValue, std::numeric_limits<TTo>::min())) {
    return std::numeric_limits<TTo>::min();
  }
  return static_cast<TTo>(inValue);
}

// A finite number stays finite; NaN and the infinities are numbers of every floating-point kind.
inline float ClampFloat(double inValue) noexcept {
  if (!std::isfinite(inValue)) return static_cast<float>(inValue);
  double const limit = std::numeric_limits<float>::max();
  if (inValue > limit) return std::numeric_limits<float>::max();
  if (inValue < -limit) return std::numeric_limits<float>::lowest();
  return static_cast<float>(inValue);
}

template <typename TTo, typename TFrom>
TTo ConvertNumber(TFrom inValue) noexcept {
  if constexpr (std::is_same_v<TTo, TFrom>) {
    return inValue;
  } else if constexpr (std::is_same_v<TFrom, bool>) {
    return static_cast<TTo>(inValue ? 1 : 0);
  } else if constexpr (std::is_same_v<TTo, bool>) {
    return inValue == inValue && inValue != 0;  // NOLINT(misc-redundant-expression): not a NaN
  } else if constexpr (std::is_same_v<TTo, float> && std::is_same_v<TFrom, double>) {
    return ClampFloat(inValue);
  } else if constexpr (std::is_floating_point_v<TTo>) {
    return static_cast<TTo>(inValue);
  } else if constexpr (std::is_floating_point_v<TFrom>) {
    return ClampInteger<TTo>(static_cast<double>(inValue));
  } else {
    return ClampInteger<TTo>(inValue);
  }
}

template <typename TTo>
TTo ConvertNumber(Number const& inValue) noexcept {
  if (auto const* number = std::get_if<std::int64_t>(&inValue)) return ConvertNumber<TTo>(*number);
  if (auto const* number = std::get_if<std::uint64_t>(&inValue)) {
    return ConvertNumber<TTo>(*number);
  }
  return ConvertNumber<TTo>(*std::get_if<double>(&inValue));
}

}  // namespace tarn
