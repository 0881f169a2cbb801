#pragma once

#include "tarn/I_Unknown.h"
#include "tarn/String.h"
#include "tarn/lsql/I_DuckDBCursor.h"
#include "tarn/smart_ptr.h"

namespace tarn::lsql {

// Bits of get_Flags; at most one is set.
enum QueryResultFlag : std::uint32_t {
  kResultHasCursor = 1,
  kResultHasRowsChanged = 2,
  kResultHasError = 4,
};

// The outcome of one executed statement, and the way to those of the statements after it.
// Interface number 409. The getters take no engine lock and may be called from any thread, also
// while another one closes the result or its database; but for the cursor, they answer the same
// afterwards.
class LSHARED_API I_DuckDBQueryResult : public I_Unknown {
 public:
  virtual std::uint64_t get_RowsChanged() const = 0;
  // With a reference; null unless kResultHasCursor, and once the result is closed.
  virtual smart_ptr<I_DuckDBCursor> get_Cursor() const = 0;
  virtual std::uint32_t get_Flags() const = 0;
  // Byte offset of the error in the executed text, from 0; -1 when unknown.
  virtual std::int64_t get_ErrorPosition() const = 0;
  virtual String get_ErrorMessage() const = 0;
  virtual String get_ErrorType() const = 0;  // DuckDB's exception type ("Catalog")
  // The next statement's outcome; once: afterwards, past the end and when closed, null. Throws what
  // making a cursor throws.
  virtual smart_ptr<I_DuckDBQueryResult> NextResult() = 0;
  // Releases what DuckDB holds for this and all following results, and the cursor, which lives on
  // when the host holds it. May be called again.
  virtual void Close() = 0;
};

}  // namespace tarn::lsql
