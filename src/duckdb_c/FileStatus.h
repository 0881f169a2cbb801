#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

// What this library asks of the file system beside DuckDB. All that differs between POSIX and
// Windows stands in FileStatus.cpp. Paths are UTF-8. Everything may be called from any thread.
namespace lumora::duckdb_c {

// Tells two files apart under any name, hard links included, while they exist or are open.
struct FileId {
  std::uint64_t mDevice = 0;
  std::uint64_t mNumber = 0;
  friend bool operator==(FileId const&, FileId const&) = default;
};

enum class FileKind {
  kMissing,
  kFile,  // a regular file
  kFolder,
  kOther,    // a device, a pipe, a socket
  kUnknown,  // the file system does not tell
};

struct FileStatus {
  FileKind mKind = FileKind::kUnknown;
  std::optional<FileId> mId;  // of what is there
  // The absolute path with links resolved as far as they exist; a link to a missing file is
  // followed to that file's place.
  std::string mPath;
};

// The system's form of a UTF-8 path.
std::filesystem::path PathOf(std::string const& inPath);

// Asks for the status alone and never opens the file (so it keeps locks alone and a pipe cannot
// stop it). Never throws for what the file system says.
FileStatus InspectFile(std::string const& inPath);

// The names in a folder, in no order; none when it cannot be read. Unlike an iterator of the
// standard library, whose steps may not throw, it passes std::bad_alloc on.
std::vector<std::string> ListFolder(std::string const& inPath);

// The local path behind what DuckDB takes for one: "file://…" and "duckdb:…" without their
// beginning, anything else as it is. Empty for what DuckDB hands to an extension ("md:", "s3://")
// and for the two names of an in-memory database, "" and ":memory:".
std::string LocalPathOf(std::string const& inPath);

// Who of the other processes has a lock on the file: "process 1234"; empty when none has.
// Hazard: it opens and closes the file, which on POSIX gives this process's locks on it up. Only
// for a file that nobody in this process has open.
std::string FindLockHolder(std::string const& inPath);

// Makes what was written to a file, or the names in a folder, last through a power failure, as far
// as the system can. Hazard: it opens and closes the file; only for one that nobody in this process
// has open. Never throws; what cannot be flushed is left to the system.
void FlushToDisk(std::string const& inPath);

// What lock this process itself has on the file, whoever took it: also DuckDB for an ATTACH in SQL.
// Opens nothing of the file. kNone where the system does not tell.
enum class OwnLock { kNone, kRead, kWrite };
OwnLock FindOwnLock(FileId const& inId);

// Keeps this process's read lock on a file while descriptors of it are closed.
//
// Hazard: on POSIX any close of any descriptor gives up the read lock that other instances of this
// process rely on. Remedy: a descriptor of our own; Cover puts a lock on it that no other close can
// drop, Uncover replaces it by a new ordinary lock, which names this process to those who ask.
// Where the system has no such lock there is a gap between the close and Uncover.
// The file is closed when the object dies: not before the last instance is gone.
class ReadLockKeeper {
 public:
  explicit ReadLockKeeper(std::string const& inPath);
  ~ReadLockKeeper();
  ReadLockKeeper(ReadLockKeeper const&) = delete;
  ReadLockKeeper& operator=(ReadLockKeeper const&) = delete;

  void Cover() noexcept;
  void Uncover() noexcept;

 private:
  int mDescriptor = -1;
};

}  // namespace lumora::duckdb_c
