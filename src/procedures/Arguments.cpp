#include "procedures/Arguments.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>

#include "procedures/HostApi.h"

namespace lumora::procedures {
namespace {

char const kInvalidTableName[] = "Invalid DuckDB table or view name.";

[[noreturn]] void FailArgument(std::string const& inMessage) {
  throw std::invalid_argument(inMessage);
}

std::string LimitText(long long inLimit) {
  if (inLimit < 0) FailArgument("limit must not be negative");
  return std::to_string(inLimit);
}

// The text of one item of a column array; empty when there is none.
std::string ReadItem(void* inContext, lumora_value inArray, std::int64_t inIndex) {
  lumora_value const item = host_api::array_item(inArray, inIndex);
  return std::string(trim(read_text_arg(inContext, item)));
}

std::vector<std::string> ReadColumnArray(void* inContext, lumora_value inArray) {
  std::vector<std::string> names;
  std::int64_t const count = host_api::array_count(inArray);
  for (std::int64_t i = 0; i < count; ++i) {
    std::string name = ReadItem(inContext, inArray, i);
    if (!name.empty()) names.push_back(std::move(name));
  }
  return names;
}

}  // namespace

std::string_view trim(std::string_view inText) noexcept {
  // Not isspace: what it says of a byte depends on the host's locale.
  constexpr std::string_view blanks = " \t\n\v\f\r";
  auto const first = inText.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return inText.substr(first, inText.find_last_not_of(blanks) - first + 1);
}

std::vector<std::string> split_column_names(std::string_view inText) {
  std::vector<std::string> names;
  for (std::size_t start = 0; start <= inText.size();) {
    auto const comma = std::min(inText.find(',', start), inText.size());
    auto const name = trim(inText.substr(start, comma - start));
    if (!name.empty()) names.emplace_back(name);
    start = comma + 1;
  }
  return names;
}

std::vector<std::string> split_qualified_name(std::string_view inText) {
  std::vector<std::string> pieces;
  std::size_t start = 0;
  bool inQuotes = false;
  for (std::size_t i = 0; i < inText.size(); ++i) {
    if (inText[i] == '"') inQuotes = !inQuotes;
    if (inText[i] != '.' || inQuotes) continue;
    pieces.emplace_back(trim(inText.substr(start, i - start)));
    start = i + 1;
  }
  if (inQuotes) FailArgument(kInvalidTableName);
  pieces.emplace_back(trim(inText.substr(start)));
  return pieces;
}

std::string UnquotePiece(std::string_view inPiece) {
  if (inPiece.size() < 2 || inPiece.front() != '"' || inPiece.back() != '"') {
    return std::string(inPiece);
  }
  auto const inner = inPiece.substr(1, inPiece.size() - 2);
  std::string name;
  name.reserve(inner.size());
  for (std::size_t i = 0; i < inner.size(); ++i) {
    name += inner[i];
    bool const isPair = inner[i] == '"' && i + 1 < inner.size() && inner[i + 1] == '"';
    if (isPair) ++i;
  }
  return name;
}

std::vector<std::string> ParseTableName(std::string_view inText) {
  auto const name = trim(inText);
  if (name.empty()) FailArgument("fetch_duckdb requires DuckDB table or view name.");
  auto pieces = split_qualified_name(name);
  for (auto& piece : pieces) {
    if (piece.empty()) FailArgument(kInvalidTableName);
    piece = UnquotePiece(piece);
  }
  return pieces;
}

std::string ParseLimitText(std::string_view inText) {
  // The messages are promised to callers; std::stoll's own differ between libraries.
  std::string const text(trim(inText));
  char* end = nullptr;
  errno = 0;
  long long const limit = std::strtoll(text.c_str(), &end, 10);
  if (end == text.c_str()) FailArgument("invalid stoll argument");
  if (errno == ERANGE) throw std::out_of_range("stoll argument out of range");
  if (end != text.c_str() + text.size()) FailArgument("limit must be an integer");
  return LimitText(limit);
}

bool IsNullArg(lumora_value inValue) { return !inValue || host_api::value_is_null(inValue); }

std::string read_text_arg(void* inContext, lumora_value inValue) {
  if (IsNullArg(inValue)) return {};
  std::uint64_t length = 0;
  char const* const text = host_api::value_get_text(inContext, inValue, length);
  return text ? std::string(text, static_cast<std::size_t>(length)) : std::string();
}

std::string require_text_arg(void* inContext, lumora_value inValue, char const* inProcedure) {
  std::string text = read_text_arg(inContext, inValue);
  if (text.empty()) FailArgument(std::string(inProcedure) + " requires a text argument.");
  return text;
}

std::string parse_limit_arg(void* inContext, lumora_value inValue) {
  if (IsNullArg(inValue)) return {};
  switch (host_api::value_kind(inValue)) {
    case lumora_kind_int64:
      return LimitText(host_api::value_get_int64(inValue));
    case lumora_kind_uint64:
      return std::to_string(host_api::value_get_uint64(inValue));
    default:
      return ParseLimitText(read_text_arg(inContext, inValue));
  }
}

std::vector<std::string> parse_column_list(void* inContext, lumora_value inValue) {
  if (IsNullArg(inValue)) return {};
  if (host_api::value_kind(inValue) == lumora_kind_array) {
    return ReadColumnArray(inContext, inValue);
  }
  std::string const text = read_text_arg(inContext, inValue);
  auto const list = trim(text);
  return list == "*" ? std::vector<std::string>() : split_column_names(list);
}

}  // namespace lumora::procedures
