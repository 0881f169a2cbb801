#pragma once

#include <memory>

#include "duckdb_c/Handles.h"
#include "tarn/lsql/I_DuckDBDatabase.h"

namespace lumora {

// What statements, results and cursors need of the database that owns them, so that these rooms
// know nothing of the database's own. A child holds this pointer without a reference; the database
// clears it (under the engine lock) before it dies, and a child reads it under the engine lock.
class I_DatabaseLink {
 public:
  // The database with a reference of the caller's, or null when its last reference is already
  // given up and it is about to close its children.
  virtual tarn::smart_ptr<tarn::lsql::I_DuckDBDatabase> get_Self() = 0;

  // The interface without a reference, for registering and unregistering and for get_Path. Valid
  // while the link is.
  virtual tarn::lsql::I_DuckDBDatabase& get_Interface() = 0;

  // The connection, shared: a call into DuckDB holds it for its duration, so that a close from
  // another thread cannot free it underneath. Null when the database is closed.
  virtual std::shared_ptr<duckdb_c::ConnectionHandle> get_Connection() = 0;

  // Whether it is invalidating its cursors, which have left its registry without their doing. Asked
  // under the engine lock.
  virtual bool get_IsInvalidatingCursors() const = 0;

 protected:
  ~I_DatabaseLink() = default;
};

}  // namespace lumora
