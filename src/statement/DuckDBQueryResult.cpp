#include "statement/DuckDBQueryResult.h"

#include <new>
#include <utility>

#include "cursor/MakeCursor.h"
#include "duckdb_c/EngineLockGuard.h"
#include "statement/InterfaceTable.h"
#include "tarn/lsql/I_DuckDBDatabase.h"

namespace tarn::lsql {

DuckDBQueryResult::DuckDBQueryResult(lumora::I_DatabaseLink* inDatabase,
                                     std::vector<lumora::duckdb_c::ResultHandle>&& ioResults,
                                     std::uint32_t inCursorKind)
    : DuckDBQueryResult(inDatabase, std::move(ioResults), 0, inCursorKind) {}

DuckDBQueryResult::DuckDBQueryResult(lumora::I_DatabaseLink* inDatabase,
                                     std::vector<lumora::duckdb_c::ResultHandle>&& ioResults,
                                     std::size_t inNext, std::uint32_t inCursorKind)
    : mCursorKind(inCursorKind),
      mDatabase(inDatabase),
      mResults(std::move(ioResults)),
      mNext(inNext) {
  if (mNext < mResults.size()) mCurrent = std::move(mResults[mNext++]);
  if (mDatabase) mDatabase->get_Interface().RegisterQueryResult(this);
  try {
    Classify();
  } catch (...) {
    // No destructor runs for an object that was never finished, and the registry must not keep a
    // pointer to it.
    if (mDatabase) mDatabase->get_Interface().UnregisterQueryResult(this);
    throw;
  }
}

void DuckDBQueryResult::Classify() {
  char const* const error = duckdb_result_error(mCurrent.ptr());
  if (error && *error) {
    mError = lumora::DecodeError(error);
    mFlags = kResultHasError;
    return;
  }
  switch (duckdb_result_return_type(mCurrent.get())) {
    case DUCKDB_RESULT_TYPE_CHANGED_ROWS:
      mRowsChanged = duckdb_rows_changed(mCurrent.ptr());
      mFlags = kResultHasRowsChanged;
      break;
    case DUCKDB_RESULT_TYPE_QUERY_RESULT:
      mCursor = MakeCursor(mDatabase, std::move(mCurrent), mCursorKind);
      mFlags = kResultHasCursor;
      break;
    default:
      break;
  }
}

std::uint32_t DuckDBQueryResult::Release() {
  std::uint32_t const count = mRefCount.Decrement();
  if (count != 0) return count;
  {
    lumora::EngineLockGuard const guard(std::nothrow);
    ReleaseResults();
    if (mDatabase) mDatabase->get_Interface().UnregisterQueryResult(this);
    mDatabase = nullptr;
  }
  delete this;
  return 0;
}

void* DuckDBQueryResult::QueryInterface(std::uint32_t inInterfaceId) {
  return lumora::QueryOwnInterface<kIID_DuckDBQueryResult>(this, inInterfaceId);
}

smart_ptr<I_DuckDBCursor> DuckDBQueryResult::get_Cursor() const {
  std::lock_guard const lock(mCursorMutex);
  return mCursor;
}

smart_ptr<I_DuckDBCursor> DuckDBQueryResult::TakeCursor() {
  std::lock_guard const lock(mCursorMutex);
  return std::move(mCursor);
}

smart_ptr<I_DuckDBQueryResult> DuckDBQueryResult::NextResult() {
  lumora::EngineLockGuard const guard;
  if (mNext >= mResults.size()) return nullptr;
  return smart_ptr<I_DuckDBQueryResult>(
      new DuckDBQueryResult(mDatabase, std::move(mResults), mNext, mCursorKind));
}

void DuckDBQueryResult::Close() {
  lumora::EngineLockGuard const guard(std::nothrow);
  // Last to go: what dies with a cursor may be the host's, and the database's last reference.
  smart_ptr<I_DuckDBCursor> const cursor = TakeCursor();
  ReleaseResults();
  lumora::I_DatabaseLink* const database = std::exchange(mDatabase, nullptr);
  if (database) database->get_Interface().UnregisterQueryResult(this);
}

void DuckDBQueryResult::ReleaseResults() noexcept {
  mCurrent.reset();
  mResults.clear();
  mNext = 0;
}

}  // namespace tarn::lsql
