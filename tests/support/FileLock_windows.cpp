#if defined(_WIN32)

#include "support/windows/WindowsApi.h"

#include <atomic>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include "support/FileLock.h"

// On Windows the lock is the mode in which a file is open: it holds against whoever opens the file
// next, in this process too, so that no other process is needed to ask.
namespace lumora::test {

namespace {

// DuckDB's own modes: a writer shares the file with nobody, a reader with readers.
HANDLE Open(std::string const& inPath, bool inWrite) {
  std::filesystem::path const path(std::u8string(inPath.begin(), inPath.end()));
  return CreateFileW(path.c_str(), inWrite ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ,
                     inWrite ? 0 : FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                     nullptr);
}

bool CanOpen(std::string const& inPath, bool inWrite) {
  HANDLE const file = Open(inPath, inWrite);
  if (file == INVALID_HANDLE_VALUE) return false;
  CloseHandle(file);
  return true;
}

}  // namespace

bool AnotherProcessCanWrite(std::string const& inPath) { return CanOpen(inPath, true); }
bool AnotherProcessCanRead(std::string const& inPath) { return CanOpen(inPath, false); }

struct ForeignLock::Holder {
  HANDLE mFile;
};

ForeignLock::ForeignLock(std::string const& inPath, bool inWrite)
    : mHolder(std::make_unique<Holder>(Open(inPath, inWrite))) {
  if (mHolder->mFile == INVALID_HANDLE_VALUE) throw std::runtime_error("no lock");
}
ForeignLock::~ForeignLock() { CloseHandle(mHolder->mFile); }
int ForeignLock::get_ProcessId() const { return static_cast<int>(GetCurrentProcessId()); }

struct LockThief::Holder {
  std::atomic<bool> mEnds{false};
  std::atomic<bool> mHasStolen{false};
  std::thread mThread;
};

LockThief::LockThief(std::string const& inPath) : mHolder(std::make_unique<Holder>()) {
  mHolder->mHasStolen = CanOpen(inPath, true);
  mHolder->mThread = std::thread([this, inPath] {
    while (!mHolder->mEnds && !mHolder->mHasStolen) mHolder->mHasStolen = CanOpen(inPath, true);
  });
}
LockThief::~LockThief() { WasKeptOut(); }

bool LockThief::WasKeptOut() {
  mHolder->mEnds = true;
  if (mHolder->mThread.joinable()) mHolder->mThread.join();
  return !mHolder->mHasStolen;
}

}  // namespace lumora::test

#endif
