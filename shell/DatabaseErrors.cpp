#include "DatabaseErrors.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>

#include "HostText.h"

namespace lumora::shell {

namespace {

std::string Member(nlohmann::json const& inReport, char const* inName) {
  auto const found = inReport.find(inName);
  return found != inReport.end() && found->is_string() ? found->get<std::string>() : std::string();
}

std::optional<std::size_t> Offset(std::string const& inDigits) {
  std::size_t offset = 0;
  auto const result = std::from_chars(inDigits.data(), inDigits.data() + inDigits.size(), offset);
  if (result.ec != std::errc()) return std::nullopt;
  return offset;
}

// "Catalog Error: message"; the type is a few words without punctuation.
StatementError DecodePlainText(std::string const& inText) {
  constexpr std::string_view kMark = " Error: ";
  std::size_t const end = inText.find(kMark);
  std::string const type = inText.substr(0, end == std::string::npos ? 0 : end);
  bool const isType =
      !type.empty() && type.size() < 40 && std::all_of(type.begin(), type.end(), [](char c) {
        return c == ' ' || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
      });
  if (!isType) return StatementError(inText);
  return StatementError(inText.substr(end + kMark.size()), type);
}

}  // namespace

StatementError DecodeReport(std::string const& inText) {
  std::size_t const start = inText.find('{');
  if (start != std::string::npos) {
    auto const report = nlohmann::json::parse(inText.substr(start), nullptr, false);
    if (report.is_object() && report.contains("exception_message")) {
      return StatementError(Member(report, "exception_message"), Member(report, "exception_type"),
                            Offset(Member(report, "position")));
    }
  }
  return DecodePlainText(inText);
}

StatementError ToStatementError(tarn::xException const& inException) {
  // The first text names the database; the message is the last one.
  std::string message;
  for (std::uint32_t i = 0; i < 4; ++i) {
    std::string const text = ToUtf8(inException.get_Text(i));
    if (!text.empty()) message = text;
  }
  if (message.empty()) {
    message = fmt::format("{} 0x{:x}", inException.get_Name(), inException.get_Code());
  }
  return DecodeReport(message);
}

}  // namespace lumora::shell
