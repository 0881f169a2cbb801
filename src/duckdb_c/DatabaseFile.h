#pragma once

#include <duckdb.h>

#include <cstdint>
#include <memory>
#include <string>

#include "duckdb_c/Handles.h"

// The one way in which this library opens a DuckDB database.
//
// Hazards: on POSIX one process can open the same file read-write twice; the second instance
// replays the first one's log and, when it closes, checkpoints and deletes it under the first:
// commits are lost. And DuckDB's lock is a record lock, which any close of any descriptor of that
// file in this process drops. And DuckDB keeps its log beside the name it was given: a commit made
// through a link would not be seen through the file's own name. Remedy: within the process a file,
// told by device and inode, has one read-write instance whoever asks and under whatever name, or
// only read-only ones; DuckDB gets the path with links resolved; an instance of a file is closed in
// such a way that no lock of a living one is lost; and nothing else may open the file while it is
// here.
//
// Everything here is guarded by a lock of its own and may be called from any thread. Opening and
// closing one file wait for each other; other files are not held up.
namespace lumora::duckdb_c {

// What is behind a file's name while it is being made.
inline constexpr char const* kCreatingSuffix = ".creating";

enum class Access { kReadWrite, kReadOnly };

// One user's hold on an open database. The DuckDB instance is closed when its last user is gone.
// A connection keeps DuckDB's instance alive by itself, so every connection (and what was made
// through it) must be released before the hold that it was made from.
class OpenDatabase {
 public:
  OpenDatabase() = default;
  OpenDatabase(OpenDatabase const&) = delete;
  OpenDatabase& operator=(OpenDatabase const&) = delete;
  virtual ~OpenDatabase() = default;
  virtual duckdb_database get() const noexcept = 0;  // valid while this object lives
  virtual Access get_Access() const noexcept = 0;

  // A new connection; empty when DuckDB refuses.
  ConnectionHandle Connect() const;
};

struct OpenRequest {
  // A file path, ":memory:" or empty (a private in-memory database), or a path that DuckDB hands
  // to one of its extensions ("md:…"; it gets it as it is). UTF-8.
  std::string mPath;
  Access mAccess = Access::kReadWrite;
  // May be null (no configuration). Its access_mode must agree with mAccess. Ignored when the
  // file already has an instance in this process.
  duckdb_config mConfig = nullptr;
  // A local file that is not there is an error instead of a new database.
  bool mMustExist = false;
  // The user only reads. Where the process has the file open, it is read as it is open, also
  // read-only (mConfig, which is for mAccess, is not used then); and an empty file is not made a
  // database.
  bool mOnlyReads = false;
  // Storage options of a new local file; empty and 0 = DuckDB's defaults.
  std::string mStorageVersion = {};
  std::uint32_t mBlockSize = 0;
};

// Opens, or joins the file's instance of this process. Null on failure, with DuckDB's text (or ours
// where DuckDB was not asked; empty when DuckDB gave none) in outError.
//  - A new file is there as a whole or not at all, also when the process is killed; an empty file
//    that is opened read-write becomes a new database, unless the user only reads.
//  - A read-write request joins a read-write instance; while the file is open read-only in this
//    process it is refused, as DuckDB refuses it between processes.
//  - A read-only request joins a read-write instance when there is one (get_Access then says
//    kReadWrite); otherwise it gets an instance of its own.
//  - A path whose file was removed or replaced while the old one is still open here is refused.
//  - A file that SQL attached in this process is refused, where the system tells of it (Linux).
//  - A folder, a device, a pipe and a path with a NUL are refused.
std::shared_ptr<OpenDatabase> OpenDatabaseFile(OpenRequest const& inRequest, std::string& outError);

// How many users of this process have the file at the path open, under any name. Opens nothing.
std::uint32_t CountFileUsers(std::string const& inPath);

// Keeps everyone in this process from opening the file at a path, for looking into it or removing
// it. Waits for an opening or a closing under way. Holds nothing when the file has users, and for
// paths that are no local files. While it lives its thread must not open that file.
class FileReservation {
 public:
  explicit FileReservation(std::string const& inPath);
  ~FileReservation();
  FileReservation(FileReservation const&) = delete;
  FileReservation& operator=(FileReservation const&) = delete;

  // Users of the file when the reservation was asked for, an ATTACH of SQL included where the
  // system tells of it; the file is held when there are none.
  std::uint32_t get_Users() const noexcept { return mUsers; }

 private:
  std::uint32_t mUsers = 0;
  std::shared_ptr<void> mHold;
};

// "ATTACH '<path>' ( READ_WRITE, … );", which makes a new file with these storage options.
std::string BuildAttachSql(std::string const& inPath, std::string const& inStorageVersion,
                           std::uint32_t inBlockSize);

}  // namespace lumora::duckdb_c
