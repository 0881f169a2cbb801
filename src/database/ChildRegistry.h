#pragma once

#include "tarn/Array.h"

namespace lumora {

// The live children of one kind of a database, oldest first, without references: a child leaves it
// before it dies. Guarded by the engine lock.
template <typename T>
class ChildRegistry {
 public:
  void Add(T* inChild) {
    if (!mItems) mItems = new tarn::ArrayOfPtrs<T*>();
    mItems->Append(inChild);
  }

  // False: it is not here.
  bool Remove(T* inChild) {
    std::uint32_t const position = mItems ? mItems->Find(inChild) : 0;
    if (position != 0) mItems->RemoveAt(position);
    return position != 0;
  }

  // The child that was added last, which is here no longer; null when there is none.
  T* TakeLast() {
    std::uint32_t const count = mItems ? mItems->get_Count() : 0;
    if (count == 0) return nullptr;
    T* const child = (*mItems)[count - 1];
    mItems->RemoveAt(count);
    return child;
  }

 private:
  tarn::smart_ptr<tarn::ArrayOfPtrs<T*>> mItems;
};

}  // namespace lumora
