#include "tarn/EngineLock.h"

#include <atomic>
#include <cstddef>
#include <new>
#include <utility>

#include "Platform.h"

namespace tarn {
namespace {

// Hazard: a thread whose first call gives the last reference to an object up, or asks for an answer
// that never throws, needs its cell, memory or not. Remedy: some cells that are always there.
class Reserve {
 public:
  // Null when all are taken.
  bool* Take() noexcept {
    for (std::size_t i = 0; i < kCells; ++i) {
      if (!mTaken[i].exchange(true)) return &mCells[i];
    }
    return nullptr;
  }
  // False: it is none of these.
  bool GiveBack(bool const* inCell) noexcept {
    for (std::size_t i = 0; i < kCells; ++i) {
      if (inCell != &mCells[i]) continue;
      mTaken[i].store(false);
      return true;
    }
    return false;
  }

 private:
  static constexpr std::size_t kCells = 64;
  bool mCells[kCells] = {};
  std::atomic<bool> mTaken[kCells] = {};
};
constinit Reserve gReserve;

bool* NewCell(bool inValue) noexcept {
  auto* const cell = new (std::nothrow) bool(inValue);
  if (cell != nullptr) return cell;
  bool* const kept = gReserve.Take();
  if (kept != nullptr) *kept = inValue;
  return kept;
}

void FreeCell(void* inCell) {
  auto* const cell = static_cast<bool*>(inCell);
  if (!gReserve.GiveBack(cell)) delete cell;
}

// Never destroyed: objects with static lifetime may lock it while the process ends.
Thread_Mutex_Win* DefaultMutex() noexcept {
  alignas(Thread_Mutex_Win) static std::byte memory[sizeof(Thread_Mutex_Win)];
  static Thread_Mutex_Win* const mutex = ::new (memory) Thread_Mutex_Win;
  return mutex;
}

std::atomic<Thread_Mutex_Win*>& EngineMutex() noexcept {
  static std::atomic<Thread_Mutex_Win*> mutex{DefaultMutex()};
  return mutex;
}

}  // namespace

Thread_Mutex_Win::Thread_Mutex_Win() = default;
Thread_Mutex_Win::~Thread_Mutex_Win() = default;
void Thread_Mutex_Win::lock() { mMutex.lock(); }
void Thread_Mutex_Win::unlock() { mMutex.unlock(); }

TLS_SimpleType_Var<bool>::TLS_SimpleType_Var() : mSlot(platform::NewSlot(&FreeCell)) {}

TLS_SimpleType_Var<bool>::~TLS_SimpleType_Var() {
  // The thread that unloads the library ends later, without its slot's help.
  FreeCell(get());
  platform::SetSlotValue(mSlot, nullptr);
  platform::DeleteSlot(std::exchange(mSlot, platform::kNoSlot));
}

bool* TLS_SimpleType_Var<bool>::get() const noexcept {
  return mSlot == platform::kNoSlot ? nullptr : static_cast<bool*>(platform::SlotValue(mSlot));
}

void TLS_SimpleType_Var<bool>::set(bool inValue) {
  if (bool* const cell = get()) {
    *cell = inValue;
    return;
  }
  if (mSlot == platform::kNoSlot) return;
  bool* const cell = NewCell(inValue);
  if (!cell) throw std::bad_alloc();
  if (platform::SetSlotValue(mSlot, cell)) return;
  FreeCell(cell);
  throw std::bad_alloc();
}

TLS_SimpleType_Var<bool> gIsGlobalLockTaken;
TLS_SimpleType_Var<bool> gIsThisDiagnoseMTThread;

Thread_Mutex_Win* GetGlobalEngineLock() noexcept { return EngineMutex().load(); }

Thread_Mutex_Win* SetGlobalEngineLock(Thread_Mutex_Win* inMutex) noexcept {
  return EngineMutex().exchange(inMutex);
}

}  // namespace tarn
