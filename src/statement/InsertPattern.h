#pragma once

#include <string_view>

namespace lumora {

// True only for  INSERT INTO [[catalog.]schema.]table [(columns)] VALUES (items)  with an optional
// semicolon at the end, where an item is a parameter, a plain literal or DEFAULT. False for
// anything else, comments included: a text that is not recognised loses speed, never correctness.
bool IsPlainInsert(std::string_view inSql) noexcept;

}  // namespace lumora
