#pragma once

#include <filesystem>
#include <set>
#include <string>

namespace lumora::test {

// A new folder under the system's folder for such, removed with what is in it.
class TempFolder {
 public:
  TempFolder() : TempFolder(std::filesystem::temp_directory_path()) {}
  explicit TempFolder(std::filesystem::path const& inParent);
  ~TempFolder();
  TempFolder(TempFolder const&) = delete;
  TempFolder& operator=(TempFolder const&) = delete;

  std::filesystem::path const& get_Path() const { return mPath; }
  // The path of that name in the folder, as UTF-8.
  std::string At(std::string const& inName) const;
  std::string Write(std::string const& inName, std::string const& inContent) const;
  std::string Read(std::string const& inName) const;
  // The names of what is in the folder.
  std::set<std::string> Names() const;

 private:
  std::filesystem::path mPath;
};

// Where files are kept in memory when the system has such a place and TMPDIR names no other, else
// the system's folder for temporary files. For tests whose time would go into waiting for a disk.
std::filesystem::path FastFolder();

}  // namespace lumora::test
