#include <utility>
#include <vector>

#include "cursor/MakeCursor.h"
#include "database/DatabaseErrors.h"
#include "database/DuckDBDatabase.h"
#include "duckdb_c/EngineLockGuard.h"
#include "statement/DuckDBQueryResult.h"
#include "statement/DuckDBStatement.h"
#include "statement/RunStatements.h"
#include "statement/StatementErrors.h"

namespace tarn::lsql {

using lumora::EngineLockGuard;
using lumora::ToUtf8;
namespace text = lumora::statement_text;

smart_ptr<I_DuckDBStatement> DuckDBDatabase::CreateStatement(String const& inSql) {
  EngineLockGuard const guard;
  CheckOpen();
  smart_ptr<I_DuckDBStatement> statement(new DuckDBStatement(this, inSql));
  mStatements.Add(statement.get());
  return statement;
}

void DuckDBDatabase::ExecuteSQL(String const& inSql, smart_ptr<ValueRow> inParameters) {
  (void)Execute(inSql, kCursorServer, std::move(inParameters));
}

smart_ptr<I_DuckDBQueryResult> DuckDBDatabase::Execute(String const& inSql,
                                                       std::uint32_t inCursorKind,
                                                       smart_ptr<ValueRow> inParameters) {
  EngineLockGuard const guard;
  auto results = lumora::RunStatements(*this, ToUtf8(inSql), inParameters.get());
  return smart_ptr<I_DuckDBQueryResult>(
      new DuckDBQueryResult(this, std::move(results), inCursorKind));
}

smart_ptr<I_DuckDBCursor> DuckDBDatabase::ExecuteQuery(String const& inSql,
                                                       std::uint32_t inCursorKind,
                                                       smart_ptr<ValueRow> inParameters) {
  EngineLockGuard const guard;
  auto results = lumora::RunStatements(*this, ToUtf8(inSql), inParameters.get());
  if (results.size() != 1) Throw(text::kNoSingleResult);
  if (duckdb_result_return_type(results[0].get()) != DUCKDB_RESULT_TYPE_QUERY_RESULT) {
    Throw(text::kNoResult);
  }
  return MakeCursor(this, std::move(results[0]), inCursorKind);
}

}  // namespace tarn::lsql
