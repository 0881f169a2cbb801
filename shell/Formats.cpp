#include "Formats.h"

#include <algorithm>
#include <array>
#include <set>

#include "Text.h"

namespace lumora::shell {

namespace {

struct ModeEntry {
  Mode mMode;
  char const* mName;
};

constexpr std::array<ModeEntry, 6> kModes = {{{Mode::kBox, "box"},
                                              {Mode::kCsv, "csv"},
                                              {Mode::kJson, "json"},
                                              {Mode::kJsonLines, "jsonlines"},
                                              {Mode::kLine, "line"},
                                              {Mode::kMarkdown, "markdown"}}};

}  // namespace

std::optional<Mode> ParseMode(std::string_view inName) {
  for (ModeEntry const& entry : kModes) {
    if (EqualsIgnoringCase(entry.mName, inName)) return entry.mMode;
  }
  return std::nullopt;
}

char const* ModeName(Mode inMode) {
  for (ModeEntry const& entry : kModes) {
    if (entry.mMode == inMode) return entry.mName;
  }
  return "";
}

std::string AllModeNames() {
  std::string names;
  for (ModeEntry const& entry : kModes) {
    if (!names.empty()) names += ", ";
    names += entry.mName;
  }
  return names;
}

std::uint64_t WriteRows(Mode inMode, RowSource& inRows, Output& outOutput,
                        DisplayLimits const& inLimits) {
  switch (inMode) {
    case Mode::kBox:
      return WriteBox(inRows, outOutput, inLimits);
    case Mode::kCsv:
      return WriteCsv(inRows, outOutput);
    case Mode::kJson:
      return WriteJson(inRows, outOutput);
    case Mode::kJsonLines:
      return WriteJsonLines(inRows, outOutput);
    case Mode::kLine:
      return WriteLine(inRows, outOutput);
    case Mode::kMarkdown:
      return WriteMarkdown(inRows, outOutput);
  }
  return 0;
}

std::vector<std::string> UniqueNames(std::vector<Column> const& inColumns) {
  std::set<std::string> taken;
  for (Column const& column : inColumns) taken.insert(column.mName);
  std::set<std::string> used;
  std::vector<std::string> names;
  for (Column const& column : inColumns) {
    std::string name = column.mName;
    // A made-up name must not be another column's own one.
    for (int i = 1; used.count(name) || (i > 1 && taken.count(name)); ++i) {
      name = column.mName + "_" + std::to_string(i);
    }
    used.insert(name);
    names.push_back(name);
  }
  return names;
}

std::string CellText(Cell const& inCell, std::size_t inMaxBytes) {
  switch (inCell.mKind) {
    case CellKind::kNull:
      return "NULL";
    case CellKind::kBytes:
      return "\\x" + ToHex(inCell.mText, inMaxBytes);
    default:
      return inCell.mText;
  }
}

std::string RowCountText(std::uint64_t inCount) {
  return GroupDigits(inCount) + (inCount == 1 ? " row" : " rows");
}

}  // namespace lumora::shell
