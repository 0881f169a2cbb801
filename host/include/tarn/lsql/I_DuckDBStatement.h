#pragma once

#include "tarn/Array.h"
#include "tarn/I_Unknown.h"
#include "tarn/String.h"
#include "tarn/lsql/I_DuckDBCursor.h"
#include "tarn/lsql/I_DuckDBQueryResult.h"
#include "tarn/smart_ptr.h"

namespace tarn::lsql {

// What TryExecuteAll did.
struct DuckDBExecutionResult {
  std::uint32_t mStatementsExecuted = 0;
  std::uint32_t mErrorCode = 0;  // 0 = none
  String mErrorMessage;          // empty = none
};

// A SQL text of one or more statements, prepared and executed piece by piece. Interface number 407.
//
// Errors are xDuckDBError 0x72501 with texts (database path, DuckDB's message); on a statement that
// was closed, or whose database was, ("unknown", "DuckDBDatabase is invalid"). All operations but
// the two text getters run under the engine lock and may be called from any thread. The texts'
// first one never changes; the reference to the second is for the thread that prepares, which may
// keep it until it does so again.
class LSHARED_API I_DuckDBStatement : public I_Unknown {
 public:
  virtual String const& get_SqlText() const = 0;     // the whole text
  virtual String const& get_CurrentSql() const = 0;  // the piece prepared last
  // With a reference; null when the statement was closed or the database was.
  virtual smart_ptr<I_DuckDBDatabase> get_Database() = 0;
  // Pieces that are not prepared yet: all of them before the first PrepareNext (0 for a text that
  // cannot be split), 0 after a full run and when closed.
  virtual std::uint64_t get_RemainingStatements() = 0;
  // Gives DuckDB's handles up and leaves the database, for good. May be called again.
  virtual void Close() = 0;

  // Gives the prepared piece and its result up, prepares the next piece and binds the current
  // parameters to it. Past the last piece, and of a text without statements, nothing is prepared. A
  // piece that DuckDB refuses stays the next one.
  virtual void PrepareNext() = 0;
  virtual void ExecuteNext(std::uint64_t& outRowsChanged) = 0;  // PrepareNext, Execute
  virtual void ExecuteNext() = 0;
  // Every piece that is left, then back to the start. The first failure is thrown, and leaves the
  // statement there.
  virtual void ExecuteAll() = 0;
  // The same, but a failure is recorded (code 0x72000 "Unexpected DuckDB error" when it is none of
  // DuckDB's), and the statement is back at the start then too; get_CurrentSql tells the piece.
  // Does nothing when closed. Never throws.
  virtual DuckDBExecutionResult TryExecuteAll() = 0;

  virtual void ClearBindings() = 0;  // no row, no rows; does not throw
  // These do nothing.
  virtual void Reserved16() = 0;
  virtual void Reserved17() = 0;
  virtual void Reserved18() = 0;
  virtual void Reserved19() = 0;
  virtual void Reserved20() = 0;
  virtual void Reserved21() = 0;

  // One row of parameters: element i is SQL parameter i + 1; null and empty = none. Replaces what
  // was bound, is kept with a reference for the pieces to come, and is bound to the prepared piece
  // at once: fails as docs/errors.md tells under "Parameters".
  virtual void BindParameters(smart_ptr<ValueRow> inRow) = 0;
  // Several rows: Execute and ExecuteResult run the piece once for each. The first is bound at
  // once.
  virtual void BindParameterRows(smart_ptr<ValueRows> inRows) = 0;

  // Runs the prepared piece. The rows changed by it; with several parameter rows, by the last. 0
  // when nothing is prepared. A row that fails is thrown; those before it are done.
  virtual std::int64_t Execute() = 0;
  // A cursor over the piece's rows; null when nothing is prepared. More than one parameter row:
  // xFeatureError 0xA000 "lDuckDB - multi-row binding for SqlSelect".
  virtual smart_ptr<I_DuckDBCursor> ExecuteCursor(std::uint32_t inCursorKind) = 0;
  // The piece's rows as a JSON text (CursorToJSON over a server-side cursor), "[]" when nothing is
  // prepared. Fails as ExecuteCursor does.
  virtual String ExecuteToJSON() = 0;
  // The outcome of the piece (of the last row's execution), without flags when nothing is prepared.
  // A failure is thrown, never recorded.
  virtual smart_ptr<I_DuckDBQueryResult> ExecuteResult(std::uint32_t inCursorKind) = 0;
};

}  // namespace tarn::lsql
