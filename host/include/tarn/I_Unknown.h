#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "tarn/Export.h"
#include "tarn/Types.h"

namespace tarn {

// The root of every object that crosses between the host and an extension.
//
// A new object has the count 0; whoever creates it puts it into a smart_ptr at once, which takes
// the first reference. The object dies in the Release that brings the count to 0, on the thread
// that called it. AddRef, Release and get_RefsCount may be called from any thread.
//
// The order of an interface's operations is its binary form, on which a host and an extension that
// are built apart rely: a new operation goes to the end, and none is ever removed.
class LSHARED_API I_Unknown {
 public:
  virtual ~I_Unknown() = default;

  // Adds one reference and returns the new count.
  virtual std::uint32_t AddRef() = 0;

  // Gives one reference up and returns the new count; at 0 the object is destroyed and freed.
  virtual std::uint32_t Release() = 0;

  // The subobject that implements the interface of that number, or null. A pointer that is not
  // null carries one reference of its own, which the caller releases. Never throws.
  virtual void* QueryInterface(std::uint32_t inInterfaceId) = 0;

  // The count at this moment; other threads may have changed it before the call returns.
  virtual std::uint32_t get_RefsCount() const = 0;

 protected:
  I_Unknown() = default;
  I_Unknown(I_Unknown const&) = default;
  I_Unknown& operator=(I_Unknown const&) = default;
};

// One row of a class's interface table; the table ends with {0, 0}.
struct INTERFACE_ITEM {
  std::uint32_t mInterfaceId;
  std::ptrdiff_t mDistance;  // bytes from the object's start to the subobject
};

// The distance of a subobject for a row of inObject's table.
template <typename TSubobject, typename TMain>
std::ptrdiff_t InterfaceDistance(TMain* inObject) noexcept {
  return reinterpret_cast<char const*>(static_cast<TSubobject*>(inObject)) -
         reinterpret_cast<char const*>(inObject);
}

// Looks inInterfaceId up in inTable. A hit adds one reference to the object (through the found
// subobject, which must begin with the I_Unknown operations) and returns the subobject; a miss
// returns null.
LSHARED_API void* InterfaceTableQueryInterface(void* inObject, std::uint32_t inInterfaceId,
                                               INTERFACE_ITEM const* inTable) noexcept;

// The reference count that each counted class holds as a field of its own.
class RefsCount {
 public:
  std::uint32_t Increment() noexcept { return mCount.fetch_add(1) + 1; }
  std::uint32_t Decrement() noexcept { return mCount.fetch_sub(1) - 1; }
  std::uint32_t get() const noexcept { return mCount.load(); }

  // The same two for objects that are reached through counted references alone, so never by
  // TryIncrement. Who sees the count 0 or holds the only reference is then alone with the object,
  // and the first and the last step need no locked instruction.
  std::uint32_t IncrementExclusive() noexcept {
    if (mCount.load(std::memory_order_relaxed) != 0) return Increment();
    mCount.store(1, std::memory_order_relaxed);
    return 1;
  }
  std::uint32_t DecrementExclusive() noexcept {
    if (mCount.load(std::memory_order_acquire) != 1) return Decrement();
    mCount.store(0, std::memory_order_relaxed);
    return 0;
  }

  // Adds a reference only while the count is not 0. False: the object is already on its way out.
  bool TryIncrement() noexcept {
    std::uint32_t count = mCount.load();
    while (count != 0 && !mCount.compare_exchange_weak(count, count + 1)) {
    }
    return count != 0;
  }

 private:
  std::atomic<std::uint32_t> mCount{0};
};

}  // namespace tarn
