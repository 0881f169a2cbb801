// One planted mistake a run: shows that a sanitizer of this build does report it. Which one is
// named on the command line; the test passes when the sanitizer's report says so.
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace {

// The compiler must not see through it.
template <typename T>
T Hidden(T inValue) {
  T volatile copy = inValue;
  return copy;
}

int UseAfterFree() {
  auto* text = new std::string(64, 'x');
  std::string* volatile dangling = text;
  delete text;
  return static_cast<int>(dangling->size());
}

int HeapOverflow() {
  std::vector<char> bytes(16);
  char* volatile start = bytes.data();
  return start[Hidden(16)];
}

int const* AddressOfLocal() {
  int local = 7;
  int const* volatile address = &local;
  return address;
}

int UseAfterReturn() { return *AddressOfLocal(); }

int Leak() {
  char* volatile lost = new char[100];
  std::memset(lost, 1, 100);
  lost = nullptr;
  return 0;
}

int SignedOverflow() { return std::numeric_limits<int>::max() + Hidden(1); }

int Race() {
  int counter = 0;
  auto const count = [&counter] {
    for (int i = 0; i < 10000; ++i) ++counter;
  };
  std::thread first(count);
  std::thread second(count);
  first.join();
  second.join();
  return counter;
}

struct Mistake {
  char const* mName;
  int (*mMake)();
};

constexpr Mistake kMistakes[] = {
    {"use-after-free", UseAfterFree},     {"heap-overflow", HeapOverflow},
    {"use-after-return", UseAfterReturn}, {"leak", Leak},
    {"signed-overflow", SignedOverflow},  {"race", Race},
};

}  // namespace

int main(int argc, char** argv) {
  for (Mistake const& mistake : kMistakes) {
    if (argc == 2 && std::strcmp(argv[1], mistake.mName) == 0) {
      std::printf("%d\n", mistake.mMake());
      return 0;
    }
  }
  std::fprintf(stderr, "usage: planted MISTAKE\n");
  return 2;
}
