#include "support/ProcessCounts.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace lumora::test {

namespace fs = std::filesystem;

namespace {

std::size_t CountEntries(char const* inFolder) {
  auto const count = std::distance(fs::directory_iterator(inFolder), fs::directory_iterator());
  return static_cast<std::size_t>(count);
}

}  // namespace

std::size_t CountDescriptors() { return CountEntries("/proc/self/fd"); }

std::size_t CountListedThreads() { return CountEntries("/proc/self/task"); }

std::size_t get_ResidentBytes() {
  std::size_t pages = 0;
  std::size_t resident = 0;
  std::ifstream("/proc/self/statm") >> pages >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace lumora::test
