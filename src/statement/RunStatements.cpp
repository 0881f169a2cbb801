#include "statement/RunStatements.h"

#include <memory>
#include <utility>

#include "statement/ParameterBinding.h"
#include "statement/StatementErrors.h"

namespace lumora {
namespace {

using duckdb_c::TextOr;
using Results = std::vector<duckdb_c::ResultHandle>;

Results RunWithParameters(I_DatabaseLink& inDatabase,
                          std::shared_ptr<duckdb_c::ConnectionHandle> const& inConnection,
                          std::string const& inSql, tarn::ValueRow const& inParameters) {
  duckdb_c::PreparedHandle prepared;
  if (duckdb_prepare(inConnection->get(), inSql.c_str(), prepared.out()) != DuckDBSuccess) {
    ThrowError(&inDatabase, TextOr(duckdb_prepare_error(prepared.get()), statement_text::kPrepare));
  }
  I_DatabaseLink* const database = &inDatabase;
  BindRow(prepared, &inParameters, database);
  // A host value may have closed the database while it was read. What is made of a result then
  // would never be closed, and would point to a dead database one day.
  if (inDatabase.get_Connection() != inConnection) {
    ThrowError(&inDatabase, statement_text::kDatabaseNotOpen);
  }
  Results results(1);
  if (duckdb_execute_prepared(prepared.get(), results[0].out()) != DuckDBSuccess) {
    ThrowError(&inDatabase,
               TextOr(duckdb_result_error(results[0].ptr()), statement_text::kExecutePrepared));
  }
  return results;
}

// The text of a failed statement of a script, after what is open was rolled back, want of memory
// for the text or not.
std::string RollBackFailed(duckdb_connection inConnection, duckdb_c::PreparedHandle& ioPrepared,
                           duckdb_c::ResultHandle& ioResult) {
  auto const rollBack = [&] {
    ioPrepared.reset();
    ioResult.reset();
    duckdb_c::ResultHandle rollback;
    (void)duckdb_query(inConnection, "ROLLBACK", rollback.out());
  };
  std::string message;
  try {
    message = TextOr(duckdb_result_error(ioResult.ptr()), statement_text::kExecute);
  } catch (...) {
    rollBack();
    throw;
  }
  rollBack();
  return message;
}

duckdb_c::ResultHandle RunExtracted(I_DatabaseLink& inDatabase, duckdb_connection inConnection,
                                    duckdb_extracted_statements inExtracted, idx_t inIndex) {
  duckdb_c::PreparedHandle prepared;
  if (duckdb_prepare_extracted_statement(inConnection, inExtracted, inIndex, prepared.out()) !=
      DuckDBSuccess) {
    ThrowError(&inDatabase,
               TextOr(duckdb_prepare_error(prepared.get()), statement_text::kPrepareExtracted));
  }
  duckdb_c::ResultHandle result;
  if (duckdb_execute_prepared(prepared.get(), result.out()) != DuckDBSuccess) {
    ThrowError(&inDatabase, RollBackFailed(inConnection, prepared, result));
  }
  return result;
}

Results RunScript(I_DatabaseLink& inDatabase, duckdb_connection inConnection,
                  std::string const& inSql) {
  duckdb_c::ExtractedHandle extracted;
  idx_t const count = duckdb_extract_statements(inConnection, inSql.c_str(), extracted.out());
  if (count == 0) {
    ThrowError(&inDatabase,
               TextOr(duckdb_extract_statements_error(extracted.get()), statement_text::kExtract));
  }
  Results results;
  results.reserve(count);
  for (idx_t i = 0; i < count; ++i) {
    results.push_back(RunExtracted(inDatabase, inConnection, extracted.get(), i));
  }
  return results;
}

}  // namespace

Results RunStatements(I_DatabaseLink& inDatabase, std::string const& inSql,
                      tarn::ValueRow const* inParameters) {
  auto const connection = inDatabase.get_Connection();
  if (!connection) ThrowError(&inDatabase, statement_text::kDatabaseNotOpen);
  RefuseNul(&inDatabase, inSql);
  if (inParameters && inParameters->get_Count() != 0) {
    return RunWithParameters(inDatabase, connection, inSql, *inParameters);
  }
  return RunScript(inDatabase, connection->get(), inSql);
}

}  // namespace lumora
