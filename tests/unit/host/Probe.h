#pragma once

#include <cstdlib>
#include <random>
#include <string>

#include "tarn/Converter.h"
#include "tarn/I_Unknown.h"
#include "tarn/String.h"

namespace tarn::test {

inline std::string Utf8(String const& inText) { return StFromUTF16(inText, GetConverter_UTF8()); }
inline String Wide(std::string const& inText) {
  return StToUTF16(inText.data(), static_cast<std::int64_t>(inText.size()), GetConverter_UTF8());
}

// The seed of a random test: LUMORA_TEST_SEED, else a new one. Print it with a failure.
inline std::uint32_t Seed() {
  char const* const given = std::getenv("LUMORA_TEST_SEED");
  return given ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10))
               : static_cast<std::uint32_t>(std::random_device()());
}

// Random numbers of 32 bits.
class Random {
 public:
  explicit Random(std::uint32_t inSeed) : mEngine(inSeed) {}
  std::uint32_t operator()() { return static_cast<std::uint32_t>(mEngine()); }

 private:
  std::mt19937 mEngine;
};

// A counted object that tells when it dies.
class Probe : public I_Unknown {
 public:
  explicit Probe(int& ioLive) : mLive(ioLive) { ++mLive; }
  ~Probe() override { --mLive; }
  Probe(Probe const&) = delete;
  Probe& operator=(Probe const&) = delete;

  std::uint32_t AddRef() override { return mRefCount.Increment(); }
  std::uint32_t Release() override {
    std::uint32_t const count = mRefCount.Decrement();
    if (count == 0) delete this;
    return count;
  }
  void* QueryInterface(std::uint32_t inInterfaceId) override {
    static INTERFACE_ITEM const kTable[] = {{kIID_Unknown, 0}, {77, 0}, {0, 0}};
    return InterfaceTableQueryInterface(this, inInterfaceId, kTable);
  }
  std::uint32_t get_RefsCount() const override { return mRefCount.get(); }

 private:
  RefsCount mRefCount;
  int& mLive;
};

}  // namespace tarn::test
