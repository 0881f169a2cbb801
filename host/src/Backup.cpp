#include "tarn/lsql/Backup.h"

#include <fmt/format.h>

#include <ctime>
#include <filesystem>
#include <string>

#include "FileError.h"
#include "Platform.h"
#include "tarn/Exceptions.h"

namespace tarn {

char const* glDuckDB_backup_sfx = "duckdb_backup";

namespace lsql {
namespace {

std::string NameOfMoment(std::time_t inTime) {
  std::tm const t = platform::LocalTime(inTime);
  return fmt::format("{:04}-{:02}-{:02}_{:02}-{:02}-{:02}", t.tm_year + 1900, t.tm_mon + 1,
                     t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec);
}

// Making a folder tells whether it was there, so two backups of one moment never share one.
smart_ptr<I_Location> CreateBackupLocation(smart_ptr<I_Location> inFolder) {
  if (!inFolder) throw xException(kErrorBadArgument, "Path is empty");
  smart_ptr<I_Location> const folder = PrepareFolder(inFolder, nullptr);
  std::string const name = NameOfMoment(std::time(nullptr));
  for (unsigned number = 1;; ++number) {
    std::string const suffix = number == 1 ? "" : fmt::format("_{}", number);
    smart_ptr<I_Location> location = folder->get_Child(String((name + suffix).c_str()));
    std::error_code error;
    bool const isNew =
        std::filesystem::create_directory(platform::ToPath(location->get_Path()), error);
    if (isNew) return location;
    if (error && !location->get_Exists()) ThrowFileError(location->get_Path(), error);
  }
}

}  // namespace

smart_ptr<I_Location> (*gServerBackupLocation)() = nullptr;
smart_ptr<I_Location> (*gCreateBackupLocation)(smart_ptr<I_Location>) = &CreateBackupLocation;

}  // namespace lsql
}  // namespace tarn
