#include <algorithm>

#include "Formats.h"
#include "Text.h"

namespace lumora::shell {

namespace {

// The fields of a CSV line may hold line feeds; what else a terminal obeys is made visible.
std::string ForTerminal(std::string const& inField, bool inIsTerminal) {
  return inIsTerminal ? PrintableLines(inField) : inField;
}

std::string MarkdownText(std::string_view inText) {
  std::string const printable = MakePrintable(inText).mText;
  std::string result;
  for (char const c : printable) {
    if (c == '|') result += '\\';
    result += c;
  }
  return result;
}

}  // namespace

std::string CsvField(Cell const& inCell) {
  if (inCell.mKind == CellKind::kNull) return {};
  std::string const text = CellText(inCell);
  bool const hasBlankEnd = !text.empty() && (text.front() == ' ' || text.back() == ' ');
  if (!text.empty() && !hasBlankEnd && text.find_first_of(",\"\r\n") == std::string::npos) {
    return text;
  }
  std::string quoted = "\"";
  for (char const c : text) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + "\"";
}

std::uint64_t WriteCsv(RowSource& inRows, Output& outOutput) {
  bool const isTerminal = outOutput.get_IsTerminal();
  std::string line;
  for (Column const& column : inRows.get_Columns()) {
    if (!line.empty()) line += ',';
    line += ForTerminal(CsvField({CellKind::kText, column.mName}), isTerminal);
  }
  outOutput.Write(line + "\r\n");
  std::vector<Cell> cells;
  std::uint64_t count = 0;
  for (; inRows.Next(); ++count) {
    inRows.Read(cells);
    line.clear();
    for (std::size_t c = 0; c < cells.size(); ++c) {
      if (c != 0) line += ',';
      line += ForTerminal(CsvField(cells[c]), isTerminal);
    }
    outOutput.Write(line + "\r\n");
  }
  return count;
}

std::uint64_t WriteLine(RowSource& inRows, Output& outOutput) {
  std::size_t width = 0;
  std::vector<PrintableText> names;
  for (Column const& column : inRows.get_Columns()) {
    names.push_back(MakePrintable(column.mName));
    width = std::max(width, names.back().mWidth);
  }
  std::vector<Cell> cells;
  std::uint64_t count = 0;
  for (; inRows.Next(); ++count) {
    inRows.Read(cells);
    std::string text = count == 0 ? "" : "\n";
    for (std::size_t c = 0; c < cells.size(); ++c) {
      text += std::string(width - names[c].mWidth, ' ') + names[c].mText + " = " +
              MakePrintable(CellText(cells[c])).mText + "\n";
    }
    outOutput.Write(text);
  }
  return count;
}

std::uint64_t WriteMarkdown(RowSource& inRows, Output& outOutput) {
  std::string names = "|";
  std::string rules = "|";
  for (Column const& column : inRows.get_Columns()) {
    names += " " + MarkdownText(column.mName) + " |";
    rules += column.mIsNumber ? "---:|" : "---|";
  }
  outOutput.Write(names + "\n" + rules + "\n");
  std::vector<Cell> cells;
  std::uint64_t count = 0;
  for (; inRows.Next(); ++count) {
    inRows.Read(cells);
    std::string line = "|";
    for (Cell const& cell : cells) line += " " + MarkdownText(CellText(cell)) + " |";
    outOutput.Write(line + "\n");
  }
  return count;
}

}  // namespace lumora::shell
