#pragma once

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>

namespace lumora::test {

// The seed of a random test: LUMORA_TEST_SEED, or a new one. It is printed, for replay.
inline std::uint64_t get_Seed(char const* inTest) {
  char const* const given = std::getenv("LUMORA_TEST_SEED");
  std::uint64_t const seed = given ? std::strtoull(given, nullptr, 10) : std::random_device{}();
  std::cout << inTest << ": LUMORA_TEST_SEED=" << seed << std::endl;
  return seed;
}

// True in a build with a sanitizer.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kIsSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool kIsSanitized = true;
#else
inline constexpr bool kIsSanitized = false;
#endif
#else
inline constexpr bool kIsSanitized = false;
#endif

// True where random tests make fewer steps: with a sanitizer, and on Windows, which is Wine here.
#if defined(_WIN32)
inline constexpr bool kIsSlow = true;
#else
inline constexpr bool kIsSlow = kIsSanitized;
#endif

}  // namespace lumora::test
