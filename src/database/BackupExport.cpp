#include "database/BackupExport.h"

#include <algorithm>
#include <iterator>

#include "database/BackupCatalog.h"
#include "database/BackupMark.h"
#include "database/BackupQuery.h"
#include "database/BackupScript.h"
#include "database/BackupValues.h"
#include "database/DatabaseErrors.h"
#include "duckdb_c/Handles.h"
#include "duckdb_c/ScratchDatabase.h"
#include "tarn/Converter.h"
#include "tarn/Exceptions.h"

namespace lumora {

using duckdb_c::ScratchDatabase;
using duckdb_c::TextOr;

namespace {

constexpr char const* kUnknownError = "Unknown DuckDB backup error";

// The backup is there, but not all of the database in it.
std::string Incomplete(std::string const& inWhy) {
  return "The backup was written, but a restore would fail or lose something: " + inWhy;
}

bool Run(duckdb_connection inConnection, std::string const& inSql, std::string& outError) {
  return RunQuery(inConnection, inSql, outError, kUnknownError);
}

// The source, and what it held before the export.
struct Source {
  duckdb_connection mConnection;
  std::string mError;  // DuckDB's text when it does not tell what it holds
  CatalogColumns mColumns;
  CatalogObjects mBefore;
  DelicateTables mDelicate;
  Checksums mSums;

  explicit Source(duckdb_connection inConnection)
      : mConnection(inConnection),
        mColumns(ReadColumns(inConnection, mError)),
        mBefore(ReadObjects(inConnection, mColumns, kAllButMacros)),
        mDelicate(FindDelicateTables(mColumns, mBefore.mItems)),
        mSums(ReadChecksums(inConnection, mDelicate)) {
    if (mError.empty()) mError = mBefore.mError;
  }
};

std::string BuildExportSql(std::string const& inFolder) {
  tarn::String const folder = tarn::EscapeStringU(ToHostText(inFolder).c_str(), '\'');
  return "EXPORT DATABASE '" + ToUtf8(folder) +
         "' ( FORMAT PARQUET, COMPRESSION ZSTD, ROW_GROUP_SIZE 100_000, PARQUET_VERSION V2 )";
}

CatalogObjects ReadAll(duckdb_connection inConnection, std::uint32_t inKinds) {
  std::string error;
  CatalogColumns const columns = ReadColumns(inConnection, error);
  CatalogObjects objects = ReadObjects(inConnection, columns, inKinds);
  if (objects.mError.empty()) objects.mError = error;
  return objects;
}

// The first object that was in the source before the export and is in it still, but not in the
// trial; empty when there is none, and when DuckDB refuses to tell (its text in outError). What
// came or went meanwhile may be in the backup or not.
std::string FirstLost(Source const& inSource, duckdb_connection inTrial, std::uint32_t inMacros,
                      std::string& outError) {
  CatalogObjects const copy = ReadAll(inTrial, inSource.mBefore.mKinds | inMacros);
  outError = copy.mError;
  if (!outError.empty()) return {};
  Catalog const before = FindMissing(inSource.mBefore.mItems, copy.mItems);
  if (before.empty() && !inMacros) return {};
  CatalogObjects const now = ReadAll(inSource.mConnection, kAllButMacros | inMacros);
  outError = now.mError;
  for (CatalogItem const& item : FindMissing(now.mItems, copy.mItems)) {
    if (!item.first.starts_with("macro ") && !before.contains(item)) continue;
    return item.second.empty() ? item.first : item.first + " (" + item.second + ")";
  }
  return {};
}

// The statements of the schema script, and those that EXPORT leaves out. Macros are looked for
// where the script has some; comments of other objects where there were some before the export.
Statements CompleteSchema(Source const& inSource, std::string const& inScript,
                          std::uint32_t inMacros, std::string& outError) {
  bool const hasEnums = inScript.find(" AS ENUM (") != std::string::npos;
  Statements schema = SplitStatements(
      hasEnums ? QuoteEnumValues(inScript, ReadEnumValues(inSource.mConnection, outError))
               : inScript);
  if (!outError.empty() || (!inMacros && inSource.mBefore.mComments.empty())) return schema;
  CatalogObjects now =
      ReadObjects(inSource.mConnection, inSource.mColumns, inSource.mBefore.mKinds | inMacros);
  outError = now.mError;
  std::move(now.mComments.begin(), now.mComments.end(), std::back_inserter(schema));
  return schema;
}

// Brings the schema script into an order that works, and the trial database to what it makes.
std::string MakeSchemaWork(Source const& inSource, duckdb_connection inTrial,
                           std::string const& inPath, std::string const& inScript) {
  bool const hasMacros = inScript.find("CREATE MACRO") != std::string::npos;
  std::uint32_t const macros = hasMacros ? kMacros : std::uint32_t{0};
  std::string error;
  Statements pending = CompleteSchema(inSource, inScript, macros, error);
  if (!error.empty()) return Incomplete(error);
  Statements const done = RunInWorkingOrder(
      pending,
      [&](std::string const& statement, std::string& why) { return Run(inTrial, statement, why); },
      error);
  if (!pending.empty()) return Incomplete(error);
  ReplaceTextFile(inPath,
                  StorageVersionLine(inSource.mBefore.mStorageVersion) + JoinStatements(done));
  std::string const lost = FirstLost(inSource, inTrial, macros, error);
  if (!error.empty()) return Incomplete(error);
  return lost.empty() ? lost : Incomplete("DuckDB does not export " + lost + " as it is");
}

// Brings the loading script into an order that works. DuckDB only looks whether it could load each
// file; what is in the files is compared where Parquet may not hold it.
std::string MakeLoadingWork(Source const& inSource, ScratchDatabase& ioTrial,
                            std::string const& inPath, std::string const& inSchema) {
  bool const hasForeignKeys = inSchema.find(" REFERENCES ") != std::string::npos;
  Statements const written = SplitStatements(ReadTextFile(inPath));
  std::string error;
  Statements const ordered =
      hasForeignKeys ? OrderCopies(written, ReadReferences(inSource.mConnection, error)) : written;
  if (!error.empty()) return Incomplete(error);
  for (std::string const& copy : ordered) {
    duckdb_c::PreparedHandle prepared;
    if (duckdb_prepare(ioTrial.get(), copy.c_str(), prepared.out()) == DuckDBSuccess) continue;
    return Incomplete(TextOr(duckdb_prepare_error(prepared.get()), kUnknownError));
  }
  if (ordered != written) ReplaceTextFile(inPath, JoinStatements(ordered));
  if (inSource.mDelicate.empty()) return {};
  ioTrial.ExpectMuchWork();
  std::string const why = CompareFiles(ioTrial.get(), ordered, inSource.mDelicate, inSource.mSums,
                                       ReadChecksums(inSource.mConnection, inSource.mDelicate));
  return why.empty() ? why : Incomplete(why);
}

std::string MakeRestorable(Source const& inSource, std::string const& inFolder) {
  std::string error = inSource.mError;
  if (!error.empty()) return Incomplete(error);
  ScratchDatabase trial(error);
  if (!trial.get()) return Incomplete(error);
  std::string const path = inFolder + "/schema.sql";
  std::string const schema = ReadTextFile(path);
  error = MakeSchemaWork(inSource, trial.get(), path, schema);
  if (!error.empty()) return error;
  return MakeLoadingWork(inSource, trial, inFolder + "/load.sql", schema);
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
