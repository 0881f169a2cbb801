// Create and Open.
#include <utility>

#include "database/DatabaseErrors.h"
#include "database/DatabaseRemoval.h"
#include "database/DatabaseRestore.h"
#include "database/DuckDBDatabase.h"
#include "duckdb_c/EngineLockGuard.h"

namespace tarn::lsql {

using lumora::ConfigEntries;
using lumora::EngineLockGuard;
using lumora::ToUtf8;
using lumora::duckdb_c::ConfigHandle;
using lumora::duckdb_c::ConnectionHandle;
using lumora::duckdb_c::FileReservation;
using lumora::duckdb_c::OpenRequest;
using lumora::duckdb_c::ResultHandle;
using lumora::duckdb_c::TextOr;

namespace {

// The connection with the hold on its instance, released in that order.
struct HeldConnection {
  std::shared_ptr<lumora::duckdb_c::OpenDatabase> mDatabase;
  ConnectionHandle mConnection;
};

}  // namespace

// Null with DuckDB's text (which may be empty) in outError.
DuckDBDatabase::Database DuckDBDatabase::OpenHandle(ConfigEntries const& inEntries, Access inAccess,
                                                    bool inMustExist, std::string& outError) {
  ConfigHandle const config = lumora::MakeConfig(inEntries, inAccess, outError);
  if (!config) return nullptr;
  OpenRequest request;
  request.mPath = ToUtf8(mPath);
  request.mAccess = inAccess;
  request.mConfig = config.get();
  request.mMustExist = inMustExist;
  if (!inMustExist) {
    request.mStorageVersion = ToUtf8(mStorageVersion);
    request.mBlockSize = mBlockSize;
  }
  return OpenDatabaseFile(request, outError);
}

DuckDBDatabase::Database DuckDBDatabase::OpenShared(ConfigEntries const& inEntries, Access inAccess,
                                                    bool inMustExist, std::string& outError) {
  auto const open = [&] { return OpenHandle(inEntries, inAccess, inMustExist, outError); };
  return get_LocalPath().empty() ? mOpenDatabases->Share(get_Key(), open) : open();
}

// Connects, and makes the object open. From here on DuckDB's error texts are JSON.
bool DuckDBDatabase::Attach(Database inHandle) {
  auto held = std::make_shared<HeldConnection>();
  held->mDatabase = inHandle;
  held->mConnection = inHandle->Connect();
  if (!held->mConnection) return false;
  ResultHandle result;
  (void)duckdb_query(held->mConnection.get(), "SET errors_as_json = true;", result.out());
  mOpenKey = get_Key();
  mOpenDatabases->Enter(mOpenKey);
  mConnection = std::shared_ptr<ConnectionHandle>(held, &held->mConnection);
  mHandle = std::move(inHandle);
  mIsReadOnly = mHandle->get_Access() == Access::kReadOnly;
  return true;
}

void DuckDBDatabase::Create() {
  EngineLockGuard const guard;
  Drop();
  try {
    CreateNew();
  } catch (...) {
    mOpenDatabases->ForgetUnused();
    // Nothing was there, so what is there now is a half-made file of ours.
    std::string const path = get_LocalPath();
    FileReservation const file(path);
    if (!path.empty() && file.get_Users() == 0) (void)lumora::RemoveDatabaseFiles(path);
    throw;
  }
}

void DuckDBDatabase::CreateNew() {
  ConfigEntries const entries = mHasSettings ? lumora::SettingsEntries(mSettings) : ConfigEntries{};
  std::string error;
  Database handle = OpenShared(entries, Access::kReadWrite, false, error);
  if (!handle) Throw(TextOr(error.c_str(), lumora::kCreateFailed));
  if (!Attach(std::move(handle))) Throw(lumora::kNoConnection);
}

void DuckDBDatabase::Open() {
  EngineLockGuard const guard;
  Close();
  try {
    OpenExisting();
  } catch (...) {
    mOpenDatabases->ForgetUnused();
    throw;
  }
}

void DuckDBDatabase::OpenExisting() {
  bool const local = mToken.isEmpty() && !IsInMemory();
  if (local && !get_Exists()) lumora::ReturnReplaced(get_LocalPath());
  if (local && !get_Exists()) Throw(lumora::kNoFile);
  ConfigEntries entries = lumora::RemoteEntries(mToken, mUserAgent);
  if (mHasSettings) {
    for (auto& entry : lumora::SettingsEntries(mSettings)) entries.push_back(std::move(entry));
  }
  std::string error;
  Database handle = mHasSettings && mSettings.mWritable == 0
                        ? OpenShared(entries, Access::kReadOnly, local, error)
                        : OpenWithFallback(entries, error);
  if (!handle) lumora::ThrowOpenError(TextOr(error.c_str(), lumora::kOpenFailed));
  if (!Attach(std::move(handle))) lumora::ThrowOpenError(lumora::kNoConnection);
}

// A file that may not be written, or is open read-only in this process, is opened read-only. A
// database in memory never can be: there the first error is the one that helps.
DuckDBDatabase::Database DuckDBDatabase::OpenWithFallback(ConfigEntries const& inEntries,
                                                          std::string& outError) {
  bool const local = mToken.isEmpty() && !IsInMemory();
  if (Database handle = OpenShared(inEntries, Access::kReadWrite, local, outError)) return handle;
  if (IsInMemory()) return nullptr;
  outError.clear();
  return OpenShared(inEntries, Access::kReadOnly, local, outError);
}

}  // namespace tarn::lsql
