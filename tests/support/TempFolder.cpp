#include "support/TempFolder.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <system_error>

namespace lumora::test {

namespace fs = std::filesystem;

namespace {

std::string ToUtf8(fs::path const& inPath) {
  std::u8string const text = inPath.u8string();
  return std::string(text.begin(), text.end());
}

fs::path FromUtf8(std::string const& inPath) {
  return fs::path(std::u8string(inPath.begin(), inPath.end()));
}

}  // namespace

TempFolder::TempFolder(fs::path const& inParent) {
  std::random_device random;
  for (int attempt = 0; attempt < 100; ++attempt) {
    fs::path const path = inParent / ("lumora-test-" + std::to_string(random()));
    if (!fs::create_directory(path)) continue;
    mPath = fs::canonical(path);
    return;
  }
  throw std::runtime_error("no temporary folder");
}

TempFolder::~TempFolder() {
  std::error_code error;
  fs::remove_all(mPath, error);
}

std::string TempFolder::At(std::string const& inName) const {
  return ToUtf8(mPath / FromUtf8(inName));
}

std::string TempFolder::Write(std::string const& inName, std::string const& inContent) const {
  std::ofstream(mPath / FromUtf8(inName), std::ios::binary) << inContent;
  return At(inName);
}

std::string TempFolder::Read(std::string const& inName) const {
  std::ifstream file(mPath / FromUtf8(inName), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

std::set<std::string> TempFolder::Names() const {
  std::set<std::string> names;
  for (auto const& entry : fs::directory_iterator(mPath)) {
    names.insert(ToUtf8(entry.path().filename()));
  }
  return names;
}

fs::path FastFolder() {
  std::error_code error;
  fs::path const memory = "/dev/shm";
  bool const isOpenToAll =
      (fs::status(memory, error).permissions() & fs::perms::others_write) != fs::perms::none;
  bool const isWanted = !std::getenv("TMPDIR") && fs::is_directory(memory, error) && isOpenToAll;
  return isWanted ? memory : fs::temp_directory_path();
}

}  // namespace lumora::test
