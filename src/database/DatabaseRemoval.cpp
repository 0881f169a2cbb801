#include "database/DatabaseRemoval.h"

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

std::string RemoveLeftovers(std::string const& inPath) {
  std::error_code error;
  for (char const* const suffix : kLeftovers) {
    std::string const path = inPath + suffix;
    if (!fs::is_regular_file(duckdb_c::PathOf(path), error)) continue;
    if (std::string why = RemoveFile(path); !why.empty()) return why;
  }
  return {};
}

// A file of another name in the folder is not DuckDB's, and keeps the folder too.
void RemoveTemporaryFiles(std::string const& inPath) {
  fs::path const folder = duckdb_c::PathOf(inPath + kTemporaryFolder);
  std::error_code error;
  if (!fs::is_directory(fs::symlink_status(folder, error))) return;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code ignored;
    bool const ours = entry->path().filename().string().starts_with(kTemporaryFile);
    if (ours && fs::is_regular_file(entry->symlink_status(ignored))) {
      fs::remove(entry->path(), ignored);
    }
  }
  if (fs::is_empty(folder, error) && !error) fs::remove(folder, error);
}

}  // namespace

std::string RemoveDatabaseFiles(std::string const& inPath) {
  duckdb_c::FileStatus const status = duckdb_c::InspectFile(inPath);
  if (status.mKind == FileKind::kFolder) return "Can not be dropped. It is a folder.";
  if (status.mKind == FileKind::kOther) return "Can not be dropped. It is not a regular file.";
  if (status.mKind != FileKind::kMissing) {
    std::string const holder = duckdb_c::FindLockHolder(status.mPath);
    if (!holder.empty()) return "Can not be dropped. It is in use by " + holder + ".";
    if (std::string why = RemoveFile(status.mPath); !why.empty()) return why;
  }
  for (std::string const& path : {status.mPath, inPath}) {
    if (std::string why = RemoveLeftovers(path); !why.empty()) return why;
    RemoveTemporaryFiles(path);
  }
  return {};
}

}  // namespace lumora
