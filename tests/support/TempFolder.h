#pragma once

#include <filesystem>
#include <set>
#include <string>

namespace lumora::test {

// A new folder under the system's folder for such, removed with what is in it.
class TempFolder {
 public:
  TempFolder();
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

}  // namespace lumora::test
