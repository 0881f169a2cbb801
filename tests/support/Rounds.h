#pragma once

#include <cstdlib>

namespace lumora::test {

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
inline constexpr bool kIsSanitized = true;
#else
inline constexpr bool kIsSanitized = false;
#endif
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kIsSanitized = true;
#else
inline constexpr bool kIsSanitized = false;
#endif

// How often a long test goes round: inNormal times, inSanitized times under a sanitizer, which is
// ten times as slow, or LUMORA_TEST_ROUNDS times.
inline int Rounds(int inNormal, int inSanitized) {
  if (char const* const given = std::getenv("LUMORA_TEST_ROUNDS")) return std::atoi(given);
  return kIsSanitized ? inSanitized : inNormal;
}

}  // namespace lumora::test
