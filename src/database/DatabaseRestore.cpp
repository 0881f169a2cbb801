#include "database/DatabaseRestore.h"

#include <fmt/format.h>

#include <filesystem>
#include <new>
#include <stdexcept>
#include <system_error>

#include "database/BackupMark.h"
#include "database/BackupScript.h"
#include "database/DatabaseErrors.h"
#include "database/DatabaseRemoval.h"
#include "database/DuckDBDatabase.h"
#include "duckdb_c/DatabaseFile.h"
#include "duckdb_c/FileStatus.h"
#include "tarn/Converter.h"
#include "tarn/Exceptions.h"

namespace lumora {

namespace fs = std::filesystem;
using duckdb_c::FileKind;
using duckdb_c::FileReservation;
using duckdb_c::FileStatus;
using duckdb_c::PathOf;
using tarn::lsql::DuckDBDatabase;

namespace {

constexpr char const* kRestoring = ".lumora-restoring";
constexpr char const* kReplaced = ".lumora-replaced";
constexpr char const* kLog = ".wal";
// Holds everything that DuckDB 1.5 can export.
constexpr char const* kNewestStorage = "latest";

using DatabasePtr = tarn::smart_ptr<DuckDBDatabase>;

DatabasePtr MakeDatabase(std::string const& inPath) {
  return DatabasePtr(new DuckDBDatabase(tarn::CreateLocation(ToHostText(inPath))));
}

bool Exists(std::string const& inPath) {
  return duckdb_c::InspectFile(inPath).mKind != FileKind::kMissing;
}

void Rename(std::string const& inFrom, std::string const& inTo) {
  std::error_code error;
  fs::rename(PathOf(inFrom), PathOf(inTo), error);
  if (!error) return;
  throw std::runtime_error(
      fmt::format("IO Error: Cannot move file \"{}\": {}", inFrom, error.message()));
}

// Throws (target's path, why) unless the file may be replaced. The texts are those of a database
// that is dropped.
void CheckReplaceable(std::string const& inPath, FileReservation const& inHold) {
  if (inHold.get_Users() != 0) throw std::runtime_error(fmt::format(kInUse, inHold.get_Users()));
  FileStatus const status = duckdb_c::InspectFile(inPath);
  if (status.mKind == FileKind::kMissing) return;
  if (status.mKind == FileKind::kFolder) throw std::runtime_error(kIsFolder);
  if (status.mKind != FileKind::kFile) throw std::runtime_error(kIsNoFile);
  std::string const holder = duckdb_c::FindLockHolder(status.mPath);
  if (!holder.empty()) throw std::runtime_error(fmt::format(kInUseBy, holder));
}

// A backup of ours says which version its database had; one of another hand gets the newest.
std::string StorageVersionFor(std::string const& inBackupFolder) {
  try {
    std::string version = StorageVersionOf(ReadTextFile(inBackupFolder + "/schema.sql"));
    return version.empty() ? kNewestStorage : version;
  } catch (tarn::xException const&) {
    return kNewestStorage;  // DuckDB says better what is wrong with the folder
  }
}

bool IsEmptyBackup(std::string const& inFolder) {
  try {
    return SplitStatements(ReadTextFile(inFolder + "/schema.sql")).empty() &&
           SplitStatements(ReadTextFile(inFolder + "/load.sql")).empty();
  } catch (tarn::xException const&) {
    return false;
  }
}

// The new database, whole and closed. Throws the database's exceptions.
void Build(std::string const& inPath, std::string const& inBackupFolder) {
  DatabasePtr const database = MakeDatabase(inPath);
  database->put_StorageVersion(ToHostText(StorageVersionFor(inBackupFolder)));
  database->Create();
  ImportBackup(*database, inBackupFolder);
  database->Close();
  if (Exists(inPath + kLog)) throw std::runtime_error("The restored database was not written out");
}

// Lets DuckDB take the old database's log in. One that it cannot open keeps its log.
void FoldLog(std::string const& inPath) {
  if (!Exists(inPath + kLog)) return;
  try {
    DatabasePtr const database = MakeDatabase(inPath);
    database->Open();
    database->Close();
  } catch (tarn::xException const&) {
  }
}

void KeepMode(std::string const& inPath, std::string const& inNew) {
  std::error_code ignored;
  fs::file_status const status = fs::status(PathOf(inPath), ignored);
  if (fs::is_regular_file(status)) fs::permissions(PathOf(inNew), status.permissions(), ignored);
}

void Replace(std::string const& inPath, std::string const& inNew) {
  KeepMode(inPath, inNew);
  duckdb_c::FlushToDisk(inNew);
  FoldLog(inPath);
  FileReservation const hold(inPath);
  CheckReplaceable(inPath, hold);
  if (!Exists(inPath)) (void)RemoveDatabaseFiles(inPath);  // what a removed database left behind
  if (!Exists(inPath + kLog)) {
    Rename(inNew, inPath);
  } else {
    Rename(inPath, inPath + kReplaced);
    Rename(inPath + kLog, inPath + kReplaced + kLog);
    Rename(inNew, inPath);
    (void)RemoveDatabaseFiles(inPath + kReplaced);
  }
  duckdb_c::FlushToDisk(PathOf(inPath).parent_path().string());
}

// Host exceptions keep DuckDB's text but name the target, not the place where it was built.
template <typename TWork>
void NamingTarget(tarn::String const& inPath, TWork const& inWork) {
  try {
    inWork();
  } catch (tarn::lsql::xDuckDBError const& error) {
    throw tarn::lsql::xDuckDBError(error.get_Code(), inPath.c_str(), error.get_Text(1).c_str());
  } catch (std::bad_alloc const&) {
    throw;
  } catch (std::exception const& error) {
    ThrowDuckDBError(inPath, error.what());
  }
}

}  // namespace

void ImportBackup(tarn::lsql::I_DuckDBDatabase& inDatabase, std::string const& inFolder) {
  if (IsUnfinishedBackup(inFolder)) ThrowDuckDBError(inDatabase.get_Path(), kUnfinishedBackup);
  if (IsEmptyBackup(inFolder)) return;
  tarn::String sql(TARN_W("IMPORT DATABASE '"));
  sql += tarn::EscapeStringU(ToHostText(inFolder).c_str(), '\'');
  sql += "'";
  inDatabase.ExecuteSQL(sql, nullptr);
}

void ReturnReplaced(std::string const& inPath) {
  std::string const path = duckdb_c::InspectFile(inPath).mPath;
  std::string const replaced = path + kReplaced;
  std::error_code error;
  if (Exists(path) || !Exists(replaced)) return;
  fs::rename(PathOf(replaced + kLog), PathOf(path + kLog), error);
  fs::rename(PathOf(replaced), PathOf(path), error);
}

void RestoreDatabaseFile(tarn::I_Location& inTarget, std::string const& inBackupFolder) {
  tarn::String const name = inTarget.get_Path();
  std::string const path = duckdb_c::InspectFile(duckdb_c::LocalPathOf(ToUtf8(name))).mPath;
  std::string const building = path + kRestoring;
  NamingTarget(name, [&] {
    ReturnReplaced(path);
    CheckReplaceable(path, FileReservation(path));
    try {
      Build(building, inBackupFolder);
      Replace(path, building);
    } catch (...) {
      (void)RemoveDatabaseFiles(building);
      ReturnReplaced(path);
      throw;
    }
  });
}

}  // namespace lumora
