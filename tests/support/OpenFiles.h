#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace lumora::test {

// Paths of this process's open files whose path begins with that text.
inline std::vector<std::string> OpenFilesIn(std::string const& inFolder) {
  std::vector<std::string> files;
  for (auto const& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    std::string file = std::filesystem::read_symlink(entry.path(), error).string();
    if (!error && file.starts_with(inFolder)) files.push_back(std::move(file));
  }
  return files;
}

}  // namespace lumora::test
