#pragma once

#include <cstddef>
#include <mutex>
#include <vector>

#include "cursor/I_DatabaseLink.h"
#include "duckdb_c/Handles.h"
#include "statement/ErrorDecoding.h"
#include "tarn/ForeignPlugin.h"
#include "tarn/lsql/I_DuckDBQueryResult.h"
#include "tarn/noncopyable.h"

namespace tarn::lsql {

// The outcome of one executed statement, told once and for all when the object is made: an error, a
// count of changed rows, a row set (which a cursor takes over) or nothing. It holds the results of
// the statements after it until NextResult hands them on.
class DuckDBQueryResult final : public I_DuckDBQueryResult,
                                public ForeignPlugin_imp,
                                public noncopyable {
 public:
  // Takes all results over; the first one is this object's own. Registers with the database,
  // which may be null only when the results hold no rows. The caller holds the engine lock and
  // puts the new object into a smart_ptr at once. When making the cursor throws, nothing stays
  // registered and every result is released.
  DuckDBQueryResult(lumora::I_DatabaseLink* inDatabase,
                    std::vector<lumora::duckdb_c::ResultHandle>&& ioResults,
                    std::uint32_t inCursorKind);

  std::uint32_t AddRef() override { return mRefCount.Increment(); }
  std::uint32_t Release() override;
  void* QueryInterface(std::uint32_t inInterfaceId) override;
  std::uint32_t get_RefsCount() const override { return mRefCount.get(); }

  std::uint64_t get_RowsChanged() const override { return mRowsChanged; }
  smart_ptr<I_DuckDBCursor> get_Cursor() const override;
  std::uint32_t get_Flags() const override { return mFlags; }
  std::int64_t get_ErrorPosition() const override { return mError.mPosition; }
  String get_ErrorMessage() const override { return mError.mMessage; }
  String get_ErrorType() const override { return mError.mType; }
  smart_ptr<I_DuckDBQueryResult> NextResult() override;
  void Close() override;

 private:
  // The same for the results from inNext on; those before it are spent.
  DuckDBQueryResult(lumora::I_DatabaseLink* inDatabase,
                    std::vector<lumora::duckdb_c::ResultHandle>&& ioResults, std::size_t inNext,
                    std::uint32_t inCursorKind);
  ~DuckDBQueryResult() override = default;

  void Classify();
  smart_ptr<I_DuckDBCursor> TakeCursor();
  void ReleaseResults() noexcept;

  RefsCount mRefCount;

  // Constant after construction.
  std::uint64_t mRowsChanged = 0;
  std::uint32_t const mCursorKind;
  std::uint32_t mFlags = 0;
  lumora::DecodedError mError;

  // Guarded by the engine lock.
  lumora::I_DatabaseLink* mDatabase;
  lumora::duckdb_c::ResultHandle mCurrent;
  // A chain of thousands of results hands one vector on; moving its front would cost the square.
  std::vector<lumora::duckdb_c::ResultHandle> mResults;
  std::size_t mNext;

  // The getters take no engine lock, and the database may close on another thread meanwhile.
  // Nothing is released or locked while it is held.
  mutable std::mutex mCursorMutex;
  smart_ptr<I_DuckDBCursor> mCursor;  // guarded by it
};

}  // namespace tarn::lsql
