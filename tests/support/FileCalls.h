#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Lets the file calls of the whole process fail, by standing in for the system's: an executable
// that uses anything of this header has these functions itself, and they take precedence for
// DuckDB, for the loaded extension and for the standard library. Each forwards to the system.
namespace lumora::test {

// Bits, to be combined.
enum FileCall : std::uint32_t {
  kOpenCall = 1,     // of a file, and the making of a folder
  kReadCall = 2,     // at an offset too
  kWriteCall = 4,    // at an offset too
  kSyncCall = 8,     //
  kResizeCall = 16,  // ftruncate, fallocate
  kRenameCall = 32,
  kRemoveCall = 64,        // of a file or a folder
  kLookCall = 128,         // stat and its like of our libraries
  kDuckDBLookCall = 2048,  // its own, and access
  kListCall = 256,         // of a folder: its opening, and each entry
  kLockCall = 512,
  kCloseCall = 1024,  // closes all the same, as the system does
  // What changes a file or a folder: a process that dies between two of these leaves the same as
  // one that dies before the second.
  kChangingCalls = kOpenCall | kWriteCall | kResizeCall | kRenameCall | kRemoveCall,
};

enum class Fate {
  kPass,         // calls are counted alone
  kFailOnce,     // one call fails with mError
  kFailForGood,  // this one and all later ones
  kDie,          // the process is killed instead of the call
  kTear,         // a write puts mBytes, and the process is killed then
};

struct FileFault {
  std::uint32_t mCalls = 0;  // of FileCall
  Fate mFate = Fate::kPass;
  int mSuccesses = 0;  // so many such calls go well before
  int mError = 0;      // an errno; ENOSPC: a write puts half of its bytes, and the next one fails
  std::size_t mBytes = 0;
};

// While it lives, calls on what is under a folder (an absolute path without links) have that fault.
// One at a time. Nothing is flushed to the disk meanwhile: no test here takes the power away.
class FaultyFiles {
 public:
  FaultyFiles(std::string const& inFolder, FileFault const& inFault);
  ~FaultyFiles();
  FaultyFiles(FaultyFiles const&) = delete;
  FaultyFiles& operator=(FaultyFiles const&) = delete;

  // How many such calls there were.
  int get_Calls() const;
  // Whether one of them got the fault.
  bool WasHit() const;
};

}  // namespace lumora::test
