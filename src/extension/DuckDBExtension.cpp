#include "extension/DuckDBExtension.h"

#include <duckdb.h>

#include <cstring>

#include "cursor/DuckDBCursor_client.h"
#include "database/DatabaseErrors.h"
#include "database/DatabaseRestore.h"
#include "database/DuckDBDatabase.h"
#include "database/Globals.h"
#include "duckdb_c/DatabaseFile.h"
#include "duckdb_c/EngineLockGuard.h"
#include "duckdb_c/FileStatus.h"
#include "duckdb_c/PrivateDatabase.h"
#include "duckdb_c/ScratchDatabase.h"
#include "tarn/Exceptions.h"
#include "tarn/File.h"

namespace tarn::lsql {

using lumora::EngineLockGuard;
namespace duckdb_c = lumora::duckdb_c;

namespace {

constexpr std::uint32_t kNoLocation = 0x51501;
constexpr std::uint32_t kNoBackup = 0x66000;
constexpr std::uint64_t kMagicOffset = 8;
constexpr char kMagic[] = {'D', 'U', 'C', 'K'};

// Throws the host's exception when the file cannot be read.
bool HasMagic(smart_ptr<I_Location> inLocation) {
  auto const file = CreateFile(std::move(inLocation));
  file->OpenForRead();
  if (file->get_Length() == 0) return true;
  char bytes[sizeof kMagic] = {};
  if (file->ReadAt(kMagicOffset, bytes, sizeof bytes) != sizeof bytes) return false;
  return std::memcmp(bytes, kMagic, sizeof bytes) == 0;
}

}  // namespace

DuckDBExtension::~DuckDBExtension() {
  duckdb_c::ClosePrivateDatabase();
  duckdb_c::CloseScratchDatabase();
}

std::uint32_t DuckDBExtension::Release() {
  std::uint32_t const count = mRefCount.Decrement();
  if (count == 0) delete this;
  return count;
}

void* DuckDBExtension::QueryInterface(std::uint32_t inInterfaceId) {
  return InterfaceTableQueryInterface(this, inInterfaceId, PlainInterfaceTable());
}

char const* DuckDBExtension::get_LibraryVersion() { return duckdb_library_version(); }

smart_ptr<I_DuckDBDatabase> DuckDBExtension::CreateDatabase(smart_ptr<I_Location> inLocation) {
  if (!inLocation) throw xDBError(kNoLocation);
  EngineLockGuard const guard;
  return smart_ptr<I_DuckDBDatabase>(new DuckDBDatabase(std::move(inLocation)));
}

smart_ptr<ValueRows> DuckDBExtension::get_CursorRows(smart_ptr<I_DuckDBCursor> inCursor) {
  auto const cursor = dynamic_cast<DuckDBCursor_client*>(inCursor.get());
  return cursor ? cursor->get_Rows() : nullptr;
}

bool DuckDBExtension::get_IsClientCursor(smart_ptr<I_DuckDBCursor> inCursor) {
  return dynamic_cast<DuckDBCursor_client*>(inCursor.get()) != nullptr;
}

// The key itself, or a path that has this key.
bool DuckDBExtension::get_IsDatabaseOpen(String const& inPath) {
  EngineLockGuard const guard;
  if (inPath.isEmpty()) return false;
  auto const& databases = *lumora::gOpenDatabases;
  return databases.get_Count(inPath) != 0 ||
         databases.get_Count(CreateLocation(inPath)->get_Key()) != 0;
}

// Hazard: looking into a file that DuckDB has open in this process would drop its lock. Such a file
// is a database without looking; the reservation keeps it from being opened while we look.
bool DuckDBExtension::IsDuckDBFile(smart_ptr<I_Location> inLocation) {
  if (!inLocation) return false;
  try {
    std::string const path = lumora::ToUtf8(inLocation->get_Path());
    duckdb_c::FileReservation const file(path);
    if (file.get_Users() != 0) return true;
    bool const isFile = duckdb_c::InspectFile(path).mKind == duckdb_c::FileKind::kFile;
    return isFile && HasMagic(std::move(inLocation));
  } catch (...) {
    return false;
  }
}

bool DuckDBExtension::IsInMemoryPath(String const& inPath) {
  static String const memory(TARN_W(":memory:"));
  return inPath == memory;
}

smart_ptr<I_DuckDBDatabase> DuckDBExtension::RestoreDatabase(
    smart_ptr<I_Location> inLocation, smart_ptr<I_Location> inBackupLocation) {
  if (!inLocation) throw xDBError(kNoLocation);
  if (!inBackupLocation || !inBackupLocation->get_Exists()) throw xDBError(kNoBackup);
  EngineLockGuard const guard;
  auto database = CreateDatabase(inLocation);
  std::string const backup = lumora::ToUtf8(inBackupLocation->get_Path());
  bool const local = !IsInMemoryPath(inLocation->get_Path()) && !inLocation->get_IsRemote();
  if (local) {
    lumora::RestoreDatabaseFile(*inLocation, backup);
    return database;
  }
  database->Create();
  lumora::ImportBackup(*database, backup);
  database->Close();
  return database;
}

smart_ptr<I_DuckDBExtension> MakeDuckDBExtension() {
  return smart_ptr<I_DuckDBExtension>(new DuckDBExtension());
}

}  // namespace tarn::lsql
