#include "FailingAllocation.h"

#include <cstdlib>
#include <new>

namespace {

thread_local bool gFailNext = false;

void* Allocate(std::size_t inSize) {
  if (gFailNext) {
    gFailNext = false;
    throw std::bad_alloc();
  }
  void* const memory = std::malloc(inSize > 0 ? inSize : 1);
  if (!memory) throw std::bad_alloc();
  return memory;
}

}  // namespace

void* operator new(std::size_t inSize) { return Allocate(inSize); }
void* operator new[](std::size_t inSize) { return Allocate(inSize); }
void* operator new(std::size_t inSize, std::nothrow_t const&) noexcept {
  try {
    return Allocate(inSize);
  } catch (...) {
    return nullptr;
  }
}
void* operator new[](std::size_t inSize, std::nothrow_t const& inTag) noexcept {
  return operator new(inSize, inTag);
}
void operator delete(void* inMemory) noexcept { std::free(inMemory); }
void operator delete[](void* inMemory) noexcept { std::free(inMemory); }
void operator delete(void* inMemory, std::size_t) noexcept { std::free(inMemory); }
void operator delete[](void* inMemory, std::size_t) noexcept { std::free(inMemory); }

namespace lumora::test {

FailingAllocation::FailingAllocation() { gFailNext = true; }
FailingAllocation::~FailingAllocation() { gFailNext = false; }

}  // namespace lumora::test
