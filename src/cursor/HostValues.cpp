#include "cursor/HostValues.h"

#include "tarn/Converter.h"
#include "tarn/Types.h"

namespace lumora {

ValuePtr MakeStringValue(tarn::String&& ioText) {
  ValuePtr value(tarn::CreateValueString(false, nullptr, nullptr));
  value->put_MaxLength((ioText.length() + 1) * 2);
  value->put_String(std::move(ioText));
  return value;
}

ValuePtr MakeStringValue(std::string_view inText) {
  return MakeStringValue(tarn::StToUTF16(inText.data(), static_cast<std::int64_t>(inText.size()),
                                         tarn::GetConverter_UTF8()));
}

ValuePtr MakeBlobValue(void const* inBytes, idx_t inSize) {
  auto const size = static_cast<std::uint32_t>(inSize);
  ValuePtr value(tarn::CreateValueFixedBinary(true, &size, nullptr));
  if (inBytes && size != 0) {
    value->put_MaxLength(size);
    value->put_Length(size);
    auto const binary =
        tarn::query_interface<tarn::I_ValueBinary>(value.get(), tarn::kIID_ValueBinary);
    binary->put_Data(inBytes, size);
  }
  return value;
}

ValuePtr MakeDateValue(duckdb_date inDate) {
  duckdb_date_struct const parts = duckdb_from_date(inDate);
  ValuePtr value(tarn::CreateValueDate(true, nullptr, nullptr));
  auto const date = tarn::query_interface<tarn::I_ValueDate>(value.get(), tarn::kIID_ValueDate);
  date->put_Date(parts.year, parts.month, parts.day);
  return value;
}

ValuePtr MakeDateTimeValue(duckdb_timestamp inTimestamp) {
  duckdb_timestamp_struct const parts = duckdb_from_timestamp(inTimestamp);
  ValuePtr value(tarn::CreateValueDateTime(false, nullptr, nullptr));
  auto const dateTime =
      tarn::query_interface<tarn::I_ValueDateTime>(value.get(), tarn::kIID_ValueDateTime);
  dateTime->put_DateTime(parts.date.year, parts.date.month, parts.date.day, parts.time.hour,
                         parts.time.min, parts.time.sec,
                         static_cast<std::int16_t>(parts.time.micros / 1000));
  return value;
}

}  // namespace lumora
