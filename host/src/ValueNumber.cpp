#include "ValueBase.h"
#include "tarn/NewValue.h"

namespace tarn {
namespace {

// A number, kept in TData.
template <ValueType tType, typename TData>
class NumberValue final : public ValueBase {
 public:
  explicit NumberValue(bool inNullable, TData inData = TData()) noexcept
      : ValueBase(inNullable), mData(inData) {}

  std::uint32_t Release() override { return ReleaseFinal(this); }

  ValueType get_Type() const override { return tType; }

  bool get_Boolean() const override { return Get<bool>(); }
  std::uint8_t get_Byte() const override { return Get<std::uint8_t>(); }
  std::int16_t get_Short() const override { return Get<std::int16_t>(); }
  std::uint16_t get_UShort() const override { return Get<std::uint16_t>(); }
  std::int32_t get_Long() const override { return Get<std::int32_t>(); }
  std::uint32_t get_ULong() const override { return Get<std::uint32_t>(); }
  std::int64_t get_LLong() const override { return Get<std::int64_t>(); }
  std::uint64_t get_ULLong() const override { return Get<std::uint64_t>(); }
  float get_Float() const override { return Get<float>(); }
  double get_Double() const override { return Get<double>(); }
  String get_String() const override { return get_IsNull() ? String() : NumberText(mData); }

  void put_Boolean(bool inValue) override { Put(inValue); }
  void put_Byte(std::uint8_t inValue) override { Put(inValue); }
  void put_Short(std::int16_t inValue) override { Put(inValue); }
  void put_UShort(std::uint16_t inValue) override { Put(inValue); }
  void put_Long(std::int32_t inValue) override { Put(inValue); }
  void put_ULong(std::uint32_t inValue) override { Put(inValue); }
  void put_LLong(std::int64_t inValue) override { Put(inValue); }
  void put_ULLong(std::uint64_t inValue) override { Put(inValue); }
  void put_Float(float inValue) override { Put(inValue); }
  void put_Double(double inValue) override { Put(inValue); }
  void put_String(String const& inValue) override {
    if constexpr (std::is_same_v<TData, bool>) {
      Put(ParseBoolean(inValue.view()));
    } else {
      Put(ConvertNumber<TData>(ParseNumber(inValue.view())));
    }
  }
  void put_String(String&& ioValue) override { put_String(static_cast<String const&>(ioValue)); }

  std::uint32_t get_Length() const override { return get_IsNull() ? 0 : sizeof(TData); }

 private:
  template <typename T>
  T Get() const noexcept {
    return ConvertNumber<T>(mData);
  }
  template <typename T>
  void Put(T inValue) noexcept {
    mData = ConvertNumber<TData>(inValue);
    SetNotNull();
  }
  void ClearContent() override { mData = TData(); }

  TData mData;
};

static_assert(sizeof(NumberValue<ValueType::kDouble, double>) == 2 * pool::kStep);

}  // namespace

// The two parameters mean nothing to a number.
#define TARN_NUMBER_FACTORY(name, type, data)                  \
  I_Value* name(bool inNullable, void const*, void const*) {   \
    return new NumberValue<ValueType::type, data>(inNullable); \
  }
TARN_NUMBER_FACTORY(CreateValueBoolean, kBoolean, bool)
TARN_NUMBER_FACTORY(CreateValueByte, kByte, std::uint8_t)
TARN_NUMBER_FACTORY(CreateValueShort, kShort, std::int16_t)
TARN_NUMBER_FACTORY(CreateValueUShort, kUShort, std::uint16_t)
TARN_NUMBER_FACTORY(CreateValueMedium, kMedium, std::int32_t)
TARN_NUMBER_FACTORY(CreateValueUMedium, kUMedium, std::uint32_t)
TARN_NUMBER_FACTORY(CreateValueLong, kLong, std::int32_t)
TARN_NUMBER_FACTORY(CreateValueULong, kULong, std::uint32_t)
TARN_NUMBER_FACTORY(CreateValueLLong, kLLong, std::int64_t)
TARN_NUMBER_FACTORY(CreateValueULLong, kULLong, std::uint64_t)
TARN_NUMBER_FACTORY(CreateValueFloat, kFloat, float)
TARN_NUMBER_FACTORY(CreateValueDouble, kDouble, double)
TARN_NUMBER_FACTORY(CreateValueMoney, kMoney, double)
TARN_NUMBER_FACTORY(CreateValueNumeric, kNumeric, double)
TARN_NUMBER_FACTORY(CreateValueEnum8, kEnum8, std::uint8_t)
TARN_NUMBER_FACTORY(CreateValueEnum16, kEnum16, std::uint16_t)
#undef TARN_NUMBER_FACTORY

#define TARN_NEW_NUMBER(name, type, data)                                                    \
  I_Value* name(data inValue) {                                                              \
    return ValueBase::WithReference(new NumberValue<ValueType::type, data>(false, inValue)); \
  }
TARN_NEW_NUMBER(NewValueBoolean, kBoolean, bool)
TARN_NEW_NUMBER(NewValueByte, kByte, std::uint8_t)
TARN_NEW_NUMBER(NewValueShort, kShort, std::int16_t)
TARN_NEW_NUMBER(NewValueUShort, kUShort, std::uint16_t)
TARN_NEW_NUMBER(NewValueLong, kLong, std::int32_t)
TARN_NEW_NUMBER(NewValueULong, kULong, std::uint32_t)
TARN_NEW_NUMBER(NewValueLLong, kLLong, std::int64_t)
TARN_NEW_NUMBER(NewValueULLong, kULLong, std::uint64_t)
TARN_NEW_NUMBER(NewValueFloat, kFloat, float)
TARN_NEW_NUMBER(NewValueDouble, kDouble, double)
#undef TARN_NEW_NUMBER

I_Value* NewValueNull() {
  auto* const value = new NumberValue<ValueType::kBoolean, bool>(true);
  value->put_IsNull(true);
  return ValueBase::WithReference(value);
}

}  // namespace tarn
