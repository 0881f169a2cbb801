#pragma once

#include <functional>

namespace lumora::test {

// What an operation does, on a thread of its own, while another one holds the engine lock. One that
// is expected to go on is given as long as it takes on a busy machine.
enum class UnderHeldLock { kWaits, kGoesOn };
UnderHeldLock RunUnderHeldLock(std::function<void()> const& inOperation, UnderHeldLock inExpected);

// Whether this thread is marked as holding the engine lock, as it must not be between operations.
bool get_IsMarkedAsHolding();

}  // namespace lumora::test
