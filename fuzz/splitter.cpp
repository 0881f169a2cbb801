// SplitSql on any bytes. What must hold whatever they are: the pieces lie in order and within the
// script, none is empty or begins or ends with a blank or a semicolon, splitting a piece again
// gives the piece, and where DuckDB accepts the script it finds as many statements as there are
// pieces.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "duckdb_c/Handles.h"
#include "duckdb_c/SqlSplitter.h"

namespace {

using lumora::duckdb_c::PieceText;
using lumora::duckdb_c::SplitSql;
using lumora::duckdb_c::SqlPiece;

void Require(bool inHolds) {
  if (!inHolds) std::abort();
}

void CheckPiece(std::string_view inScript, SqlPiece inPiece, std::size_t inEndBefore) {
  Require(inPiece.mLength != 0 && inPiece.mOffset >= inEndBefore);
  Require(inPiece.mOffset + inPiece.mLength <= inScript.size());
  const std::string_view text = PieceText(inScript, inPiece);
  Require(std::string_view(" \t\r\n\f;").find(text.front()) == std::string_view::npos);
  const auto pieces = SplitSql(text);
  Require(pieces.size() == 1 && PieceText(text, pieces[0]) == text);
}

idx_t CountStatements(duckdb_connection inConnection, std::string const& inText) {
  lumora::duckdb_c::ExtractedHandle extracted;
  return duckdb_extract_statements(inConnection, inText.c_str(), extracted.out());
}

// Where DuckDB accepts the script, its pieces alone are the statements that the script is. (Not one
// for one: a PIVOT is several, and a lone word beyond ASCII is none.) Small scripts only: the
// parser is slow, and its depth is not what is tried here.
void CompareWithDuckDB(std::string const& inScript, std::vector<SqlPiece> const& inPieces) {
  static lumora::duckdb_c::DatabaseHandle* const database = [] {
    auto* const opened = new lumora::duckdb_c::DatabaseHandle;
    Require(duckdb_open(nullptr, opened->out()) == DuckDBSuccess);
    return opened;
  }();
  if (inScript.size() > 2000 || inScript.find('\0') != std::string::npos) return;
  lumora::duckdb_c::ConnectionHandle connection;
  Require(duckdb_connect(database->get(), connection.out()) == DuckDBSuccess);
  const idx_t count = CountStatements(connection.get(), inScript);
  if (count == 0) return;
  idx_t sum = 0;
  for (const SqlPiece piece : inPieces) {
    sum += CountStatements(connection.get(), std::string(PieceText(inScript, piece)));
  }
  Require(sum == count);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
  const std::string script(inData, inData + inSize);
  const auto pieces = SplitSql(script);
  std::size_t end = 0;
  for (const SqlPiece piece : pieces) {
    CheckPiece(script, piece, end);
    end = piece.mOffset + piece.mLength;
  }
  CompareWithDuckDB(script, pieces);
  return 0;
}
