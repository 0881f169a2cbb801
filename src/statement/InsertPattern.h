#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumora {

// True only for  INSERT INTO [[catalog.]schema.]table [(columns)] VALUES (items)  with an optional
// semicolon at the end, where an item is a parameter, a plain literal or DEFAULT. False for
// anything else, comments included: a text that is not recognised loses speed, never correctness.
bool IsPlainInsert(std::string_view inSql) noexcept;

// The parts of such a statement whose items are parameters alone, each of them once, told by their
// place ("?") or their number ("?2", "$2").
struct ParameterInsert {
  std::string mTarget;                     // INSERT INTO … [(columns)], as it was written
  std::vector<std::string> mName;          // of the table, without quotes: 1 to 3 parts
  std::vector<std::string> mColumns;       // without quotes; empty when the text names none
  std::vector<std::uint32_t> mParameters;  // 0-based, in the order of the items
};

// Nothing for any other text.
std::optional<ParameterInsert> ReadParameterInsert(std::string_view inSql);

}  // namespace lumora
