#include "Parameters.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <set>

#include "CallParser.h"
#include "HostText.h"
#include "HostValue.h"
#include "Script.h"
#include "Text.h"
#include "tarn/Json.h"

namespace lumora::shell {

namespace {

using ValuePtr = tarn::smart_ptr<tarn::I_Value>;

ValuePtr TextValue(std::string_view inText) {
  ValuePtr value(tarn::CreateValueString(false, nullptr, nullptr));
  value->put_String(ToHostText(inText));
  return value;
}

ValuePtr NullValue() {
  ValuePtr value(tarn::CreateValueBoolean(true, nullptr, nullptr));
  value->put_IsNull(true);
  return value;
}

ValuePtr NumberValue(HostValue const& inNumber) {
  if (inNumber.get_Kind() == lumora_kind_int64) {
    ValuePtr value(tarn::CreateValueLLong(false, nullptr, nullptr));
    value->put_LLong(inNumber.get_Int64());
    return value;
  }
  if (inNumber.get_Kind() == lumora_kind_uint64) {
    ValuePtr value(tarn::CreateValueULLong(false, nullptr, nullptr));
    value->put_ULLong(inNumber.get_UInt64());
    return value;
  }
  std::string text;
  inNumber.get_Text(text);
  ValuePtr value(tarn::CreateValueDouble(false, nullptr, nullptr));
  value->put_Double(std::strtod(text.c_str(), nullptr));
  return value;
}

bool IsEnvelope(std::string_view inText) {
  if (inText.empty() || inText.front() != '{') return false;
  tarn::Json const json(ToHostText(inText));
  return json.isObject() && json.HasMember("duckdb_variant");
}

// The parameter by the rules of CALL's arguments, when it is one of the kinds that it shares.
ValuePtr LiteralValue(std::string_view inText) {
  try {
    HostValue const value = ParseArgument(inText);
    switch (value.get_Kind()) {
      case lumora_kind_null:
        return NullValue();
      case lumora_kind_int64:
      case lumora_kind_uint64:
      case lumora_kind_double:
        return NumberValue(value);
      case lumora_kind_text: {
        std::string text;
        value.get_Text(text);
        return TextValue(text);
      }
      default:
        return nullptr;
    }
  } catch (CallSyntaxError const&) {
    return nullptr;
  }
}

}  // namespace

tarn::smart_ptr<tarn::I_Value> MakeParameter(std::string_view inText) {
  if (IsEnvelope(inText)) {
    ValuePtr value(tarn::CreateValueJSON(false, nullptr, nullptr));
    value->put_String(ToHostText(inText));
    return value;
  }
  // Comments are for statements: a text such as "--" is a text.
  bool const hasComment =
      inText.find("--") != std::string_view::npos || inText.find("/*") != std::string_view::npos;
  bool const isQuoted = !inText.empty() && inText.front() == '\'';
  ValuePtr value = hasComment && !isQuoted ? nullptr : LiteralValue(inText);
  return value ? value : TextValue(inText);
}

std::size_t CountPlaces(std::string_view inStatement) {
  std::size_t highest = 0;
  std::size_t marks = 0;
  std::set<std::string> names;
  for (std::size_t i = SkipBlanks(inStatement, 0); i < inStatement.size();) {
    std::size_t const end = std::min(SkipToken(inStatement, i), inStatement.size());
    char const first = inStatement[i];
    if (first == '?') ++marks;
    if (first == '$' && end == i + 1) {
      std::size_t const nameEnd = end < inStatement.size()
                                      ? std::min(SkipToken(inStatement, end), inStatement.size())
                                      : end;
      std::string_view const name = inStatement.substr(end, nameEnd - end);
      std::size_t number = 0;
      auto const parsed = std::from_chars(name.data(), name.data() + name.size(), number);
      bool const isNumber = parsed.ec == std::errc() && parsed.ptr == name.data() + name.size();
      if (isNumber) highest = std::max(highest, number);
      if (!isNumber && !name.empty()) names.insert(ToLower(name));
    }
    i = SkipBlanks(inStatement, end);
  }
  return std::max(highest, marks + names.size());
}

tarn::smart_ptr<tarn::ValueRow> MakeParameterRow(std::vector<std::string> const& inTexts,
                                                 std::string_view inStatement) {
  std::size_t const places = std::min(CountPlaces(inStatement), inTexts.size());
  if (places == 0) return nullptr;
  tarn::smart_ptr<tarn::ValueRow> row(new tarn::ValueRow(static_cast<std::uint32_t>(places)));
  for (std::size_t i = 0; i < places; ++i) row->Append(MakeParameter(inTexts[i]));
  return row;
}

}  // namespace lumora::shell
