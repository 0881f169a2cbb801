#include "duckdb_c/Extraction.h"

#include <algorithm>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

#include "duckdb_c/DuckDBText.h"
#include "duckdb_c/SqlSplitter.h"
#include "duckdb_c/duckdb_completion.h"

namespace lumora::duckdb_c {
namespace {

struct Source {
  std::string mText;
  std::vector<SqlPiece> mPieces;  // one for each statement
};

// The texts of all living extractions of this library.
class SourceTable {
 public:
  SourceTable() { detail::gOnExtractedReleased.store(&SourceTable::Forget); }
  ~SourceTable() { detail::gOnExtractedReleased.store(nullptr); }
  SourceTable(SourceTable const&) = delete;
  SourceTable& operator=(SourceTable const&) = delete;

  static SourceTable& Get() {
    static SourceTable table;
    return table;
  }

  void Remember(duckdb_extracted_statements inStatements, Source inSource) {
    const std::lock_guard lock(mMutex);
    mSources.insert_or_assign(inStatements, std::move(inSource));
  }

  // DuckDB's allocation with the piece's text; null when the handle or the index is unknown.
  char* CopyPiece(duckdb_extracted_statements inStatements, idx_t inIndex) {
    const std::lock_guard lock(mMutex);
    const auto found = mSources.find(inStatements);
    if (found == mSources.end() || inIndex >= found->second.mPieces.size()) return nullptr;
    return CopyToDuckDB(PieceText(found->second.mText, found->second.mPieces[inIndex]));
  }

 private:
  static void Forget(duckdb_extracted_statements inStatements) noexcept {
    SourceTable& table = Get();
    std::unordered_map<duckdb_extracted_statements, Source>::node_type forgotten;
    const std::lock_guard lock(table.mMutex);
    forgotten = table.mSources.extract(inStatements);
  }

  std::mutex mMutex;
  std::unordered_map<duckdb_extracted_statements, Source> mSources;
};

// Hazard: an IMPORT DATABASE stands for the statements of its files, and for none when those are
// empty. Beside a statement that stands for two, the number of pieces is right and their order is
// not.
bool MayStandForNone(std::string_view inText) {
  constexpr std::string_view kWord = "import";
  return std::search(inText.begin(), inText.end(), kWord.begin(), kWord.end(),
                     [](char inChar, char inLower) { return (inChar | 0x20) == inLower; }) !=
         inText.end();
}

// One piece for each statement. DuckDB expands some statements into several (a PIVOT without its
// list of values); then each piece is extracted on its own to learn how many it stands for.
std::vector<SqlPiece> AssignPieces(duckdb_connection inConnection, std::string_view inText,
                                   idx_t inCount) {
  std::vector<SqlPiece> pieces = SplitSql(inText);
  if (pieces.size() == inCount && (inCount == 1 || !MayStandForNone(inText))) return pieces;
  std::vector<SqlPiece> assigned;
  for (const SqlPiece piece : pieces) {
    ExtractedHandle alone;
    const std::string text(PieceText(inText, piece));
    const idx_t count = duckdb_extract_statements(inConnection, text.c_str(), alone.out());
    assigned.insert(assigned.end(), count, piece);
  }
  if (assigned.size() == inCount) return assigned;
  // The pieces cannot be told apart: every statement answers the whole text.
  return std::vector<SqlPiece>(inCount, SqlPiece{0, inText.size()});
}

}  // namespace

Extraction ExtractStatements(duckdb_connection inConnection, std::string_view inText) {
  Extraction extraction;
  if (!inConnection) {
    extraction.mError = "There is no connection";
    return extraction;
  }
  if (inText.find('\0') != std::string_view::npos) {
    extraction.mError = "Parser Error: the SQL text holds a NUL byte";
    return extraction;
  }
  Source source{std::string(inText), {}};
  const idx_t count =
      duckdb_extract_statements(inConnection, source.mText.c_str(), extraction.mStatements.out());
  if (count == 0) {
    extraction.mError = TextOr(duckdb_extract_statements_error(extraction.mStatements.get()), "");
    extraction.mStatements.reset();
    return extraction;
  }
  source.mPieces = AssignPieces(inConnection, source.mText, count);
  SourceTable::Get().Remember(extraction.mStatements.get(), std::move(source));
  extraction.mCount = count;
  return extraction;
}

}  // namespace lumora::duckdb_c

char* duckdb_extracted_statement_sql(duckdb_extracted_statements statements, idx_t index) {
  try {
    if (!statements) return nullptr;
    return lumora::duckdb_c::SourceTable::Get().CopyPiece(statements, index);
  } catch (...) {
    return nullptr;
  }
}
