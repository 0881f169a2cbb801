#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <thread>

// What this process has at this moment, as the system counts.
namespace lumora::test {

std::size_t CountDescriptors();
std::size_t CountListedThreads();
std::size_t get_ResidentBytes();

// Hazard: a thread that was joined may still be on the system's list. Remedy: the least of several
// looks.
inline std::size_t CountThreads() {
  std::size_t least = CountListedThreads();
  for (int look = 1; look < 50; ++look) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    least = std::min(least, CountListedThreads());
  }
  return least;
}

}  // namespace lumora::test
