#include "duckdb_c/DatabaseFile.h"

#include <fmt/format.h>

#include <filesystem>
#include <system_error>
#include <utility>

#include "duckdb_c/FileRegistry.h"

namespace lumora::duckdb_c {

namespace fs = std::filesystem;

namespace {

using Busy = FileRegistry::Busy;

// A database that no one else can mean: in memory, or somewhere behind an extension of DuckDB's.
class PrivateUser final : public OpenDatabase {
 public:
  PrivateUser(DatabaseHandle inHandle, Access inAccess)
      : mHandle(std::move(inHandle)), mAccess(inAccess) {}
  duckdb_database get() const noexcept override { return mHandle.get(); }
  Access get_Access() const noexcept override { return mAccess; }

 private:
  DatabaseHandle mHandle;
  Access mAccess;
};

// One of the users of a file's shared read-write instance.
class ReadWriteUser final : public OpenDatabase {
 public:
  ReadWriteUser(std::shared_ptr<FileRegistry> inRegistry, std::shared_ptr<OpenFile> inFile)
      : mRegistry(std::move(inRegistry)), mFile(std::move(inFile)) {
    mRegistry->AddUser(*mFile, true, 1);
  }
  ~ReadWriteUser() override {
    auto const busy = mRegistry->Take(mFile);
    if (mFile->mReadWriteUsers == 1) mFile->mReadWrite.reset();
    mRegistry->AddUser(*mFile, true, -1);
  }
  duckdb_database get() const noexcept override { return mFile->mReadWrite.get(); }
  Access get_Access() const noexcept override { return Access::kReadWrite; }

 private:
  std::shared_ptr<FileRegistry> mRegistry;
  std::shared_ptr<OpenFile> mFile;
};

// A read-only instance of its own.
class ReadOnlyUser final : public OpenDatabase {
 public:
  ReadOnlyUser(std::shared_ptr<FileRegistry> inRegistry, std::shared_ptr<OpenFile> inFile,
               DatabaseHandle inHandle)
      : mRegistry(std::move(inRegistry)), mFile(std::move(inFile)), mHandle(std::move(inHandle)) {
    mRegistry->AddUser(*mFile, false, 1);
  }
  ~ReadOnlyUser() override {
    auto const busy = mRegistry->Take(mFile);
    bool const last = mFile->mReadOnlyUsers == 1;
    if (mFile->mKeeper && !last) mFile->mKeeper->Cover();
    mHandle.reset();
    if (mFile->mKeeper && !last) mFile->mKeeper->Uncover();
    if (last) mFile->mKeeper.reset();
    mRegistry->AddUser(*mFile, false, -1);
  }
  duckdb_database get() const noexcept override { return mHandle.get(); }
  Access get_Access() const noexcept override { return Access::kReadOnly; }

 private:
  std::shared_ptr<FileRegistry> mRegistry;
  std::shared_ptr<OpenFile> mFile;
  DatabaseHandle mHandle;
};

DatabaseHandle OpenInstance(std::string const& inPath, duckdb_config inConfig,
                            std::string& outError) {
  DatabaseHandle handle;
  TextHandle error;
  if (duckdb_open_ext(inPath.c_str(), handle.out(), inConfig, error.out()) == DuckDBSuccess) {
    return handle;
  }
  outError = TextOr(error.get(), "");
  return {};
}

std::string LockConflict(std::string const& inPath, char const* inWhy) {
  return fmt::format("IO Error: Could not set lock on file \"{}\": {}", inPath, inWhy);
}

// Empty: DuckDB may be asked.
std::string Refusal(OpenRequest const& inRequest, FileStatus const& inStatus) {
  char const* why = "";
  switch (inStatus.mKind) {
    case FileKind::kMissing:
      why = inRequest.mMustExist ? "No such file or directory" : "";
      break;
    case FileKind::kFolder:
      why = "Is a directory";
      break;
    case FileKind::kOther:
      why = "Not a regular file";
      break;
    case FileKind::kUnknown:
      why = inRequest.mMustExist ? "Cannot be accessed" : "";
      break;
    case FileKind::kFile:
      break;
  }
  return *why ? fmt::format("IO Error: Cannot open file \"{}\": {}", inStatus.mPath, why) : "";
}

// Hazard: a log that DuckDB cannot look at is none for it. It opens the file without what the log
// holds, and removes the log later. Remedy: it is looked at before. Empty: DuckDB may be asked.
std::string LogRefusal(std::string const& inPath) {
  std::string const log = inPath + ".wal";
  std::error_code error;
  if (fs::status(PathOf(log), error).type() != fs::file_type::none) return {};
  return fmt::format("IO Error: Cannot open file \"{}\": {}", log, error.message());
}

// DuckDB takes storage options for a new file in an ATTACH alone. The private instance needs no
// configuration: it runs nothing else, and external access must not be off in it.
bool RunAttach(std::string const& inSql, std::string& outError) {
  DatabaseHandle const handle = OpenInstance(":memory:", nullptr, outError);
  if (!handle) return false;
  ConnectionHandle connection;
  if (duckdb_connect(handle.get(), connection.out()) != DuckDBSuccess) {
    outError = "Failed to create DuckDB connection";
    return false;
  }
  ResultHandle result;
  if (duckdb_query(connection.get(), inSql.c_str(), result.out()) == DuckDBSuccess) return true;
  outError = TextOr(duckdb_result_error(result.ptr()), "");
  return false;
}

// The caller asked for another path than the one that DuckDB speaks of.
std::string Renamed(std::string ioText, std::string const& inFrom, std::string const& inTo) {
  for (std::size_t at = 0; (at = ioText.find(inFrom, at)) != ioText.npos; at += inTo.size()) {
    ioText.replace(at, inFrom.size(), inTo);
  }
  return ioText;
}

void RemoveNew(std::string const& inPath) {
  std::error_code ignored;
  for (char const* const suffix : {"", ".wal"}) fs::remove(PathOf(inPath + suffix), ignored);
}

// Makes the file beside its place and moves it there. DuckDB writes a new file in steps, and one
// that is left in the middle of them (a kill, a full disk) can never be opened.
bool MakeFile(OpenRequest const& inRequest, std::string const& inPath, std::string& outError) {
  std::string const path = inPath + kCreatingSuffix;
  RemoveNew(path);
  bool const options = !inRequest.mStorageVersion.empty() || inRequest.mBlockSize != 0;
  bool const made =
      options ? RunAttach(BuildAttachSql(path, inRequest.mStorageVersion, inRequest.mBlockSize),
                          outError)
              : static_cast<bool>(OpenInstance(path, inRequest.mConfig, outError));
  std::error_code error;
  if (made) fs::rename(PathOf(path), PathOf(inPath), error);
  if (error)
    outError = fmt::format("IO Error: Cannot make file \"{}\": {}", inPath, error.message());
  if (!made) outError = Renamed(outError, path, inPath);
  if (!made || error) RemoveNew(path);
  return made && !error;
}

// A missing file, or an empty one that DuckDB would not take (not while somebody is making it, and
// not with a log beside it, which says that there was something in it).
bool IsNew(FileStatus const& inStatus) {
  if (inStatus.mKind == FileKind::kMissing) return true;
  std::error_code error;
  return fs::file_size(PathOf(inStatus.mPath), error) == 0 && !error &&
         !fs::exists(PathOf(inStatus.mPath + ".wal"), error) && !error &&
         FindLockHolder(inStatus.mPath).empty();
}

DatabaseHandle OpenOrMake(OpenRequest const& inRequest, FileStatus const& inStatus,
                          std::string& outError) {
  outError = LogRefusal(inStatus.mPath);
  if (!outError.empty()) return {};
  bool const isNew = !inRequest.mOnlyReads && IsNew(inStatus);
  if (isNew && !MakeFile(inRequest, inStatus.mPath, outError)) return {};
  DatabaseHandle handle = OpenInstance(inStatus.mPath, inRequest.mConfig, outError);
  if (!handle && inStatus.mKind == FileKind::kMissing) RemoveNew(inStatus.mPath);
  return handle;
}

// Hazard: DuckDB's log has the name under which the instance was opened. After a crash, who opens
// the file under another name (a hard link) does not find it. Remedy: with two names in use, a
// commit goes into the file itself. What fails here is made up for by the next commit.
void WriteThrough(duckdb_database inDatabase) {
  ConnectionHandle connection;
  if (duckdb_connect(inDatabase, connection.out()) != DuckDBSuccess) return;
  for (char const* const sql : {"SET GLOBAL checkpoint_threshold = '0b'", "CHECKPOINT"}) {
    ResultHandle result;
    static_cast<void>(duckdb_query(connection.get(), sql, result.out()));
  }
}

// An instance that got no user after all goes while its file is still busy: afterwards another
// thread could open a second one beside it.
class UnusedInstance {
 public:
  explicit UnusedInstance(OpenFile& ioFile) : mFile(ioFile) {}
  ~UnusedInstance() {
    if (mFile.mReadWriteUsers == 0) mFile.mReadWrite.reset();
  }
  UnusedInstance(UnusedInstance const&) = delete;
  UnusedInstance& operator=(UnusedInstance const&) = delete;

 private:
  OpenFile& mFile;
};

std::shared_ptr<OpenDatabase> OpenReadWrite(OpenRequest const& inRequest, Busy& ioFile,
                                            FileStatus const& inStatus, std::string& outError) {
  auto const registry = FileRegistry::Instance();
  if (ioFile->mReadOnlyUsers != 0) {
    outError = LockConflict(inStatus.mPath, "this process has the file open read-only");
    return nullptr;
  }
  UnusedInstance const unused(*ioFile);
  if (!ioFile->mReadWrite) {
    ioFile->mReadWrite = OpenOrMake(inRequest, inStatus, outError);
    if (!ioFile->mReadWrite) return nullptr;
    ioFile->mReadWriteName = inStatus.mPath;
    registry->SetId(*ioFile, InspectFile(inStatus.mPath));
  }
  if (ioFile->mReadWriteName != inStatus.mPath) WriteThrough(ioFile->mReadWrite.get());
  return std::make_shared<ReadWriteUser>(registry, ioFile.get_File());
}

// While it lives, the lock of the instances that are there is kept whatever DuckDB closes.
class Covered {
 public:
  explicit Covered(ReadLockKeeper* inKeeper) : mKeeper(inKeeper) {
    if (mKeeper) mKeeper->Cover();
  }
  ~Covered() {
    if (mKeeper) mKeeper->Uncover();
  }
  Covered(Covered const&) = delete;
  Covered& operator=(Covered const&) = delete;

 private:
  ReadLockKeeper* mKeeper;
};

// Opening makes DuckDB open and close the file to look at its first bytes, and a failing one closes
// it too, as does an instance that gets no user.
std::shared_ptr<OpenDatabase> OpenReadOnly(OpenRequest const& inRequest, Busy& ioFile,
                                           FileStatus const& inStatus, std::string& outError) {
  auto const registry = FileRegistry::Instance();
  if (ioFile->mReadWrite) return std::make_shared<ReadWriteUser>(registry, ioFile.get_File());
  outError = LogRefusal(inStatus.mPath);
  if (!outError.empty()) return nullptr;
  bool const others = ioFile->mReadOnlyUsers != 0;
  if (others && !ioFile->mKeeper) {
    ioFile->mKeeper = std::make_unique<ReadLockKeeper>(inStatus.mPath);
  }
  Covered const covered(others ? ioFile->mKeeper.get() : nullptr);
  DatabaseHandle handle = OpenInstance(inStatus.mPath, inRequest.mConfig, outError);
  if (!handle) return nullptr;
  registry->SetId(*ioFile, inStatus);
  return std::make_shared<ReadOnlyUser>(registry, ioFile.get_File(), std::move(handle));
}

std::shared_ptr<OpenDatabase> OpenAsItIsOpen(OpenRequest inRequest, Busy& ioFile,
                                             FileStatus const& inStatus, std::string& outError) {
  ConfigHandle config;
  bool const made = duckdb_create_config(config.out()) == DuckDBSuccess &&
                    duckdb_set_config(config.get(), "access_mode", "READ_ONLY") == DuckDBSuccess;
  if (!made) return nullptr;
  inRequest.mConfig = config.get();
  return OpenReadOnly(inRequest, ioFile, inStatus, outError);
}

// Hazard: a file that SQL attached is not in the registry; a second instance of it loses commits,
// and closing it takes the lock away. Remedy: DuckDB's lock on it tells.
bool IsAttachedHere(OpenFile const& inFile, FileStatus const& inStatus, Access inAccess) {
  if (inFile.get_Users() != 0 || !inStatus.mId) return false;
  OwnLock const lock = FindOwnLock(*inStatus.mId);
  return lock == OwnLock::kWrite || (lock == OwnLock::kRead && inAccess == Access::kReadWrite);
}

std::shared_ptr<OpenDatabase> OpenPrivate(OpenRequest const& inRequest, std::string& outError) {
  std::string const path = inRequest.mPath.empty() ? ":memory:" : inRequest.mPath;
  DatabaseHandle handle = OpenInstance(path, inRequest.mConfig, outError);
  if (!handle) return nullptr;
  return std::make_shared<PrivateUser>(std::move(handle), inRequest.mAccess);
}

}  // namespace

ConnectionHandle OpenDatabase::Connect() const {
  ConnectionHandle connection;
  if (duckdb_connect(get(), connection.out()) == DuckDBSuccess) return connection;
  return {};
}

std::shared_ptr<OpenDatabase> OpenDatabaseFile(OpenRequest const& inRequest,
                                               std::string& outError) {
  outError.clear();
  if (inRequest.mPath.find('\0') != std::string::npos) {
    outError = "IO Error: A path of a database must not hold a NUL";
    return nullptr;
  }
  std::string const path = LocalPathOf(inRequest.mPath);
  if (path.empty()) return OpenPrivate(inRequest, outError);

  FileStatus status;
  auto const file = FileRegistry::Instance()->Take(path, status);
  if (!file) {
    outError = LockConflict(status.mPath,
                            "it was removed or replaced while this process has the old file open");
    return nullptr;
  }
  outError = Refusal(inRequest, status);
  if (!outError.empty()) return nullptr;
  if (IsAttachedHere(**file, status, inRequest.mAccess)) {
    outError = LockConflict(status.mPath, "this process has it open otherwise (ATTACH)");
    return nullptr;
  }
  if (inRequest.mOnlyReads && (*file)->get_Users() != 0) {
    return OpenAsItIsOpen(inRequest, *file, status, outError);
  }
  return inRequest.mAccess == Access::kReadWrite ? OpenReadWrite(inRequest, *file, status, outError)
                                                 : OpenReadOnly(inRequest, *file, status, outError);
}

std::uint32_t CountFileUsers(std::string const& inPath) {
  std::string const path = LocalPathOf(inPath);
  return path.empty() ? 0 : FileRegistry::Instance()->CountUsers(path);
}

// A path whose file was replaced counts the users of the old one.
FileReservation::FileReservation(std::string const& inPath) {
  std::string const path = LocalPathOf(inPath);
  if (path.empty()) return;
  FileStatus status;
  auto const registry = FileRegistry::Instance();
  std::shared_ptr<Busy> const file = registry->Take(path, status);
  mUsers = file ? (*file)->get_Users() : registry->CountUsers(path);
  if (file && IsAttachedHere(**file, status, Access::kReadWrite)) mUsers = 1;
  if (mUsers == 0) mHold = file;
}

FileReservation::~FileReservation() = default;

std::string BuildAttachSql(std::string const& inPath, std::string const& inStorageVersion,
                           std::uint32_t inBlockSize) {
  auto const quoted = [](std::string const& text) {
    std::string result = "'";
    for (char const unit : text) result.append(unit == '\'' ? 2 : 1, unit);
    return result += '\'';
  };
  std::string sql = "ATTACH " + quoted(inPath) + " ( READ_WRITE";
  if (!inStorageVersion.empty()) sql += ", STORAGE_VERSION " + quoted(inStorageVersion);
  if (inBlockSize != 0) sql += fmt::format(", BLOCK_SIZE {}", inBlockSize);
  return sql + " );";
}

}  // namespace lumora::duckdb_c
