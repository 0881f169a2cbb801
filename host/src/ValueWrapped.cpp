#include <utility>

#include "ValueBase.h"

namespace tarn {
namespace {

// Chains of wrapped values may be long, so nothing here recurses along one. A chain that leads back
// to itself has no innermost value: whoever builds one breaks it up again.
class WrappedValue final : public WithViews<ValueBase, I_ValueWrapper> {
 public:
  explicit WrappedValue(bool inNullable) noexcept : WithViews(inNullable) {}
  ~WrappedValue() override { ReleaseChain(std::move(mInner)); }

  ValueType get_Type() const override { return ValueType::kWrapped; }
  bool get_IsNull() const override {
    if (ValueBase::get_IsNull()) return true;
    smart_ptr<I_Value> const value = Innermost();
    return value && value->get_IsNull();
  }

  bool get_Boolean() const override { return Get(&I_Value::get_Boolean); }
  std::uint8_t get_Byte() const override { return Get(&I_Value::get_Byte); }
  std::int16_t get_Short() const override { return Get(&I_Value::get_Short); }
  std::uint16_t get_UShort() const override { return Get(&I_Value::get_UShort); }
  std::int32_t get_Long() const override { return Get(&I_Value::get_Long); }
  std::uint32_t get_ULong() const override { return Get(&I_Value::get_ULong); }
  std::int64_t get_LLong() const override { return Get(&I_Value::get_LLong); }
  std::uint64_t get_ULLong() const override { return Get(&I_Value::get_ULLong); }
  float get_Float() const override { return Get(&I_Value::get_Float); }
  double get_Double() const override { return Get(&I_Value::get_Double); }
  String get_String() const override { return Get(&I_Value::get_String); }
  std::uint32_t get_Length() const override { return Get(&I_Value::get_Length); }

  void put_Boolean(bool in) override { Target(CreateValueBoolean)->put_Boolean(in); }
  void put_Byte(std::uint8_t in) override { Target(CreateValueByte)->put_Byte(in); }
  void put_Short(std::int16_t in) override { Target(CreateValueShort)->put_Short(in); }
  void put_UShort(std::uint16_t in) override { Target(CreateValueUShort)->put_UShort(in); }
  void put_Long(std::int32_t in) override { Target(CreateValueLong)->put_Long(in); }
  void put_ULong(std::uint32_t in) override { Target(CreateValueULong)->put_ULong(in); }
  void put_LLong(std::int64_t in) override { Target(CreateValueLLong)->put_LLong(in); }
  void put_ULLong(std::uint64_t in) override { Target(CreateValueULLong)->put_ULLong(in); }
  void put_Float(float in) override { Target(CreateValueFloat)->put_Float(in); }
  void put_Double(double in) override { Target(CreateValueDouble)->put_Double(in); }
  void put_String(String const& in) override { Target(CreateValueString)->put_String(in); }
  void put_String(String&& io) override { Target(CreateValueString)->put_String(std::move(io)); }
  void put_Length(std::uint32_t inBytes) override {
    if (smart_ptr<I_Value> const value = Innermost()) value->put_Length(inBytes);
  }

  smart_ptr<I_Value> get_InnerValue() const override { return mInner; }
  void put_InnerValue(smart_ptr<I_Value> inValue) override {
    ReleaseChain(std::exchange(mInner, std::move(inValue)));
    SetNotNull();
  }

 private:
  using Factory = I_Value* (*)(bool, void const*, void const*);

  static smart_ptr<I_Value> InnerOf(I_Value* inValue) {
    auto const view = query_interface<I_ValueWrapper>(inValue, kIID_ValueWrapper);
    return view ? view->get_InnerValue() : smart_ptr<I_Value>();
  }

  // The first value down the chain that wraps nothing; empty when the chain ends without one.
  smart_ptr<I_Value> Innermost() const {
    smart_ptr<I_Value> value = mInner;
    while (value && value->get_Type() == ValueType::kWrapped) value = InnerOf(value.get());
    return value;
  }

  template <typename T>
  T Get(T (I_Value::*inGetter)() const) const {
    smart_ptr<I_Value> const value = Innermost();
    return value ? (value.get()->*inGetter)() : T();
  }

  // The value that a setter goes to, made when there is none.
  smart_ptr<I_Value> Target(Factory inFactory) {
    smart_ptr<I_Value> value = Innermost();
    if (!value) {
      value = smart_ptr<I_Value>(inFactory(true, nullptr, nullptr));
      ReleaseChain(std::exchange(mInner, value));
    }
    SetNotNull();
    return value;
  }

  void ClearContent() override { ReleaseChain(std::move(mInner)); }

  // Lets go of link after link, each emptied before it dies.
  static void ReleaseChain(smart_ptr<I_Value> inFirst) {
    while (inFirst && inFirst->get_RefsCount() == 1) {
      auto* const link = dynamic_cast<WrappedValue*>(inFirst.get());
      if (!link) return;
      inFirst = std::move(link->mInner);
    }
  }

  smart_ptr<I_Value> mInner;
};

}  // namespace

I_Value* CreateValueWrapped(bool inNullable, void const*, void const*) {
  return new WrappedValue(inNullable);
}

}  // namespace tarn
