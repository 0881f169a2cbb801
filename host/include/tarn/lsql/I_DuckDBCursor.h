#pragma once

#include "tarn/I_Unknown.h"
#include "tarn/String.h"
#include "tarn/Value.h"
#include "tarn/smart_ptr.h"

namespace tarn::lsql {

class I_DuckDBDatabase;

// Cursor kinds: 1 reads the whole result at once and moves freely; any other value streams it,
// forward only.
enum CursorKind : std::uint32_t { kCursorClient = 1, kCursorServer = 2 };

// A walk over the rows of one query. Interface number 408. Record numbers are 1-based, column
// indexes 0-based.
//
// Errors are xDuckDBError 0x72501 with texts (database path, message); every navigation and value
// operation of a cursor that was closed, or whose database was, throws ("unknown", "DuckDBCursor is
// invalid"). The host serialises the calls on one cursor.
class LSHARED_API I_DuckDBCursor : public I_Unknown {
 public:
  // Column descriptions; they answer also on a closed cursor. An index past the end gives the
  // shared empty text, or 0. References are valid for the life of the cursor.
  virtual std::uint32_t get_ColumnCount() const = 0;
  virtual String const& get_ColumnName(std::uint32_t inColumnIndex) const = 0;
  virtual String const& get_ColumnTypeName(std::uint32_t inColumnIndex) const = 0;  // DuckDB's text
  virtual std::uint32_t get_ColumnType(std::uint32_t inColumnIndex) const = 0;      // duckdb_type

  // Client-side cursors alone; a server-side one throws
  // "<operation>() is not supported for server-side cursors".
  virtual std::uint32_t get_RecordCount() = 0;
  virtual std::uint32_t get_CurrentRecord() = 0;  // 0 = no current record
  // False, and no move, for 0 and for numbers past the count.
  virtual bool put_CurrentRecord(std::uint32_t inRecord) = 0;

  // The owning database with a reference, or null when the cursor was closed or the database was.
  virtual smart_ptr<I_DuckDBDatabase> get_Database() = 0;
  // The database's own call when it closes: gives DuckDB's result up without unregistering. When
  // anybody else calls it, the cursor leaves the database's list when it is closed or dies.
  virtual void Invalidate() = 0;

  virtual bool FirstRecord() = 0;  // client-side alone
  virtual bool LastRecord() = 0;   // client-side alone
  // True when there is a next record, which then is the current one. From the start: the first. A
  // server-side cursor fails with DuckDB's message or "The result ended before its last record"
  // when DuckDB gives the result up.
  virtual bool NextRecord() = 0;
  virtual bool PrevRecord() = 0;  // client-side alone

  // The value of the current record. Errors: "inColumnIndex is out of bounds",
  // "No current record." (client), "Data is not available. Use NextRecord() to fetch data."
  // (server, before the first record and past the last). A client cursor answers the same object at
  // every call, a server cursor a new one. "Current position is out of bounds": docs/errors.md.
  virtual smart_ptr<I_Value> get_Value(std::uint32_t inColumnIndex) = 0;

  // Gives DuckDB's result up and leaves the database. May be called again.
  virtual void Close() = 0;
};

}  // namespace tarn::lsql
