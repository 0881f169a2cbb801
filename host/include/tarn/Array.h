#pragma once

#include <cstdint>
#include <new>
#include <utility>

#include "tarn/I_Unknown.h"
#include "tarn/noncopyable.h"
#include "tarn/smart_ptr.h"

namespace tarn {

// The table {1, 0} of objects that offer nothing but reference counting.
LSHARED_API INTERFACE_ITEM const* PlainInterfaceTable() noexcept;

// Memory of the arrays and values: from the library's thread-safe pool, so that it may be given
// back on another thread than the one that took it. inSize must be the same in both calls. Pieces
// are aligned to 16 bytes. The pool keeps free memory of up to 32 MB for each step of 16 bytes up
// to 256, and what two magazines of 8 KB a thread and step hold until the thread ends; all else
// goes back to the system. Throws std::bad_alloc.
LSHARED_API void* PoolAllocate(std::size_t inSize);
LSHARED_API void PoolFree(void* inMemory, std::size_t inSize) noexcept;

// How an array of plain pointers treats an item that leaves it: an owning array deletes it.
template <typename TPointer>
struct PtrItems {
  using Item = TPointer;
  static void Add(Item) noexcept {}
  static void Remove(Item inItem, bool inOwning) {
    if (inOwning) delete inItem;
  }
};

// Items that are counted objects: the array holds one reference to each.
template <typename T>
struct SmartPtrItems {
  using Item = T*;
  static void Add(Item inItem) {
    if (inItem) inItem->AddRef();
  }
  static void Remove(Item inItem, bool) {
    if (inItem) inItem->Release();
  }
};

// A growing, ordered list of pointers, itself a counted object (interface number 1). Not
// synchronised apart from its count.
template <typename TPointer, typename TItems>
class Array : public I_Unknown, public noncopyable {
 public:
  static constexpr std::uint32_t kDefaultCapacity = 10;

  // inCapacity: room before the first growth; 0 = none until the first append.
  explicit Array(std::uint32_t inCapacity = kDefaultCapacity, bool inOwning = false)
      : mCapacity(inCapacity), mOwning(inOwning) {
    if (mCapacity) mItems = Allocate(mCapacity);
  }
  ~Array() override {
    RemoveAll();
    if (mItems) PoolFree(mItems, mCapacity * sizeof(TPointer));
  }

  static void* operator new(std::size_t inSize) { return PoolAllocate(inSize); }
  static void operator delete(void* inMemory, std::size_t inSize) noexcept {
    PoolFree(inMemory, inSize);
  }

  std::uint32_t AddRef() override { return mRefCount.Increment(); }
  std::uint32_t Release() override {
    std::uint32_t const count = mRefCount.Decrement();
    if (count == 0) delete this;
    return count;
  }
  void* QueryInterface(std::uint32_t inInterfaceId) override {
    return InterfaceTableQueryInterface(this, inInterfaceId, PlainInterfaceTable());
  }
  std::uint32_t get_RefsCount() const override { return mRefCount.get(); }

  std::uint32_t get_Count() const noexcept { return mCount; }
  std::uint32_t get_Capacity() const noexcept { return mCapacity; }
  bool get_IsOwning() const noexcept { return mOwning; }

  // The item at a 0-based index below the count; not counted. The array keeps it.
  TPointer operator[](std::uint32_t inIndex) const noexcept { return mItems[inIndex]; }

  // Appends at the end; a full array doubles its capacity (from 0 it becomes 10).
  void Append(TPointer inItem) {
    if (mCount == mCapacity) Grow();
    TItems::Add(inItem);
    mItems[mCount++] = inItem;
  }

  // Removes by 1-based position; 0 and positions past the count are ignored. Later items move
  // down by one.
  void RemoveAt(std::uint32_t inPosition) {
    if (inPosition == 0 || inPosition > mCount) return;
    TPointer const item = mItems[inPosition - 1];
    for (std::uint32_t i = inPosition; i < mCount; ++i) mItems[i - 1] = mItems[i];
    --mCount;
    TItems::Remove(item, mOwning);
  }

  // The 1-based position of the first equal item, 0 when there is none.
  std::uint32_t Find(TPointer inItem) const noexcept {
    for (std::uint32_t i = 0; i < mCount; ++i) {
      if (mItems[i] == inItem) return i + 1;
    }
    return 0;
  }

  void RemoveAll() {
    while (mCount != 0) TItems::Remove(mItems[--mCount], mOwning);
  }

 protected:
  // Appends an item whose reference the caller hands over.
  void AppendAdopted(TPointer inItem) {
    if (mCount == mCapacity) Grow();
    mItems[mCount++] = inItem;
  }

 private:
  static TPointer* Allocate(std::uint32_t inCapacity) {
    return static_cast<TPointer*>(PoolAllocate(inCapacity * sizeof(TPointer)));
  }
  void Grow() {
    if (mCapacity > UINT32_MAX / 2) throw std::bad_alloc();
    std::uint32_t const capacity = mCapacity == 0 ? kDefaultCapacity : mCapacity * 2;
    TPointer* const items = Allocate(capacity);
    for (std::uint32_t i = 0; i < mCount; ++i) items[i] = mItems[i];
    if (mItems) PoolFree(mItems, mCapacity * sizeof(TPointer));
    mItems = items;
    mCapacity = capacity;
  }

  RefsCount mRefCount;
  std::uint32_t mCount = 0;
  std::uint32_t mCapacity;
  bool mOwning;
  TPointer* mItems = nullptr;
};

// Plain pointers, owned only when the array was made owning.
template <typename TPointer>
class ArrayOfPtrs final : public Array<TPointer, PtrItems<TPointer>> {
 public:
  using Array<TPointer, PtrItems<TPointer>>::Array;
};

template <typename TSmartPtr>
class ArrayOfSmartPtrs;

// One counted reference to each item.
template <typename T>
class ArrayOfSmartPtrs<smart_ptr<T>> final : public Array<T*, SmartPtrItems<T>> {
 public:
  using Array<T*, SmartPtrItems<T>>::Array;
  using Array<T*, SmartPtrItems<T>>::Append;

  void Append(smart_ptr<T> const& inItem) { Append(inItem.get()); }
  // Appends and takes the caller's reference over, without touching the count.
  void Append(smart_ptr<T>&& ioItem) {
    this->AppendAdopted(ioItem.get());
    (void)ioItem.detach();
  }
  // The item at a 0-based index below the count, with a reference of its own.
  smart_ptr<T> get_Item(std::uint32_t inIndex) const { return smart_ptr<T>((*this)[inIndex]); }
};

class I_Value;

// One row of host values, and a table of rows.
using ValueRow = ArrayOfSmartPtrs<smart_ptr<I_Value>>;
using ValueRows = ArrayOfSmartPtrs<smart_ptr<ValueRow>>;

}  // namespace tarn
