#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace tarn {

// Owner of one reference to a counted object, or of nothing. Passed by value it hands one
// reference to the callee.
template <typename T>
class smart_ptr {
 public:
  smart_ptr() noexcept = default;
  smart_ptr(std::nullptr_t) noexcept {}

  // Takes a reference of its own.
  smart_ptr(T* inObject) : mObject(inObject) {
    if (mObject) mObject->AddRef();
  }
  smart_ptr(smart_ptr const& inOther) : smart_ptr(inOther.mObject) {}
  smart_ptr(smart_ptr&& inOther) noexcept : mObject(std::exchange(inOther.mObject, nullptr)) {}

  template <typename U>
  smart_ptr(smart_ptr<U> const& inOther) : smart_ptr(static_cast<T*>(inOther.get())) {}
  template <typename U>
  smart_ptr(smart_ptr<U>&& inOther) noexcept : mObject(inOther.detach()) {}

  ~smart_ptr() {
    if (mObject) mObject->Release();
  }

  smart_ptr& operator=(smart_ptr inOther) noexcept {
    std::swap(mObject, inOther.mObject);
    return *this;
  }

  // Takes over a reference that the caller already owns (as QueryInterface hands out).
  static smart_ptr adopt(T* inObject) noexcept {
    smart_ptr result;
    result.mObject = inObject;
    return result;
  }

  // Gives the reference to the caller and becomes empty.
  T* detach() noexcept { return std::exchange(mObject, nullptr); }
  void reset() noexcept { smart_ptr().swap(*this); }
  void swap(smart_ptr& ioOther) noexcept { std::swap(mObject, ioOther.mObject); }

  T* get() const noexcept { return mObject; }
  T* operator->() const noexcept { return mObject; }
  T& operator*() const noexcept { return *mObject; }
  explicit operator bool() const noexcept { return mObject != nullptr; }

  friend bool operator==(smart_ptr const& a, smart_ptr const& b) noexcept {
    return a.mObject == b.mObject;
  }
  friend bool operator==(smart_ptr const& a, std::nullptr_t) noexcept { return !a.mObject; }

 private:
  T* mObject = nullptr;
};

// The view T of an object, or empty when the object is null or has none.
template <typename T, typename U>
smart_ptr<T> query_interface(U* inObject, std::uint32_t inInterfaceId) {
  void* view = inObject ? inObject->QueryInterface(inInterfaceId) : nullptr;
  return smart_ptr<T>::adopt(static_cast<T*>(view));
}

}  // namespace tarn
