#include "database/BackupExport.h"

#include <memory>

#include "database/BackupCatalog.h"
#include "database/BackupMark.h"
#include "database/BackupScript.h"
#include "database/BackupValues.h"
#include "database/DatabaseErrors.h"
#include "duckdb_c/DatabaseFile.h"
#include "duckdb_c/Handles.h"
#include "tarn/Converter.h"
#include "tarn/Exceptions.h"

namespace lumora {

using duckdb_c::ConnectionHandle;
using duckdb_c::ResultHandle;
using duckdb_c::TextOr;

namespace {

constexpr char const* kUnknownError = "Unknown DuckDB backup error";

// The backup is there, but not all of the database in it.
std::string Incomplete(std::string const& inWhy) {
  return "The backup was written, but a restore would fail or lose something: " + inWhy;
}

bool Run(duckdb_connection inConnection, std::string const& inSql, std::string& outError) {
  ResultHandle result;
  if (duckdb_query(inConnection, inSql.c_str(), result.out()) == DuckDBSuccess) return true;
  outError = TextOr(duckdb_result_error(result.ptr()), kUnknownError);
  return false;
}

// An empty private database. The connection goes before the database that it was made from.
struct Trial {
  std::shared_ptr<duckdb_c::OpenDatabase> mDatabase;
  ConnectionHandle mConnection;

  explicit Trial(std::string& outError) : mDatabase(duckdb_c::OpenDatabaseFile({}, outError)) {
    if (mDatabase) mConnection = mDatabase->Connect();
  }
};

// The source, and what it held before the export.
struct Source {
  duckdb_connection mConnection;
  CatalogColumns mColumns;
  Catalog mBefore;
  DelicateTables mDelicate;
  Checksums mSums;

  explicit Source(duckdb_connection inConnection)
      : mConnection(inConnection),
        mColumns(ReadColumns(inConnection)),
        mBefore(ReadCatalog(inConnection, mColumns, false)),
        mDelicate(FindDelicateTables(mColumns, mBefore)),
        mSums(ReadChecksums(inConnection, mDelicate)) {}
};

std::string BuildExportSql(std::string const& inFolder) {
  tarn::String const folder = tarn::EscapeStringU(ToHostText(inFolder).c_str(), '\'');
  return "EXPORT DATABASE '" + ToUtf8(folder) +
         "' ( FORMAT PARQUET, COMPRESSION ZSTD, ROW_GROUP_SIZE 100_000, PARQUET_VERSION V2 )";
}

// The first object that was in the source before the export and is in it still, but not in the
// trial; empty when there is none. What came or went meanwhile may be in the backup or not.
std::string FirstLost(Source const& inSource, Trial const& inTrial, bool inMacros) {
  duckdb_connection const trial = inTrial.mConnection.get();
  Catalog const copy = ReadCatalog(trial, ReadColumns(trial), inMacros);
  Catalog const before = FindMissing(inSource.mBefore, copy);
  if (before.empty() && !inMacros) return {};
  for (CatalogItem const& item : FindMissing(
           ReadCatalog(inSource.mConnection, ReadColumns(inSource.mConnection), inMacros), copy)) {
    if (!item.first.starts_with("macro ") && !before.contains(item)) continue;
    return item.second.empty() ? item.first : item.first + " (" + item.second + ")";
  }
  return {};
}

// Brings the schema script into an order that works, and the trial database to what it makes.
std::string MakeSchemaWork(Source const& inSource, Trial const& inTrial,
                           std::string const& inPath) {
  std::string const written = ReadTextFile(inPath);
  bool const macros = written.find("CREATE MACRO") != std::string::npos;
  Statements pending =
      SplitStatements(QuoteEnumValues(written, ReadEnumValues(inSource.mConnection)));
  for (std::string& comment : ReadComments(inSource.mConnection, inSource.mColumns, macros)) {
    pending.push_back(std::move(comment));
  }
  std::string error;
  Statements const done = RunInWorkingOrder(
      pending,
      [&](std::string const& statement, std::string& why) {
        return Run(inTrial.mConnection.get(), statement, why);
      },
      error);
  if (!pending.empty()) return Incomplete(error);
  ReplaceTextFile(
      inPath, StorageVersionLine(ReadStorageVersion(inSource.mConnection)) + JoinStatements(done));
  std::string const lost = FirstLost(inSource, inTrial, macros);
  return lost.empty() ? lost : Incomplete("DuckDB does not export " + lost + " as it is");
}

// Brings the loading script into an order that works. DuckDB only looks whether it could load each
// file; what is in the files is compared where Parquet may not hold it.
std::string MakeLoadingWork(Source const& inSource, Trial const& inTrial,
                            std::string const& inPath) {
  duckdb_connection const trial = inTrial.mConnection.get();
  Statements const written = SplitStatements(ReadTextFile(inPath));
  Statements const ordered = OrderCopies(written, ReadReferences(inSource.mConnection));
  for (std::string const& copy : ordered) {
    duckdb_c::PreparedHandle prepared;
    if (duckdb_prepare(trial, copy.c_str(), prepared.out()) == DuckDBSuccess) continue;
    return Incomplete(TextOr(duckdb_prepare_error(prepared.get()), kUnknownError));
  }
  if (ordered != written) ReplaceTextFile(inPath, JoinStatements(ordered));
  std::string const why = CompareFiles(trial, ordered, inSource.mDelicate, inSource.mSums,
                                       ReadChecksums(inSource.mConnection, inSource.mDelicate));
  return why.empty() ? why : Incomplete(why);
}

std::string MakeRestorable(Source const& inSource, std::string const& inFolder) {
  std::string error;
  Trial const trial(error);
  if (!trial.mConnection) return Incomplete(TextOr(error.c_str(), kUnknownError));
  error = MakeSchemaWork(inSource, trial, inFolder + "/schema.sql");
  if (!error.empty()) return error;
  return MakeLoadingWork(inSource, trial, inFolder + "/load.sql");
}

}  // namespace

std::string ExportDatabase(duckdb_connection inConnection, std::string const& inFolder) {
  Source const source(inConnection);
  std::string error;
  if (!Run(inConnection, BuildExportSql(inFolder), error)) return error;
  try {
    error = MakeRestorable(source, inFolder);
    EndBackup(inFolder);
    return error;
  } catch (tarn::xException const& failure) {
    return Incomplete(ToUtf8(failure.get_Message()));
  }
}

}  // namespace lumora
