// DecodeError and DecodePrivateError on any text, against a reader of JSON that keeps whole
// documents.
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

#include "duckdb_c/PrivateDatabase.h"
#include "statement/ErrorDecoding.h"
#include "support/Input.h"
#include "tarn/Converter.h"

namespace {

using lumora::fuzz::Int128;
using lumora::fuzz::Require;
using nlohmann::json;

std::string Utf8(tarn::String const& inText) {
  return tarn::StFromUTF16(inText, tarn::GetConverter_UTF8());
}

// A member that is no string is its JSON text, which has more than one spelling: only what it is
// read as is compared.
bool IsMember(json const& inReport, char const* inName, std::string const& inText) {
  auto const found = inReport.find(inName);
  if (found == inReport.end() || found->is_null()) return inText.empty();
  if (found->is_string()) return inText == found->get<std::string>();
  return json::parse(inText, nullptr, false) == *found;
}

// The leading number of a text, clamped.
std::int64_t LeadingNumber(std::string const& inText) {
  std::size_t i = inText.find_first_not_of(" \t\n\v\f\r");
  if (i == std::string::npos) return 0;
  bool const isMinus = inText[i] == '-';
  if (isMinus || inText[i] == '+') ++i;
  constexpr Int128 kLimit = static_cast<Int128>(1) << 64;
  Int128 number = 0;
  for (; i < inText.size() && inText[i] >= '0' && inText[i] <= '9'; ++i) {
    number = std::min(number * 10 + (inText[i] - '0'), kLimit);
  }
  if (isMinus) number = -number;
  number = std::clamp<Int128>(number, INT64_MIN, INT64_MAX);
  return static_cast<std::int64_t>(number);
}

void CheckPlain(lumora::DecodedError const& inError, std::string const& inText) {
  tarn::String const whole = tarn::StToUTF16(inText.c_str(), -1, tarn::GetConverter_UTF8());
  Require(inError.mMessage == whole, "a text that is no JSON is the message");
  Require(inError.mType.isEmpty() && inError.mPosition == -1, "and has no type or place");
}

void CheckReport(lumora::DecodedError const& inError, json const& inReport) {
  Require(IsMember(inReport, "exception_message", Utf8(inError.mMessage)), "message");
  Require(IsMember(inReport, "exception_type", Utf8(inError.mType)), "type");
  auto const position = inReport.find("position");
  if (position == inReport.end() || position->is_null()) {
    Require(inError.mPosition == -1, "no position");
  } else if (position->is_string()) {
    auto const text = position->get<std::string>();
    Require(inError.mPosition == (text.empty() ? -1 : LeadingNumber(text)), "position as a text");
  } else if (position->is_number_unsigned()) {
    auto const number = std::min<std::uint64_t>(position->get<std::uint64_t>(), INT64_MAX);
    Require(inError.mPosition == static_cast<std::int64_t>(number), "position as a number");
  } else if (position->is_number_integer()) {
    Require(inError.mPosition == position->get<std::int64_t>(), "position below 0");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* inData, std::size_t inSize) {
  std::string const bytes(inData, inData + inSize);
  std::string const text = bytes.c_str();
  json const report = json::parse(text, nullptr, false);
  lumora::DecodedError const error = lumora::DecodeError(text.c_str());
  auto const own = lumora::duckdb_c::DecodePrivateError(text.c_str());
  if (report.is_discarded()) {
    CheckPlain(error, text);
    Require(own.mMessage == text, "what is no JSON is DuckDB's message");
  } else if (report.is_object()) {
    CheckReport(error, report);
  } else {
    Require(error.mMessage.isEmpty() && error.mType.isEmpty() && error.mPosition == -1,
            "JSON that is no object tells nothing");
  }
  return 0;
}
