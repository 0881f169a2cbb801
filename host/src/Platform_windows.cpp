#if defined(_WIN32)

#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include <algorithm>
#include <limits>
#include <new>

#include "Platform.h"

namespace tarn::platform {
namespace {

std::error_code LastError() noexcept {
  return {static_cast<int>(::GetLastError()), std::system_category()};
}
std::error_code MakeError(DWORD inNumber) noexcept {
  return {static_cast<int>(inNumber), std::system_category()};
}

HANDLE Handle(std::intptr_t inFile) noexcept { return reinterpret_cast<HANDLE>(inFile); }

std::intptr_t Open(path const& inPath, DWORD inAccess, DWORD inDisposition,
                   std::error_code& outError) noexcept {
  HANDLE const file = ::CreateFileW(inPath.c_str(), inAccess,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    inDisposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    outError = LastError();
    return kNoFile;
  }
  if (::GetFileType(file) != FILE_TYPE_DISK) {
    ::CloseHandle(file);
    outError = MakeError(ERROR_INVALID_PARAMETER);
    return kNoFile;
  }
  outError.clear();
  return reinterpret_cast<std::intptr_t>(file);
}

OVERLAPPED At(std::uint64_t inOffset) noexcept {
  OVERLAPPED result{};
  result.Offset = static_cast<DWORD>(inOffset);
  result.OffsetHigh = static_cast<DWORD>(inOffset >> 32);
  return result;
}

DWORD Piece(std::size_t inSize) noexcept {
  return static_cast<DWORD>(std::min<std::size_t>(inSize, 1u << 30));
}

}  // namespace

path ToPath(String const& inPath) {
  if (inPath.view().find(WChar{0}) != inPath.view().npos) return {};
  return path(inPath.view());
}

String FromPath(path const& inPath) {
  return String(inPath.c_str(), static_cast<std::int32_t>(inPath.native().size()));
}

bool IsSeparator(WChar inUnit) noexcept { return inUnit == L'/' || inUnit == L'\\'; }

std::intptr_t OpenForRead(path const& inPath, std::error_code& outError) noexcept {
  return Open(inPath, GENERIC_READ, OPEN_EXISTING, outError);
}

std::intptr_t CreateForWrite(path const& inPath, std::error_code& outError) noexcept {
  return Open(inPath, GENERIC_READ | GENERIC_WRITE, CREATE_ALWAYS, outError);
}

void CloseFile(std::intptr_t inFile) noexcept { ::CloseHandle(Handle(inFile)); }

std::uint64_t FileLength(std::intptr_t inFile, std::error_code& outError) noexcept {
  LARGE_INTEGER size{};
  if (!::GetFileSizeEx(Handle(inFile), &size)) {
    outError = LastError();
    return 0;
  }
  outError.clear();
  return static_cast<std::uint64_t>(size.QuadPart);
}

std::size_t ReadAt(std::intptr_t inFile, std::uint64_t inOffset, void* outBytes, std::size_t inSize,
                   std::error_code& outError) noexcept {
  outError.clear();
  std::size_t done = 0;
  while (done < inSize) {
    OVERLAPPED at = At(inOffset + done);
    DWORD count = 0;
    if (!::ReadFile(Handle(inFile), static_cast<char*>(outBytes) + done, Piece(inSize - done),
                    &count, &at)) {
      if (::GetLastError() != ERROR_HANDLE_EOF) outError = LastError();
      return done;
    }
    if (count == 0) return done;
    done += count;
  }
  return done;
}

void WriteAt(std::intptr_t inFile, std::uint64_t inOffset, void const* inBytes, std::size_t inSize,
             std::error_code& outError) noexcept {
  outError.clear();
  std::size_t done = 0;
  while (done < inSize) {
    OVERLAPPED at = At(inOffset + done);
    DWORD count = 0;
    if (!::WriteFile(Handle(inFile), static_cast<char const*>(inBytes) + done, Piece(inSize - done),
                     &count, &at)) {
      outError = LastError();
      return;
    }
    done += count;
  }
}

void FlushFile(std::intptr_t inFile, std::error_code& outError) noexcept {
  outError = ::FlushFileBuffers(Handle(inFile)) ? std::error_code() : LastError();
}

void RemoveFile(path const& inPath, std::error_code& outError) noexcept {
  outError.clear();
  if (::DeleteFileW(inPath.c_str())) return;
  DWORD const error = ::GetLastError();
  if (error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND) outError = MakeError(error);
}

std::size_t NewSlot(void (*inFree)(void*)) {
  // The callback's calling convention is the one of inFree on every 64-bit Windows.
  DWORD const slot = ::FlsAlloc(reinterpret_cast<PFLS_CALLBACK_FUNCTION>(inFree));
  if (slot == FLS_OUT_OF_INDEXES) throw std::bad_alloc();
  return slot;
}

void DeleteSlot(std::size_t inSlot) noexcept { ::FlsFree(static_cast<DWORD>(inSlot)); }

void* SlotValue(std::size_t inSlot) noexcept {
  // A getter that succeeds clears the thread's last error, which belongs to our caller.
  DWORD const error = ::GetLastError();
  void* const value = ::FlsGetValue(static_cast<DWORD>(inSlot));
  ::SetLastError(error);
  return value;
}

bool SetSlotValue(std::size_t inSlot, void* inValue) noexcept {
  return ::FlsSetValue(static_cast<DWORD>(inSlot), inValue) != 0;
}

std::tm LocalTime(std::time_t inTime) noexcept {
  std::tm result{};
  ::localtime_s(&result, &inTime);
  return result;
}

}  // namespace tarn::platform

#endif
