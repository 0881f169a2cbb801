// Numbers from texts and between kinds: against arithmetic of 128 bits and the C library's reader.
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>

#include "duckdb_c/Handles.h"
#include "statement/ParameterValue.h"
#include "support/Input.h"
#include "tarn/Converter.h"
#include "tarn/Value.h"
#include "tarn/smart_ptr.h"

namespace {

using lumora::fuzz::Input;
using lumora::fuzz::Require;
using Wide = lumora::fuzz::Int128;
using ValuePtr = tarn::smart_ptr<tarn::I_Value>;

bool IsDigit(char inChar) { return inChar >= '0' && inChar <= '9'; }

template <typename T>
T Clamp(Wide inNumber) {
  return static_cast<T>(
      std::clamp<Wide>(inNumber, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
}

template <typename T>
T ClampReal(long double inNumber) {
  if (std::isnan(inNumber)) return 0;
  if (inNumber >= static_cast<long double>(std::numeric_limits<T>::max())) {
    return std::numeric_limits<T>::max();
  }
  if (inNumber <= static_cast<long double>(std::numeric_limits<T>::min())) {
    return std::numeric_limits<T>::min();
  }
  return static_cast<T>(inNumber);
}

// The beginning of a text that is a number, cut by hand: the C library reads more ("0x10",
// "nan(a)").
struct Leading {
  std::string mText;
  bool mIsWhole = true;
};

Leading FindLeading(std::string const& inText) {
  Leading found;
  std::size_t i = std::min(inText.find_first_not_of(" \t\n\v\f\r"), inText.size());
  if (i < inText.size() && (inText[i] == '-' || inText[i] == '+')) found.mText += inText[i++];
  std::size_t digits = 0;
  for (; i < inText.size() && IsDigit(inText[i]); ++digits) found.mText += inText[i++];
  if (i < inText.size() && inText[i] == '.') {
    std::string fraction(1, inText[i]);
    for (++i; i < inText.size() && IsDigit(inText[i]); ++digits) fraction += inText[i++];
    if (digits != 0) found.mText += fraction;
    if (digits != 0) found.mIsWhole = false;
  }
  if (digits == 0) return {};
  if (i < inText.size() && (inText[i] == 'e' || inText[i] == 'E')) {
    std::string exponent(1, inText[i++]);
    if (i < inText.size() && (inText[i] == '-' || inText[i] == '+')) exponent += inText[i++];
    bool const hasDigits = i < inText.size() && IsDigit(inText[i]);
    for (; i < inText.size() && IsDigit(inText[i]); ++i) exponent += inText[i];
    if (hasDigits) found.mText += exponent;
    if (hasDigits) found.mIsWhole = false;
  }
  return found;
}

// False when it has more than 64 bits.
bool ReadWhole(std::string const& inText, Wide& outNumber) {
  Wide number = 0;
  for (char const c : inText) {
    if (IsDigit(c)) number = std::min<Wide>(number * 10 + (c - '0'), static_cast<Wide>(1) << 100);
  }
  outNumber = inText.starts_with('-') ? -number : number;
  return outNumber >= INT64_MIN && outNumber <= static_cast<Wide>(UINT64_MAX);
}

void CheckWhole(tarn::I_Value const& inValue, Wide inNumber) {
  Require(inValue.get_LLong() == Clamp<std::int64_t>(inNumber), "signed 64 bits of a text");
  Require(inValue.get_ULLong() == Clamp<std::uint64_t>(inNumber), "unsigned 64 bits of a text");
  Require(inValue.get_Long() == Clamp<std::int32_t>(inNumber), "signed 32 bits of a text");
  Require(inValue.get_UShort() == Clamp<std::uint16_t>(inNumber), "unsigned 16 bits of a text");
  Require(inValue.get_Byte() == Clamp<std::uint8_t>(inNumber), "8 bits of a text");
}

void CheckReal(tarn::I_Value const& inValue, double inNumber) {
  Require(inValue.get_Double() == inNumber, "the nearest double of a text");
  Require(std::signbit(inValue.get_Double()) == std::signbit(inNumber), "its sign");
  Require(inValue.get_LLong() == ClampReal<std::int64_t>(inNumber), "a real text as 64 bits");
  Require(inValue.get_ULong() == ClampReal<std::uint32_t>(inNumber), "a real text as 32 bits");
  Require(inValue.get_Short() == ClampReal<std::int16_t>(inNumber), "a real text as 16 bits");
}

void CheckText(std::string const& inText) {
  ValuePtr const value(tarn::CreateValueString(false, nullptr, nullptr));
  tarn::String const text = tarn::StToUTF16(inText.data(), static_cast<std::int64_t>(inText.size()),
                                            tarn::GetConverter_UTF8());
  value->put_String(text);
  Leading const leading = FindLeading(inText);
  if (leading.mText.empty()) return;  // none, or the name of one: NaN, Infinity
  Wide number = 0;
  bool const isExact =
      ReadWhole(leading.mText.substr(0, leading.mText.find_first_of(".eE")), number);
  Require(text.parseLLong() == Clamp<std::int64_t>(number), "the leading integer of a text");
  if (leading.mIsWhole && isExact) {
    CheckWhole(*value, number);
  } else {
    CheckReal(*value, std::strtod(leading.mText.c_str(), nullptr));
  }
}

struct Kind {
  tarn::I_Value* (*mMake)(bool, void const*, void const*);
  Wide mLeast;
  Wide mGreatest;
};
constexpr std::array kKinds = {Kind{tarn::CreateValueByte, 0, UINT8_MAX},
                               Kind{tarn::CreateValueShort, INT16_MIN, INT16_MAX},
                               Kind{tarn::CreateValueUShort, 0, UINT16_MAX},
                               Kind{tarn::CreateValueLong, INT32_MIN, INT32_MAX},
                               Kind{tarn::CreateValueULong, 0, UINT32_MAX},
                               Kind{tarn::CreateValueLLong, INT64_MIN, INT64_MAX},
                               Kind{tarn::CreateValueULLong, 0, UINT64_MAX}};

void CheckKinds(std::int64_t inNumber, double inReal) {
  for (Kind const& kind : kKinds) {
    ValuePtr const value(kind.mMake(false, nullptr, nullptr));
    value->put_LLong(inNumber);
    Wide const kept = std::clamp<Wide>(inNumber, kind.mLeast, kind.mGreatest);
    CheckWhole(*value, kept);
    bool const isSigned = kept < 0;
    std::string const text = tarn::StFromUTF16(value->get_String(), nullptr);
    Require(text == (isSigned ? std::to_string(static_cast<std::int64_t>(kept))
                              : std::to_string(static_cast<std::uint64_t>(kept))),
            "the text of a whole number");
    value->put_Double(inReal);
    Require(
        value->get_LLong() == Clamp<std::int64_t>(std::clamp<Wide>(ClampReal<std::int64_t>(inReal),
                                                                   kind.mLeast, kind.mGreatest)) ||
            kind.mGreatest == static_cast<Wide>(UINT64_MAX),
        "a real number in a whole kind");
  }
}

void CheckRealText(double inReal) {
  ValuePtr const value(tarn::CreateValueDouble(false, nullptr, nullptr));
  value->put_Double(inReal);
  double const back = std::strtod(tarn::StFromUTF16(value->get_String(), nullptr).c_str(), nullptr);
  Require(back == inReal || (std::isnan(back) && std::isnan(inReal)), "the text of a double");
  ValuePtr const small(tarn::CreateValueFloat(false, nullptr, nullptr));
  small->put_Double(inReal);
  Require(std::isfinite(small->get_Float()) == std::isfinite(inReal), "finite stays finite");
  float const kept = small->get_Float();
  float const read = std::strtof(tarn::StFromUTF16(small->get_String(), nullptr).c_str(), nullptr);
  Require(read == kept || (std::isnan(read) && std::isnan(kept)), "the text of a float");
}

struct Target {
  duckdb_type mType;
  Wide mLeast;
  Wide mGreatest;
};
constexpr std::array kTargets = {
    Target{DUCKDB_TYPE_TINYINT, INT8_MIN, INT8_MAX},
    Target{DUCKDB_TYPE_SMALLINT, INT16_MIN, INT16_MAX},
    Target{DUCKDB_TYPE_INTEGER, INT32_MIN, INT32_MAX},
    Target{DUCKDB_TYPE_BIGINT, INT64_MIN, INT64_MAX},
    Target{DUCKDB_TYPE_UTINYINT, 0, UINT8_MAX},
    Target{DUCKDB_TYPE_USMALLINT, 0, UINT16_MAX},
    Target{DUCKDB_TYPE_UINTEGER, 0, UINT32_MAX},
    Target{DUCKDB_TYPE_UBIGINT, 0, UINT64_MAX},
    Target{DUCKDB_TYPE_HUGEINT, 1, 0},
    Target{DUCKDB_TYPE_VARCHAR, 1, 0},
};

// A whole number takes its parameter's type where it fits, else its own.
template <auto TPut, typename T>
void CheckParameter(tarn::I_Value* inNew, duckdb_type inOwnType, T inNumber) {
  ValuePtr const host(inNew);
  (host.get()->*TPut)(inNumber);
  for (Target const& target : kTargets) {
    auto const value =
        lumora::MakeDuckDBValue(host.get(), static_cast<lumora::duckdb_c::TypeId>(target.mType));
    bool const fits = inNumber >= target.mLeast && inNumber <= target.mGreatest;
    duckdb_type const type = duckdb_get_type_id(duckdb_get_value_type(value.get()));
    Require(type == (fits ? target.mType : inOwnType), "the type of a parameter");
    lumora::duckdb_c::TextHandle const text(duckdb_get_varchar(value.get()));
    Require(text.get() == std::to_string(inNumber), "its number");
  }
}

void CheckParameters(std::uint64_t inBits) {
  using Value = tarn::I_Value;
  CheckParameter<&Value::put_LLong>(tarn::CreateValueLLong(false, nullptr, nullptr),
                                    DUCKDB_TYPE_BIGINT, static_cast<std::int64_t>(inBits));
  CheckParameter<&Value::put_ULLong>(tarn::CreateValueULLong(false, nullptr, nullptr),
                                     DUCKDB_TYPE_UBIGINT, inBits);
  CheckParameter<&Value::put_Short>(tarn::CreateValueShort(false, nullptr, nullptr),
                                    DUCKDB_TYPE_SMALLINT, static_cast<std::int16_t>(inBits));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* inData, std::size_t inSize) {
  Input input(inData, inSize);
  auto const bits = input.Take<std::uint64_t>();
  double real = 0;
  std::memcpy(&real, &bits, sizeof real);
  CheckKinds(static_cast<std::int64_t>(bits), real);
  CheckRealText(real);
  // The number shifted down, so that the small types have their turn.
  unsigned const shift = static_cast<unsigned>(input.TakeBelow(64));
  CheckParameters(static_cast<std::uint64_t>(static_cast<std::int64_t>(bits) >> shift));
  CheckParameters(bits >> shift);
  CheckText(input.TakeRest());
  return 0;
}
