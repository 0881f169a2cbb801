#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "RowSource.h"
#include "tarn/ExtensionApi.h"

namespace lumora::shell {

class HostValue;
using HostArray = std::vector<HostValue>;

// A value as procedures take and give it. Dates, times and date-times are kept packed, as
// ExtensionApi.h tells.
class HostValue {
 public:
  using Content = std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double,
                               std::string, HostArray>;

  HostValue() = default;  // NULL
  HostValue(lumora_value_kind inKind, Content inContent)
      : mKind(inKind), mContent(std::move(inContent)) {}

  static HostValue Boolean(bool inValue) { return {lumora_kind_bool, inValue}; }
  static HostValue Int64(std::int64_t inValue) { return {lumora_kind_int64, inValue}; }
  static HostValue UInt64(std::uint64_t inValue) { return {lumora_kind_uint64, inValue}; }
  static HostValue Double(double inValue) { return {lumora_kind_double, inValue}; }
  static HostValue Text(std::string inText) { return {lumora_kind_text, std::move(inText)}; }
  static HostValue Array(HostArray inItems) { return {lumora_kind_array, std::move(inItems)}; }

  lumora_value_kind get_Kind() const { return mKind; }
  bool get_IsNull() const { return mKind == lumora_kind_null; }

  // The number, converted and clamped where the kind is another; 0 when there is none.
  std::int64_t get_Int64() const;
  std::uint64_t get_UInt64() const;
  // False when the value has no text: NULL and arrays.
  bool get_Text(std::string& outText) const;
  // Null when the value is no array.
  HostArray const* get_Array() const { return std::get_if<HostArray>(&mContent); }

  Cell ToCell() const;

 private:
  lumora_value_kind mKind = lumora_kind_null;
  Content mContent;
};

// "int64"; "unknown" for a number that is no kind.
char const* KindName(lumora_value_kind inKind);
bool IsNumberKind(lumora_value_kind inKind);

// "2024-03-05", "0044-03-15 (BC)", "14:07:09.123".
std::string PackedDateText(std::uint32_t inPacked);
std::string PackedTimeText(std::uint32_t inPacked);
// The shortest decimal text that reads back equal; "NaN", "Infinity", "-Infinity".
std::string DoubleText(double inValue);

}  // namespace lumora::shell
