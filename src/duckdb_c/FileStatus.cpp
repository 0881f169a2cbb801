#include "duckdb_c/FileStatus.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

#if defined(_WIN32)
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#if defined(__linux__)
#include <sys/sysmacros.h>
#endif
#include <unistd.h>

#include <cerrno>
#include <memory>
#endif

namespace lumora::duckdb_c {

namespace fs = std::filesystem;

namespace {

constexpr int kMaxLinks = 40;

std::string TextOf(fs::path const& inPath) {
  std::u8string const text = inPath.u8string();
  return std::string(text.begin(), text.end());
}

// weakly_canonical leaves the last part of the path as it is when it is a link to nothing; DuckDB
// would make the file at the link's target.
fs::path Resolve(fs::path const& inPath) {
  std::error_code error;
  fs::path path = fs::absolute(inPath, error);
  if (error) return inPath;
  for (int i = 0; i < kMaxLinks; ++i) {
    fs::path const canonical = fs::weakly_canonical(path, error);
    if (error) return path;
    path = canonical;
    if (!fs::is_symlink(fs::symlink_status(path, error))) return path;
    fs::path const target = fs::read_symlink(path, error);
    if (error) return path;
    path = path.parent_path() / target;
  }
  return path;
}

bool IsPrefixUnit(char inUnit) {
  return std::isalnum(static_cast<unsigned char>(inUnit)) != 0 || inUnit == '_';
}

// The length of the name before the colon of "name:rest"; 0 when the path has none. One letter is
// a drive.
std::size_t PrefixLength(std::string_view inPath) {
  auto const end = std::find_if_not(inPath.begin(), inPath.end(), IsPrefixUnit);
  auto const length = static_cast<std::size_t>(end - inPath.begin());
  return end != inPath.end() && *end == ':' && length > 1 ? length : 0;
}

bool EqualsIgnoringCase(std::string_view inText, std::string_view inLower) {
  return std::equal(inText.begin(), inText.end(), inLower.begin(), inLower.end(),
                    [](unsigned char a, unsigned char b) { return std::tolower(a) == b; });
}

}  // namespace

fs::path PathOf(std::string const& inPath) {
  return fs::path(std::u8string(inPath.begin(), inPath.end()));
}

std::string LocalPathOf(std::string const& inPath) {
  std::string_view const path = inPath;
  if (path.empty() || path == ":memory:") return {};
  for (std::string_view const start : {"file://localhost/", "file:///"}) {
    if (path.starts_with(start)) return std::string(path.substr(start.size() - 1));
  }
  if (auto const scheme = path.find("://"); scheme != path.npos && PrefixLength(path) == scheme) {
    return {};
  }
  std::size_t const prefix = PrefixLength(path);
  if (prefix == 0) return inPath;
  if (!EqualsIgnoringCase(path.substr(0, prefix), "duckdb")) return {};
  return LocalPathOf(inPath.substr(prefix + 1));
}

#if defined(_WIN32)

namespace {

FileKind KindOf(DWORD inAttributes) {
  if (inAttributes & FILE_ATTRIBUTE_DIRECTORY) return FileKind::kFolder;
  return inAttributes & FILE_ATTRIBUTE_DEVICE ? FileKind::kOther : FileKind::kFile;
}

}  // namespace

FileStatus InspectFile(std::string const& inPath) {
  fs::path const path = Resolve(PathOf(inPath));
  FileStatus status{FileKind::kUnknown, std::nullopt, TextOf(path)};
  HANDLE const file = CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    DWORD const error = GetLastError();
    bool const missing = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
    if (missing) status.mKind = FileKind::kMissing;
    return status;
  }
  BY_HANDLE_FILE_INFORMATION information{};
  if (GetFileType(file) != FILE_TYPE_DISK) {
    status.mKind = FileKind::kOther;
  } else if (GetFileInformationByHandle(file, &information)) {
    status.mKind = KindOf(information.dwFileAttributes);
    status.mId =
        FileId{information.dwVolumeSerialNumber,
               (std::uint64_t{information.nFileIndexHigh} << 32U) | information.nFileIndexLow};
  }
  CloseHandle(file);
  return status;
}

std::vector<std::string> ListFolder(std::string const& inPath) {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator entry(PathOf(inPath), error), end; !error && entry != end;
       entry.increment(error)) {
    names.push_back(TextOf(entry->path().filename()));
  }
  return names;
}

// The system itself refuses to remove or to open what another process has open.
std::string FindLockHolder(std::string const&) { return {}; }
void FlushToDisk(std::string const& inPath) {
  HANDLE const file = CreateFileW(PathOf(inPath).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                  OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return;  // a folder too: its names need no flush here
  FlushFileBuffers(file);
  CloseHandle(file);
}

OwnLock FindOwnLock(FileId const&) { return OwnLock::kNone; }
ReadLockKeeper::ReadLockKeeper(std::string const&) {}
ReadLockKeeper::~ReadLockKeeper() = default;
void ReadLockKeeper::Cover() noexcept {}
void ReadLockKeeper::Uncover() noexcept {}

#else

namespace {

FileKind KindOf(mode_t inMode) {
  if (S_ISREG(inMode)) return FileKind::kFile;
  return S_ISDIR(inMode) ? FileKind::kFolder : FileKind::kOther;
}

struct flock WholeFile(short inType) {
  struct flock lock {};
  lock.l_type = inType;
  lock.l_whence = SEEK_SET;
  return lock;
}

void SetLock(int inDescriptor, int inCommand, short inType) {
  struct flock lock = WholeFile(inType);
  (void)::fcntl(inDescriptor, inCommand, &lock);
}

}  // namespace

FileStatus InspectFile(std::string const& inPath) {
  fs::path const path = Resolve(PathOf(inPath));
  FileStatus status{FileKind::kUnknown, std::nullopt, TextOf(path)};
  struct stat information {};
  if (::stat(path.c_str(), &information) == 0) {
    status.mKind = KindOf(information.st_mode);
    status.mId = FileId{static_cast<std::uint64_t>(information.st_dev),
                        static_cast<std::uint64_t>(information.st_ino)};
  } else if (errno == ENOENT || errno == ENOTDIR) {
    status.mKind = FileKind::kMissing;
  }
  return status;
}

namespace {

// Calls inName for each entry but the folder itself and its parent until it answers true.
template <typename TName>
bool FindInFolder(char const* inPath, TName const& inName) {
  struct Closer {
    void operator()(DIR* inFolder) const { ::closedir(inFolder); }
  };
  std::unique_ptr<DIR, Closer> const folder(::opendir(inPath));
  while (dirent const* const entry = folder ? ::readdir(folder.get()) : nullptr) {
    std::string_view const name = entry->d_name;
    if (name != "." && name != ".." && inName(entry->d_name)) return true;
  }
  return false;
}

}  // namespace

std::vector<std::string> ListFolder(std::string const& inPath) {
  std::vector<std::string> names;
  FindInFolder(inPath.c_str(), [&](char const* inName) {
    names.emplace_back(inName);
    return false;
  });
  return names;
}

std::string FindLockHolder(std::string const& inPath) {
  int const descriptor = ::open(inPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return {};
  struct flock lock = WholeFile(F_WRLCK);
  bool const known = ::fcntl(descriptor, F_GETLK, &lock) == 0;
  ::close(descriptor);
  if (!known || lock.l_type == F_UNLCK) return {};
  return lock.l_pid > 0 ? "process " + std::to_string(lock.l_pid) : "another process";
}

void FlushToDisk(std::string const& inPath) {
  int const descriptor = ::open(inPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return;
  (void)::fsync(descriptor);
  ::close(descriptor);
}

#if defined(__linux__)
namespace {

bool HasDescriptor(FileId const& inId) {
  return FindInFolder("/proc/self/fd", [&](char const* inName) {
    struct stat information {};
    return ::fstat(std::atoi(inName), &information) == 0 &&
           FileId{information.st_dev, information.st_ino} == inId;
  });
}

}  // namespace

// The list of locks is only read when there is a descriptor: the kernel stops everybody's locking
// for it, which takes milliseconds.
//
// A line is "1: POSIX  ADVISORY  WRITE 1234 fe:00:10969342 0 EOF": process, device and inode.
OwnLock FindOwnLock(FileId const& inId) {
  if (!HasDescriptor(inId)) return OwnLock::kNone;
  std::string const wanted = fmt::format(" {} {:02x}:{:02x}:{} ", ::getpid(), major(inId.mDevice),
                                         minor(inId.mDevice), inId.mNumber);
  OwnLock found = OwnLock::kNone;
  std::ifstream locks("/proc/locks");
  for (std::string line; found != OwnLock::kWrite && std::getline(locks, line);) {
    if (line.find(wanted) == line.npos || line.find("POSIX") == line.npos) continue;
    found = line.find("WRITE") != line.npos ? OwnLock::kWrite : OwnLock::kRead;
  }
  return found;
}
#else
OwnLock FindOwnLock(FileId const&) { return OwnLock::kNone; }
#endif

ReadLockKeeper::ReadLockKeeper(std::string const& inPath)
    : mDescriptor(::open(inPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}

ReadLockKeeper::~ReadLockKeeper() {
  if (mDescriptor >= 0) ::close(mDescriptor);
}

void ReadLockKeeper::Cover() noexcept {
#if defined(F_OFD_SETLK)
  if (mDescriptor >= 0) SetLock(mDescriptor, F_OFD_SETLK, F_RDLCK);
#endif
}

void ReadLockKeeper::Uncover() noexcept {
  if (mDescriptor < 0) return;
  SetLock(mDescriptor, F_SETLK, F_RDLCK);
#if defined(F_OFD_SETLK)
  SetLock(mDescriptor, F_OFD_SETLK, F_UNLCK);
#endif
}

#endif

}  // namespace lumora::duckdb_c
