#include "duckdb_c/JsonText.h"

namespace lumora::duckdb_c {

std::string WithWholeNumbers(std::string_view inJson) {
  std::string json;
  json.reserve(inJson.size());
  bool isInText = false;
  for (std::size_t i = 0; i < inJson.size(); ++i) {
    char const c = inJson[i];
    if (isInText && c == '\\' && i + 1 < inJson.size()) {
      json += c;
      json += inJson[++i];
      continue;
    }
    if (c == '"') isInText = !isInText;
    bool const isAfterDigit = i > 0 && inJson[i - 1] >= '0' && inJson[i - 1] <= '9';
    if (c == '.' && !isInText && !isAfterDigit) json += '0';
    json += c;
  }
  return json;
}

}  // namespace lumora::duckdb_c
