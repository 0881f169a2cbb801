#include "Pool.h"

#include <memory>
#include <new>
#include <utility>

#include "Platform.h"
#include "tarn/Array.h"

namespace tarn {
namespace pool {

thread_local constinit ThreadCache* tCache = nullptr;

namespace {

// Never destroyed: objects with static or thread lifetime give memory back at any time.
Depots& AllDepots() noexcept {
  alignas(Depots) static std::byte memory[sizeof(Depots)];
  static Depots* const depots = ::new (memory) Depots;
  return *depots;
}

thread_local bool tEnded = false;

#if defined(_WIN32)

// Gives the thread's pieces back at its end. A compiler that emulates thread-local variables here
// frees them before it destroys them: only a slot of the system's still knows the cache then.
void EndCache(void* inCache) {
  tEnded = true;
  tCache = nullptr;
  delete static_cast<ThreadCache*>(inCache);
}

bool GiveBackAtEnd(ThreadCache* inCache) {
  static std::size_t const slot = platform::NewSlot(&EndCache);
  return platform::SetSlotValue(slot, inCache);
}

// Null when memory runs out, and while the thread's thread-local objects die.
ThreadCache* MakeCache() noexcept try {
  if (tEnded) return nullptr;
  auto cache = std::make_unique<ThreadCache>(AllDepots());
  if (!GiveBackAtEnd(cache.get())) return nullptr;
  return tCache = cache.release();
} catch (std::bad_alloc const&) {
  return nullptr;
}

#else

// Gives the thread's pieces back at its end. The cache itself is not in the thread's static block,
// which is small for libraries that are loaded late.
struct CacheOwner {
  bool mIsArmed = false;

  ~CacheOwner();
};
thread_local CacheOwner tOwner;

CacheOwner::~CacheOwner() {
  tEnded = true;
  delete std::exchange(tCache, nullptr);
}

// Null when memory runs out, and while the thread's thread-local objects die.
ThreadCache* MakeCache() noexcept {
  if (tEnded) return nullptr;
  tOwner.mIsArmed = true;  // its first use is what makes it die with the thread
  tCache = ::new (std::nothrow) ThreadCache(AllDepots());
  return tCache;  // NOLINT(clang-analyzer-cplusplus.NewDelete): nothing frees it on this way
}

#endif

}  // namespace

void* AllocateSlow(std::size_t inClass) {
  if (ThreadCache* const cache = MakeCache()) return cache->Allocate(inClass);
  Magazine* const magazine = AllDepots()[inClass].Fill(nullptr);
  void* const piece = magazine->mPieces[--magazine->mCount];
  AllDepots()[inClass].Give(magazine);
  return piece;
}

void FreeSlow(void* inMemory, std::size_t inClass) noexcept {
  if (ThreadCache* const cache = MakeCache()) return cache->Free(inMemory, inClass);
  AllDepots()[inClass].GivePiece(inMemory);
}

}  // namespace pool

void* PoolAllocate(std::size_t inSize) { return pool::Allocate(inSize); }
void PoolFree(void* inMemory, std::size_t inSize) noexcept { pool::Free(inMemory, inSize); }

}  // namespace tarn
