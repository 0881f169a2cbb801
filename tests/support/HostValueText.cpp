#include "support/HostValueText.h"

#include <fmt/format.h>

#include <cstdlib>
#include <map>
#include <vector>

#include "tarn/Converter.h"

namespace lumora::test {

namespace {

std::string Bytes(tarn::I_Value* inValue) {
  auto const binary = tarn::query_interface<tarn::I_ValueBinary>(inValue, tarn::kIID_ValueBinary);
  std::vector<unsigned char> bytes(binary->get_DataSize());
  binary->get_Data(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  std::string text = "x'";
  for (unsigned char const byte : bytes) text += fmt::format("{:02x}", byte);
  return text + "'";
}

std::string Date(tarn::I_Value* inValue) {
  std::int32_t year = 0;
  std::int16_t month = 0;
  std::int16_t day = 0;
  auto const date = tarn::query_interface<tarn::I_ValueDate>(inValue, tarn::kIID_ValueDate);
  date->get_Date(year, month, day);
  return fmt::format("{}-{}-{}", year, month, day);
}

std::string DateTime(tarn::I_Value* inValue) {
  auto const view = tarn::query_interface<tarn::I_ValueDateTime>(inValue, tarn::kIID_ValueDateTime);
  tarn::DateTimeParts const parts = view->get_DateTime();
  return fmt::format("{}-{}-{} {}:{}:{}.{:03}", parts.mYear, parts.mMonth, parts.mDay, parts.mHour,
                     parts.mMinute, parts.mSecond, parts.mMillisecond);
}

std::string Quoted(tarn::I_Value* inValue) {
  return "'" + Visible(ToUTF8(inValue->get_String())) + "'";
}

std::string Content(tarn::I_Value* inValue) {
  using enum tarn::ValueType;
  switch (inValue->get_Type()) {
    case kBoolean:
      return inValue->get_Boolean() ? "true" : "false";
    case kFloat:
      return fmt::format("{}", inValue->get_Float());
    case kDouble:
      return fmt::format("{}", inValue->get_Double());
    case kByte:
    case kUShort:
    case kULong:
    case kULLong:
      return fmt::format("{}", inValue->get_ULLong());
    case kShort:
    case kLong:
    case kLLong:
      return fmt::format("{}", inValue->get_LLong());
    case kFixedBinary:
      return Bytes(inValue);
    case kDate:
      return Date(inValue);
    case kDateTime:
      return DateTime(inValue);
    default:
      return Quoted(inValue);
  }
}

std::string KindName(tarn::ValueType inType) {
  using enum tarn::ValueType;
  switch (inType) {
    case kBoolean:
      return "Boolean";
    case kByte:
      return "Byte";
    case kShort:
      return "Short";
    case kUShort:
      return "UShort";
    case kLong:
      return "Long";
    case kULong:
      return "ULong";
    case kLLong:
      return "LLong";
    case kULLong:
      return "ULLong";
    case kFloat:
      return "Float";
    case kDouble:
      return "Double";
    case kDate:
      return "Date";
    case kDateTime:
      return "DateTime";
    case kString:
      return "String";
    case kFixedBinary:
      return "FixedBinary";
    case kJSON:
      return "JSON";
    default:
      return fmt::format("kind {}", static_cast<unsigned>(inType));
  }
}

// Types with a host kind of their own, by what typeof begins with. %: the cell.
struct Kind {
  char const* mName;
  char const* mText;  // SQL that gives the content as text
};

std::map<std::string, Kind, std::less<>> const kKinds = {
    {"BOOLEAN", {"Boolean", "CAST(% AS VARCHAR)"}},
    {"TINYINT", {"Short", "CAST(% AS VARCHAR)"}},
    {"SMALLINT", {"Short", "CAST(% AS VARCHAR)"}},
    {"INTEGER", {"Long", "CAST(% AS VARCHAR)"}},
    {"BIGINT", {"LLong", "CAST(% AS VARCHAR)"}},
    {"UTINYINT", {"Byte", "CAST(% AS VARCHAR)"}},
    {"USMALLINT", {"UShort", "CAST(% AS VARCHAR)"}},
    {"UINTEGER", {"ULong", "CAST(% AS VARCHAR)"}},
    {"UBIGINT", {"ULLong", "CAST(% AS VARCHAR)"}},
    {"FLOAT", {"Float", "CAST(% AS VARCHAR)"}},
    {"DOUBLE", {"Double", "CAST(% AS VARCHAR)"}},
    {"DECIMAL", {"Double", "CAST(CAST(% AS DOUBLE) AS VARCHAR)"}},
    // DuckDB's time zone library loses a millisecond at the ends of the range, in UTC too.
    {"TIMESTAMP WITH TIME ZONE",
     {"String",
      "CASE WHEN isinf(%) THEN CAST(% AS VARCHAR) ELSE "
      "CAST(make_timestamp(epoch_us(%)) AS VARCHAR) || '+00' END"}},
    {"BLOB", {"FixedBinary", "lower(hex(%))"}},
};

Kind const kText = {"String", "CAST(% AS VARCHAR)"};

Kind const& FindKind(std::string const& inType) {
  if (inType.ends_with(']')) return kText;
  auto const found = kKinds.find(inType.substr(0, inType.find('(')));
  return found == kKinds.end() ? kText : found->second;
}

std::string WithKind(std::string const& inName, std::string const& inText) {
  if (inName == "String") return "String '" + Visible(inText) + "'";
  if (inName == "FixedBinary") return "FixedBinary x'" + inText + "'";
  if (inName == "Float") return fmt::format("Float {}", std::strtof(inText.c_str(), nullptr));
  if (inName == "Double") return fmt::format("Double {}", std::strtod(inText.c_str(), nullptr));
  return inName + " " + inText;
}

}  // namespace

std::string SqlContent(std::string const& inType) { return FindKind(inType).mText; }
std::string InWords(std::string const& inType, std::string const& inContent) {
  return WithKind(FindKind(inType).mName, inContent);
}
std::string KindOf(std::string const& inType) { return FindKind(inType).mName; }

std::string ToUTF8(tarn::String const& inText) {
  return tarn::StFromUTF16(inText, tarn::GetConverter_UTF8());
}

std::string Visible(std::string_view inText) {
  std::string text;
  for (char const c : inText) {
    auto const byte = static_cast<unsigned char>(c);
    if (c == '\n') {
      text += "\\n";
    } else if (byte < 0x20 || byte == 0x7F) {
      text += fmt::format("\\x{:02x}", byte);
    } else {
      text += c;
    }
  }
  return text;
}

std::string Describe(tarn::I_Value* inValue) {
  if (!inValue) return "no value";
  return KindName(inValue->get_Type()) + " " + (inValue->get_IsNull() ? "NULL" : Content(inValue));
}

std::string DescribeFully(tarn::I_Value* inValue) {
  return fmt::format("{} [nullable {}, declared {}, size {}]", Describe(inValue),
                     inValue->get_IsNullable(), inValue->get_MaxLength(), inValue->get_Length());
}

}  // namespace lumora::test
