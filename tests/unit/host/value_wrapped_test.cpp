#include <gtest/gtest.h>

#include "Probe.h"
#include "tarn/Value.h"

namespace {

using tarn::I_Value;
using tarn::I_ValueWrapper;
using tarn::smart_ptr;
using tarn::String;
using tarn::ValueType;
using tarn::test::Utf8;

smart_ptr<I_Value> Wrapped(smart_ptr<I_Value> inInner = {}) {
  smart_ptr<I_Value> value(tarn::CreateValueWrapped(true, nullptr, nullptr));
  if (inInner) {
    tarn::query_interface<I_ValueWrapper>(value.get(), 2211)->put_InnerValue(std::move(inInner));
  }
  return value;
}
smart_ptr<I_ValueWrapper> View(smart_ptr<I_Value> const& inValue) {
  return tarn::query_interface<I_ValueWrapper>(inValue.get(), tarn::kIID_ValueWrapper);
}
smart_ptr<I_Value> Long(std::int32_t inNumber) {
  smart_ptr<I_Value> value(tarn::CreateValueLong(true, nullptr, nullptr));
  value->put_Long(inNumber);
  return value;
}

TEST(WrappedValue, WithoutAnInnerValueItIsZeroAndNotNull) {
  auto const value = Wrapped();
  EXPECT_EQ(value->get_Type(), ValueType::kWrapped);
  EXPECT_FALSE(View(value)->get_InnerValue());
  EXPECT_FALSE(value->get_IsNull());
  EXPECT_EQ(value->get_LLong(), 0);
  EXPECT_FALSE(value->get_Boolean());
  EXPECT_TRUE(value->get_String().isEmpty());
  EXPECT_EQ(value->get_Length(), 0u);
  value->put_Length(5);
  EXPECT_FALSE(View(value)->get_InnerValue());
}

TEST(WrappedValue, ItsGettersAreThoseOfTheInnermostValue) {
  auto const inner = Long(-300);
  auto const value = Wrapped(Wrapped(Wrapped(inner)));
  EXPECT_TRUE(value->get_Boolean());
  EXPECT_EQ(value->get_Byte(), 0);
  EXPECT_EQ(value->get_Short(), -300);
  EXPECT_EQ(value->get_UShort(), 0);
  EXPECT_EQ(value->get_Long(), -300);
  EXPECT_EQ(value->get_ULong(), 0u);
  EXPECT_EQ(value->get_LLong(), -300);
  EXPECT_EQ(value->get_ULLong(), 0u);
  EXPECT_EQ(value->get_Float(), -300);
  EXPECT_EQ(value->get_Double(), -300);
  EXPECT_EQ(Utf8(value->get_String()), "-300");
  EXPECT_EQ(value->get_Length(), 4u);
  EXPECT_EQ(inner->get_RefsCount(), 2u) << "no reference is left behind";
}

TEST(WrappedValue, ASetterWithoutAnInnerValueMakesOneOfItsKind) {
  auto const expect = [](auto inPut, ValueType inType, char const* inText) {
    auto const value = Wrapped();
    value->put_IsNull(true);
    inPut(*value);
    EXPECT_FALSE(value->get_IsNull());
    ASSERT_TRUE(View(value)->get_InnerValue());
    EXPECT_EQ(View(value)->get_InnerValue()->get_Type(), inType);
    EXPECT_EQ(Utf8(value->get_String()), inText);
  };
  expect([](I_Value& v) { v.put_Boolean(true); }, ValueType::kBoolean, "true");
  expect([](I_Value& v) { v.put_Byte(1); }, ValueType::kByte, "1");
  expect([](I_Value& v) { v.put_Short(-1); }, ValueType::kShort, "-1");
  expect([](I_Value& v) { v.put_UShort(2); }, ValueType::kUShort, "2");
  expect([](I_Value& v) { v.put_Long(-2); }, ValueType::kLong, "-2");
  expect([](I_Value& v) { v.put_ULong(3); }, ValueType::kULong, "3");
  expect([](I_Value& v) { v.put_LLong(-3); }, ValueType::kLLong, "-3");
  expect([](I_Value& v) { v.put_ULLong(4); }, ValueType::kULLong, "4");
  expect([](I_Value& v) { v.put_Float(0.5f); }, ValueType::kFloat, "0.5");
  expect([](I_Value& v) { v.put_Double(0.25); }, ValueType::kDouble, "0.25");
  expect([](I_Value& v) { v.put_String(String("moved")); }, ValueType::kString, "moved");
  String const text("copied");
  expect([&](I_Value& v) { v.put_String(text); }, ValueType::kString, "copied");
}

TEST(WrappedValue, ASetterGoesToTheInnermostValue) {
  auto const inner = Long(1);
  auto const value = Wrapped(Wrapped(inner));
  value->put_Double(7.9);
  EXPECT_EQ(inner->get_Long(), 7);
  value->put_String(String("8 rows"));
  EXPECT_EQ(inner->get_Long(), 8);
}

TEST(WrappedValue, ItIsNullWhenTheInnermostIs) {
  auto const inner = Long(1);
  auto const value = Wrapped(Wrapped(inner));
  EXPECT_FALSE(value->get_IsNull());
  inner->put_IsNull(true);
  EXPECT_TRUE(value->get_IsNull());
  value->put_Long(5);
  EXPECT_FALSE(value->get_IsNull());
  EXPECT_EQ(inner->get_Long(), 5);
}

TEST(WrappedValue, BecomingNullLetsTheInnerValueGo) {
  auto const inner = Long(1);
  auto const value = Wrapped(inner);
  value->put_IsNull(true);
  EXPECT_TRUE(value->get_IsNull());
  EXPECT_EQ(inner->get_RefsCount(), 1u);
  EXPECT_EQ(value->get_Long(), 0);
  View(value)->put_InnerValue(inner);
  EXPECT_FALSE(value->get_IsNull());
  EXPECT_EQ(View(value)->get_InnerValue().get(), inner.get());
  View(value)->put_InnerValue({});
  EXPECT_FALSE(View(value)->get_InnerValue());
}

TEST(WrappedValue, ALongChainAnswersAndDiesWithoutRecursion) {
  auto value = Long(42);
  auto const innermost = value;
  for (int i = 0; i < 1'000'000; ++i) value = Wrapped(std::move(value));
  EXPECT_EQ(value->get_Long(), 42);
  EXPECT_FALSE(value->get_IsNull());
  value.reset();
  EXPECT_EQ(innermost->get_RefsCount(), 1u);
}

TEST(WrappedValue, AChainThatIsSharedIsLeftToItsOtherHolder) {
  auto const shared = Wrapped(Wrapped(Long(42)));
  auto value = Wrapped(Wrapped(shared));
  value.reset();
  EXPECT_EQ(shared->get_RefsCount(), 1u);
  EXPECT_EQ(shared->get_Long(), 42);
}

}  // namespace
