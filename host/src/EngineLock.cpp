#include "tarn/EngineLock.h"

#include <atomic>
#include <memory>
#include <new>
#include <utility>

#include "Platform.h"

namespace tarn {
namespace {

void FreeCell(void* inCell) { delete static_cast<bool*>(inCell); }

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
  auto cell = std::make_unique<bool>(inValue);
  if (!platform::SetSlotValue(mSlot, cell.get())) throw std::bad_alloc();
  (void)cell.release();
}

TLS_SimpleType_Var<bool> gIsGlobalLockTaken;
TLS_SimpleType_Var<bool> gIsThisDiagnoseMTThread;

Thread_Mutex_Win* GetGlobalEngineLock() noexcept { return EngineMutex().load(); }

Thread_Mutex_Win* SetGlobalEngineLock(Thread_Mutex_Win* inMutex) noexcept {
  return EngineMutex().exchange(inMutex);
}

}  // namespace tarn
