#pragma once

#include <duckdb.h>

#include <cstdint>
#include <memory>
#include <string>

#include "duckdb_c/Handles.h"

// The one way in which this library opens a DuckDB database.
//
// Hazards: on POSIX one process can open the same file read-write twice; the second instance replays
// the first one's log and, when it closes, checkpoints and deletes it under the first: commits are
// lost. And DuckDB's lock is a record lock, which any close of any descriptor of that file in this
// process drops. Remedy: within the process a file, told by device and inode, has one read-write
// instance whoever asks and under whatever name, or only read-only ones; an instance of a file is
// closed in such an order that no lock of a living one is lost; and nothing else may open the file
// while it is here.
//
// Everything here is guarded by a lock of its own and may be called from any thread.
namespace lumora::duckdb_c {

enum class Access { kReadWrite, kReadOnly };

// One user's hold on an open database. The DuckDB instance is closed when its last user is gone.
class OpenDatabase {
 public:
  virtual ~OpenDatabase() = default;
  virtual duckdb_database get() const noexcept = 0;  // valid while this object lives
  virtual Access get_Access() const noexcept = 0;

  // A new connection; empty when DuckDB refuses.
  ConnectionHandle Connect() const;
};

struct OpenRequest {
  // A file path, ":memory:" or empty (a private in-memory database), or a path with a scheme
  // (handed to DuckDB as it is). UTF-8.
  std::string mPath;
  Access mAccess = Access::kReadWrite;
  // May be null (no configuration). Its access_mode must agree with mAccess. Ignored when the file
  // already has an instance in this process.
  duckdb_config mConfig = nullptr;
  // A local file that is not there is an error instead of a new database.
  bool mMustExist = false;
};

// Opens, or joins the file's instance of this process. Null on failure, with DuckDB's text (or ours
// where DuckDB was not asked; empty when DuckDB gave none) in outError.
//  - A read-write request joins a read-write instance; while the file is open read-only in this
//    process it is refused, as DuckDB refuses it between processes.
//  - A read-only request joins a read-write instance when there is one (get_Access then says
//    kReadWrite); otherwise it gets an instance of its own.
//  - A path whose file was replaced while the old one is still open here is refused.
std::shared_ptr<OpenDatabase> OpenDatabaseFile(OpenRequest const& inRequest, std::string& outError);

// How many users of this process have the file at the path open, under any name. Opens nothing.
std::uint32_t CountFileUsers(std::string const& inPath);

}  // namespace lumora::duckdb_c
