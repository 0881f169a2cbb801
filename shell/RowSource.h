#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace lumora::shell {

enum class CellKind { kNull, kText, kNumber, kBoolean, kBytes, kJson };

// One value on its way to the output. mText: the text, the decimal number (or NaN, Infinity,
// -Infinity), "true" or "false", the raw bytes, or the JSON text.
struct Cell {
  CellKind mKind = CellKind::kNull;
  std::string mText;
};

struct Column {
  std::string mName;
  std::string mKind;  // the name of the host kind or of the database type
  bool mIsNumber = false;
};

// Rows that can be walked once, from the start. Errors come as exceptions with a message for the
// user. Not synchronised.
class RowSource {
 public:
  virtual ~RowSource() = default;

  // Valid for the life of the source.
  virtual std::vector<Column> const& get_Columns() const = 0;
  // Moves to the next row, at first to row 0; false past the last one.
  virtual bool Next() = 0;
  // Replaces ioCells by those of the current row, one a column.
  virtual void Read(std::vector<Cell>& ioCells) = 0;

  // The number of rows, where it is known before they are walked; only then Seek works.
  virtual std::optional<std::uint64_t> get_Count() = 0;
  // Moves to a row, counted from 0; false when there is no such row.
  virtual bool Seek(std::uint64_t inRow) = 0;
};

}  // namespace lumora::shell
