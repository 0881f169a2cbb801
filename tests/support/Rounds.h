#pragma once

#include <cstdlib>

#include "support/Seed.h"

namespace lumora::test {

// How often a long test goes round: inNormal times, inSanitized times under a sanitizer, which is
// ten times as slow, or LUMORA_TEST_ROUNDS times.
inline int Rounds(int inNormal, int inSanitized) {
  if (char const* const given = std::getenv("LUMORA_TEST_ROUNDS")) return std::atoi(given);
  return kIsSanitized ? inSanitized : inNormal;
}

}  // namespace lumora::test
