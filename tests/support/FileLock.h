#pragma once

#include <memory>
#include <string>

namespace lumora::test {

// Whether another process could take DuckDB's lock on the file at this moment. Asks from a child
// process, so that this process's own locks are seen and stay as they are.
bool AnotherProcessCanWrite(std::string const& inPath);
bool AnotherProcessCanRead(std::string const& inPath);

// A child process that holds the file's lock until the object dies.
class ForeignLock {
 public:
  ForeignLock(std::string const& inPath, bool inWrite);
  ~ForeignLock();
  ForeignLock(ForeignLock const&) = delete;
  ForeignLock& operator=(ForeignLock const&) = delete;
  int get_ProcessId() const;

 private:
  struct Holder;
  std::unique_ptr<Holder> mHolder;
};

// A child process that tries to take the file's write lock again and again.
class LockThief {
 public:
  explicit LockThief(std::string const& inPath);
  ~LockThief();
  LockThief(LockThief const&) = delete;
  LockThief& operator=(LockThief const&) = delete;
  // Stops it. True: it never got the lock, and it tried.
  bool WasKeptOut();

 private:
  struct Holder;
  std::unique_ptr<Holder> mHolder;
};

}  // namespace lumora::test
