#pragma once

#include <cstddef>

#include "PoolCore.h"

// Under a sanitizer every piece comes from operator new, so that it sees each one.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TARN_PLAIN_POOL 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TARN_PLAIN_POOL 1
#endif
#endif
#if !defined(TARN_PLAIN_POOL)
#define TARN_PLAIN_POOL 0
#endif

#if defined(__linux__)
#define TARN_FAST_TLS __attribute__((tls_model("initial-exec")))
#else
#define TARN_FAST_TLS
#endif

// The process's pool, for the library's own code.
namespace tarn::pool {

inline constexpr bool kPlain = TARN_PLAIN_POOL != 0;

// The calling thread's cache; null before its first allocation and after the end of its life.
extern TARN_FAST_TLS thread_local constinit ThreadCache* tCache;

void* AllocateSlow(std::size_t inClass);
void FreeSlow(void* inMemory, std::size_t inClass) noexcept;

inline void* Allocate(std::size_t inSize) {
  if (!kPlain && inSize <= kLargest) [[likely]] {
    ThreadCache* const cache = tCache;
    return cache ? cache->Allocate(ClassOf(inSize)) : AllocateSlow(ClassOf(inSize));
  }
  return ::operator new(inSize);
}

inline void Free(void* inMemory, std::size_t inSize) noexcept {
  if (!kPlain && inSize <= kLargest) [[likely]] {
    if (!inMemory) return;
    ThreadCache* const cache = tCache;
    cache ? cache->Free(inMemory, ClassOf(inSize)) : FreeSlow(inMemory, ClassOf(inSize));
    return;
  }
  ::operator delete(inMemory);
}

}  // namespace tarn::pool
