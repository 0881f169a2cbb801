#include <gtest/gtest.h>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include <algorithm>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "../host/src/PoolCore.h"
#include "Probe.h"
#include "tarn/Value.h"

namespace {

using tarn::pool::ClassOf;
using tarn::pool::Depots;
using tarn::pool::kClasses;
using tarn::pool::kLargest;
using tarn::pool::kMagazineBytes;
using tarn::pool::kSlabBytes;
using tarn::pool::kStep;
using tarn::pool::ThreadCache;
using tarn::test::Seed;

TEST(PoolCore, SizesFallIntoClassesOfSixteenBytes) {
  EXPECT_EQ(ClassOf(0), 0u);
  for (std::size_t size = 1; size <= kLargest; ++size) {
    std::size_t const room = (ClassOf(size) + 1) * kStep;
    EXPECT_GE(room, size);
    EXPECT_LT(room - size, kStep);
  }
}

TEST(PoolCore, PiecesInUseNeverOverlapAndAreAligned) {
  auto const depots = std::make_unique<Depots>();
  {
    ThreadCache cache(*depots);
    for (std::size_t c = 0; c < kClasses; ++c) {
      std::size_t const size = (c + 1) * kStep;
      std::size_t const count = 2 * kSlabBytes / size;
      std::vector<unsigned char*> pieces;
      for (std::size_t i = 0; i < count; ++i) {
        pieces.push_back(static_cast<unsigned char*>(cache.Allocate(c)));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(pieces.back()) % kStep, 0u);
        std::memset(pieces.back(), static_cast<int>(i % 251), size);
      }
      for (std::size_t i = 0; i < count; ++i) {
        ASSERT_EQ(pieces[i][0], i % 251);
        ASSERT_EQ(pieces[i][size - 1], i % 251);
        cache.Free(pieces[i], c);
      }
    }
  }
}

TEST(PoolCore, AFreedPieceIsUsedAgain) {
  auto const depots = std::make_unique<Depots>();
  ThreadCache cache(*depots);
  void* const piece = cache.Allocate(1);
  cache.Free(piece, 1);
  EXPECT_EQ(cache.Allocate(1), piece);
  cache.Free(piece, 1);
}

void FillAndEmpty(ThreadCache& ioCache, std::size_t inClass, std::size_t inCount, unsigned inSeed) {
  std::vector<void*> pieces(inCount);
  for (void*& piece : pieces) piece = ioCache.Allocate(inClass);
  std::shuffle(pieces.begin(), pieces.end(), std::mt19937(inSeed));
  for (void* const piece : pieces) ioCache.Free(piece, inClass);
}

TEST(PoolCore, WithNothingRetainedAllSlabsButOneGoBackInAnyOrderOfRelease) {
  auto const seed = Seed();
  auto const depots = std::make_unique<Depots>(0);
  for (std::size_t const c : {0u, 1u, 3u, 15u}) {
    {
      ThreadCache cache(*depots);
      FillAndEmpty(cache, c, 20 * kSlabBytes / ((c + 1) * kStep), seed);
    }
    EXPECT_EQ((*depots)[c].get_SlabCount(), 1u) << "LUMORA_TEST_SEED=" << seed;
  }
}

TEST(PoolCore, TheSameUseAgainTakesNoMoreMemory) {
  auto const seed = Seed();
  auto const depots = std::make_unique<Depots>(4 * kMagazineBytes);
  ThreadCache cache(*depots);
  std::size_t const pieces = 20 * kSlabBytes / 32;
  FillAndEmpty(cache, 1, pieces, seed);
  std::vector<void*> again(pieces);
  for (void*& piece : again) piece = cache.Allocate(1);
  std::size_t const peak = (*depots)[1].get_SlabCount();
  EXPECT_LE(peak, 22u);
  for (void* const piece : again) cache.Free(piece, 1);
  for (unsigned round = 0; round < 10; ++round) FillAndEmpty(cache, 1, pieces, seed + round);
  EXPECT_LE((*depots)[1].get_SlabCount(), peak) << "LUMORA_TEST_SEED=" << seed;
}

TEST(PoolCore, PiecesReleasedInOrderLeaveFewSlabs) {
  constexpr std::size_t kRetained = 4 * kMagazineBytes;
  auto const depots = std::make_unique<Depots>(kRetained);
  {
    ThreadCache cache(*depots);
    std::vector<void*> pieces(40 * kSlabBytes / 32);
    for (void*& piece : pieces) piece = cache.Allocate(1);
    EXPECT_GE((*depots)[1].get_SlabCount(), 40u);
    for (void* const piece : pieces) cache.Free(piece, 1);
  }
  // The slabs of the retained magazines and one empty one.
  EXPECT_LE((*depots)[1].get_SlabCount(), 4u);
}

TEST(PoolCore, TheEndOfAThreadGivesItsPiecesBack) {
  auto const depots = std::make_unique<Depots>(0);
  for (int i = 0; i < 200; ++i) {
    std::thread([&] {
      ThreadCache cache(*depots);
      for (std::size_t c = 0; c < kClasses; ++c) FillAndEmpty(cache, c, 5, 1);
    }).join();
  }
  for (std::size_t c = 0; c < kClasses; ++c) EXPECT_EQ((*depots)[c].get_SlabCount(), 1u) << c;
}

// A queue of pieces between threads.
class Exchange {
 public:
  struct Piece {
    unsigned char* mMemory;
    std::size_t mClass;
    unsigned char mMark;
  };
  void Put(Piece inPiece) {
    std::lock_guard const lock(mMutex);
    mPieces.push_back(inPiece);
  }
  bool Take(Piece& outPiece) {
    std::lock_guard const lock(mMutex);
    if (mPieces.empty()) return false;
    outPiece = mPieces.front();
    mPieces.pop_front();
    return true;
  }

 private:
  std::mutex mMutex;
  std::deque<Piece> mPieces;
};

void CheckAndFree(ThreadCache& ioCache, Exchange::Piece const& inPiece) {
  std::size_t const size = (inPiece.mClass + 1) * kStep;
  for (std::size_t i = 0; i < size; ++i) ASSERT_EQ(inPiece.mMemory[i], inPiece.mMark);
  ioCache.Free(inPiece.mMemory, inPiece.mClass);
}

TEST(PoolCore, PiecesMayBeFreedOnOtherThreads) {
  auto const seed = Seed();
  auto const depots = std::make_unique<Depots>(2 * kMagazineBytes);
  Exchange exchange;
  auto const work = [&](unsigned inThread) {
    ThreadCache cache(*depots);
    tarn::test::Random random(seed + inThread);
    for (int i = 0; i < 30000; ++i) {
      Exchange::Piece piece{};
      if (random() % 2 == 0) {
        piece.mClass = random() % 3 == 0 ? random() % kClasses : 1;
        piece.mMark = static_cast<unsigned char>(random());
        piece.mMemory = static_cast<unsigned char*>(cache.Allocate(piece.mClass));
        std::memset(piece.mMemory, piece.mMark, (piece.mClass + 1) * kStep);
        exchange.Put(piece);
      } else if (exchange.Take(piece)) {
        CheckAndFree(cache, piece);
      }
    }
  };
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < 4; ++i) threads.emplace_back(work, i);
  for (auto& thread : threads) thread.join();
  ThreadCache cache(*depots);
  for (Exchange::Piece piece{}; exchange.Take(piece);) CheckAndFree(cache, piece);
}

TEST(Pool, ValuesMadeOnOneThreadAreReleasedOnOthers) {
  constexpr int kRounds = 20;
  constexpr std::int64_t kValues = 5000;
  for (int round = 0; round < kRounds; ++round) {
    tarn::smart_ptr<tarn::ValueRow> row(new tarn::ValueRow);
    for (std::int64_t i = 0; i < kValues; ++i) {
      tarn::smart_ptr<tarn::I_Value> value(i % 2 == 0
                                               ? tarn::CreateValueLLong(false, nullptr, nullptr)
                                               : tarn::CreateValueString(false, nullptr, nullptr));
      value->put_LLong(i);
      row->Append(std::move(value));
    }
    auto const half = [&row](std::uint32_t inStart) {
      std::vector<tarn::smart_ptr<tarn::I_Value>> mine;
      for (std::uint32_t i = inStart; i < kValues; i += 2) mine.push_back(row->get_Item(i));
      return mine;
    };
    std::thread even([mine = half(0)]() mutable { mine.clear(); });
    std::thread odd([mine = half(1)]() mutable {
      for (auto const& value : mine) EXPECT_EQ(value->get_LLong() % 2, 1);
    });
    even.join();
    odd.join();
    std::thread([last = std::move(row)]() mutable {
      for (std::uint32_t i = 0; i < kValues; ++i) ASSERT_EQ((*last)[i]->get_LLong(), i);
      last.reset();
    }).join();
  }
}

// Gives a value up when its thread's other objects die, after the pool's own.
struct LateRelease {
  tarn::smart_ptr<tarn::I_Value> mValue;
  void* mPiece = nullptr;
  ~LateRelease() {
    mValue.reset();
    if (mPiece) tarn::PoolFree(mPiece, 100);
    tarn::PoolFree(tarn::PoolAllocate(100), 100);
  }
};
thread_local LateRelease tLate;

TEST(Pool, MemoryIsTakenAndGivenWhileAThreadEnds) {
  int released = 0;
  for (int i = 0; i < 50; ++i) {
    std::thread([&released] {
      LateRelease& late = tLate;  // made before the pool's own, so it dies after them
      late.mValue = tarn::smart_ptr<tarn::I_Value>(tarn::CreateValueLong(false, nullptr, nullptr));
      late.mPiece = tarn::PoolAllocate(100);
      ++released;
    }).join();
  }
  EXPECT_EQ(released, 50);
}

void UseInThreads(int inCount) {
  for (int i = 0; i < inCount; ++i) {
    std::thread([] {
      LateRelease& late = tLate;
      late.mPiece = tarn::PoolAllocate(100);
      for (std::size_t size = 1; size < 300; size += 10) {
        tarn::PoolFree(tarn::PoolAllocate(size), size);
      }
    }).join();
  }
}

TEST(Pool, ThreadsThatEndedHoldNoMemory) {
#if defined(__GLIBC__)
  UseInThreads(50);
  auto const before = mallinfo2().uordblks;
  UseInThreads(300);
  EXPECT_LT(mallinfo2().uordblks, before + 300 * 64);
#else
  UseInThreads(300);
  EXPECT_NE(tarn::PoolAllocate(1), nullptr);
#endif
}

TEST(Pool, EverySizeGivesMemoryThatIsAlignedAndOurs) {
  for (std::size_t size = 0; size < 600; ++size) {
    void* const memory = tarn::PoolAllocate(size);
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 16, 0u);
    std::memset(memory, 0xAB, size);
    tarn::PoolFree(memory, size);
  }
  tarn::PoolFree(nullptr, 16);
  tarn::PoolFree(nullptr, 1000);
}

}  // namespace
