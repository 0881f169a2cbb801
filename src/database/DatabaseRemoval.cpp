#include "database/DatabaseRemoval.h"

#include <fmt/format.h>

#include <array>
#include <filesystem>
#include <system_error>

#include "database/DatabaseErrors.h"
#include "duckdb_c/FileStatus.h"
#include "tarn/Exceptions.h"
#include "tarn/File.h"

namespace lumora {

namespace fs = std::filesystem;
using duckdb_c::FileKind;

namespace {

constexpr std::array<char const*, 5> kLeftovers = {".wal", ".wal.checkpoint", ".wal.recovery",
                                                   ".creating", ".creating.wal"};
// What an interrupted restore left. It goes before the file: later it would be taken for a database
// to put back.
constexpr std::array<char const*, 6> kReplacedFiles = {
    ".lumora-replaced",      ".lumora-replaced.wal",       ".lumora-restoring",
    ".lumora-restoring.wal", ".lumora-restoring.creating", ".lumora-restoring.creating.wal"};
constexpr char const* kTemporaryFolder = ".tmp";
constexpr char const* kTemporaryFile = "duckdb_temp_";

std::string RemoveFile(std::string const& inPath) {
  try {
    tarn::CreateFile(tarn::CreateLocation(ToHostText(inPath)))->Delete();
  } catch (tarn::xException const& error) {
    return ToUtf8(error.get_Message());
  }
  return {};
}

template <typename TSuffixes>
std::string RemoveBeside(std::string const& inPath, TSuffixes const& inSuffixes) {
  for (char const* const suffix : inSuffixes) {
    std::string const path = inPath + suffix;
    std::error_code error;
    fs::file_status const status = fs::status(duckdb_c::PathOf(path), error);
    // It may be there: the next database of this name would take an old log for its own.
    if (status.type() == fs::file_type::none) return fmt::format("{}: {}", path, error.message());
    if (!fs::is_regular_file(status)) continue;
    if (std::string why = RemoveFile(path); !why.empty()) return why;
  }
  return {};
}

// A file of another name in the folder is not DuckDB's, and keeps the folder too.
void RemoveTemporaryFiles(std::string const& inPath) {
  fs::path const folder = duckdb_c::PathOf(inPath + kTemporaryFolder);
  std::error_code error;
  if (!fs::is_directory(fs::symlink_status(folder, error))) return;
  for (std::string const& name : duckdb_c::ListFolder(inPath + kTemporaryFolder)) {
    if (!name.starts_with(kTemporaryFile)) continue;
    fs::path const file = folder / duckdb_c::PathOf(name);
    std::error_code ignored;
    if (fs::is_regular_file(fs::symlink_status(file, ignored))) fs::remove(file, ignored);
  }
  fs::remove(folder, error);  // nothing when it is not empty
}

}  // namespace

std::string RemoveDatabaseFiles(std::string const& inPath) {
  duckdb_c::FileStatus const status = duckdb_c::InspectFile(inPath);
  if (status.mKind == FileKind::kFolder) return kIsFolder;
  if (status.mKind == FileKind::kOther) return kIsNoFile;
  if (status.mKind != FileKind::kMissing) {
    std::string const holder = duckdb_c::FindLockHolder(status.mPath);
    if (!holder.empty()) return fmt::format(kInUseBy, holder);
    if (std::string why = RemoveBeside(status.mPath, kReplacedFiles); !why.empty()) return why;
    if (std::string why = RemoveFile(status.mPath); !why.empty()) return why;
  }
  for (std::string const& path : {status.mPath, inPath}) {
    if (std::string why = RemoveBeside(path, kLeftovers); !why.empty()) return why;
    RemoveTemporaryFiles(path);
  }
  return {};
}

}  // namespace lumora
