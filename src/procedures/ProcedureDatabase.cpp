#include "procedures/ProcedureDatabase.h"

#include <stdexcept>

namespace lumora::procedures {
namespace {

using duckdb_c::OpenDatabase;

// Hazard: paths and SQL go to DuckDB as C strings. What stands behind a NUL byte would be lost, and
// the rest can be another valid query.
void CheckNoNul(std::string const& inText) {
  if (inText.find('\0') != std::string::npos) {
    throw std::invalid_argument("A text argument contains a NUL byte.");
  }
}

std::shared_ptr<OpenDatabase> Open(std::string const& inUri) {
  duckdb_c::OpenRequest request;
  request.mPath = inUri;
  request.mMustExist = true;
  request.mOnlyReads = true;
  std::string error;
  return duckdb_c::OpenDatabaseFile(request, error);
}

}  // namespace

ProcedureDatabase OpenProcedureDatabase(std::string const& inUri) {
  CheckNoNul(inUri);
  std::string const what = inUri.empty() ? "in-memory DuckDB database." : "DuckDB database.";
  ProcedureDatabase opened;
  opened.mDatabase = Open(inUri);
  if (!opened.mDatabase) throw std::runtime_error("Unable to open " + what);
  opened.mConnection = opened.mDatabase->Connect();
  if (!opened.mConnection) throw std::runtime_error("Unable to connect to " + what);
  return opened;
}

duckdb_c::ResultHandle RunQuery(duckdb_connection inConnection, std::string const& inSql) {
  CheckNoNul(inSql);
  duckdb_c::ResultHandle result;
  if (duckdb_query(inConnection, inSql.c_str(), result.out()) != DuckDBSuccess) {
    char const* const text = duckdb_result_error(result.ptr());
    throw std::runtime_error(duckdb_c::TextOr(text, "DuckDB query failed."));
  }
  return result;
}

}  // namespace lumora::procedures
