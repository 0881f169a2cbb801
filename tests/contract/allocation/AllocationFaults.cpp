#include "AllocationFaults.h"

#include <link.h>
#include <unwind.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

struct Range {
  std::uintptr_t mBegin = 0;
  std::uintptr_t mEnd = 0;
  bool Contains(std::uintptr_t inAddress) const { return inAddress >= mBegin && inAddress < mEnd; }
};

template <std::size_t TRoom>
struct Ranges {
  std::array<Range, TRoom> mRanges;
  std::size_t mCount = 0;
  void Add(Range const& inRange) {
    if (mCount < TRoom) mRanges[mCount++] = inRange;
  }
  bool Contains(std::uintptr_t inAddress) const {
    for (std::size_t i = 0; i < mCount; ++i) {
      if (mRanges[i].Contains(inAddress)) return true;
    }
    return false;
  }
};

// Where code lies that matters here. Written before threads of DuckDB's start to ask.
Ranges<16> gOurs;
Ranges<16> gOnBehalf;  // allocates in the name of its caller
std::atomic<bool> gKnows{false};

struct Plan {
  std::uint64_t mSuccesses = 0;
  std::uint64_t mCount = 0;
  std::uint64_t mFailures = 0;
  bool mIsOn = false;
  bool mIsForGood = false;
};
thread_local constinit Plan tPlan;

std::atomic<std::int64_t> gLive{0};

bool HasName(char const* inPath, char const* inName) { return std::strstr(inPath, inName); }

int LearnLibrary(dl_phdr_info* inInfo, std::size_t, void*) {
  bool const ours =
      HasName(inInfo->dlpi_name, "libLShared") || HasName(inInfo->dlpi_name, "lumora_duckdb.so");
  bool const onBehalf =
      HasName(inInfo->dlpi_name, "libstdc++") || HasName(inInfo->dlpi_name, "libfmt");
  for (int i = 0; (ours || onBehalf) && i < inInfo->dlpi_phnum; ++i) {
    auto const& part = inInfo->dlpi_phdr[i];
    if (part.p_type != PT_LOAD || !(part.p_flags & PF_X)) continue;
    std::uintptr_t const begin = inInfo->dlpi_addr + part.p_vaddr;
    Range const range{begin, begin + part.p_memsz};
    ours ? gOurs.Add(range) : gOnBehalf.Add(range);
  }
  return 0;
}

struct Walk {
  bool mIsOnBehalf = false;  // the walk has come to such code
  bool mIsOurs = false;
};

_Unwind_Reason_Code LookAtFrame(_Unwind_Context* inContext, void* inWalk) {
  auto& walk = *static_cast<Walk*>(inWalk);
  std::uintptr_t const address = _Unwind_GetIP(inContext) - 1;
  if (gOnBehalf.Contains(address)) {
    walk.mIsOnBehalf = true;
    return _URC_NO_REASON;
  }
  if (!walk.mIsOnBehalf) return _URC_NO_REASON;  // still in operator new
  walk.mIsOurs = gOurs.Contains(address);
  return _URC_END_OF_STACK;
}

bool IsOurs(void* inCaller) {
  if (!gKnows.load(std::memory_order_acquire)) return false;
  auto const caller = reinterpret_cast<std::uintptr_t>(inCaller) - 1;
  if (gOurs.Contains(caller)) return true;
  if (!gOnBehalf.Contains(caller)) return false;
  Walk walk;
  _Unwind_Backtrace(LookAtFrame, &walk);
  return walk.mIsOurs;
}

// Of the address sanitizer, where it is there.
extern "C" __attribute__((weak)) void __sanitizer_print_stack_trace();

bool const gShows = std::getenv("LUMORA_SHOW_FAULTS") != nullptr;

bool Fails() {
  Plan& plan = tPlan;
  if (!plan.mIsOn) return false;
  std::uint64_t const number = plan.mCount++;
  bool const fails = plan.mIsForGood ? number >= plan.mSuccesses : number == plan.mSuccesses;
  if (fails) ++plan.mFailures;
  if (fails && gShows && plan.mFailures == 1 && __sanitizer_print_stack_trace) {
    plan.mIsOn = false;
    __sanitizer_print_stack_trace();
    plan.mIsOn = true;
  }
  return fails;
}

// Stands before every piece.
struct alignas(16) Mark {
  std::size_t mIsOurs;
};

// Null when it fails. inAlignment is at least the mark's.
void* Allocate(std::size_t inSize, std::size_t inAlignment, void* inCaller) {
  bool const ours = IsOurs(inCaller);
  if (ours && Fails()) return nullptr;
  std::size_t const size = (inSize + 2 * inAlignment - 1) / inAlignment * inAlignment;
  void* const memory = inAlignment > alignof(Mark) ? std::aligned_alloc(inAlignment, size)
                                                   : std::malloc(inSize + inAlignment);
  if (!memory) return nullptr;
  auto* const piece = static_cast<std::byte*>(memory) + inAlignment;
  ::new (piece - sizeof(Mark)) Mark{ours};
  if (ours) gLive.fetch_add(1, std::memory_order_relaxed);
  return piece;
}

void* AllocateOrThrow(std::size_t inSize, std::size_t inAlignment, void* inCaller) {
  if (void* const piece = Allocate(inSize, inAlignment, inCaller)) return piece;
  throw std::bad_alloc();
}

void Free(void* inPiece, std::size_t inAlignment) noexcept {
  if (!inPiece) return;
  auto* const piece = static_cast<std::byte*>(inPiece);
  if (reinterpret_cast<Mark*>(piece - sizeof(Mark))->mIsOurs) {
    gLive.fetch_sub(1, std::memory_order_relaxed);
  }
  std::free(piece - inAlignment);
}

constexpr std::size_t kPlain = alignof(Mark);
std::size_t Aligned(std::align_val_t inAlignment) noexcept {
  auto const alignment = static_cast<std::size_t>(inAlignment);
  return alignment < kPlain ? kPlain : alignment;
}

}  // namespace

#define LUMORA_CALLER __builtin_return_address(0)

void* operator new(std::size_t n) { return AllocateOrThrow(n, kPlain, LUMORA_CALLER); }
void* operator new[](std::size_t n) { return AllocateOrThrow(n, kPlain, LUMORA_CALLER); }
void* operator new(std::size_t n, std::nothrow_t const&) noexcept {
  return Allocate(n, kPlain, LUMORA_CALLER);
}
void* operator new[](std::size_t n, std::nothrow_t const&) noexcept {
  return Allocate(n, kPlain, LUMORA_CALLER);
}
void* operator new(std::size_t n, std::align_val_t a) {
  return AllocateOrThrow(n, Aligned(a), LUMORA_CALLER);
}
void* operator new[](std::size_t n, std::align_val_t a) {
  return AllocateOrThrow(n, Aligned(a), LUMORA_CALLER);
}
void operator delete(void* p) noexcept { Free(p, kPlain); }
void operator delete[](void* p) noexcept { Free(p, kPlain); }
void operator delete(void* p, std::size_t) noexcept { Free(p, kPlain); }
void operator delete[](void* p, std::size_t) noexcept { Free(p, kPlain); }
void operator delete(void* p, std::nothrow_t const&) noexcept { Free(p, kPlain); }
void operator delete[](void* p, std::nothrow_t const&) noexcept { Free(p, kPlain); }
void operator delete(void* p, std::align_val_t a) noexcept { Free(p, Aligned(a)); }
void operator delete[](void* p, std::align_val_t a) noexcept { Free(p, Aligned(a)); }
void operator delete(void* p, std::size_t, std::align_val_t a) noexcept { Free(p, Aligned(a)); }
void operator delete[](void* p, std::size_t, std::align_val_t a) noexcept { Free(p, Aligned(a)); }

namespace lumora::test {

void LearnLibraries() {
  if (gKnows.load()) return;
  dl_iterate_phdr(LearnLibrary, nullptr);
  gKnows.store(true, std::memory_order_release);
}

AllocationFaults::AllocationFaults(std::uint64_t inSuccesses, bool inForGood) {
  tPlan = Plan{inSuccesses, 0, 0, true, inForGood};
}
AllocationFaults::~AllocationFaults() { tPlan.mIsOn = false; }
std::uint64_t AllocationFaults::get_Count() const { return tPlan.mCount; }
std::uint64_t AllocationFaults::get_Failures() const { return tPlan.mFailures; }

std::int64_t get_LiveAllocations() { return gLive.load(); }

}  // namespace lumora::test
