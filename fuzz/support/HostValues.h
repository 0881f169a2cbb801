#pragma once

#include <string>
#include <vector>

#include "support/Input.h"
#include "tarn/Array.h"
#include "tarn/Converter.h"
#include "tarn/Value.h"
#include "tarn/smart_ptr.h"

namespace lumora::fuzz {

using ValuePtr = tarn::smart_ptr<tarn::I_Value>;

inline tarn::String Wide(std::string const& inText) {
  return tarn::StToUTF16(inText.data(), static_cast<std::int64_t>(inText.size()),
                         tarn::GetConverter_UTF8());
}
inline std::string Narrow(tarn::String const& inText) {
  return tarn::StFromUTF16(inText, tarn::GetConverter_UTF8());
}

namespace detail {

inline ValuePtr Fill(ValuePtr inValue, Input& ioInput) {
  tarn::I_Value& value = *inValue;
  switch (ioInput.TakeBelow(6)) {
    case 0:
      value.put_LLong(static_cast<std::int64_t>(ioInput.TakeNumber()));
      break;
    case 1:
      value.put_ULLong(ioInput.TakeNumber());
      break;
    case 2:
      value.put_Double(ioInput.Take<double>());
      break;
    case 3:
      value.put_String(Wide(ioInput.TakeBytes(60)));
      break;
    case 4:
      value.put_IsNull(true);
      break;
    default:
      break;
  }
  return inValue;
}

inline void FillDate(tarn::I_Value& ioValue, Input& ioInput) {
  auto const date = tarn::query_interface<tarn::I_ValueDate>(&ioValue, tarn::kIID_ValueDate);
  auto const year = ioInput.Take<std::int32_t>();
  auto const part = [&] {
    return static_cast<std::int16_t>(ioInput.TakeBool() ? ioInput.TakeBelow(32)
                                                        : ioInput.Take<std::uint16_t>());
  };
  std::int16_t const month = part();
  std::int16_t const day = part();
  if (date) date->put_Date(ioInput.TakeBool() ? year : year % 3000, month, day);
  auto const moment =
      tarn::query_interface<tarn::I_ValueDateTime>(&ioValue, tarn::kIID_ValueDateTime);
  if (moment && ioInput.TakeBool()) {
    moment->put_DateTime(year % 9999, month, day, part(), part(), part(), part());
  }
}

}  // namespace detail

// A host value of any kind with any content, or none (a null pointer).
inline ValuePtr TakeValue(Input& ioInput, unsigned inDepth = 0) {
  using Factory = tarn::I_Value* (*)(bool, void const*, void const*);
  static constexpr Factory kFactories[] = {
      tarn::CreateValueBoolean, tarn::CreateValueByte,    tarn::CreateValueShort,
      tarn::CreateValueUShort,  tarn::CreateValueMedium,  tarn::CreateValueUMedium,
      tarn::CreateValueLong,    tarn::CreateValueULong,   tarn::CreateValueLLong,
      tarn::CreateValueULLong,  tarn::CreateValueFloat,   tarn::CreateValueDouble,
      tarn::CreateValueMoney,   tarn::CreateValueNumeric, tarn::CreateValueString,
      tarn::CreateValueEnum8,   tarn::CreateValueEnum16,  tarn::CreateValueJSON};
  constexpr std::size_t kPlain = std::size(kFactories);
  std::size_t const kind = ioInput.TakeBelow(kPlain + 5);
  if (kind < kPlain) return detail::Fill(kFactories[kind](true, nullptr, nullptr), ioInput);
  if (kind == kPlain) return nullptr;
  if (kind == kPlain + 1) {
    std::uint32_t const size = ioInput.Take<std::uint8_t>();
    ValuePtr bytes(tarn::CreateValueFixedBinary(true, &size, nullptr));
    std::string const content = ioInput.TakeBytes();
    auto const view =
        tarn::query_interface<tarn::I_ValueBinary>(bytes.get(), tarn::kIID_ValueBinary);
    view->put_Data(content.data(), static_cast<std::uint32_t>(content.size()));
    return bytes;
  }
  if (kind == kPlain + 2 && inDepth < 4) {
    ValuePtr wrapped(tarn::CreateValueWrapped(true, nullptr, nullptr));
    auto const view =
        tarn::query_interface<tarn::I_ValueWrapper>(wrapped.get(), tarn::kIID_ValueWrapper);
    view->put_InnerValue(TakeValue(ioInput, inDepth + 1));
    return wrapped;
  }
  ValuePtr date(kind == kPlain + 3 ? tarn::CreateValueDate(true, nullptr, nullptr)
                                   : tarn::CreateValueDateTime(true, nullptr, nullptr));
  detail::FillDate(*date, ioInput);
  return date;
}

inline tarn::smart_ptr<tarn::ValueRow> TakeRow(Input& ioInput) {
  if (ioInput.TakeBelow(8) == 7) return nullptr;
  tarn::smart_ptr<tarn::ValueRow> row(new tarn::ValueRow);
  for (std::size_t i = ioInput.TakeBelow(4); i > 0; --i) row->Append(TakeValue(ioInput));
  return row;
}

inline tarn::smart_ptr<tarn::ValueRows> TakeRows(Input& ioInput) {
  if (ioInput.TakeBelow(8) == 7) return nullptr;
  tarn::smart_ptr<tarn::ValueRows> rows(new tarn::ValueRows);
  for (std::size_t i = ioInput.TakeBelow(5); i > 0; --i) rows->Append(TakeRow(ioInput));
  return rows;
}

}  // namespace lumora::fuzz
