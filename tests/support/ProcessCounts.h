#pragma once

#include <cstddef>

// What this process has at this moment, as the system counts.
namespace lumora::test {

std::size_t CountDescriptors();
std::size_t CountThreads();
std::size_t get_ResidentBytes();

}  // namespace lumora::test
