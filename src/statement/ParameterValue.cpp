#include "statement/ParameterValue.h"

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>

#include "statement/StatementErrors.h"
#include "statement/VariantReading.h"
#include "statement/WholeNumber.h"
#include "tarn/Converter.h"

namespace lumora {
namespace {

using duckdb_c::TypeId;
using duckdb_c::ValueHandle;

// A value may wrap itself; the limit ends that walk long before the stack does.
constexpr unsigned kDeepest = 100;

ValueHandle Convert(tarn::I_Value* inValue, TypeId inTarget, unsigned inDepth);

ValueHandle MakeNull() { return ValueHandle(duckdb_create_null_value()); }

ValueHandle MakeText(tarn::I_Value& inValue, TypeId, unsigned) {
  std::string const text = tarn::StFromUTF16(inValue.get_String(), tarn::GetConverter_UTF8());
  return ValueHandle(duckdb_create_varchar_length(text.data(), text.size()));
}

ValueHandle MakeBlob(tarn::I_ValueBinary const& inBytes) {
  std::uint32_t const size = inBytes.get_DataSize();
  auto const buffer = std::make_unique<std::uint8_t[]>(size);
  std::uint32_t const copied = inBytes.get_Data(buffer.get(), size);
  return ValueHandle(duckdb_create_blob(buffer.get(), copied < size ? copied : size));
}

// Codes whose value is one getter and one constructor.
template <auto TGet, auto TCreate>
ValueHandle MakeScalar(tarn::I_Value& inValue, TypeId, unsigned) {
  return ValueHandle(TCreate((inValue.*TGet)()));
}

// Whole numbers take the parameter's type where they fit, else their own.
template <auto TGet, auto TCreate>
ValueHandle MakeWhole(tarn::I_Value& inValue, TypeId inTarget, unsigned) {
  auto const number = (inValue.*TGet)();
  if (inTarget != 0) {
    if (ValueHandle value = MakeWholeNumber(number, inTarget)) return value;
  }
  return ValueHandle(TCreate(number));
}

bool FitsInByte(std::int16_t inPart) { return inPart >= INT8_MIN && inPart <= INT8_MAX; }

// DuckDB reports a date that is none by a C++ exception, across a C call.
template <typename TCall>
auto AskDuckDB(TCall inCall, char const* inText) {
  try {
    return inCall();
  } catch (std::bad_alloc const&) {
    throw;
  } catch (std::exception const&) {
    throw ValueError(inText);
  }
}

duckdb_date_struct MakeDateStruct(std::int32_t inYear, std::int16_t inMonth, std::int16_t inDay,
                                  char const* inText) {
  if (!FitsInByte(inMonth) || !FitsInByte(inDay)) throw ValueError(inText);
  return {inYear, static_cast<std::int8_t>(inMonth), static_cast<std::int8_t>(inDay)};
}

ValueHandle MakeDate(tarn::I_Value& inValue, TypeId inTarget, unsigned inDepth) {
  auto const view = tarn::query_interface<tarn::I_ValueDate>(&inValue, tarn::kIID_ValueDate);
  if (!view) return MakeText(inValue, inTarget, inDepth);
  std::int32_t year = 0;
  std::int16_t month = 0;
  std::int16_t day = 0;
  view->get_Date(year, month, day);
  auto const parts = MakeDateStruct(year, month, day, statement_text::kDateOutOfRange);
  return ValueHandle(duckdb_create_date(
      AskDuckDB([&] { return duckdb_to_date(parts); }, statement_text::kDateOutOfRange)));
}

duckdb_timestamp_struct MakeTimestampStruct(tarn::DateTimeParts const& inParts) {
  char const* const text = statement_text::kDateTimeOutOfRange;
  if (!FitsInByte(inParts.mHour) || !FitsInByte(inParts.mMinute) || !FitsInByte(inParts.mSecond)) {
    throw ValueError(text);
  }
  return {MakeDateStruct(inParts.mYear, inParts.mMonth, inParts.mDay, text),
          {static_cast<std::int8_t>(inParts.mHour), static_cast<std::int8_t>(inParts.mMinute),
           static_cast<std::int8_t>(inParts.mSecond), inParts.mMillisecond * 1000}};
}

ValueHandle MakeDateTime(tarn::I_Value& inValue, TypeId inTarget, unsigned inDepth) {
  auto const view =
      tarn::query_interface<tarn::I_ValueDateTime>(&inValue, tarn::kIID_ValueDateTime);
  if (!view) return MakeText(inValue, inTarget, inDepth);
  auto const parts = MakeTimestampStruct(view->get_DateTime());
  duckdb_timestamp const stamp =
      AskDuckDB([&] { return duckdb_to_timestamp(parts); }, statement_text::kDateTimeOutOfRange);
  duckdb_timestamp_ms const milliseconds{stamp.micros / 1000};
  if (inTarget == DUCKDB_TYPE_TIMESTAMP) {
    return ValueHandle(duckdb_create_timestamp({milliseconds.millis * 1000}));
  }
  return ValueHandle(duckdb_create_timestamp_ms(milliseconds));
}

ValueHandle MakeWrapped(tarn::I_Value& inValue, TypeId inTarget, unsigned inDepth) {
  auto const view = tarn::query_interface<tarn::I_ValueWrapper>(&inValue, tarn::kIID_ValueWrapper);
  if (!view) return MakeNull();
  if (inDepth == kDeepest) throw ValueError(statement_text::kNestedTooDeeply);
  return Convert(view->get_InnerValue().get(), inTarget, inDepth + 1);
}

using Value = tarn::I_Value;
using Maker = ValueHandle (*)(Value&, TypeId, unsigned);

constexpr std::uint32_t kCodes = static_cast<std::uint32_t>(tarn::ValueType::kWrapped) + 1;

constexpr std::array<Maker, kCodes> MakeTable() {
  std::array<Maker, kCodes> table{};
  for (auto& maker : table) maker = MakeText;
  auto const set = [&table](tarn::ValueType inCode, Maker inMaker) {
    table[static_cast<std::uint32_t>(inCode)] = inMaker;
  };
  using enum tarn::ValueType;
  constexpr Maker byte = MakeWhole<&Value::get_Byte, duckdb_create_uint8>;
  constexpr Maker ushort = MakeWhole<&Value::get_UShort, duckdb_create_uint16>;
  constexpr Maker medium = MakeWhole<&Value::get_Long, duckdb_create_int32>;
  constexpr Maker umedium = MakeWhole<&Value::get_ULong, duckdb_create_uint32>;
  constexpr Maker real = MakeScalar<&Value::get_Double, duckdb_create_double>;
  set(kBoolean, MakeScalar<&Value::get_Boolean, duckdb_create_bool>);
  set(kByte, byte);
  set(kShort, MakeWhole<&Value::get_Short, duckdb_create_int16>);
  set(kUShort, ushort);
  set(kMedium, medium);
  set(kUMedium, umedium);
  set(kLong, medium);
  set(kULong, umedium);
  set(kLLong, MakeWhole<&Value::get_LLong, duckdb_create_int64>);
  set(kULLong, MakeWhole<&Value::get_ULLong, duckdb_create_uint64>);
  set(kFloat, MakeScalar<&Value::get_Float, duckdb_create_float>);
  set(kDouble, real);
  set(kMoney, real);
  set(kNumeric, real);
  set(kDate, MakeDate);
  set(kDateTime, MakeDateTime);
  set(kEnum8, byte);
  set(kEnum16, ushort);
  set(kWrapped, MakeWrapped);
  return table;
}

constexpr std::array<Maker, kCodes> kMakers = MakeTable();

ValueHandle Convert(Value* inValue, TypeId inTarget, unsigned inDepth) {
  if (!inValue || inValue->get_IsNull()) return MakeNull();
  if (auto const bytes =
          tarn::query_interface<tarn::I_ValueBinary>(inValue, tarn::kIID_ValueBinary)) {
    return MakeBlob(*bytes);
  }
  if (auto const object = tarn::query_interface<tarn::I_ValueJSON>(inValue, tarn::kIID_ValueJSON)) {
    if (IsVariantEnvelope(*object)) return ReadVariantEnvelope(*object);
  }
  auto const code = static_cast<std::uint32_t>(inValue->get_Type());
  return (code < kCodes ? kMakers[code] : MakeText)(*inValue, inTarget, inDepth);
}

}  // namespace

ValueHandle MakeDuckDBValue(Value* inValue, TypeId inTarget) {
  return Convert(inValue, inTarget, 1);
}

}  // namespace lumora
