#include "database/DuckDBDatabase.h"

#include <fmt/format.h>

#include <new>
#include <utility>

#include "database/DatabaseErrors.h"
#include "database/DatabaseRemoval.h"
#include "database/DatabaseRestore.h"
#include "database/Globals.h"
#include "duckdb_c/EngineLockGuard.h"
#include "duckdb_c/FileStatus.h"
#include "tarn/lsql/I_DuckDBExtension.h"

namespace tarn::lsql {

using lumora::EngineLockGuard;
using lumora::ToUtf8;
using lumora::duckdb_c::ConnectionHandle;
using lumora::duckdb_c::FileReservation;

namespace {

template <typename TInterface>
std::ptrdiff_t DistanceOf(DuckDBDatabase* inObject) {
  auto const start = reinterpret_cast<char*>(static_cast<I_DuckDBDatabase*>(inObject));
  return reinterpret_cast<char*>(static_cast<TInterface*>(inObject)) - start;
}

// Calls inClose on every child, the youngest first, and keeps the first exception: a failing child
// must not keep the others open.
template <typename T, typename TClose>
void CloseAll(lumora::ChildRegistry<T>& ioChildren, TClose inClose, std::exception_ptr& ioFirst) {
  while (T* const child = ioChildren.TakeLast()) {
    try {
      inClose(*child);
    } catch (...) {
      if (!ioFirst) ioFirst = std::current_exception();
    }
  }
}

}  // namespace

DuckDBDatabase::DuckDBDatabase(smart_ptr<I_Location> inLocation)
    : mLocation(std::move(inLocation)),
      mOpenDatabases(lumora::gOpenDatabases),
      mPath(mLocation->get_Path()) {}

DuckDBDatabase::~DuckDBDatabase() = default;

// Closed before the destructor runs: the children and the registries must never see half an object.
std::uint32_t DuckDBDatabase::Release() {
  std::uint32_t const count = mRefCount.Decrement();
  if (count != 0) return count;
  try {
    Close();
  } catch (...) {
    // There is nobody left to tell; everything is closed all the same.
  }
  delete this;
  return 0;
}

void* DuckDBDatabase::QueryInterface(std::uint32_t inInterfaceId) {
  static INTERFACE_ITEM const table[] = {
      {kIID_DuckDBDatabase, 0},
      {kIID_ForeignPlugin, DistanceOf<ForeignPlugin_imp>(this)},
      {0, 0},
  };
  return InterfaceTableQueryInterface(static_cast<I_DuckDBDatabase*>(this), inInterfaceId, table);
}

void DuckDBDatabase::Throw(std::string const& inMessage) {
  lumora::ThrowDuckDBError(get_Path(), inMessage);
}

void DuckDBDatabase::CheckOpen() {
  if (!mHandle || !mConnection) Throw(lumora::kNotOpen);
}

bool DuckDBDatabase::IsInMemory() {
  auto const extension = GetDuckDBExtension();
  return extension ? extension->IsInMemoryPath(mPath) : mLocation->get_IsInMemory();
}

std::string DuckDBDatabase::get_LocalPath() {
  if (IsInMemory() || mLocation->get_IsRemote()) return {};
  return lumora::duckdb_c::LocalPathOf(ToUtf8(mPath));
}

void DuckDBDatabase::put_BlockSize(std::uint32_t inBytes) {
  EngineLockGuard const guard;
  mBlockSize = inBytes;
}

std::uint32_t DuckDBDatabase::get_ConnectionCount() {
  EngineLockGuard const guard;
  return mOpenDatabases->get_Count(mHandle ? mOpenKey : get_Key());
}

bool DuckDBDatabase::get_Exists() {
  EngineLockGuard const guard;
  auto const extension = GetDuckDBExtension();
  if (!extension || !mToken.isEmpty() || extension->IsInMemoryPath(mPath)) return false;
  return mLocation->get_Exists();
}

bool DuckDBDatabase::get_IsOpen() {
  EngineLockGuard const guard;
  return mHandle != nullptr;
}

bool DuckDBDatabase::get_IsReadOnly() {
  EngineLockGuard const guard;
  return mIsReadOnly;
}

String DuckDBDatabase::get_Path() {
  EngineLockGuard const guard;
  return mLocation->get_Path();
}

String DuckDBDatabase::get_Key() {
  EngineLockGuard const guard;
  return mLocation->get_Key();
}

void DuckDBDatabase::SetRemoteAccess(String inToken, String inUserAgent) {
  EngineLockGuard const guard;
  mToken = std::move(inToken);
  mUserAgent = std::move(inUserAgent);
}

void DuckDBDatabase::put_StorageVersion(String inVersion) {
  EngineLockGuard const guard;
  mStorageVersion = std::move(inVersion);
}

void DuckDBDatabase::put_Settings(DuckDBSettings const& inSettings) {
  EngineLockGuard const guard;
  mSettings = inSettings;
  mHasSettings = true;
}

void DuckDBDatabase::Close() {
  EngineLockGuard const guard(std::nothrow);
  if (!mHandle) return;
  std::exception_ptr const failure = CloseChildren();
  // What a child lets go of may be the host's, and have closed this one meanwhile.
  if (mHandle) CloseHandle();
  if (failure) std::rethrow_exception(failure);
}

std::exception_ptr DuckDBDatabase::CloseChildren() {
  std::exception_ptr failure;
  bool const isInside = std::exchange(mIsClosingChildren, true);
  CloseAll(
      mQueryResults, [](I_DuckDBQueryResult& child) { child.Close(); }, failure);
  // Not before: what dies with a result may be the host's, and invalidate a cursor that is listed.
  mIsInvalidatingCursors = true;
  CloseAll(
      mCursors, [](I_DuckDBCursor& child) { child.Invalidate(); }, failure);
  mIsInvalidatingCursors = false;
  CloseAll(
      mStatements, [](I_DuckDBStatement& child) { child.Close(); }, failure);
  mIsClosingChildren = isInside;
  return failure;
}

// A call of another thread that is under way keeps connection and instance until it ends.
void DuckDBDatabase::CloseHandle() {
  mConnection.reset();
  mHandle.reset();
  mHasSettings = false;
  mIsReadOnly = false;
  mOpenDatabases->Leave(mOpenKey);
}

void DuckDBDatabase::Drop() {
  EngineLockGuard const guard;
  Close();
  std::string const path = get_LocalPath();
  if (!path.empty()) lumora::ReturnReplaced(path);
  FileReservation const file(path);
  std::uint32_t const users =
      path.empty() ? mOpenDatabases->get_Count(get_Key()) : file.get_Users();
  if (users != 0) Throw(fmt::format(lumora::kInUse, users));
  if (!path.empty()) RemoveFiles();
}

void DuckDBDatabase::RemoveFiles() {
  std::string const why = lumora::RemoveDatabaseFiles(get_LocalPath());
  if (!why.empty()) Throw(why);
}

void DuckDBDatabase::Flush() { EngineLockGuard const guard; }

void DuckDBDatabase::UnregisterStatement(I_DuckDBStatement* inStatement) {
  EngineLockGuard const guard;
  if (!mStatements.Remove(inStatement)) {
    // The registry is being emptied, and this one has left it already.
    if (mIsClosingChildren) return;
    CheckOpen();
    Throw(lumora::kForeignStatement);
  }
  // It must not outlive this database with a pointer to it. Nothing happens when it is the
  // statement itself that leaves.
  inStatement->Close();
}

void DuckDBDatabase::RegisterCursor(I_DuckDBCursor* inCursor) {
  EngineLockGuard const guard;
  if (inCursor) mCursors.Add(inCursor);
}

void DuckDBDatabase::UnregisterCursor(I_DuckDBCursor* inCursor) {
  EngineLockGuard const guard;
  mCursors.Remove(inCursor);
}

void DuckDBDatabase::RegisterQueryResult(I_DuckDBQueryResult* inResult) {
  EngineLockGuard const guard;
  if (inResult) mQueryResults.Add(inResult);
}

void DuckDBDatabase::UnregisterQueryResult(I_DuckDBQueryResult* inResult) {
  EngineLockGuard const guard;
  mQueryResults.Remove(inResult);
}

smart_ptr<I_DuckDBDatabase> DuckDBDatabase::get_Self() {
  if (!mRefCount.TryIncrement()) return nullptr;
  return smart_ptr<I_DuckDBDatabase>::adopt(this);
}

std::shared_ptr<ConnectionHandle> DuckDBDatabase::get_Connection() {
  EngineLockGuard const guard;
  return mConnection;
}

}  // namespace tarn::lsql
