#include <utility>

#include "database/BackupExport.h"
#include "database/BackupMark.h"
#include "database/DatabaseErrors.h"
#include "database/DuckDBDatabase.h"
#include "duckdb_c/EngineLockGuard.h"
#include "tarn/File.h"
#include "tarn/lsql/Backup.h"

namespace tarn::lsql {

using lumora::EngineLockGuard;
using lumora::ToUtf8;

namespace {

// The folder of all backups: the server's, the caller's, or one beside the database.
smart_ptr<I_Location> ChooseFolder(smart_ptr<I_Location> inProposed, I_Location& inDatabase) {
  if (gServerBackupLocation) {
    if (auto location = gServerBackupLocation()) return location;
  }
  if (inProposed) return inProposed;
  auto folder = inDatabase.get_Folder();
  return folder ? PrepareFolder(std::move(folder), "Backup/") : nullptr;
}

smart_ptr<I_Folder> FolderOf(smart_ptr<I_Location> const& inLocation) {
  return query_interface<I_Folder>(inLocation.get(), kIID_Folder);
}

// The host's hook may or may not have made the folder. A marker that is there means a backup, so
// the sign that it is not finished is there first.
void WriteMarker(smart_ptr<I_Location> const& inBackup, String const& inDatabaseName) {
  if (auto const folder = FolderOf(inBackup)) folder->Create();
  lumora::BeginBackup(ToUtf8(inBackup->get_Path()));
  String name = inDatabaseName;
  name += ".";
  name += glDuckDB_backup_sfx;
  std::string const content = glDuckDB_backup_sfx;
  auto const file = CreateFile(inBackup->get_Child(name));
  file->Create();
  file->WriteAt(0, content.data(), static_cast<std::uint32_t>(content.size()));
  file->Close();
}

}  // namespace

// Everything up to the export, under the engine lock.
smart_ptr<I_Location> DuckDBDatabase::PrepareBackup(smart_ptr<I_Location>& ioFolder) {
  ioFolder = ChooseFolder(ioFolder, *mLocation);
  auto const folder = FolderOf(ioFolder);
  if (!folder || !folder->get_Exists()) Throw(lumora::kNoBackupFolder);
  auto backup = gCreateBackupLocation ? gCreateBackupLocation(ioFolder) : nullptr;
  if (!backup) Throw(lumora::kNoBackupFolder);
  WriteMarker(backup, mLocation->get_Name());
  return backup;
}

// Hazard: the export runs without the engine lock, and another thread may close, drop or open this
// object meanwhile, as the host's hooks may before. Remedy: it runs on its own hold of the
// connection, which keeps the instance and the file's place in the registry of open files; the file
// cannot be dropped until it is over.
void DuckDBDatabase::Backup(smart_ptr<I_Location>& ioFolder) {
  std::shared_ptr<lumora::duckdb_c::ConnectionHandle> connection;
  smart_ptr<I_Location> backup;
  {
    EngineLockGuard const guard;
    CheckOpen();
    connection = mConnection;
    backup = PrepareBackup(ioFolder);
  }
  std::string const error = lumora::ExportDatabase(connection->get(), ToUtf8(backup->get_Path()));
  if (!error.empty()) Throw(error);
}

}  // namespace tarn::lsql
