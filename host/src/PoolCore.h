#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

// The pool for small pieces of memory.
//
// Pieces are cut from slabs, one size class a slab. Each thread keeps two batches of free pieces
// per class and works on them without a lock; whole batches go to and come from the class's depot.
// A piece may be freed on any thread: it joins the batch of that thread.
//
// What is kept: a depot keeps full batches of at most kRetainedBytes, with the slabs that they lie
// in, and one empty slab. What exceeds that goes back piece by piece, and a slab whose pieces are
// all back is given to the system.
namespace tarn::pool {

inline constexpr std::size_t kStep = 16;
inline constexpr std::size_t kLargest = 256;
inline constexpr std::size_t kClasses = kLargest / kStep;
inline constexpr std::size_t kSlabBytes = std::size_t{256} << 10;
inline constexpr std::size_t kBatchBytes = std::size_t{8} << 10;
inline constexpr std::size_t kRetainedBytes = std::size_t{16} << 20;

// The class of a size from 0 to kLargest.
inline constexpr std::size_t ClassOf(std::size_t inSize) noexcept {
  return inSize == 0 ? 0 : (inSize - 1) / kStep;
}

// A free piece.
struct Piece {
  Piece* mNext;
  Piece* mNextBatch;  // of a batch's first piece, while the batch lies in a depot
};

struct Batch {
  Piece* mFirst = nullptr;
  std::uint32_t mCount = 0;

  void Push(void* inMemory) noexcept {
    mFirst = ::new (inMemory) Piece{mFirst, nullptr};
    ++mCount;
  }
  Piece* Pop() noexcept {
    Piece* const piece = mFirst;
    mFirst = piece->mNext;
    --mCount;
    return piece;
  }
};

// All free memory of one size class that no thread keeps. Thread-safe.
class Depot {
 public:
  explicit Depot(std::size_t inPieceBytes, std::size_t inRetainedBytes = kRetainedBytes) noexcept
      : mPieceBytes(inPieceBytes),
        mBatchPieces(static_cast<std::uint32_t>(kBatchBytes / inPieceBytes)),
        mMaxBatches(inRetainedBytes / kBatchBytes) {}
  ~Depot();
  Depot(Depot const&) = delete;
  Depot& operator=(Depot const&) = delete;

  // The number of pieces in a full batch.
  std::uint32_t get_BatchPieces() const noexcept { return mBatchPieces; }

  // A batch of at least one piece. Throws std::bad_alloc.
  Batch Take();
  // Takes a batch of any size back.
  void Give(Batch inBatch) noexcept;

  // How many slabs the class has from the system at this moment.
  std::size_t get_SlabCount() const;

 private:
  struct Slab {
    Slab* mPrevious = nullptr;
    Slab* mNext = nullptr;
    Batch mFree;               // pieces that came back
    std::uint32_t mUncut = 0;  // pieces at the slab's end that nobody had yet
    std::uint32_t mGone = 0;   // pieces that are not in the slab
  };

  void AddSlab();
  void FreeSlab(Slab* inSlab) noexcept;
  void Link(Slab* inSlab) noexcept;
  void Unlink(Slab* inSlab) noexcept;
  void Fill(Slab* inSlab, Batch& ioBatch) noexcept;
  void ReturnPiece(Piece* inPiece) noexcept;

  std::size_t const mPieceBytes;
  std::uint32_t const mBatchPieces;
  std::size_t const mMaxBatches;

  mutable std::mutex mMutex;
  // All below is guarded by mMutex.
  Piece* mBatches = nullptr;  // full batches
  std::size_t mBatchCount = 0;
  Slab* mSlabs = nullptr;  // the slabs that have a piece to give
  std::size_t mSlabCount = 0;
  std::size_t mEmptySlabs = 0;  // slabs with all pieces in them
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

// The batches of one thread, used by that thread alone. Destruction gives them to the depots.
class ThreadCache {
 public:
  explicit ThreadCache(Depots& inDepots) noexcept : mDepots(inDepots) {
    for (std::size_t i = 0; i < kClasses; ++i) mBins[i].mFull = mDepots[i].get_BatchPieces();
  }
  ~ThreadCache();
  ThreadCache(ThreadCache const&) = delete;
  ThreadCache& operator=(ThreadCache const&) = delete;

  void* Allocate(std::size_t inClass) {
    Bin& bin = mBins[inClass];
    if (bin.mNow.mFirst == nullptr) [[unlikely]]
      Refill(inClass);
    return bin.mNow.Pop();
  }
  void Free(void* inMemory, std::size_t inClass) noexcept {
    Bin& bin = mBins[inClass];
    if (bin.mNow.mCount == bin.mFull) [[unlikely]]
      Spill(inClass);
    bin.mNow.Push(inMemory);
  }

 private:
  struct Bin {
    Batch mNow;    // pieces come from and go to this one
    Batch mSpare;  // a full batch or none: keeps a thread at the edge from exchanging often
    std::uint32_t mFull = 0;
  };

  void Refill(std::size_t inClass);
  void Spill(std::size_t inClass) noexcept;

  std::array<Bin, kClasses> mBins;
  Depots& mDepots;
};

// --- implementation
// -------------------------------------------------------------------------------

inline Depot::~Depot() {
  while (mBatches) {
    Batch batch{mBatches, mBatchPieces};
    mBatches = mBatches->mNextBatch;
    while (batch.mFirst) ReturnPiece(batch.Pop());
  }
  while (mSlabs) {
    Slab* const slab = mSlabs;
    Unlink(slab);
    FreeSlab(slab);
  }
}

inline Batch Depot::Take() {
  std::lock_guard const lock(mMutex);
  if (mBatches) {
    Batch const batch{mBatches, mBatchPieces};
    mBatches = mBatches->mNextBatch;
    --mBatchCount;
    return batch;
  }
  if (!mSlabs) AddSlab();
  Batch batch;
  while (mSlabs && batch.mCount < mBatchPieces) Fill(mSlabs, batch);
  return batch;
}

inline void Depot::Give(Batch inBatch) noexcept {
  std::lock_guard const lock(mMutex);
  if (inBatch.mCount == mBatchPieces && mBatchCount < mMaxBatches) {
    inBatch.mFirst->mNextBatch = mBatches;
    mBatches = inBatch.mFirst;
    ++mBatchCount;
    return;
  }
  while (inBatch.mFirst) ReturnPiece(inBatch.Pop());
}

inline std::size_t Depot::get_SlabCount() const {
  std::lock_guard const lock(mMutex);
  return mSlabCount;
}

inline void Depot::AddSlab() {
  // A slab's pieces find it by their address: it is aligned to its size. The first pieces' room
  // is the slab's own.
  void* const memory = ::operator new (kSlabBytes, std::align_val_t{kSlabBytes});
  Slab* const slab = ::new (memory) Slab;
  slab->mUncut = static_cast<std::uint32_t>((kSlabBytes - sizeof(Slab)) / mPieceBytes);
  Link(slab);
  ++mSlabCount;
  ++mEmptySlabs;
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

// Moves pieces of a slab to the batch until the batch is full or the slab has none.
inline void Depot::Fill(Slab* inSlab, Batch& ioBatch) noexcept {
  if (inSlab->mGone == 0) --mEmptySlabs;
  std::uint32_t const before = ioBatch.mCount;
  while (inSlab->mFree.mFirst && ioBatch.mCount < mBatchPieces) {
    ioBatch.Push(inSlab->mFree.Pop());
  }
  // Cut from the end, so that the batch gives them out by rising addresses.
  char* const end = reinterpret_cast<char*>(inSlab) + kSlabBytes;
  std::uint32_t cut = mBatchPieces - ioBatch.mCount;
  if (cut > inSlab->mUncut) cut = inSlab->mUncut;
  for (std::uint32_t i = 0; i < cut; ++i) {
    std::size_t const fromEnd = inSlab->mUncut - cut + 1 + i;
    ioBatch.Push(end - fromEnd * mPieceBytes);
  }
  inSlab->mUncut -= cut;
  inSlab->mGone += ioBatch.mCount - before;
  if (!inSlab->mFree.mFirst && inSlab->mUncut == 0) Unlink(inSlab);
}

inline void Depot::ReturnPiece(Piece* inPiece) noexcept {
  auto const address = reinterpret_cast<std::uintptr_t>(inPiece);
  auto* const slab = reinterpret_cast<Slab*>(address & ~(kSlabBytes - 1));
  bool const wasOut = !slab->mFree.mFirst && slab->mUncut == 0;
  slab->mFree.Push(inPiece);
  if (wasOut) Link(slab);
  if (--slab->mGone != 0) return;
  if (mEmptySlabs != 0) {
    Unlink(slab);
    FreeSlab(slab);
  } else {
    ++mEmptySlabs;
  }
}

inline ThreadCache::~ThreadCache() {
  for (std::size_t i = 0; i < kClasses; ++i) {
    if (mBins[i].mNow.mFirst) mDepots[i].Give(mBins[i].mNow);
    if (mBins[i].mSpare.mFirst) mDepots[i].Give(mBins[i].mSpare);
  }
}

inline void ThreadCache::Refill(std::size_t inClass) {
  Bin& bin = mBins[inClass];
  bin.mNow = bin.mSpare.mFirst ? std::exchange(bin.mSpare, Batch()) : mDepots[inClass].Take();
}

inline void ThreadCache::Spill(std::size_t inClass) noexcept {
  Bin& bin = mBins[inClass];
  if (bin.mSpare.mFirst) mDepots[inClass].Give(bin.mSpare);
  bin.mSpare = std::exchange(bin.mNow, Batch());
}

}  // namespace tarn::pool
