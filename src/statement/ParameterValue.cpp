#include "statement/ParameterValue.h"

#include <array>
#include <cstdint>
#include <utility>

#include "statement/CalendarTime.h"
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

using Value = tarn::I_Value;
using Cell = ParameterCell;

void Read(Value* inValue, TypeId inTarget, Cell& outCell, unsigned inDepth);

void ReadText(Value& inValue, TypeId, Cell& outCell, unsigned) {
  outCell.SetText(DUCKDB_TYPE_VARCHAR,
                  tarn::StFromUTF16(inValue.get_String(), tarn::GetConverter_UTF8()));
}

void ReadBytes(tarn::I_ValueBinary const& inBytes, Cell& outCell) {
  std::string bytes(inBytes.get_DataSize(), '\0');
  std::uint32_t const copied =
      inBytes.get_Data(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  if (copied < bytes.size()) bytes.resize(copied);
  outCell.SetText(DUCKDB_TYPE_BLOB, std::move(bytes));
}

// Codes whose value is what one getter gives.
template <auto TGet, TypeId TType>
void ReadScalar(Value& inValue, TypeId, Cell& outCell, unsigned) {
  outCell.Set(TType, (inValue.*TGet)());
}

// Whole numbers take the parameter's type where they fit, else their own.
template <auto TGet, TypeId TType>
void ReadWhole(Value& inValue, TypeId inTarget, Cell& outCell, unsigned) {
  auto const number = (inValue.*TGet)();
  if (!SetWholeNumber(outCell, inTarget, number)) outCell.Set(TType, number);
}

void ReadDate(Value& inValue, TypeId inTarget, Cell& outCell, unsigned inDepth) {
  auto const view = tarn::query_interface<tarn::I_ValueDate>(&inValue, tarn::kIID_ValueDate);
  if (!view) return ReadText(inValue, inTarget, outCell, inDepth);
  std::int32_t year = 0;
  std::int16_t month = 0;
  std::int16_t day = 0;
  view->get_Date(year, month, day);
  auto const date = MakeDate(year, month, day);
  if (!date) throw ValueError(statement_text::kDateOutOfRange);
  outCell.Set(DUCKDB_TYPE_DATE, *date);
}

void ReadDateTime(Value& inValue, TypeId inTarget, Cell& outCell, unsigned inDepth) {
  auto const view =
      tarn::query_interface<tarn::I_ValueDateTime>(&inValue, tarn::kIID_ValueDateTime);
  if (!view) return ReadText(inValue, inTarget, outCell, inDepth);
  auto const stamp = MakeTimestamp(view->get_DateTime());
  if (!stamp) throw ValueError(statement_text::kDateTimeOutOfRange);
  duckdb_timestamp_ms const milliseconds{stamp->micros / 1000};
  if (inTarget == DUCKDB_TYPE_TIMESTAMP) {
    outCell.Set(DUCKDB_TYPE_TIMESTAMP, duckdb_timestamp{milliseconds.millis * 1000});
  } else {
    outCell.Set(DUCKDB_TYPE_TIMESTAMP_MS, milliseconds);
  }
}

void ReadWrapped(Value& inValue, TypeId inTarget, Cell& outCell, unsigned inDepth) {
  auto const view = tarn::query_interface<tarn::I_ValueWrapper>(&inValue, tarn::kIID_ValueWrapper);
  if (!view) return outCell.SetNull();
  if (inDepth == kDeepest) throw ValueError(statement_text::kNestedTooDeeply);
  Read(view->get_InnerValue().get(), inTarget, outCell, inDepth + 1);
}

using Reader = void (*)(Value&, TypeId, Cell&, unsigned);

constexpr std::uint32_t kCodes = static_cast<std::uint32_t>(tarn::ValueType::kWrapped) + 1;

constexpr std::array<Reader, kCodes> MakeTable() {
  std::array<Reader, kCodes> table{};
  for (auto& reader : table) reader = ReadText;
  auto const set = [&table](tarn::ValueType inCode, Reader inReader) {
    table[static_cast<std::uint32_t>(inCode)] = inReader;
  };
  using enum tarn::ValueType;
  constexpr Reader byte = ReadWhole<&Value::get_Byte, DUCKDB_TYPE_UTINYINT>;
  constexpr Reader ushort = ReadWhole<&Value::get_UShort, DUCKDB_TYPE_USMALLINT>;
  constexpr Reader medium = ReadWhole<&Value::get_Long, DUCKDB_TYPE_INTEGER>;
  constexpr Reader umedium = ReadWhole<&Value::get_ULong, DUCKDB_TYPE_UINTEGER>;
  constexpr Reader real = ReadScalar<&Value::get_Double, DUCKDB_TYPE_DOUBLE>;
  set(kBoolean, ReadScalar<&Value::get_Boolean, DUCKDB_TYPE_BOOLEAN>);
  set(kByte, byte);
  set(kShort, ReadWhole<&Value::get_Short, DUCKDB_TYPE_SMALLINT>);
  set(kUShort, ushort);
  set(kMedium, medium);
  set(kUMedium, umedium);
  set(kLong, medium);
  set(kULong, umedium);
  set(kLLong, ReadWhole<&Value::get_LLong, DUCKDB_TYPE_BIGINT>);
  set(kULLong, ReadWhole<&Value::get_ULLong, DUCKDB_TYPE_UBIGINT>);
  set(kFloat, ReadScalar<&Value::get_Float, DUCKDB_TYPE_FLOAT>);
  set(kDouble, real);
  set(kMoney, real);
  set(kNumeric, real);
  set(kDate, ReadDate);
  set(kDateTime, ReadDateTime);
  set(kEnum8, byte);
  set(kEnum16, ushort);
  set(kWrapped, ReadWrapped);
  return table;
}

constexpr std::array<Reader, kCodes> kReaders = MakeTable();

void Read(Value* inValue, TypeId inTarget, Cell& outCell, unsigned inDepth) {
  if (!inValue || inValue->get_IsNull()) return outCell.SetNull();
  if (auto const bytes =
          tarn::query_interface<tarn::I_ValueBinary>(inValue, tarn::kIID_ValueBinary)) {
    return ReadBytes(*bytes, outCell);
  }
  if (auto const object = tarn::query_interface<tarn::I_ValueJSON>(inValue, tarn::kIID_ValueJSON)) {
    if (IsVariantEnvelope(*object)) return outCell.SetValue(ReadVariantEnvelope(*object));
  }
  auto const code = static_cast<std::uint32_t>(inValue->get_Type());
  (code < kCodes ? kReaders[code] : ReadText)(*inValue, inTarget, outCell, inDepth);
}

}  // namespace

void ReadParameter(Value* inValue, TypeId inTarget, ParameterCell& outCell) {
  Read(inValue, inTarget, outCell, 1);
}

ValueHandle MakeDuckDBValue(Value* inValue, TypeId inTarget) {
  ParameterCell cell;
  ReadParameter(inValue, inTarget, cell);
  return MakeValue(cell);
}

}  // namespace lumora
