#include "tarn/NewValue.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include "Probe.h"

namespace {

using tarn::I_Value;
using tarn::smart_ptr;
using tarn::ValueType;
using tarn::WChar;
using tarn::test::Utf8;

// The value, which must carry exactly the caller's reference.
smart_ptr<I_Value> Adopt(I_Value* inValue) {
  EXPECT_EQ(inValue->get_RefsCount(), 1u);
  return smart_ptr<I_Value>::adopt(inValue);
}

TEST(NewValue, ATextTooLongIsRefusedUnread) {
  for (std::size_t const length : {std::size_t{0x7FFFFFFF}, ~std::size_t{0}}) {
    EXPECT_THROW(tarn::NewValueString("x", length), std::length_error);
  }
}

TEST(NewValue, NullIsANullableBoolean) {
  auto const value = Adopt(tarn::NewValueNull());
  EXPECT_EQ(value->get_Type(), ValueType::kBoolean);
  EXPECT_TRUE(value->get_IsNullable());
  EXPECT_TRUE(value->get_IsNull());
  EXPECT_FALSE(value->get_Boolean());
  EXPECT_TRUE(value->get_String().isEmpty());
}

TEST(NewValue, NumbersAreWhatFactoryAndSetterMake) {
  struct Case {
    smart_ptr<I_Value> mValue;
    ValueType mType;
    char const* mText;
  };
  for (Case const& c : {
           Case{Adopt(tarn::NewValueBoolean(true)), ValueType::kBoolean, "true"},
           Case{Adopt(tarn::NewValueBoolean(false)), ValueType::kBoolean, "false"},
           Case{Adopt(tarn::NewValueByte(255)), ValueType::kByte, "255"},
           Case{Adopt(tarn::NewValueShort(-32768)), ValueType::kShort, "-32768"},
           Case{Adopt(tarn::NewValueUShort(65535)), ValueType::kUShort, "65535"},
           Case{Adopt(tarn::NewValueLong(-2147483647)), ValueType::kLong, "-2147483647"},
           Case{Adopt(tarn::NewValueULong(4294967295u)), ValueType::kULong, "4294967295"},
           Case{Adopt(tarn::NewValueLLong(std::numeric_limits<std::int64_t>::min())),
                ValueType::kLLong, "-9223372036854775808"},
           Case{Adopt(tarn::NewValueULLong(std::numeric_limits<std::uint64_t>::max())),
                ValueType::kULLong, "18446744073709551615"},
           Case{Adopt(tarn::NewValueFloat(0.1f)), ValueType::kFloat, "0.1"},
           Case{Adopt(tarn::NewValueDouble(-0.1)), ValueType::kDouble, "-0.1"},
           Case{Adopt(tarn::NewValueDouble(std::nan(""))), ValueType::kDouble, "NaN"},
       }) {
    EXPECT_EQ(c.mValue->get_Type(), c.mType);
    EXPECT_EQ(Utf8(c.mValue->get_String()), c.mText);
    EXPECT_FALSE(c.mValue->get_IsNull());
    EXPECT_FALSE(c.mValue->get_IsNullable());
    EXPECT_EQ(c.mValue->get_MaxLength(), 0u);
  }
}

TEST(NewValue, TextsAreWhatTheConverterMakesOfThem) {
  for (std::string const& text :
       {std::string(), std::string("a"), std::string("eleven unit"), std::string("twelve units"),
        std::string("a\0b", 3), std::string(1000, 'x'), std::string("caf\xC3\xA9"),
        std::string("\xC3\xA9\xF0\x9F\xA6\x86 and more behind it"), std::string("cut \xE2\x82"),
        std::string("\xFF\xC0\x80"), std::string(300, '\xC3'),
        std::string(40, ' ') + "\xED\xA0\x80"}) {
    auto const value = Adopt(tarn::NewValueString(text.data(), text.size()));
    auto const expected = tarn::test::Wide(text);
    EXPECT_EQ(value->get_Type(), ValueType::kString);
    EXPECT_TRUE(value->get_String() == expected) << text;
    EXPECT_EQ(value->get_MaxLength(), (expected.length() + 1) * sizeof(WChar));
    EXPECT_FALSE(value->get_IsNull());
    EXPECT_FALSE(value->get_IsNullable());
  }
}

}  // namespace
