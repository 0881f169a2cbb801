#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace lumora::shell {

// A statement that failed.
struct StatementError : std::runtime_error {
  explicit StatementError(std::string const& inMessage, std::string inType = {},
                          std::optional<std::size_t> inOffset = std::nullopt)
      : std::runtime_error(inMessage), mType(std::move(inType)), mOffset(inOffset) {}
  std::string mType;                   // DuckDB's kind of error ("Catalog"); may be empty
  std::optional<std::size_t> mOffset;  // of the error in the script, in bytes
};

// What the user is shown: the type and message, and, when the place is known, line, column, the
// line itself and a caret under the place. Ends with a line feed; nothing in it moves a terminal's
// cursor. Pure.
std::string DescribeError(StatementError const& inError, std::string_view inScript);

}  // namespace lumora::shell
