#pragma once

#include <condition_variable>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "duckdb_c/FileStatus.h"
#include "duckdb_c/Handles.h"

// Which files this process has open as databases, behind DatabaseFile.h.
namespace lumora::duckdb_c {

// One file that is open, or being opened, closed or reserved. Guarded by the registry's mutex,
// apart from the handles and the keeper, which belong to the thread that has the file busy.
struct OpenFile {
  std::optional<FileId> mId;     // empty while the file does not exist yet
  std::set<std::string> mNames;  // resolved paths under which it was asked for
  bool mBusy = false;            // one thread is opening, closing or inspecting it
  std::uint32_t mReadWriteUsers = 0;
  std::uint32_t mReadOnlyUsers = 0;
  DatabaseHandle mReadWrite;   // the shared instance
  std::string mReadWriteName;  // the resolved path that DuckDB has it under
  std::unique_ptr<ReadLockKeeper> mKeeper;

  std::uint32_t get_Users() const { return mReadWriteUsers + mReadOnlyUsers; }
};

class FileRegistry {
 public:
  // The process's registry. Shared, so that a user that dies after it during exit is safe.
  static std::shared_ptr<FileRegistry> Instance();

  // A file that the calling thread alone may open, close or inspect, until it lets it go. Letting
  // go of a file without users forgets it.
  class Busy {
   public:
    Busy(FileRegistry& inRegistry, std::shared_ptr<OpenFile> inFile);
    ~Busy();
    Busy(Busy const&) = delete;
    Busy& operator=(Busy const&) = delete;
    OpenFile& operator*() const { return *mFile; }
    OpenFile* operator->() const { return mFile.get(); }
    std::shared_ptr<OpenFile> const& get_File() const { return mFile; }

   private:
    FileRegistry& mRegistry;
    std::shared_ptr<OpenFile> mFile;
  };

  // Looks at the path and waits until no other thread has its file busy. outStatus is what the
  // path is at that moment. Null: the path's file was removed or replaced while it is open here.
  std::unique_ptr<Busy> Take(std::string const& inPath, FileStatus& outStatus);
  // The same of a file that is in the registry. Never throws: whoever closes a file needs it.
  Busy Take(std::shared_ptr<OpenFile> const& inFile) noexcept;
  std::uint32_t CountUsers(std::string const& inPath);

  // Only while the caller has the file busy.
  void SetId(OpenFile& ioFile, FileStatus const& inStatus);
  void AddUser(OpenFile& ioFile, bool inReadWrite, int inBy);

 private:
  std::shared_ptr<OpenFile> Find(FileStatus const& inStatus) const;
  std::unique_ptr<Busy> Hold(std::shared_ptr<OpenFile> const& inFile, std::string const& inName);

  std::mutex mMutex;
  std::condition_variable mChanged;
  std::list<std::shared_ptr<OpenFile>> mFiles;
};

}  // namespace lumora::duckdb_c
