#if !defined(_WIN32)

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <limits>
#include <new>
#include <string>

#include "Platform.h"
#include "tarn/Converter.h"

namespace tarn::platform {
namespace {

std::error_code LastError() noexcept { return {errno, std::system_category()}; }
std::error_code MakeError(int inNumber) noexcept { return {inNumber, std::system_category()}; }

int Descriptor(std::intptr_t inFile) noexcept { return static_cast<int>(inFile); }

// Hands the descriptor on when it is a regular file, else closes it.
std::intptr_t RegularFile(int inDescriptor, std::error_code& outError) noexcept {
  struct stat status {};
  if (::fstat(inDescriptor, &status) != 0) {
    outError = LastError();
  } else if (S_ISREG(status.st_mode)) {
    outError.clear();
    return inDescriptor;
  } else {
    outError = MakeError(S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
  }
  ::close(inDescriptor);
  return kNoFile;
}

std::intptr_t Open(path const& inPath, int inFlags, std::error_code& outError) noexcept {
  if (inPath.empty()) {
    outError = MakeError(EINVAL);
    return kNoFile;
  }
  int descriptor = -1;
  do {
    descriptor = ::open(inPath.c_str(), inFlags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0666);
  } while (descriptor < 0 && errno == EINTR);
  if (descriptor >= 0) return RegularFile(descriptor, outError);
  outError = LastError();
  return kNoFile;
}

bool ToOffset(std::uint64_t inOffset, off_t& outOffset, std::error_code& outError) noexcept {
  if (inOffset > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max())) {
    outError = MakeError(EOVERFLOW);
    return false;
  }
  outOffset = static_cast<off_t>(inOffset);
  return true;
}

}  // namespace

path ToPath(String const& inPath) {
  if (inPath.view().find(WChar{0}) != inPath.view().npos) return {};
  return path(StFromUTF16(inPath, GetConverter_UTF8()));
}

String FromPath(path const& inPath) {
  return GetConverter_UTF8()->ToUTF16(inPath.native().data(), inPath.native().size());
}

bool IsSeparator(WChar inUnit) noexcept { return inUnit == u'/'; }

std::intptr_t OpenForRead(path const& inPath, std::error_code& outError) noexcept {
  return Open(inPath, O_RDONLY, outError);
}

std::intptr_t CreateForWrite(path const& inPath, std::error_code& outError) noexcept {
  return Open(inPath, O_RDWR | O_CREAT | O_TRUNC, outError);
}

void CloseFile(std::intptr_t inFile) noexcept { ::close(Descriptor(inFile)); }

std::uint64_t FileLength(std::intptr_t inFile, std::error_code& outError) noexcept {
  struct stat status {};
  if (::fstat(Descriptor(inFile), &status) != 0) {
    outError = LastError();
    return 0;
  }
  outError.clear();
  return static_cast<std::uint64_t>(status.st_size);
}

std::size_t ReadAt(std::intptr_t inFile, std::uint64_t inOffset, void* outBytes, std::size_t inSize,
                   std::error_code& outError) noexcept {
  outError.clear();
  std::size_t done = 0;
  while (done < inSize) {
    off_t offset = 0;
    if (!ToOffset(inOffset + done, offset, outError)) return done;
    ssize_t const count =
        ::pread(Descriptor(inFile), static_cast<char*>(outBytes) + done, inSize - done, offset);
    if (count > 0) {
      done += static_cast<std::size_t>(count);
    } else if (count == 0) {
      return done;
    } else if (errno != EINTR) {
      outError = LastError();
      return done;
    }
  }
  return done;
}

void WriteAt(std::intptr_t inFile, std::uint64_t inOffset, void const* inBytes, std::size_t inSize,
             std::error_code& outError) noexcept {
  outError.clear();
  std::size_t done = 0;
  while (done < inSize) {
    off_t offset = 0;
    if (!ToOffset(inOffset + done, offset, outError)) return;
    ssize_t const count = ::pwrite(Descriptor(inFile), static_cast<char const*>(inBytes) + done,
                                   inSize - done, offset);
    if (count >= 0) {
      done += static_cast<std::size_t>(count);
    } else if (errno != EINTR) {
      outError = LastError();
      return;
    }
  }
}

void FlushFile(std::intptr_t inFile, std::error_code& outError) noexcept {
  int result = 0;
  do {
    result = ::fsync(Descriptor(inFile));
  } while (result != 0 && errno == EINTR);
  outError = result == 0 ? std::error_code() : LastError();
}

void RemoveFile(path const& inPath, std::error_code& outError) noexcept {
  outError.clear();
  if (inPath.empty()) {
    outError = MakeError(EINVAL);
  } else if (::unlink(inPath.c_str()) != 0 && errno != ENOENT && errno != ENOTDIR) {
    outError = LastError();
  }
}

std::size_t NewSlot(void (*inFree)(void*)) {
  static_assert(sizeof(pthread_key_t) <= sizeof(std::size_t));
  pthread_key_t key{};
  if (pthread_key_create(&key, inFree) != 0) throw std::bad_alloc();
  return static_cast<std::size_t>(key);
}

void DeleteSlot(std::size_t inSlot) noexcept {
  pthread_key_delete(static_cast<pthread_key_t>(inSlot));
}

void* SlotValue(std::size_t inSlot) noexcept {
  return pthread_getspecific(static_cast<pthread_key_t>(inSlot));
}

bool SetSlotValue(std::size_t inSlot, void* inValue) noexcept {
  return pthread_setspecific(static_cast<pthread_key_t>(inSlot), inValue) == 0;
}

std::tm LocalTime(std::time_t inTime) noexcept {
  std::tm result{};
  ::localtime_r(&inTime, &result);
  return result;
}

}  // namespace tarn::platform

#endif
