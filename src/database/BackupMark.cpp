#include "database/BackupMark.h"

#include <string_view>

#include "database/DatabaseErrors.h"
#include "duckdb_c/FileStatus.h"
#include "tarn/File.h"

namespace lumora {

namespace {

constexpr std::string_view kContent =
    "This backup is being written, or was cut short. It cannot be restored."
    "\n";

std::string MarkOf(std::string const& inFolder) { return inFolder + "/unfinished"; }

tarn::smart_ptr<tarn::File> FileOf(std::string const& inFolder) {
  return tarn::CreateFile(tarn::CreateLocation(ToHostText(MarkOf(inFolder))));
}

}  // namespace

void BeginBackup(std::string const& inFolder) {
  auto const file = FileOf(inFolder);
  file->Create();
  file->WriteAt(0, kContent.data(), static_cast<std::uint32_t>(kContent.size()));
  file->Close();
}

void EndBackup(std::string const& inFolder) { FileOf(inFolder)->Delete(); }

bool IsUnfinishedBackup(std::string const& inFolder) {
  return duckdb_c::InspectFile(MarkOf(inFolder)).mKind == duckdb_c::FileKind::kFile;
}

}  // namespace lumora
