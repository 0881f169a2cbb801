#pragma once

#include <duckdb.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>

#include "duckdb_c/Handles.h"
#include "duckdb_c/Types.h"

// The library's private in-memory database, which lends DuckDB's SQL to calls that the C API lacks.
//
// One database for the process, opened on first use, with one thread, without access to files, in
// UTC. It hands out pooled connections; a connection serves one thread at a time, and no lock is
// held while a query runs.
//
// Life: the database stays until ClosePrivateDatabase; what is lent at that moment keeps it until
// it is given back, and the next use opens a new one. At process exit nothing is closed. Hazard:
// DuckDB keeps things of each thread, which are gone when static objects are destroyed; closing a
// database then frees memory twice. For the same reason the lock and the list of connections
// themselves are never destroyed.
//
// A FATAL or INTERNAL error makes a DuckDB database useless from then on. Such a database is left
// behind, and the next use opens a new one.
namespace lumora::duckdb_c {

struct PrivateInstance;

// What the next statement's emit function gives out: the rows of a vector as a column named x. The
// vector is only read, and must live until the statement has run.
struct EmitSource {
  duckdb_vector mVector = nullptr;
  idx_t mSize = 0;                      // at most DuckDB's vector size
  std::optional<idx_t> mRow;            // that row alone
  duckdb_logical_type mType = nullptr;  // of the column
};

// DuckDB's error text, which is JSON on these connections.
struct PrivateError {
  std::string mMessage;   // the whole text where it is no such JSON
  bool mIsFatal = false;  // the database is useless from now on
};
PrivateError DecodePrivateError(char const* inText);

class PrivateConnection {
 public:
  // A connection whose functions are there. Null when DuckDB refuses.
  static std::unique_ptr<PrivateConnection> Make(std::shared_ptr<PrivateInstance> inInstance);
  ~PrivateConnection();
  PrivateConnection(PrivateConnection const&) = delete;
  PrivateConnection& operator=(PrivateConnection const&) = delete;

  // SQL names of the two table functions: capture(any) takes a constant in, emit() gives the
  // source.
  std::string const& get_CaptureName() const noexcept { return mCaptureName; }
  std::string const& get_EmitName() const noexcept { return mEmitName; }

  // Prepared once and kept, up to a number of statements; owned by this connection. Null on
  // failure, with DuckDB's message in outError.
  duckdb_prepared_statement Prepare(std::string const& inSql, std::string& outError);

  // The statement's error is DuckDB's message alone: no kind before it, no excerpt of our SQL
  // after.
  bool Query(std::string const& inSql, ResultHandle& outResult, std::string& outError);
  bool Execute(duckdb_prepared_statement inStatement, std::span<duckdb_value const> inValues,
               ResultHandle& outResult, std::string& outError);

  void put_Source(EmitSource const& inSource) noexcept { mSource = inSource; }
  // The value that the last statement passed to capture; null when none.
  ValueHandle TakeCaptured() noexcept { return std::move(mCaptured); }

  // The database can no longer be used; its connections are not lent again.
  void Abandon() noexcept;
  bool IsBroken() const noexcept;
  std::shared_ptr<PrivateInstance> const& get_Instance() const noexcept { return mInstance; }

 private:
  explicit PrivateConnection(std::shared_ptr<PrivateInstance> inInstance);
  bool Open();
  bool RegisterFunctions();
  std::string NoteError(char const* inText);

  static void BindCapture(duckdb_bind_info inInfo);
  static void BindEmit(duckdb_bind_info inInfo);
  static void InitEmit(duckdb_init_info inInfo);
  static void RunEmit(duckdb_function_info inInfo, duckdb_data_chunk inOutput);

  // In the order in which they may be made, and the reverse of that of release.
  std::shared_ptr<PrivateInstance> mInstance;
  ConnectionHandle mConnection;
  std::unordered_map<std::string, PreparedHandle> mStatements;
  std::string mCaptureName;
  std::string mEmitName;
  ValueHandle mCaptured;
  EmitSource mSource;
  bool mIsEmitted = false;
};

// A connection lent to one thread; goes back to the pool with this object.
class PrivateLease {
 public:
  PrivateLease() = default;
  explicit PrivateLease(std::unique_ptr<PrivateConnection> inConnection) noexcept;
  PrivateLease(PrivateLease&&) noexcept;
  PrivateLease& operator=(PrivateLease&&) = delete;
  ~PrivateLease();

  explicit operator bool() const noexcept { return static_cast<bool>(mConnection); }
  PrivateConnection* operator->() const noexcept { return mConnection.get(); }
  PrivateConnection& operator*() const noexcept { return *mConnection; }

 private:
  std::unique_ptr<PrivateConnection> mConnection;
};

// Empty when the database cannot be opened.
PrivateLease BorrowPrivateConnection();

// For the end of the extension, before its code is unloaded. Any thread may call it at any time.
void ClosePrivateDatabase() noexcept;

// Runs the work on a connection. When another thread's fatal error took the database away, it runs
// once more on a new one. False when there is no connection; otherwise what the work said.
template <typename TWork>
bool WithPrivateConnection(TWork const& inWork) {
  for (int attempt = 0; attempt < 2; ++attempt) {
    const PrivateLease lease = BorrowPrivateConnection();
    if (!lease) return false;
    if (inWork(*lease)) return true;
    if (!lease->IsBroken()) return false;
  }
  return false;
}

// The complete VARIANT type. Null when the private database cannot be opened.
LogicalTypeHandle MakeVariantType();

// One cell of a vector as a value of its exact type, by way of SQL. Null on failure.
ValueHandle CaptureCell(duckdb_vector inVector, idx_t inSize, idx_t inRow);

}  // namespace lumora::duckdb_c
