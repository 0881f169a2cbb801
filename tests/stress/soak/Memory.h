#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <vector>

namespace lumora::test {

// What this process holds in memory, by who keeps the books of it. The library, the host and
// DuckDB's objects are in the C library's heap. DuckDB's buffers, blocks and vectors are in the
// jemalloc that is built into its library; all of it is 0 where DuckDB comes without.
struct MemoryCounts {
  // Asked for and not given back, exactly.
  std::size_t mHeap = 0;     // of the C library's heap
  std::size_t mBuffers = 0;  // of DuckDB's own allocator

  // Pages that an allocator keeps, for what is asked for and for what was given back.
  std::size_t mHeapPages = 0;
  std::size_t mBufferPages = 0;
  std::size_t mBufferBooks = 0;  // of them, for its own books

  // As the system counts: pages that are in memory.
  std::size_t mAnonymous = 0;  // both allocators, stacks, data of libraries
  std::size_t mOfFiles = 0;    // programs and libraries

  std::size_t get_Resident() const { return mAnonymous + mOfFiles; }
};

// What may be more in the end than in the beginning. In use: the models and pools fill up slowly,
// and a leak of a few bytes an operation is more. Pages: what lies between, and the system counts.
constexpr std::size_t SlackInUse(std::uint64_t inOperations) { return 150000 + inOperations; }
inline constexpr std::size_t kResidentSlack = 24000000;

// How much larger the least of the last quarter is than the most of the first one, which begins
// after the first phase, in which everything warms up. Two sizes at least.
std::size_t FindGrowth(std::vector<std::size_t> const& inSizes);

// Asks both allocators to give back what they keep first. Exact while no other thread is at work.
MemoryCounts CountMemory();

std::ostream& operator<<(std::ostream& ioStream, MemoryCounts const& inCounts);

}  // namespace lumora::test
