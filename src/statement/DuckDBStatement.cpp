#include "statement/DuckDBStatement.h"

#include <new>
#include <utility>

#include "duckdb_c/EngineLockGuard.h"
#include "duckdb_c/Extraction.h"
#include "duckdb_c/duckdb_completion.h"
#include "statement/InterfaceTable.h"
#include "statement/ParameterBinding.h"
#include "statement/StatementErrors.h"
#include "tarn/Converter.h"
#include "tarn/lsql/I_DuckDBDatabase.h"

// Life, splitting and preparing; execution is in DuckDBStatement_execute.cpp.
namespace tarn::lsql {

using lumora::EngineLockGuard;
using lumora::duckdb_c::TextOr;
namespace text = lumora::statement_text;

DuckDBStatement::DuckDBStatement(lumora::I_DatabaseLink* inDatabase, String const& inSql)
    : mSqlText(inSql), mDatabase(inDatabase), mCurrentSql(inSql) {}

std::uint32_t DuckDBStatement::Release() {
  std::uint32_t const count = mRefCount.Decrement();
  if (count != 0) return count;
  {
    EngineLockGuard const guard(std::nothrow);
    Detach();
  }
  delete this;
  return 0;
}

void* DuckDBStatement::QueryInterface(std::uint32_t inInterfaceId) {
  return lumora::QueryOwnInterface<kIID_DuckDBStatement>(this, inInterfaceId);
}

smart_ptr<I_DuckDBDatabase> DuckDBStatement::get_Database() {
  EngineLockGuard const guard;
  return mDatabase ? mDatabase->get_Self() : nullptr;
}

std::uint64_t DuckDBStatement::get_RemainingStatements() {
  EngineLockGuard const guard;
  if (mDatabase && !mExtracted && !mFinished) {
    try {
      Extract();
    } catch (xDuckDBError const&) {
      // A text that cannot be split has no pieces; PrepareNext tells why.
      ReleaseExtracted();
    }
  }
  return mStatementCount - mNextIndex;
}

void DuckDBStatement::Close() {
  EngineLockGuard const guard(std::nothrow);
  Detach();
}

void DuckDBStatement::Detach() noexcept {
  lumora::I_DatabaseLink* const database = std::exchange(mDatabase, nullptr);
  ReleaseHandles();
  if (!database) return;
  try {
    database->get_Interface().UnregisterStatement(this);
  } catch (...) {
    // A closing database has taken this statement off its list already, and says so, or has no
    // memory to.
  }
}

void DuckDBStatement::ReleaseHandles() noexcept {
  mLastResult.reset();
  mPrepared.reset();
  ReleaseExtracted();
}

void DuckDBStatement::ReleaseExtracted() noexcept {
  mExtracted.reset();
  mStatementCount = 0;
  mNextIndex = 0;
  mSpentCount = 0;
}

void DuckDBStatement::CheckDatabase() const {
  if (!mDatabase) lumora::ThrowDatabaseInvalid();
}

std::shared_ptr<lumora::duckdb_c::ConnectionHandle> DuckDBStatement::get_Connection() const {
  CheckDatabase();
  auto connection = mDatabase->get_Connection();
  if (!connection) lumora::ThrowDatabaseInvalid();
  return connection;
}

void DuckDBStatement::Extract() {
  std::string const sql = StFromUTF16(mSqlText, GetConverter_UTF8());
  auto const connection = get_Connection();
  lumora::RefuseNul(mDatabase, sql);
  ReleaseExtracted();
  auto extraction = lumora::duckdb_c::ExtractStatements(connection->get(), sql);
  if (extraction.mCount == 0) {
    if (!extraction.mError.empty()) lumora::ThrowError(mDatabase, extraction.mError);
    return;
  }
  mExtracted = std::move(extraction.mStatements);
  mStatementCount = extraction.mCount;
}

void DuckDBStatement::ExtractAgain() {
  std::uint64_t const count = mStatementCount;
  std::uint64_t const next = mNextIndex;
  Extract();
  if (mStatementCount != count) {
    ReleaseExtracted();
    lumora::ThrowError(mDatabase, text::kPrepare);
  }
  mNextIndex = next;
}

void DuckDBStatement::PrepareNext() {
  EngineLockGuard const guard;
  CheckDatabase();
  mLastResult.reset();
  mPrepared.reset();
  if (!mExtracted) {
    mFinished = false;
    Extract();
  }
  if (mNextIndex < mStatementCount) PreparePiece();
}

void DuckDBStatement::PreparePiece() {
  if (mNextIndex < mSpentCount) ExtractAgain();
  TakeCurrentSql();
  auto const connection = get_Connection();
  mSpentCount = mNextIndex + 1;
  mParameterTypes = nullptr;
  if (duckdb_prepare_extracted_statement(connection->get(), mExtracted.get(), mNextIndex,
                                         mPrepared.out()) != DuckDBSuccess) {
    std::string const message = TextOr(duckdb_prepare_error(mPrepared.get()), text::kPrepare);
    mLastResult.reset();
    mPrepared.reset();
    lumora::ThrowError(mDatabase, message);
  }
  mParameterTypes = std::make_shared<lumora::ParameterTypes const>(
      connection->get(), mPrepared.get(), StFromUTF16(mCurrentSql, GetConverter_UTF8()));
  BindCurrentParameters();
  ++mNextIndex;
}

void DuckDBStatement::TakeCurrentSql() {
  lumora::duckdb_c::TextHandle const sql(
      duckdb_extracted_statement_sql(mExtracted.get(), mNextIndex));
  // The piece is there, so there was no memory for its text.
  if (!sql) throw std::bad_alloc();
  mCurrentSql = StToUTF16(sql.get(), -1, GetConverter_UTF8());
}

void DuckDBStatement::FinishRun() {
  ReleaseExtracted();
  mFinished = true;
  mCurrentSql = mSqlText;
}

void DuckDBStatement::ClearBindings() {
  EngineLockGuard const guard;
  mCurrentParameters.reset();
  mParameterRows.reset();
  if (mPrepared) (void)duckdb_clear_bindings(mPrepared.get());
}

void DuckDBStatement::Reserved16() { EngineLockGuard const guard; }
void DuckDBStatement::Reserved17() { EngineLockGuard const guard; }
void DuckDBStatement::Reserved18() { EngineLockGuard const guard; }
void DuckDBStatement::Reserved19() { EngineLockGuard const guard; }
void DuckDBStatement::Reserved20() { EngineLockGuard const guard; }
void DuckDBStatement::Reserved21() { EngineLockGuard const guard; }

void DuckDBStatement::BindParameters(smart_ptr<ValueRow> inRow) {
  EngineLockGuard const guard;
  mParameterRows.reset();
  mCurrentParameters = std::move(inRow);
  CheckDatabase();
  BindCurrentParameters();
}

void DuckDBStatement::BindParameterRows(smart_ptr<ValueRows> inRows) {
  EngineLockGuard const guard;
  mParameterRows.reset();
  mCurrentParameters = inRows && inRows->get_Count() != 0 ? inRows->get_Item(0) : nullptr;
  CheckDatabase();
  BindCurrentParameters();
  mCurrentParameters.reset();
  mParameterRows = std::move(inRows);
}

// Hazard: a prepared INSERT keeps to its table after USE and SET search_path, until DuckDB has a
// reason to bind it again; a value of another type than its column's is one. Remedy: from then on
// values keep their own types and rows go one by one, so that each goes where DuckDB sends it.
void DuckDBStatement::DropOutdatedTypes() {
  if (!mPrepared || !mDatabase || !mParameterTypes) return;
  auto const connection = mDatabase->get_Connection();
  if (!connection || !mParameterTypes->AreCurrent(connection->get())) mParameterTypes = nullptr;
}

void DuckDBStatement::BindCurrentParameters() {
  smart_ptr<ValueRow> const row = mCurrentParameters;
  DropOutdatedTypes();
  lumora::BindRow(mPrepared, row.get(), mDatabase, mParameterTypes);
}

}  // namespace tarn::lsql
