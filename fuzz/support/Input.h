#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace lumora::fuzz {

// For arithmetic that no 64-bit number can spoil.
__extension__ using Int128 = __int128;

// Ends the process, which the fuzzer takes for a finding, when what must hold does not.
inline void Require(bool inHolds, std::string_view inWhat) {
  if (inHolds) return;
  std::fprintf(stderr, "does not hold: %.*s\n", static_cast<int>(inWhat.size()), inWhat.data());
  std::abort();
}

// Takes numbers and runs of bytes off the input; zeros and nothing when it is used up.
class Input {
 public:
  Input(std::uint8_t const* inData, std::size_t inSize)
      : mRest(reinterpret_cast<char const*>(inData), inSize) {}

  bool get_IsEmpty() const { return mRest.empty(); }

  template <typename T>
  T Take() {
    static_assert(std::is_arithmetic_v<T> && !std::is_same_v<T, bool>);
    T value{};
    std::size_t const size = std::min(sizeof(T), mRest.size());
    if (size != 0) std::memcpy(&value, mRest.data(), size);
    mRest.remove_prefix(size);
    return value;
  }

  // One byte, mapped into 0 to inCount - 1.
  std::size_t TakeBelow(std::size_t inCount) { return Take<std::uint8_t>() % inCount; }
  bool TakeBool() { return TakeBelow(2) == 1; }

  // Mostly small, so that it often fits.
  std::uint64_t TakeNumber() {
    auto const kind = Take<std::uint8_t>();
    return kind < 250 ? kind % 16 : Take<std::uint64_t>();
  }

  // Up to 255 bytes: their number stands before them.
  std::string TakeBytes(std::size_t inLimit = 255) {
    std::size_t const size = std::min<std::size_t>({Take<std::uint8_t>(), inLimit, mRest.size()});
    std::string bytes(mRest.substr(0, size));
    mRest.remove_prefix(size);
    return bytes;
  }

  std::string TakeRest() { return std::string(std::exchange(mRest, {})); }

 private:
  std::string_view mRest;
};

}  // namespace lumora::fuzz
