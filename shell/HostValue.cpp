#include "HostValue.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include <fmt/format.h>

namespace lumora::shell {

namespace {

constexpr std::array<char const*, 14> kKindNames = {
    "unknown", "array", "bool", "binary", "date", "datetime", "double",
    "int64",   "money", "null", "text",   "time", "uint64",   "variant"};

// Clamps a floating number into an integer type; NaN gives 0.
template <typename T>
T ClampDouble(double inValue) {
  if (std::isnan(inValue)) return 0;
  if (inValue <= static_cast<double>(std::numeric_limits<T>::min())) {
    return std::numeric_limits<T>::min();
  }
  // The greatest value is not exact as a double: it rounds up to the first one out of range.
  if (inValue >= static_cast<double>(std::numeric_limits<T>::max())) {
    return std::numeric_limits<T>::max();
  }
  return static_cast<T>(inValue);
}

template <typename T>
T ClampText(std::string const& inText) {
  T number = 0;
  auto const result = std::from_chars(inText.data(), inText.data() + inText.size(), number);
  if (result.ec != std::errc::result_out_of_range) return number;
  bool const isNegative = !inText.empty() && inText.front() == '-';
  return isNegative ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max();
}

template <typename T>
T ToInteger(HostValue::Content const& inContent) {
  struct Visitor {
    T operator()(std::monostate) const { return 0; }
    T operator()(bool inValue) const { return inValue ? T{1} : T{0}; }
    T operator()(std::int64_t inValue) const {
      if (std::is_unsigned_v<T> && inValue < 0) return 0;
      return static_cast<T>(inValue);
    }
    T operator()(std::uint64_t inValue) const {
      constexpr auto kMax = static_cast<std::uint64_t>(std::numeric_limits<T>::max());
      return static_cast<T>(inValue < kMax ? inValue : kMax);
    }
    T operator()(double inValue) const { return ClampDouble<T>(inValue); }
    T operator()(std::string const& inValue) const { return ClampText<T>(inValue); }
    T operator()(HostArray const&) const { return 0; }
  };
  return std::visit(Visitor{}, inContent);
}

std::string PackedText(lumora_value_kind inKind, std::uint64_t inPacked) {
  auto const high = static_cast<std::uint32_t>(inPacked >> 32);
  auto const low = static_cast<std::uint32_t>(inPacked);
  switch (inKind) {
    case lumora_kind_date:
      return PackedDateText(low);
    case lumora_kind_time:
      return PackedTimeText(low);
    case lumora_kind_datetime:
      return PackedDateText(high) + " " + PackedTimeText(low);
    default:
      return std::to_string(inPacked);
  }
}

}  // namespace

char const* KindName(lumora_value_kind inKind) {
  auto const index = static_cast<std::size_t>(inKind);
  return index < kKindNames.size() ? kKindNames[index] : kKindNames[0];
}

bool IsNumberKind(lumora_value_kind inKind) {
  return inKind == lumora_kind_double || inKind == lumora_kind_int64 ||
         inKind == lumora_kind_money || inKind == lumora_kind_uint64;
}

std::string PackedDateText(std::uint32_t inPacked) {
  // The year is the low 23 bits of a signed number; year 0 is 1 BC.
  std::int32_t const year = static_cast<std::int32_t>(inPacked) >> 9;
  std::uint32_t const month = inPacked >> 5 & 15;
  std::uint32_t const day = inPacked & 31;
  if (year > 0) return fmt::format("{:04}-{:02}-{:02}", year, month, day);
  return fmt::format("{:04}-{:02}-{:02} (BC)", 1 - year, month, day);
}

std::string PackedTimeText(std::uint32_t inPacked) {
  return fmt::format("{:02}:{:02}:{:02}.{:03}", inPacked >> 27, inPacked >> 21 & 63,
                     inPacked >> 15 & 63, inPacked & 0x7FFF);
}

std::string DoubleText(double inValue) {
  if (std::isnan(inValue)) return "NaN";
  if (std::isinf(inValue)) return inValue < 0 ? "-Infinity" : "Infinity";
  return fmt::format("{}", inValue);
}

std::int64_t HostValue::get_Int64() const { return ToInteger<std::int64_t>(mContent); }
std::uint64_t HostValue::get_UInt64() const { return ToInteger<std::uint64_t>(mContent); }

bool HostValue::get_Text(std::string& outText) const {
  struct Visitor {
    lumora_value_kind mKind;
    std::string& mText;
    bool operator()(std::monostate) const { return false; }
    bool operator()(HostArray const&) const { return false; }
    bool operator()(bool inValue) const { return Set(inValue ? "true" : "false"); }
    bool operator()(std::int64_t inValue) const { return Set(std::to_string(inValue)); }
    bool operator()(std::uint64_t inValue) const { return Set(PackedText(mKind, inValue)); }
    bool operator()(double inValue) const { return Set(DoubleText(inValue)); }
    bool operator()(std::string const& inValue) const { return Set(inValue); }
    bool Set(std::string inText) const {
      mText = std::move(inText);
      return true;
    }
  };
  return std::visit(Visitor{mKind, outText}, mContent);
}

Cell HostValue::ToCell() const {
  Cell cell;
  if (HostArray const* items = get_Array()) {
    std::string text = "[";
    for (HostValue const& item : *items) {
      if (text.size() > 1) text += ", ";
      Cell const inner = item.ToCell();
      text += inner.mKind == CellKind::kNull ? "NULL" : inner.mText;
    }
    return {CellKind::kText, text + "]"};
  }
  if (!get_Text(cell.mText)) return cell;
  if (IsNumberKind(mKind)) {
    cell.mKind = CellKind::kNumber;
  } else if (mKind == lumora_kind_bool) {
    cell.mKind = CellKind::kBoolean;
  } else if (mKind == lumora_kind_binary) {
    cell.mKind = CellKind::kBytes;
  } else {
    cell.mKind = CellKind::kText;
  }
  return cell;
}

}  // namespace lumora::shell
