#pragma once

#include <cstdint>

#include "Number.h"
#include "NumberText.h"
#include "Pool.h"
#include "tarn/Array.h"
#include "tarn/Value.h"

namespace tarn {

// What all values share. The class's fields and a payload of 8 bytes make one piece of 32 bytes.
class ValueBase : public I_Value {
 public:
  ValueBase(ValueBase const&) = delete;
  ValueBase& operator=(ValueBase const&) = delete;

  static void* operator new(std::size_t inSize) { return pool::Allocate(inSize); }
  static void operator delete(void* inMemory, std::size_t inSize) noexcept {
    pool::Free(inMemory, inSize);
  }

  // A value is reached through counted references alone.
  std::uint32_t AddRef() override { return mRefCount.IncrementExclusive(); }
  std::uint32_t Release() override {
    std::uint32_t const count = mRefCount.DecrementExclusive();
    if (count == 0) delete this;
    return count;
  }
  std::uint32_t get_RefsCount() const override { return mRefCount.get(); }

  // Release of a final class, whose destructor and size then need no virtual call.
  template <typename T>
  static std::uint32_t ReleaseFinal(T* inObject) {
    std::uint32_t const count = inObject->mRefCount.DecrementExclusive();
    if (count == 0) delete inObject;
    return count;
  }
  // A new object with the caller's reference.
  template <typename T>
  static I_Value* WithReference(T* inObject) noexcept {
    inObject->mRefCount.IncrementExclusive();
    return inObject;
  }

  void* QueryInterface(std::uint32_t inInterfaceId) override {
    return InterfaceTableQueryInterface(this, inInterfaceId, PlainInterfaceTable());
  }

  bool get_IsNull() const override { return mIsNull; }
  bool get_IsNullable() const final { return mIsNullable; }
  // A value that becomes null loses its content, so that the getters need not ask for null.
  void put_IsNull(bool inIsNull) final {
    if (inIsNull && !mIsNullable) return;
    mIsNull = inIsNull;
    if (inIsNull) ClearContent();
  }

  std::uint32_t get_MaxLength() const final { return mMaxLength; }
  void put_MaxLength(std::uint32_t inBytes) final { mMaxLength = inBytes; }
  void put_Length(std::uint32_t) override {}

 protected:
  explicit ValueBase(bool inNullable) noexcept : mIsNullable(inNullable) {}

  virtual void ClearContent() = 0;
  void SetNotNull() noexcept { mIsNull = false; }

 private:
  RefsCount mRefCount;

 protected:
  std::uint32_t mMaxLength = 0;

 private:
  bool const mIsNullable;
  bool mIsNull = false;
};

// Kinds whose content is not a number: every number getter and setter goes through one conversion.
class ConvertingValue : public ValueBase {
 public:
  bool get_Boolean() const override { return Get<bool>(); }
  std::uint8_t get_Byte() const final { return Get<std::uint8_t>(); }
  std::int16_t get_Short() const final { return Get<std::int16_t>(); }
  std::uint16_t get_UShort() const final { return Get<std::uint16_t>(); }
  std::int32_t get_Long() const final { return Get<std::int32_t>(); }
  std::uint32_t get_ULong() const final { return Get<std::uint32_t>(); }
  std::int64_t get_LLong() const final { return Get<std::int64_t>(); }
  std::uint64_t get_ULLong() const final { return Get<std::uint64_t>(); }
  float get_Float() const final { return Get<float>(); }
  double get_Double() const final { return Get<double>(); }

  void put_Boolean(bool inValue) final { Put(inValue); }
  void put_Byte(std::uint8_t inValue) final { Put(inValue); }
  void put_Short(std::int16_t inValue) final { Put(inValue); }
  void put_UShort(std::uint16_t inValue) final { Put(inValue); }
  void put_Long(std::int32_t inValue) final { Put(inValue); }
  void put_ULong(std::uint32_t inValue) final { Put(inValue); }
  void put_LLong(std::int64_t inValue) final { Put(inValue); }
  void put_ULLong(std::uint64_t inValue) final { Put(inValue); }
  void put_Float(float inValue) final { Put(inValue); }
  void put_Double(double inValue) final { Put(inValue); }
  void put_String(String const& inValue) override { put_String(String(inValue)); }
  void put_String(String&& ioValue) override = 0;

 protected:
  using ValueBase::ValueBase;

  // The content as a number, 0 when it is none.
  virtual Number ReadNumber() const { return std::int64_t{0}; }
  // Makes a number the content, given as text for the kinds that hold text.
  virtual void WriteNumberText(String&&) { ClearContent(); }

 private:
  template <typename T>
  T Get() const {
    return ConvertNumber<T>(ReadNumber());
  }
  template <typename T>
  void Put(T inValue) {
    WriteNumberText(NumberText(inValue));
    SetNotNull();
  }
};

// The interface number of each view.
template <typename TView>
inline constexpr std::uint32_t kViewNumber = 0;
template <>
inline constexpr std::uint32_t kViewNumber<I_ValueBinary> = kIID_ValueBinary;
template <>
inline constexpr std::uint32_t kViewNumber<I_ValueDate> = kIID_ValueDate;
template <>
inline constexpr std::uint32_t kViewNumber<I_ValueDateTime> = kIID_ValueDateTime;
template <>
inline constexpr std::uint32_t kViewNumber<I_ValueWrapper> = kIID_ValueWrapper;
template <>
inline constexpr std::uint32_t kViewNumber<I_ValueJSON> = kIID_ValueJSON;

// A value class with views: each a base of its own whose counting is the value's.
template <typename TValue, typename... TViews>
class WithViews : public TValue, public TViews... {
 public:
  using TValue::TValue;

  std::uint32_t AddRef() final { return TValue::AddRef(); }
  std::uint32_t Release() final { return TValue::Release(); }
  std::uint32_t get_RefsCount() const final { return TValue::get_RefsCount(); }
  void* QueryInterface(std::uint32_t inInterfaceId) final {
    static INTERFACE_ITEM const kTable[] = {
        {kIID_Unknown, 0}, {kViewNumber<TViews>, InterfaceDistance<TViews>(this)}..., {0, 0}};
    return InterfaceTableQueryInterface(this, inInterfaceId, kTable);
  }
};

}  // namespace tarn
