#include <cmath>
#include <cstdint>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Formats.h"
#include "Text.h"

namespace lumora::shell {

namespace {

std::string NumberText(std::string const& inText) {
  // NaN and the infinities are no JSON numbers.
  return nlohmann::json::accept(inText) ? inText : JsonString(inText);
}

// The text with the characters that no terminal may get as JSON escapes. Where control characters
// are white space between the tokens of a JSON text, they become blanks.
std::string EscapeHidden(std::string_view inText, bool inIsJson) {
  std::string result;
  result.reserve(inText.size());
  while (!inText.empty()) {
    char32_t const character = TakeCharacter(inText);
    if (!IsUnprintable(character)) {
      AppendCharacter(result, character);
    } else if (character < 0x20 && inIsJson) {
      result += ' ';
    } else if (character == U'\n') {
      result += "\\n";
    } else if (character == U'\t') {
      result += "\\t";
    } else if (character == U'\r') {
      result += "\\r";
    } else {
      result += fmt::format("\\u{:04x}", static_cast<std::uint32_t>(character));
    }
  }
  return result;
}

// `"name":value,…` of every column.
class ObjectWriter {
 public:
  explicit ObjectWriter(RowSource& inRows) : mRows(inRows) {
    for (std::string const& name : UniqueNames(inRows.get_Columns())) {
      mKeys.push_back(JsonString(name));
    }
  }

  std::string TakeRow() {
    mRows.Read(mCells);
    std::string text = "{";
    for (std::size_t c = 0; c < mCells.size(); ++c) {
      if (c != 0) text += ',';
      text += mKeys[c] + ":" + JsonValue(mCells[c]);
    }
    return text + "}";
  }

 private:
  RowSource& mRows;
  std::vector<std::string> mKeys;
  std::vector<Cell> mCells;
};

}  // namespace

std::string JsonString(std::string_view inText) {
  std::string quoted;
  quoted.reserve(inText.size() + 2);
  for (char const c : inText) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return "\"" + EscapeHidden(quoted, false) + "\"";
}

std::string JsonValue(Cell const& inCell) {
  switch (inCell.mKind) {
    case CellKind::kNull:
      return "null";
    case CellKind::kNumber:
      return NumberText(inCell.mText);
    case CellKind::kBoolean:
      return inCell.mText;
    case CellKind::kBytes:
      return "\"" + ToBase64(inCell.mText) + "\"";
    case CellKind::kJson: {
      bool const isJson = nlohmann::json::accept(inCell.mText);
      return isJson ? EscapeHidden(inCell.mText, true) : JsonString(inCell.mText);
    }
    case CellKind::kText:
      break;
  }
  return JsonString(inCell.mText);
}

std::uint64_t WriteJson(RowSource& inRows, Output& outOutput) {
  ObjectWriter writer(inRows);
  outOutput.Write("[");
  std::uint64_t count = 0;
  for (; inRows.Next(); ++count) outOutput.Write((count ? ",\n" : "\n") + writer.TakeRow());
  outOutput.Write(count ? "\n]\n" : "]\n");
  return count;
}

std::uint64_t WriteJsonLines(RowSource& inRows, Output& outOutput) {
  ObjectWriter writer(inRows);
  std::uint64_t count = 0;
  for (; inRows.Next(); ++count) outOutput.Write(writer.TakeRow() + "\n");
  return count;
}

}  // namespace lumora::shell
