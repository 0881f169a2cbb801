#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <new>
#include <utility>

// The pool for small pieces of memory.
//
// Pieces are cut from slabs, one size class a slab. Each thread keeps two magazines of free pieces
// per class and works on them without a lock; whole magazines go to and come from the class's
// depot. A piece may be freed on any thread: it joins the magazine of that thread.
//
// A magazine is an array of addresses. A list through the free pieces themselves would need no
// memory of its own, but then each allocation waits for the piece's cache line to learn the next
// address, where now the owner's first store has to wait for nothing.
//
// What is kept: a depot keeps full magazines of at most kRetainedBytes of pieces, with the slabs
// that they lie in, as many empty magazines (1 KB each), and one empty slab. What exceeds that goes
// back piece by piece, and a slab whose pieces are all back is given to the system.
namespace tarn::pool {

inline constexpr std::size_t kStep = 16;
inline constexpr std::size_t kLargest = 256;
inline constexpr std::size_t kClasses = kLargest / kStep;
inline constexpr std::size_t kSlabBytes = std::size_t{256} << 10;
inline constexpr std::size_t kMagazineBytes = std::size_t{8} << 10;  // of pieces, at most
inline constexpr std::size_t kRetainedBytes = std::size_t{32} << 20;

// The class of a size from 0 to kLargest.
inline constexpr std::size_t ClassOf(std::size_t inSize) noexcept {
  return inSize == 0 ? 0 : (inSize - 1) / kStep;
}

struct Magazine {
  static constexpr std::uint32_t kRoom = 125;  // the whole is 1 KB

  Magazine* mNext = nullptr;
  std::uint32_t mCount = 0;
  void* mPieces[kRoom];
};

// All free memory of one size class that no thread keeps. Thread-safe.
class Depot {
 public:
  explicit Depot(std::size_t inPieceBytes, std::size_t inRetainedBytes = kRetainedBytes) noexcept
      : mPieceBytes(inPieceBytes),
        mFull(static_cast<std::uint32_t>(
            std::min<std::size_t>(kMagazineBytes / inPieceBytes, Magazine::kRoom))),
        mMaxMagazines(inRetainedBytes / (inPieceBytes * mFull)) {}
  // All pieces must be back.
  ~Depot();
  Depot(Depot const&) = delete;
  Depot& operator=(Depot const&) = delete;

  // The number of pieces in a full magazine.
  std::uint32_t get_Full() const noexcept { return mFull; }

  // Takes an empty magazine (or null) and gives one with at least one piece. Throws std::bad_alloc,
  // and has taken nothing then.
  Magazine* Fill(Magazine* inEmpty);
  // Takes a magazine of any count (or null) and gives an empty one; null when memory runs out.
  Magazine* Empty(Magazine* inMagazine) noexcept;
  // Takes a magazine of any count.
  void Give(Magazine* inMagazine) noexcept;
  // Takes one piece.
  void GivePiece(void* inPiece) noexcept;

  // How many slabs the class has from the system at this moment.
  std::size_t get_SlabCount() const;

 private:
  struct FreePiece {
    FreePiece* mNext;
  };
  struct Slab {
    Slab* mPrevious = nullptr;
    Slab* mNext = nullptr;
    FreePiece* mFree = nullptr;  // pieces that came back
    std::uint32_t mUncut = 0;    // pieces at the slab's end that nobody had yet
    std::uint32_t mGone = 0;     // pieces that are not in the slab

    bool HasPiece() const noexcept { return mFree || mUncut != 0; }
  };

  std::uint32_t SlabPieces() const noexcept {
    return static_cast<std::uint32_t>((kSlabBytes - sizeof(Slab)) / mPieceBytes);
  }
  void AddSlab();
  void FreeSlab(Slab* inSlab) noexcept;
  void Link(Slab* inSlab) noexcept;
  void Unlink(Slab* inSlab) noexcept;
  void Load(Slab* inSlab, Magazine& ioMagazine) noexcept;
  void ReturnPiece(void* inPiece) noexcept;
  void Unload(Magazine& ioMagazine) noexcept;
  bool CanKeep(Magazine const& inMagazine) const noexcept;
  void Keep(Magazine* inFull) noexcept;
  void KeepEmpty(Magazine* inEmpty) noexcept;
  Magazine* TakeEmpty() noexcept;

  std::size_t const mPieceBytes;
  std::uint32_t const mFull;
  std::size_t const mMaxMagazines;

  mutable std::mutex mMutex;
  // All below is guarded by mMutex.
  Magazine* mFullMagazines = nullptr;
  std::size_t mFullCount = 0;
  Magazine* mEmptyMagazines = nullptr;
  std::size_t mEmptyCount = 0;
  Slab* mSlabs = nullptr;  // the slabs that have a piece to give
  std::size_t mSlabCount = 0;
  std::size_t mWholeSlabs = 0;  // slabs with all pieces in them
};

class Depots {
 public:
  explicit Depots(std::size_t inRetainedBytes = kRetainedBytes) noexcept
      : Depots(inRetainedBytes, std::make_index_sequence<kClasses>()) {}
  Depot& operator[](std::size_t inClass) noexcept { return mDepots[inClass]; }

 private:
  template <std::size_t... tClass>
  Depots(std::size_t inRetainedBytes, std::index_sequence<tClass...>) noexcept
      : mDepots{Depot((tClass + 1) * kStep, inRetainedBytes)...} {}

  std::array<Depot, kClasses> mDepots;
};

// The magazines of one thread, used by that thread alone. Destruction gives them to the depots.
class ThreadCache {
 public:
  explicit ThreadCache(Depots& inDepots) noexcept : mDepots(inDepots) {}
  ~ThreadCache();
  ThreadCache(ThreadCache const&) = delete;
  ThreadCache& operator=(ThreadCache const&) = delete;

  void* Allocate(std::size_t inClass) {
    Bin& bin = mBins[inClass];
    if (bin.mCount == 0) [[unlikely]]
      Refill(inClass);
    return bin.mNow->mPieces[--bin.mCount];
  }
  void Free(void* inMemory, std::size_t inClass) noexcept {
    Bin& bin = mBins[inClass];
    if (bin.mCount == bin.mFull) [[unlikely]] {
      if (!Spill(inClass)) return mDepots[inClass].GivePiece(inMemory);
    }
    bin.mNow->mPieces[bin.mCount++] = inMemory;
  }

 private:
  struct Bin {
    Magazine* mNow = nullptr;    // pieces come from and go to this one
    std::uint32_t mCount = 0;    // of pieces in it; its own count is for depots
    std::uint32_t mFull = 0;     // 0 while there is no magazine
    Magazine* mSpare = nullptr;  // full or empty: keeps a thread at the edge from exchanging often
  };

  void Refill(std::size_t inClass);
  bool Spill(std::size_t inClass) noexcept;

  std::array<Bin, kClasses> mBins;
  Depots& mDepots;
};

// --- implementation
// -------------------------------------------------------------------------------

// Takes the first magazine off a list; null when there is none.
inline Magazine* TakeFirst(Magazine*& ioList) noexcept {
  return ioList ? std::exchange(ioList, ioList->mNext) : nullptr;
}

inline Depot::~Depot() {
  while (Magazine* const magazine = TakeFirst(mFullMagazines)) {
    Unload(*magazine);
    delete magazine;
  }
  while (Magazine* const magazine = TakeFirst(mEmptyMagazines)) delete magazine;
  while (mSlabs) {
    Slab* const slab = mSlabs;
    Unlink(slab);
    FreeSlab(slab);
  }
}

inline Magazine* Depot::Fill(Magazine* inEmpty) {
  std::lock_guard const lock(mMutex);
  if (Magazine* const magazine = TakeFirst(mFullMagazines)) {
    --mFullCount;
    if (inEmpty) KeepEmpty(inEmpty);
    return magazine;
  }
  if (!mSlabs) AddSlab();
  Magazine* const magazine = inEmpty ? inEmpty : TakeEmpty();
  if (!magazine) throw std::bad_alloc();
  while (mSlabs && magazine->mCount < mFull) Load(mSlabs, *magazine);
  return magazine;
}

inline Magazine* Depot::Empty(Magazine* inMagazine) noexcept {
  std::lock_guard const lock(mMutex);
  if (inMagazine && !CanKeep(*inMagazine)) {
    Unload(*inMagazine);
    return inMagazine;
  }
  Magazine* const empty = TakeEmpty();
  if (!inMagazine) return empty;
  if (!empty) {
    Unload(*inMagazine);
    return inMagazine;
  }
  Keep(inMagazine);
  return empty;
}

// Null when memory runs out.
inline Magazine* Depot::TakeEmpty() noexcept {
  if (!mEmptyMagazines) return ::new (std::nothrow) Magazine;
  --mEmptyCount;
  return TakeFirst(mEmptyMagazines);
}

inline void Depot::Give(Magazine* inMagazine) noexcept {
  std::lock_guard const lock(mMutex);
  if (CanKeep(*inMagazine)) return Keep(inMagazine);
  Unload(*inMagazine);
  KeepEmpty(inMagazine);
}

inline bool Depot::CanKeep(Magazine const& inMagazine) const noexcept {
  return inMagazine.mCount == mFull && mFullCount < mMaxMagazines;
}

inline void Depot::Keep(Magazine* inFull) noexcept {
  inFull->mNext = std::exchange(mFullMagazines, inFull);
  ++mFullCount;
}

inline void Depot::KeepEmpty(Magazine* inEmpty) noexcept {
  if (mEmptyCount >= mMaxMagazines) {
    delete inEmpty;
    return;
  }
  inEmpty->mNext = std::exchange(mEmptyMagazines, inEmpty);
  ++mEmptyCount;
}

inline void Depot::GivePiece(void* inPiece) noexcept {
  std::lock_guard const lock(mMutex);
  ReturnPiece(inPiece);
}

inline std::size_t Depot::get_SlabCount() const {
  std::lock_guard const lock(mMutex);
  return mSlabCount;
}

inline void Depot::AddSlab() {
  // A slab's pieces find it by their address: it is aligned to its size. The room before the first
  // piece is the slab's own.
  void* const memory = ::operator new (kSlabBytes, std::align_val_t{kSlabBytes});
  Slab* const slab = ::new (memory) Slab;
  slab->mUncut = SlabPieces();
  Link(slab);
  ++mSlabCount;
  ++mWholeSlabs;
}

inline void Depot::FreeSlab(Slab* inSlab) noexcept {
  --mSlabCount;
  ::operator delete (static_cast<void*>(inSlab), std::align_val_t{kSlabBytes});
}

inline void Depot::Link(Slab* inSlab) noexcept {
  inSlab->mPrevious = nullptr;
  inSlab->mNext = mSlabs;
  if (mSlabs) mSlabs->mPrevious = inSlab;
  mSlabs = inSlab;
}

inline void Depot::Unlink(Slab* inSlab) noexcept {
  if (inSlab->mNext) inSlab->mNext->mPrevious = inSlab->mPrevious;
  (inSlab->mPrevious ? inSlab->mPrevious->mNext : mSlabs) = inSlab->mNext;
}

// Moves pieces of a slab to the magazine until the magazine is full or the slab has none.
inline void Depot::Load(Slab* inSlab, Magazine& ioMagazine) noexcept {
  if (inSlab->mGone == 0) --mWholeSlabs;
  std::uint32_t const before = ioMagazine.mCount;
  while (inSlab->mFree && ioMagazine.mCount < mFull) {
    ioMagazine.mPieces[ioMagazine.mCount++] = std::exchange(inSlab->mFree, inSlab->mFree->mNext);
  }
  // The last one put in comes out first: so they are given out by rising addresses.
  char* const end = reinterpret_cast<char*>(inSlab) + kSlabBytes;
  std::uint32_t const cut = std::min(mFull - ioMagazine.mCount, inSlab->mUncut);
  for (std::uint32_t i = 0; i < cut; ++i) {
    std::size_t const fromEnd = inSlab->mUncut - cut + 1 + i;
    ioMagazine.mPieces[ioMagazine.mCount++] = end - fromEnd * mPieceBytes;
  }
  inSlab->mUncut -= cut;
  inSlab->mGone += ioMagazine.mCount - before;
  if (!inSlab->HasPiece()) Unlink(inSlab);
}

inline void Depot::ReturnPiece(void* inPiece) noexcept {
  auto const address = reinterpret_cast<std::uintptr_t>(inPiece);
  auto* const slab = reinterpret_cast<Slab*>(address & ~(kSlabBytes - 1));
  if (!slab->HasPiece()) Link(slab);
  slab->mFree = ::new (inPiece) FreePiece{slab->mFree};
  if (--slab->mGone != 0) return;
  if (mWholeSlabs != 0) {
    Unlink(slab);
    FreeSlab(slab);
    return;
  }
  ++mWholeSlabs;
  slab->mFree = nullptr;
  slab->mUncut = SlabPieces();
}

inline void Depot::Unload(Magazine& ioMagazine) noexcept {
  while (ioMagazine.mCount != 0) ReturnPiece(ioMagazine.mPieces[--ioMagazine.mCount]);
}

inline ThreadCache::~ThreadCache() {
  for (std::size_t i = 0; i < kClasses; ++i) {
    Bin& bin = mBins[i];
    if (bin.mNow) {
      bin.mNow->mCount = bin.mCount;
      mDepots[i].Give(bin.mNow);
    }
    if (bin.mSpare) mDepots[i].Give(bin.mSpare);
  }
}

// Makes mNow a magazine with pieces. Throws std::bad_alloc.
inline void ThreadCache::Refill(std::size_t inClass) {
  Bin& bin = mBins[inClass];
  if (bin.mNow) bin.mNow->mCount = 0;
  if (bin.mSpare && bin.mSpare->mCount != 0) {
    std::swap(bin.mNow, bin.mSpare);
  } else {
    bin.mNow = mDepots[inClass].Fill(bin.mNow);
  }
  bin.mCount = bin.mNow->mCount;
  bin.mFull = mDepots[inClass].get_Full();
}

// Makes mNow an empty magazine; false when memory runs out.
inline bool ThreadCache::Spill(std::size_t inClass) noexcept {
  Bin& bin = mBins[inClass];
  if (bin.mNow) bin.mNow->mCount = bin.mCount;
  Magazine* const empty = mDepots[inClass].Empty(bin.mSpare);
  if (!empty) return false;
  bin.mSpare = std::exchange(bin.mNow, empty);
  bin.mCount = 0;
  bin.mFull = mDepots[inClass].get_Full();
  return true;
}

}  // namespace tarn::pool
