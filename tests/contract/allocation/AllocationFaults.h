#pragma once

#include <cstdint>

// Makes allocations by our two libraries, the host's and the extension, fail. The executable has
// operator new itself, which takes precedence over the standard library's for every library of the
// process. An allocation is ours when the code that asks for it is: directly, or through the
// standard library or fmt, which allocate in their callers' name. DuckDB's and the test's own never
// fail here.
namespace lumora::test {

// To be called once the extension is loaded, before anything below.
void LearnLibraries();

// While it lives, the allocations that our libraries make on this thread are counted, and some
// fail.
class AllocationFaults {
 public:
  static constexpr std::uint64_t kNone = UINT64_MAX;
  // The first inSuccesses succeed, and the next one fails, or all from there on. kNone: none fails.
  explicit AllocationFaults(std::uint64_t inSuccesses, bool inForGood = false);
  ~AllocationFaults();
  AllocationFaults(AllocationFaults const&) = delete;
  AllocationFaults& operator=(AllocationFaults const&) = delete;

  std::uint64_t get_Count() const;     // of our allocations so far
  std::uint64_t get_Failures() const;  // of those that failed
};

// Allocations that our libraries made, with or without an object of the above, on any thread, and
// that were not given back.
std::int64_t get_LiveAllocations();

// Under a sanitizer every value and text is an allocation of its own. Otherwise they are pieces of
// a pool, which keeps its memory.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kIsPoolPlain = true;
#elif defined(__has_feature)
inline constexpr bool kIsPoolPlain =
    __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
inline constexpr bool kIsPoolPlain = false;
#endif

}  // namespace lumora::test
