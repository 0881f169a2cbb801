#include "duckdb_c/FileRegistry.h"

#include <algorithm>

namespace lumora::duckdb_c {

std::shared_ptr<FileRegistry> FileRegistry::Instance() {
  static std::shared_ptr<FileRegistry> const instance = std::make_shared<FileRegistry>();
  return instance;
}

FileRegistry::Busy::Busy(FileRegistry& inRegistry, std::shared_ptr<OpenFile> inFile)
    : mRegistry(inRegistry), mFile(std::move(inFile)) {
  mFile->mBusy = true;
}

FileRegistry::Busy::~Busy() {
  {
    std::lock_guard const lock(mRegistry.mMutex);
    mFile->mBusy = false;
    if (mFile->get_Users() == 0) mRegistry.mFiles.remove(mFile);
  }
  mRegistry.mChanged.notify_all();
}

// By identity; by name only what has no identity or another one than the path's file, which then is
// a new file in the place of an open one.
std::shared_ptr<OpenFile> FileRegistry::Find(FileStatus const& inStatus) const {
  auto const same = [&](auto const& file) { return inStatus.mId && file->mId == inStatus.mId; };
  auto found = std::find_if(mFiles.begin(), mFiles.end(), same);
  if (found != mFiles.end()) return *found;
  auto const named = [&](auto const& file) { return file->mNames.contains(inStatus.mPath); };
  found = std::find_if(mFiles.begin(), mFiles.end(), named);
  return found == mFiles.end() ? nullptr : *found;
}

std::unique_ptr<FileRegistry::Busy> FileRegistry::Take(std::string const& inPath,
                                                       FileStatus& outStatus) {
  std::unique_lock lock(mMutex);
  for (;;) {
    outStatus = InspectFile(inPath);
    std::shared_ptr<OpenFile> file = Find(outStatus);
    if (!file) {
      file = std::make_shared<OpenFile>();
      file->mId = outStatus.mId;
      mFiles.push_back(file);
    } else if (file->mBusy) {
      mChanged.wait(lock);
      continue;
    } else if (file->mId != outStatus.mId) {
      return nullptr;
    }
    return Hold(file, outStatus.mPath);
  }
}

// Hazard: a file without users that stays here would be taken for one that is open, and what comes
// in its place later would be refused.
std::unique_ptr<FileRegistry::Busy> FileRegistry::Hold(std::shared_ptr<OpenFile> const& inFile,
                                                       std::string const& inName) {
  try {
    inFile->mNames.insert(inName);
    return std::make_unique<Busy>(*this, inFile);
  } catch (...) {
    if (inFile->get_Users() == 0) mFiles.remove(inFile);
    throw;
  }
}

FileRegistry::Busy FileRegistry::Take(std::shared_ptr<OpenFile> const& inFile) noexcept {
  std::unique_lock lock(mMutex);
  mChanged.wait(lock, [&] { return !inFile->mBusy; });
  return Busy(*this, inFile);
}

std::uint32_t FileRegistry::CountUsers(std::string const& inPath) {
  std::lock_guard const lock(mMutex);
  std::shared_ptr<OpenFile> const file = Find(InspectFile(inPath));
  return file ? file->get_Users() : 0;
}

void FileRegistry::SetId(OpenFile& ioFile, FileStatus const& inStatus) {
  std::lock_guard const lock(mMutex);
  ioFile.mId = inStatus.mId;
}

void FileRegistry::AddUser(OpenFile& ioFile, bool inReadWrite, int inBy) {
  std::lock_guard const lock(mMutex);
  auto& users = inReadWrite ? ioFile.mReadWriteUsers : ioFile.mReadOnlyUsers;
  users = static_cast<std::uint32_t>(static_cast<int>(users) + inBy);
}

}  // namespace lumora::duckdb_c
