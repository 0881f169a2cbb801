#pragma once

#include <functional>

namespace lumora::test {

// What an operation does, on a thread of its own, while another one holds the engine lock.
enum class UnderHeldLock { kWaits, kGoesOn };
UnderHeldLock RunUnderHeldLock(std::function<void()> const& inOperation);

// Whether this thread is marked as holding the engine lock, as it must not be between operations.
bool get_IsMarkedAsHolding();

}  // namespace lumora::test
