#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Output.h"
#include "RowSource.h"

namespace lumora::shell {

enum class Mode { kBox, kCsv, kJson, kJsonLines, kLine, kMarkdown };

// "box", "csv", "json", "jsonlines", "line", "markdown".
std::optional<Mode> ParseMode(std::string_view inName);
char const* ModeName(Mode inMode);
// "box, csv, …".
std::string AllModeNames();

struct DisplayLimits {
  // More rows than this are elided in the middle of a box; 0 = none are.
  std::size_t mMaxRows = 40;
  // A box is made to fit into these columns; 0 = it is not.
  std::size_t mScreenWidth = 0;
  bool mColor = false;
};

// Each writes all rows that inRows has, and returns how many. Texts in box, line and markdown are
// made printable; csv and json are exact, but what could move a terminal's cursor does not reach
// one raw. Errors of the source and of the output pass through.
std::uint64_t WriteRows(Mode inMode, RowSource& inRows, Output& outOutput,
                        DisplayLimits const& inLimits);
std::uint64_t WriteBox(RowSource& inRows, Output& outOutput, DisplayLimits const& inLimits);
std::uint64_t WriteCsv(RowSource& inRows, Output& outOutput);
std::uint64_t WriteJson(RowSource& inRows, Output& outOutput);
std::uint64_t WriteJsonLines(RowSource& inRows, Output& outOutput);
std::uint64_t WriteLine(RowSource& inRows, Output& outOutput);
std::uint64_t WriteMarkdown(RowSource& inRows, Output& outOutput);

// RFC 4180: quoted when it is empty or holds a comma, a quote, CR, LF, or blanks at an end; NULL is
// an empty field without quotes.
std::string CsvField(Cell const& inCell);
// The JSON text of a value: numbers with every digit, bytes as base64, NaN and infinities as
// strings.
std::string JsonValue(Cell const& inCell);
std::string JsonString(std::string_view inText);
// The columns' names, made different from each other with "_1", "_2".
std::vector<std::string> UniqueNames(std::vector<Column> const& inColumns);
// What a person sees of a value: NULL, numbers and texts as they are, bytes as "\x00ff".
std::string CellText(Cell const& inCell, std::size_t inMaxBytes = static_cast<std::size_t>(-1));

// "1 row", "3,000,000 rows".
std::string RowCountText(std::uint64_t inCount);

}  // namespace lumora::shell
