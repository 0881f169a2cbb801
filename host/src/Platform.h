#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <system_error>

#include "tarn/String.h"

// Everything in which the operating systems differ. Platform_posix.cpp and Platform_windows.cpp
// hold one implementation each. Operations report failures in outError, which they always set.
namespace tarn::platform {

using std::filesystem::path;

// A path for the file system. A text with a NUL has no path: the result is empty.
path ToPath(String const& inPath);
String FromPath(path const& inPath);

bool IsSeparator(WChar inUnit) noexcept;

// --- files, by descriptor
// -------------------------------------------------------------------------
inline constexpr std::intptr_t kNoFile = -1;

// Regular files alone; never waits for a pipe's other end.
std::intptr_t OpenForRead(path const& inPath, std::error_code& outError) noexcept;
std::intptr_t CreateForWrite(path const& inPath, std::error_code& outError) noexcept;
void CloseFile(std::intptr_t inFile) noexcept;
std::uint64_t FileLength(std::intptr_t inFile, std::error_code& outError) noexcept;
std::size_t ReadAt(std::intptr_t inFile, std::uint64_t inOffset, void* outBytes, std::size_t inSize,
                   std::error_code& outError) noexcept;
void WriteAt(std::intptr_t inFile, std::uint64_t inOffset, void const* inBytes, std::size_t inSize,
             std::error_code& outError) noexcept;
void FlushFile(std::intptr_t inFile, std::error_code& outError) noexcept;
// Removes a name that is not a folder. Nothing there is no error.
void RemoveFile(path const& inPath, std::error_code& outError) noexcept;

// --- thread-local slots
// ---------------------------------------------------------------------------
inline constexpr std::size_t kNoSlot = static_cast<std::size_t>(-1);

// A slot whose value in a thread, when it is not null, is given to inFree at the thread's end.
std::size_t NewSlot(void (*inFree)(void*));
void DeleteSlot(std::size_t inSlot) noexcept;
void* SlotValue(std::size_t inSlot) noexcept;
bool SetSlotValue(std::size_t inSlot, void* inValue) noexcept;

// --- time
// -----------------------------------------------------------------------------------------
std::tm LocalTime(std::time_t inTime) noexcept;

}  // namespace tarn::platform
