#pragma once

#include <cstdlib>

#include "support/Seed.h"

namespace lumora::test {

// How often a long test goes round: inNormal times, inSlow times where everything takes long
// (kIsSlow), or LUMORA_TEST_ROUNDS times.
inline int Rounds(int inNormal, int inSlow) {
  if (char const* const given = std::getenv("LUMORA_TEST_ROUNDS")) return std::atoi(given);
  return kIsSlow ? inSlow : inNormal;
}

}  // namespace lumora::test
