#include <new>
#include <utility>
#include <vector>

#include "cursor/MakeCursor.h"
#include "duckdb_c/EngineLockGuard.h"
#include "statement/DuckDBQueryResult.h"
#include "statement/DuckDBStatement.h"
#include "statement/StatementErrors.h"
#include "tarn/Exceptions.h"
#include "tarn/lsql/CursorToJSON.h"
#include "tarn/lsql/I_DuckDBDatabase.h"

// Execution of prepared pieces.
namespace tarn::lsql {

using lumora::EngineLockGuard;
namespace text = lumora::statement_text;

void DuckDBStatement::Run(std::uint64_t* outRowsChanged) {
  CheckDatabase();
  if (outRowsChanged) *outRowsChanged = 0;
  if (mParameterRows) return RunRows(outRowsChanged);
  BindCurrentParameters();
  RunOnce(outRowsChanged);
}

void DuckDBStatement::RunOnce(std::uint64_t* outRowsChanged) {
  if (!mPrepared) return;
  if (duckdb_execute_prepared(mPrepared.get(), mLastResult.out()) != DuckDBSuccess) {
    lumora::ThrowError(mDatabase, lumora::duckdb_c::TextOr(duckdb_result_error(mLastResult.ptr()),
                                                           text::kExecuteUnknown));
  }
  if (outRowsChanged &&
      duckdb_result_return_type(mLastResult.get()) == DUCKDB_RESULT_TYPE_CHANGED_ROWS) {
    *outRowsChanged = duckdb_rows_changed(mLastResult.ptr());
  }
}

std::int64_t DuckDBStatement::Execute() {
  EngineLockGuard const guard;
  std::uint64_t rowsChanged = 0;
  Run(&rowsChanged);
  return static_cast<std::int64_t>(rowsChanged);
}

void DuckDBStatement::ExecuteNext(std::uint64_t& outRowsChanged) {
  EngineLockGuard const guard;
  PrepareNext();
  outRowsChanged = static_cast<std::uint64_t>(Execute());
}

void DuckDBStatement::ExecuteNext() {
  EngineLockGuard const guard;
  PrepareNext();
  (void)Execute();
}

void DuckDBStatement::ExecuteAll() {
  EngineLockGuard const guard;
  do {
    ExecuteNext();
  } while (mNextIndex < mStatementCount);
  FinishRun();
}

void DuckDBStatement::ExecuteAllRecorded(DuckDBExecutionResult& ioRecord) {
  try {
    EngineLockGuard const guard;
    if (!mDatabase) return;
    do {
      ExecuteNext();
      ++ioRecord.mStatementsExecuted;
    } while (mNextIndex < mStatementCount);
    mCurrentSql = mSqlText;
  } catch (xDuckDBError const& error) {
    ioRecord.mErrorCode = error.get_Code();
    ioRecord.mErrorMessage = error.get_Message();
  } catch (...) {
    ioRecord.mErrorCode = lumora::kUnexpectedErrorCode;
    ioRecord.mErrorMessage = text::kUnexpected;
  }
}

DuckDBExecutionResult DuckDBStatement::TryExecuteAll() {
  DuckDBExecutionResult record;
  try {
    ExecuteAllRecorded(record);
  } catch (...) {
    // Not even the message could be made; the code tells that something failed.
  }
  EngineLockGuard const guard(std::nothrow);
  ReleaseExtracted();
  mFinished = true;
  return record;
}

smart_ptr<I_DuckDBCursor> DuckDBStatement::ExecuteCursor(std::uint32_t inCursorKind) {
  EngineLockGuard const guard;
  CheckDatabase();
  if (mParameterRows && mParameterRows->get_Count() > 1) {
    throw xFeatureError(lumora::kFeatureErrorCode, text::kMultiRowCursor);
  }
  if (mParameterRows && mParameterRows->get_Count() == 1) {
    mCurrentParameters = mParameterRows->get_Item(0);
    BindCurrentParameters();
  }
  Run(nullptr);
  if (!mPrepared || !mLastResult) return nullptr;
  return MakeCursor(mDatabase, std::move(mLastResult), inCursorKind);
}

String DuckDBStatement::ExecuteToJSON() {
  EngineLockGuard const guard;
  return CursorToJSON(ExecuteCursor(kCursorServer));
}

smart_ptr<I_DuckDBQueryResult> DuckDBStatement::ExecuteResult(std::uint32_t inCursorKind) {
  EngineLockGuard const guard;
  Run(nullptr);
  std::vector<lumora::duckdb_c::ResultHandle> results;
  if (mLastResult) results.push_back(std::move(mLastResult));
  return smart_ptr<I_DuckDBQueryResult>(
      new DuckDBQueryResult(mDatabase, std::move(results), inCursorKind));
}

}  // namespace tarn::lsql
