// A fuzz target with mistakes that only an input of four certain bytes makes: shows that the
// fuzzer finds such an input and that its sanitizers report the mistake. Which one is there is told
// by LUMORA_PLANTED.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "support/Input.h"

namespace {

// The compiler must not see through it.
template <typename T>
T Hidden(T inValue) {
  T volatile copy = inValue;
  return copy;
}

int HeapOverflow() {
  std::vector<char> bytes(16);
  char* volatile start = bytes.data();
  return start[Hidden(16)];
}

int SignedOverflow() { return std::numeric_limits<int>::max() + Hidden(1); }

int Leak() {
  char* volatile lost = new char[100];
  lost[0] = 1;
  lost = nullptr;
  return 0;
}

int BrokenProperty() {
  lumora::fuzz::Require(Hidden(0) == 1, "the planted property");
  return 0;
}

struct Mistake {
  char const* mName;
  char const* mInput;
  int (*mMake)();
};

constexpr Mistake kMistakes[] = {
    {"heap-overflow", "over", HeapOverflow},
    {"signed-overflow", "sign", SignedOverflow},
    {"leak", "leak", Leak},
    {"property", "prop", BrokenProperty},
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* inData, std::size_t inSize) {
  char const* const planted = std::getenv("LUMORA_PLANTED");
  for (Mistake const& mistake : kMistakes) {
    if (!planted || std::string_view(planted) != mistake.mName || inSize < 4) continue;
    // Byte by byte, as a parser looks at its input.
    std::size_t same = 0;
    while (same < 4 && inData[same] == static_cast<std::uint8_t>(mistake.mInput[same])) ++same;
    if (same == 4) (void)mistake.mMake();
  }
  return 0;
}
