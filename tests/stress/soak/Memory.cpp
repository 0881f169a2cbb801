#include "Memory.h"

#include <dlfcn.h>
#include <fmt/format.h>
#include <malloc.h>

#include <algorithm>
#include <fstream>
#include <string>

namespace lumora::test {

namespace {

// DuckDB's allocator has no header, but its functions are exported.
using Control = int (*)(char const*, void*, std::size_t*, void*, std::size_t);

Control FindControl() {
  static auto const control = reinterpret_cast<Control>(dlsym(RTLD_DEFAULT, "duckdb_je_mallctl"));
  return control;
}

void Ask(char const* inName) {
  if (FindControl()) FindControl()(inName, nullptr, nullptr, nullptr, 0);
}

std::size_t Number(char const* inName) {
  std::size_t number = 0;
  std::size_t size = sizeof(number);
  if (FindControl()) FindControl()(inName, &number, &size, nullptr, 0);
  return number;
}

void Refresh() {
  std::uint64_t epoch = 1;
  if (FindControl()) FindControl()("epoch", nullptr, nullptr, &epoch, sizeof(epoch));
}

}  // namespace

std::size_t FindGrowth(std::vector<std::size_t> const& inSizes) {
  auto const quarter = static_cast<std::ptrdiff_t>((inSizes.size() + 3) / 4);
  std::size_t const most = *std::max_element(inSizes.begin() + 1, inSizes.begin() + 1 + quarter);
  std::size_t const least = *std::min_element(inSizes.end() - quarter, inSizes.end());
  return least > most ? least - most : 0;
}

MemoryCounts CountMemory() {
  malloc_trim(0);
  Ask("thread.tcache.flush");
  Ask("arena.4096.purge");  // all arenas
  Refresh();
  MemoryCounts counts;
  struct mallinfo2 const heap = mallinfo2();
  counts.mHeap = heap.uordblks + heap.hblkhd;
  counts.mHeapPages = heap.arena + heap.hblkhd;
  counts.mBuffers = Number("stats.allocated");
  counts.mBufferPages = Number("stats.resident");
  counts.mBufferBooks = Number("stats.metadata");
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    std::size_t const colon = line.find(':');
    std::string const name = line.substr(0, colon);
    if (name == "RssAnon") counts.mAnonymous = 1024 * std::stoul(line.substr(colon + 1));
    if (name == "RssFile") counts.mOfFiles = 1024 * std::stoul(line.substr(colon + 1));
  }
  return counts;
}

std::ostream& operator<<(std::ostream& ioStream, MemoryCounts const& inCounts) {
  return ioStream << fmt::format(
             "{} kB resident ({} anonymous), heap {} kB in {} kB of pages, DuckDB's buffers {} kB "
             "in "
             "{} kB of pages ({} kB books)",
             inCounts.get_Resident() / 1000, inCounts.mAnonymous / 1000, inCounts.mHeap / 1000,
             inCounts.mHeapPages / 1000, inCounts.mBuffers / 1000, inCounts.mBufferPages / 1000,
             inCounts.mBufferBooks / 1000);
}

}  // namespace lumora::test
