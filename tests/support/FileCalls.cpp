#include "support/FileCalls.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "support/NextFunction.h"

namespace {

using namespace lumora::test;

// Calls may come from any thread, before main and after it: nothing here has a constructor.
struct State {
  std::atomic<bool> mIsArmed{false};
  std::atomic<int> mCalls{0};
  FileFault mFault;
  char mFolder[PATH_MAX] = {};
  std::size_t mFolderLength = 0;
};
State gState;

bool IsUnderFolder(char const* inPath) {
  std::size_t const length = gState.mFolderLength;
  return inPath && std::strncmp(inPath, gState.mFolder, length) == 0 &&
         (inPath[length] == '/' || inPath[length] == '\0');
}

bool IsUnderFolder(int inDescriptor) {
  char link[64];
  char path[PATH_MAX];
  std::snprintf(link, sizeof link, "/proc/self/fd/%d", inDescriptor);
  ssize_t const length = LUMORA_NEXT(readlink)(link, path, sizeof path - 1);
  if (length <= 0) return false;
  path[length] = '\0';
  return IsUnderFolder(path);
}

enum class Verdict { kGo, kFail, kHalf, kTear };

// Counts the call and says what becomes of it. inWhat: a path, or a descriptor.
template <typename TWhat>
Verdict Judge(FileCall inCall, TWhat inWhat) {
  if (!gState.mIsArmed.load() || !(gState.mFault.mCalls & inCall)) return Verdict::kGo;
  int const before = errno;
  bool const counts = IsUnderFolder(inWhat);
  errno = before;
  if (!counts) return Verdict::kGo;
  int const call = gState.mCalls.fetch_add(1);
  int const first = gState.mFault.mSuccesses;
  bool const fills = inCall == kWriteCall && gState.mFault.mError == ENOSPC;
  switch (gState.mFault.mFate) {
    case Fate::kPass:
      return Verdict::kGo;
    case Fate::kFailOnce:
      if (fills && call == first + 1) return Verdict::kFail;
      if (call == first) return fills ? Verdict::kHalf : Verdict::kFail;
      return Verdict::kGo;
    case Fate::kFailForGood:
      if (fills && call == first) return Verdict::kHalf;
      return call >= first ? Verdict::kFail : Verdict::kGo;
    case Fate::kDie:
      if (call == first) kill(getpid(), SIGKILL);
      return Verdict::kGo;
    case Fate::kTear:
      return call == first ? Verdict::kTear : Verdict::kGo;
  }
  return Verdict::kGo;
}

template <typename TResult, typename TWhat, typename TCall>
TResult Run(FileCall inKind, TWhat inWhat, TCall inCall) {
  if (Judge(inKind, inWhat) == Verdict::kGo) return inCall();
  errno = gState.mFault.mError;
  return TResult{-1};
}

// inCall writes so many bytes.
template <typename TCall>
ssize_t RunWrite(int inDescriptor, std::size_t inSize, TCall inCall) {
  switch (Judge(kWriteCall, inDescriptor)) {
    case Verdict::kGo:
      return inCall(inSize);
    case Verdict::kTear:
      inCall(gState.mFault.mBytes < inSize ? gState.mFault.mBytes : inSize);
      kill(getpid(), SIGKILL);
      return -1;
    case Verdict::kHalf:
      return inCall((inSize + 1) / 2);
    case Verdict::kFail:
      break;
  }
  errno = gState.mFault.mError;
  return -1;
}

mode_t ModeOf(int inFlags, va_list inRest) {
  return inFlags & (O_CREAT | O_TMPFILE) ? va_arg(inRest, mode_t) : 0;
}

}  // namespace

extern "C" {

int __xstat(int version, char const* path, struct stat* out) noexcept;
int __lxstat(int version, char const* path, struct stat* out) noexcept;

int open(char const* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  mode_t const mode = ModeOf(flags, rest);
  va_end(rest);
  return Run<int>(kOpenCall, path, [&] { return LUMORA_NEXT(open)(path, flags, mode); });
}
int open64(char const* path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  mode_t const mode = ModeOf(flags, rest);
  va_end(rest);
  return Run<int>(kOpenCall, path, [&] { return LUMORA_NEXT(open64)(path, flags, mode); });
}
int mkdir(char const* path, mode_t mode) noexcept {
  return Run<int>(kOpenCall, path, [&] { return LUMORA_NEXT(mkdir)(path, mode); });
}

ssize_t read(int file, void* bytes, size_t size) {
  return Run<ssize_t>(kReadCall, file, [&] { return LUMORA_NEXT(read)(file, bytes, size); });
}
ssize_t pread(int file, void* bytes, size_t size, off_t offset) {
  return Run<ssize_t>(kReadCall, file,
                      [&] { return LUMORA_NEXT(pread)(file, bytes, size, offset); });
}
ssize_t pread64(int file, void* bytes, size_t size, off64_t offset) {
  return Run<ssize_t>(kReadCall, file,
                      [&] { return LUMORA_NEXT(pread64)(file, bytes, size, offset); });
}

ssize_t write(int file, void const* bytes, size_t size) {
  return RunWrite(file, size,
                  [&](std::size_t count) { return LUMORA_NEXT(write)(file, bytes, count); });
}
ssize_t pwrite(int file, void const* bytes, size_t size, off_t offset) {
  return RunWrite(file, size, [&](std::size_t count) {
    return LUMORA_NEXT(pwrite)(file, bytes, count, offset);
  });
}
ssize_t pwrite64(int file, void const* bytes, size_t size, off64_t offset) {
  return RunWrite(file, size, [&](std::size_t count) {
    return LUMORA_NEXT(pwrite64)(file, bytes, count, offset);
  });
}
ssize_t writev(int file, iovec const* parts, int count) {
  return Run<ssize_t>(kWriteCall, file, [&] { return LUMORA_NEXT(writev)(file, parts, count); });
}

int fsync(int file) {
  return Run<int>(kSyncCall, file,
                  [&] { return gState.mIsArmed.load() ? 0 : LUMORA_NEXT(fsync)(file); });
}
int fdatasync(int file) {
  return Run<int>(kSyncCall, file,
                  [&] { return gState.mIsArmed.load() ? 0 : LUMORA_NEXT(fdatasync)(file); });
}

int ftruncate(int file, off_t size) noexcept {
  return Run<int>(kResizeCall, file, [&] { return LUMORA_NEXT(ftruncate)(file, size); });
}
int ftruncate64(int file, off64_t size) noexcept {
  return Run<int>(kResizeCall, file, [&] { return LUMORA_NEXT(ftruncate64)(file, size); });
}
int fallocate(int file, int mode, off_t offset, off_t size) {
  return Run<int>(kResizeCall, file,
                  [&] { return LUMORA_NEXT(fallocate)(file, mode, offset, size); });
}

int rename(char const* from, char const* to) noexcept {
  return Run<int>(kRenameCall, from, [&] { return LUMORA_NEXT(rename)(from, to); });
}

int unlink(char const* path) noexcept {
  return Run<int>(kRemoveCall, path, [&] { return LUMORA_NEXT(unlink)(path); });
}
int remove(char const* path) noexcept {
  return Run<int>(kRemoveCall, path, [&] { return LUMORA_NEXT(remove)(path); });
}
int rmdir(char const* path) noexcept {
  return Run<int>(kRemoveCall, path, [&] { return LUMORA_NEXT(rmdir)(path); });
}

int stat(char const* path, struct stat* out) noexcept {
  return Run<int>(kLookCall, path, [&] { return LUMORA_NEXT(stat)(path, out); });
}
int lstat(char const* path, struct stat* out) noexcept {
  return Run<int>(kLookCall, path, [&] { return LUMORA_NEXT(lstat)(path, out); });
}
int fstat(int file, struct stat* out) noexcept {
  return Run<int>(kLookCall, file, [&] { return LUMORA_NEXT(fstat)(file, out); });
}
int fstat64(int file, struct stat64* out) noexcept {
  return Run<int>(kLookCall, file, [&] { return LUMORA_NEXT(fstat64)(file, out); });
}
// What programs for an older system call, DuckDB too. Its fstat does not fail here, as that of an
// open file on a disk does not: DuckDB would leave the descriptor behind, or end the process.
int __xstat(int version, char const* path, struct stat* out) noexcept {
  return Run<int>(kDuckDBLookCall, path, [&] { return LUMORA_NEXT(__xstat)(version, path, out); });
}
int __lxstat(int version, char const* path, struct stat* out) noexcept {
  return Run<int>(kDuckDBLookCall, path, [&] { return LUMORA_NEXT(__lxstat)(version, path, out); });
}
int access(char const* path, int mode) noexcept {
  return Run<int>(kDuckDBLookCall, path, [&] { return LUMORA_NEXT(access)(path, mode); });
}
ssize_t readlink(char const* path, char* out, size_t size) noexcept {
  return Run<ssize_t>(kLookCall, path, [&] { return LUMORA_NEXT(readlink)(path, out, size); });
}

DIR* opendir(char const* path) {
  if (Judge(kListCall, path) == Verdict::kGo) return LUMORA_NEXT(opendir)(path);
  errno = gState.mFault.mError;
  return nullptr;
}
dirent* readdir(DIR* folder) {
  if (Judge(kListCall, dirfd(folder)) == Verdict::kGo) return LUMORA_NEXT(readdir)(folder);
  errno = gState.mFault.mError;
  return nullptr;
}

// Each command has one argument or none.
int fcntl(int file, int command, ...) {
  va_list rest;
  va_start(rest, command);
  void* const argument = va_arg(rest, void*);
  va_end(rest);
  auto const go = [&] { return LUMORA_NEXT(fcntl)(file, command, argument); };
  bool const locks = command == F_SETLK || command == F_SETLKW || command == F_GETLK;
  return locks ? Run<int>(kLockCall, file, go) : go();
}

int close(int file) {
  Verdict const verdict = Judge(kCloseCall, file);
  int const closed = LUMORA_NEXT(close)(file);
  if (verdict == Verdict::kGo) return closed;
  errno = gState.mFault.mError;
  return -1;
}

}  // extern "C"

namespace lumora::test {

FaultyFiles::FaultyFiles(std::string const& inFolder, FileFault const& inFault) {
  gState.mFault = inFault;
  gState.mFolderLength = inFolder.copy(gState.mFolder, sizeof gState.mFolder - 1);
  gState.mFolder[gState.mFolderLength] = '\0';
  gState.mCalls = 0;
  gState.mIsArmed = true;
}

FaultyFiles::~FaultyFiles() { gState.mIsArmed = false; }

int FaultyFiles::get_Calls() const { return gState.mCalls.load(); }

bool FaultyFiles::WasHit() const {
  return gState.mFault.mFate != Fate::kPass && get_Calls() > gState.mFault.mSuccesses;
}

}  // namespace lumora::test
