#include "tarn/File.h"

#include <utility>

#include "FileError.h"
#include "Platform.h"
#include "tarn/Array.h"

namespace tarn {
namespace {

String PathOf(smart_ptr<I_Location> const& inLocation) {
  return inLocation ? inLocation->get_Path() : String();
}

// The path for the system. Locations that are no file, and texts that are no path, are errors.
platform::path CheckPath(smart_ptr<I_Location> const& inLocation) {
  String const path = PathOf(inLocation);
  if (!inLocation || inLocation->get_IsInMemory() || inLocation->get_IsRemote()) {
    ThrowFileError(path, "Location is not a file");
  }
  platform::path result = platform::ToPath(path);
  if (result.empty()) ThrowFileError(path, "Location is not a valid path");
  return result;
}

void CheckOpen(smart_ptr<I_Location> const& inLocation, std::intptr_t inDescriptor) {
  if (inDescriptor == platform::kNoFile) ThrowFileError(PathOf(inLocation), "File is not open");
}

}  // namespace

FileWin::FileWin() = default;
FileWin::~FileWin() { FileWin::Close(); }

std::uint32_t FileWin::AddRef() { return mRefCount.Increment(); }

std::uint32_t FileWin::Release() {
  std::uint32_t const count = mRefCount.Decrement();
  if (count == 0) delete this;
  return count;
}

void* FileWin::QueryInterface(std::uint32_t inInterfaceId) {
  return InterfaceTableQueryInterface(this, inInterfaceId, PlainInterfaceTable());
}

std::uint32_t FileWin::get_RefsCount() const { return mRefCount.get(); }

void FileWin::put_Location(smart_ptr<I_Location> inLocation) {
  Close();
  mLocation = std::move(inLocation);
}

smart_ptr<I_Location> FileWin::get_Location() const { return mLocation; }

void FileWin::OpenForRead() {
  Close();
  std::error_code error;
  mDescriptor = platform::OpenForRead(CheckPath(mLocation), error);
  CheckFileError(PathOf(mLocation), error);
}

void FileWin::Create() {
  Close();
  std::error_code error;
  mDescriptor = platform::CreateForWrite(CheckPath(mLocation), error);
  CheckFileError(PathOf(mLocation), error);
}

bool FileWin::get_IsOpen() const { return mDescriptor != platform::kNoFile; }

std::uint64_t FileWin::get_Length() const {
  CheckOpen(mLocation, mDescriptor);
  std::error_code error;
  std::uint64_t const length = platform::FileLength(mDescriptor, error);
  CheckFileError(PathOf(mLocation), error);
  return length;
}

std::uint32_t FileWin::ReadAt(std::uint64_t inOffset, void* outBytes, std::uint32_t inSize) {
  CheckOpen(mLocation, mDescriptor);
  std::error_code error;
  std::size_t const count = platform::ReadAt(mDescriptor, inOffset, outBytes, inSize, error);
  CheckFileError(PathOf(mLocation), error);
  return static_cast<std::uint32_t>(count);
}

void FileWin::WriteAt(std::uint64_t inOffset, void const* inBytes, std::uint32_t inSize) {
  CheckOpen(mLocation, mDescriptor);
  std::error_code error;
  platform::WriteAt(mDescriptor, inOffset, inBytes, inSize, error);
  CheckFileError(PathOf(mLocation), error);
}

void FileWin::Flush() {
  CheckOpen(mLocation, mDescriptor);
  std::error_code error;
  platform::FlushFile(mDescriptor, error);
  CheckFileError(PathOf(mLocation), error);
}

void FileWin::Close() {
  std::intptr_t const file = std::exchange(mDescriptor, platform::kNoFile);
  if (file != platform::kNoFile) platform::CloseFile(file);
}

void FileWin::Delete() {
  Close();
  std::error_code error;
  platform::RemoveFile(CheckPath(mLocation), error);
  CheckFileError(PathOf(mLocation), error);
}

smart_ptr<File> CreateFile(smart_ptr<I_Location> inLocation) {
  smart_ptr<File> file(new FileWin);
  file->put_Location(std::move(inLocation));
  return file;
}

}  // namespace tarn
