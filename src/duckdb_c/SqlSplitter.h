#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

// Finds the statements of a script by DuckDB's lexical rules alone. Pure: no connection, no state.
namespace lumora::duckdb_c {

// One statement of a script: the bytes [mOffset, mOffset + mLength) are the statement as written,
// without the semicolon that ends it and without the blanks and comments around it. mLength > 0.
struct SqlPiece {
  std::size_t mOffset = 0;
  std::size_t mLength = 0;
};

// The statements of the script in order. Pieces that hold nothing but blanks and comments are left
// out, as DuckDB leaves them out. A semicolon inside a quoted text, a quoted name, a dollar-quoted
// text or a comment does not end a statement. Something that is opened and never closed reaches to
// the end of the script. Any bytes are accepted, in time proportional to their number.
std::vector<SqlPiece> SplitSql(std::string_view inScript);

// The text of a piece; a view into the script.
inline std::string_view PieceText(std::string_view inScript, SqlPiece inPiece) {
  return inScript.substr(inPiece.mOffset, inPiece.mLength);
}

}  // namespace lumora::duckdb_c
