#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "Probe.h"
#include "tarn/Value.h"

namespace {

using tarn::I_Value;
using tarn::smart_ptr;
using tarn::String;
using tarn::ValueType;
using tarn::test::Utf8;
using Real = long double;

// Every number of every kind is exact in it, so that it can serve as the oracle.
static_assert(std::numeric_limits<Real>::digits >= 64);

template <typename T>
Real Oracle(Real inValue) {
  if constexpr (std::is_same_v<T, bool>) {
    return !std::isnan(inValue) && inValue != 0 ? 1 : 0;
  } else if constexpr (std::is_integral_v<T>) {
    if (std::isnan(inValue)) return 0;
    Real const low = static_cast<Real>(std::numeric_limits<T>::min());
    Real const high = static_cast<Real>(std::numeric_limits<T>::max());
    return std::fmin(std::fmax(std::trunc(inValue), low), high);
  } else {
    if (!std::isfinite(inValue)) return inValue;
    Real const limit = std::numeric_limits<T>::max();
    return static_cast<T>(std::fmin(std::fmax(inValue, -limit), limit));
  }
}

using OracleFunction = Real (*)(Real);

struct Kind {
  char const* mName;
  I_Value* (*mFactory)(bool, void const*, void const*);
  ValueType mType;
  std::uint32_t mSize;
  OracleFunction mStored;
};

std::vector<Kind> const& Kinds() {
#define KIND(name, data) \
  { #name, &tarn::CreateValue##name, ValueType::k##name, sizeof(data), &Oracle < data> }
  static std::vector<Kind> const kinds = {
      KIND(Boolean, bool),         KIND(Byte, std::uint8_t),   KIND(Short, std::int16_t),
      KIND(UShort, std::uint16_t), KIND(Medium, std::int32_t), KIND(UMedium, std::uint32_t),
      KIND(Long, std::int32_t),    KIND(ULong, std::uint32_t), KIND(LLong, std::int64_t),
      KIND(ULLong, std::uint64_t), KIND(Float, float),         KIND(Double, double),
      KIND(Money, double),         KIND(Numeric, double),      KIND(Enum8, std::uint8_t),
      KIND(Enum16, std::uint16_t)};
#undef KIND
  return kinds;
}

smart_ptr<I_Value> Make(Kind const& inKind, bool inNullable = false) {
  return smart_ptr<I_Value>(inKind.mFactory(inNullable, nullptr, nullptr));
}

bool IsSame(Real a, Real b) { return a == b || (std::isnan(a) && std::isnan(b)); }

// What each getter must answer for a stored number.
void ExpectAllGetters(I_Value const& inValue, Real inStored, std::string const& inWhat) {
  EXPECT_EQ(inValue.get_Boolean(), Oracle<bool>(inStored) != 0) << inWhat;
  EXPECT_EQ(static_cast<Real>(inValue.get_Byte()), Oracle<std::uint8_t>(inStored)) << inWhat;
  EXPECT_EQ(inValue.get_Short(), Oracle<std::int16_t>(inStored)) << inWhat;
  EXPECT_EQ(inValue.get_UShort(), Oracle<std::uint16_t>(inStored)) << inWhat;
  EXPECT_EQ(inValue.get_Long(), Oracle<std::int32_t>(inStored)) << inWhat;
  EXPECT_EQ(inValue.get_ULong(), Oracle<std::uint32_t>(inStored)) << inWhat;
  EXPECT_EQ(static_cast<Real>(inValue.get_LLong()), Oracle<std::int64_t>(inStored)) << inWhat;
  EXPECT_EQ(static_cast<Real>(inValue.get_ULLong()), Oracle<std::uint64_t>(inStored)) << inWhat;
  EXPECT_TRUE(IsSame(inValue.get_Float(), Oracle<float>(inStored))) << inWhat;
  EXPECT_TRUE(IsSame(inValue.get_Double(), Oracle<double>(inStored))) << inWhat;
}

template <typename T>
std::vector<T> Samples() {
  std::vector<T> samples = {T(0), T(1), std::numeric_limits<T>::min(),
                            std::numeric_limits<T>::max()};
  for (Real const edge :
       {127.0L, 128.0L, 255.0L, 256.0L, 32767.0L, 32768.0L, 65535.0L, 65536.0L, 2147483647.0L,
        2147483648.0L, 4294967295.0L, 4294967296.0L, 9007199254740993.0L, 9223372036854775807.0L}) {
    for (Real const sample : {edge, -edge, -edge - 1}) {
      if (Oracle<T>(sample) == sample) samples.push_back(static_cast<T>(sample));
    }
  }
  if constexpr (std::is_floating_point_v<T>) {
    T const infinity = std::numeric_limits<T>::infinity();
    for (T const sample :
         {T(0.5), T(-0.5), T(-1.99), T(254.99), T(1e10), T(9.3e18), T(1.9e19), T(-9.3e18), T(1e38),
          infinity, -infinity, T(-0.0), T(1e-40), std::numeric_limits<T>::quiet_NaN()}) {
      samples.push_back(sample);
    }
    if constexpr (sizeof(T) == sizeof(double))
      samples.insert(samples.end(), {1e300, -1e300, 1e-320});
  }
  return samples;
}

// Each kind through one setter, read back through all getters.
template <typename T>
void CheckSetter(char const* inSetter, void (I_Value::*inPut)(T)) {
  for (Kind const& kind : Kinds()) {
    for (T const sample : Samples<T>()) {
      auto const value = Make(kind, true);
      value->put_IsNull(true);
      (value.get()->*inPut)(sample);
      std::string const what =
          std::string(kind.mName) + "." + inSetter + "(" + std::to_string(sample) + ")";
      EXPECT_FALSE(value->get_IsNull()) << what;
      ExpectAllGetters(*value, kind.mStored(static_cast<Real>(sample)), what);
    }
  }
}

TEST(NumberValue, BooleanSetsEveryKind) {
  for (Kind const& kind : Kinds()) {
    for (bool const sample : {true, false}) {
      auto const value = Make(kind);
      value->put_Boolean(sample);
      ExpectAllGetters(*value, sample ? 1 : 0, kind.mName);
    }
  }
}

TEST(NumberValue, ByteSetsEveryKind) { CheckSetter("put_Byte", &I_Value::put_Byte); }
TEST(NumberValue, ShortSetsEveryKind) { CheckSetter("put_Short", &I_Value::put_Short); }
TEST(NumberValue, UShortSetsEveryKind) { CheckSetter("put_UShort", &I_Value::put_UShort); }
TEST(NumberValue, LongSetsEveryKind) { CheckSetter("put_Long", &I_Value::put_Long); }
TEST(NumberValue, ULongSetsEveryKind) { CheckSetter("put_ULong", &I_Value::put_ULong); }
TEST(NumberValue, LLongSetsEveryKind) { CheckSetter("put_LLong", &I_Value::put_LLong); }
TEST(NumberValue, ULLongSetsEveryKind) { CheckSetter("put_ULLong", &I_Value::put_ULLong); }
TEST(NumberValue, FloatSetsEveryKind) { CheckSetter("put_Float", &I_Value::put_Float); }
TEST(NumberValue, DoubleSetsEveryKind) { CheckSetter("put_Double", &I_Value::put_Double); }

TEST(NumberValue, TextSetsEveryKindByItsLeadingNumber) {
  struct Case {
    char const* mText;
    Real mNumber;
  };
  for (Case const& c : {
           Case{"", 0},
           Case{"x", 0},
           Case{"-", 0},
           Case{".", 0},
           Case{"e5", 0},
           Case{"info", 0},
           Case{"12.5 km", 12.5L},
           Case{"  -7", -7},
           Case{"+3", 3},
           Case{"- 3", 0},
           Case{"1e3", 1000},
           Case{"1e", 1},
           Case{"1e+", 1},
           Case{"1.e2", 100},
           Case{".5", 0.5L},
           Case{"-.5e1x", -5},
           Case{"18446744073709551615", 18446744073709551615.0L},
           Case{"-9223372036854775808", -9223372036854775808.0L},
           Case{"1e400", HUGE_VAL},
           Case{"-1e400", -HUGE_VAL},
           Case{"1e-400", 0},
           Case{"0e999", 0},
           Case{"NaN", std::numeric_limits<double>::quiet_NaN()},
           Case{"Infinity", HUGE_VAL},
           Case{"-inf", -HUGE_VAL},
           Case{"1e99999999999999999999", HUGE_VAL},
       }) {
    for (Kind const& kind : Kinds()) {
      auto const value = Make(kind);
      value->put_String(String(c.mText));
      ExpectAllGetters(*value, kind.mStored(c.mNumber), std::string(kind.mName) + " " + c.mText);
    }
  }
}

TEST(NumberValue, ANumberTooLongForADoubleIsJudgedByItsMagnitude) {
  auto const value = Make(Kinds()[11]);
  std::string const digits(400, '1');
  struct Case {
    std::string mText;
    double mExpected;
  };
  for (Case const& c :
       {Case{digits, HUGE_VAL}, Case{"-" + digits, -HUGE_VAL},
        Case{digits + "e-400", 0.1111111111111111}, Case{digits + "e-50", HUGE_VAL},
        Case{"0." + std::string(400, '0') + "1", 0}, Case{"0." + std::string(400, '0') + "1e10", 0},
        Case{"0." + std::string(400, '0') + "1e401", 1}}) {
    value->put_String(String(c.mText.c_str()));
    EXPECT_DOUBLE_EQ(value->get_Double(), c.mExpected) << c.mText;
  }
}

TEST(NumberValue, TheWordTrueSetsABoolean) {
  auto const value = Make(Kinds()[0]);
  struct Case {
    char const* mText;
    bool mExpected;
  };
  for (Case const& c :
       {Case{"true", true}, Case{" TRUE ", true}, Case{"false", false}, Case{"1", true},
        Case{"0", false}, Case{"0.5", true}, Case{"trueish", false}, Case{"", false}}) {
    value->put_String(String(c.mText));
    EXPECT_EQ(value->get_Boolean(), c.mExpected) << c.mText;
  }
}

TEST(NumberValue, IntegersAreDecimalText) {
  struct Case {
    std::size_t mKind;
    std::int64_t mNumber;
    char const* mExpected;
  };
  for (Case const& c :
       {Case{0, 1, "true"}, Case{0, 0, "false"}, Case{1, 200, "200"}, Case{2, -5, "-5"},
        Case{4, -70000, "-70000"}, Case{5, 70000, "70000"}, Case{14, 255, "255"},
        Case{8, std::numeric_limits<std::int64_t>::min(), "-9223372036854775808"}}) {
    auto const value = Make(Kinds()[c.mKind]);
    value->put_LLong(c.mNumber);
    EXPECT_EQ(Utf8(value->get_String()), c.mExpected);
  }
  auto const value = Make(Kinds()[9]);
  value->put_ULLong(18446744073709551615u);
  EXPECT_EQ(Utf8(value->get_String()), "18446744073709551615");
}

// Significant digits of the shortest text of printf that reads back equal.
template <typename T>
std::size_t ShortestDigits(T inNumber) {
  for (int digits = 1; digits < 18; ++digits) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*e", digits - 1, static_cast<double>(inNumber));
    if (static_cast<T>(std::strtod(text, nullptr)) == inNumber)
      return static_cast<std::size_t>(digits);
  }
  return 18;
}

std::size_t SignificantDigits(std::string const& inText) {
  std::string digits;
  for (char const c : inText.substr(0, inText.find('e'))) {
    if (c >= '0' && c <= '9') digits.push_back(c);
  }
  std::size_t const first = digits.find_first_not_of('0');
  if (first == std::string::npos) return 1;
  return digits.find_last_not_of('0') - first + 1;
}

TEST(NumberValue, RealsAreTheShortestTextThatReadsBackEqual) {
  auto const doubles = Make(Kinds()[11]);
  auto const floats = Make(Kinds()[10]);
  for (double const number :
       {0.1, 1.0 / 3, 12.34, 1e22, 1e23, -1.5, 5e-324, DBL_MAX, DBL_MIN, 0.3, 123456789.123, 1e15,
        1e16, 1e17, 2.0 / 3, 100.0, 4503599627370497.5}) {
    doubles->put_Double(number);
    std::string const text = Utf8(doubles->get_String());
    EXPECT_EQ(std::strtod(text.c_str(), nullptr), number) << text;
    EXPECT_EQ(SignificantDigits(text), ShortestDigits(number)) << text;
    auto const narrow = static_cast<float>(std::fmod(number, 1e30));
    floats->put_Float(narrow);
    std::string const floatText = Utf8(floats->get_String());
    EXPECT_EQ(std::strtof(floatText.c_str(), nullptr), narrow) << floatText;
    EXPECT_EQ(SignificantDigits(floatText), ShortestDigits(narrow)) << floatText;
  }
}

TEST(NumberValue, WhatIsNoNumberHasAWord) {
  for (std::size_t const kind : {10u, 11u, 12u, 13u}) {
    auto const value = Make(Kinds()[kind]);
    for (char const* const word : {"NaN", "Infinity", "-Infinity"}) {
      value->put_String(String(word));
      EXPECT_EQ(Utf8(value->get_String()), word);
    }
  }
}

TEST(NumberValue, ANewValueIsZeroAndNotNull) {
  for (Kind const& kind : Kinds()) {
    for (bool const isNullable : {false, true}) {
      auto const value = Make(kind, isNullable);
      EXPECT_EQ(value->get_RefsCount(), 1u);
      EXPECT_EQ(value->get_Type(), kind.mType) << kind.mName;
      EXPECT_EQ(value->get_IsNullable(), isNullable);
      EXPECT_FALSE(value->get_IsNull());
      EXPECT_EQ(value->get_MaxLength(), 0u);
      EXPECT_EQ(value->get_Length(), kind.mSize) << kind.mName;
      ExpectAllGetters(*value, 0, kind.mName);
    }
  }
}

TEST(NumberValue, NullIsRefusedByAValueThatIsNotNullable) {
  for (Kind const& kind : Kinds()) {
    auto const value = Make(kind);
    value->put_Long(1);
    value->put_IsNull(true);
    EXPECT_FALSE(value->get_IsNull()) << kind.mName;
    EXPECT_EQ(value->get_Long(), 1) << kind.mName;
  }
}

TEST(NumberValue, ANullValueIsZeroFalseAndTheEmptyText) {
  for (Kind const& kind : Kinds()) {
    auto const value = Make(kind, true);
    value->put_Long(1);
    value->put_IsNull(true);
    EXPECT_TRUE(value->get_IsNull());
    ExpectAllGetters(*value, 0, kind.mName);
    EXPECT_TRUE(value->get_String().isEmpty());
    EXPECT_EQ(value->get_Length(), 0u);
    value->put_IsNull(false);
    EXPECT_FALSE(value->get_IsNull());
    ExpectAllGetters(*value, 0, kind.mName);
  }
}

TEST(NumberValue, TheDeclaredSizeIsADescription) {
  for (Kind const& kind : Kinds()) {
    auto const value = Make(kind);
    value->put_MaxLength(0xFFFFFFFF);
    EXPECT_EQ(value->get_MaxLength(), 0xFFFFFFFFu);
    value->put_Length(100);
    EXPECT_EQ(value->get_Length(), kind.mSize) << kind.mName;
  }
}

TEST(NumberValue, ANumberOffersTheCountedInterfaceAlone) {
  for (Kind const& kind : Kinds()) {
    auto const value = Make(kind);
    for (std::uint32_t const number : {2202u, 2203u, 2204u, 2211u, 2213u, 402u}) {
      EXPECT_EQ(value->QueryInterface(number), nullptr) << kind.mName << " " << number;
    }
    auto const unknown = tarn::query_interface<tarn::I_Unknown>(value.get(), tarn::kIID_Unknown);
    EXPECT_EQ(unknown.get(), value.get());
    EXPECT_EQ(value->get_RefsCount(), 2u);
  }
}

}  // namespace
