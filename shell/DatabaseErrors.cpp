#include "DatabaseErrors.h"

#include <fmt/format.h>

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
  return StatementError(inText);
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
