#include <fmt/format.h>

#include <cstdlib>

#include "ValueBase.h"

namespace tarn {
namespace {

using View = std::basic_string_view<WChar>;

// Takes a number of digits off the text; false when there is none or it does not fit.
bool TakeNumber(View& ioText, std::int64_t inMax, std::int64_t& outNumber) noexcept {
  std::size_t count = 0;
  outNumber = 0;
  while (count < ioText.size() && ioText[count] >= u'0' && ioText[count] <= u'9') {
    outNumber = outNumber * 10 + (ioText[count++] - u'0');
    if (outNumber > inMax) return false;
  }
  ioText.remove_prefix(count);
  return count != 0;
}

bool TakeUnit(View& ioText, WChar inUnit) noexcept {
  if (ioText.empty() || ioText.front() != inUnit) return false;
  ioText.remove_prefix(1);
  return true;
}

// A part behind its separator.
bool TakePart(View& ioText, WChar inSeparator, std::int16_t& outPart) noexcept {
  std::int64_t number = 0;
  if (!TakeUnit(ioText, inSeparator) || !TakeNumber(ioText, 9999, number)) return false;
  outPart = static_cast<std::int16_t>(number);
  return true;
}

bool TakeDate(View& ioText, DateTimeParts& outParts) noexcept {
  bool const isMinus = TakeUnit(ioText, u'-');
  std::int64_t year = 0;
  if (!TakeNumber(ioText, 0x7FFFFFFF, year)) return false;
  outParts.mYear = static_cast<std::int32_t>(isMinus ? -year : year);
  return TakePart(ioText, u'-', outParts.mMonth) && TakePart(ioText, u'-', outParts.mDay);
}

bool TakeTime(View& ioText, DateTimeParts& outParts) noexcept {
  if (!TakePart(ioText, ioText.front() == u'T' ? u'T' : u' ', outParts.mHour)) return false;
  if (!TakePart(ioText, u':', outParts.mMinute)) return false;
  if (ioText.empty()) return true;
  if (!TakePart(ioText, u':', outParts.mSecond)) return false;
  if (!TakeUnit(ioText, u'.')) return true;
  int weight = 100;
  for (; !ioText.empty() && ioText.front() >= u'0' && ioText.front() <= u'9'; weight /= 10) {
    int const digit = ioText.front() - u'0';
    outParts.mMillisecond = static_cast<std::int16_t>(outParts.mMillisecond + digit * weight);
    ioText.remove_prefix(1);
  }
  return true;
}

// The parts of a text in get_String's form; all 0 when it is in another one.
DateTimeParts ParseDateTime(View inText) noexcept {
  DateTimeParts parts;
  if (!TakeDate(inText, parts)) return {};
  if (inText.empty()) return parts;
  return TakeTime(inText, parts) && inText.empty() ? parts : DateTimeParts();
}

String Text(fmt::memory_buffer const& inText) {
  return String(inText.data(), static_cast<std::int32_t>(inText.size()));
}

void FormatDate(fmt::memory_buffer& outText, DateTimeParts const& inParts) {
  fmt::format_to(std::back_inserter(outText), "{}{:04}-{:02}-{:02}", inParts.mYear < 0 ? "-" : "",
                 std::abs(std::int64_t{inParts.mYear}), inParts.mMonth, inParts.mDay);
}

class DateValue final : public WithViews<ConvertingValue, I_ValueDate> {
 public:
  using ConvertingValue::put_String;

  explicit DateValue(bool inNullable) noexcept : WithViews(inNullable) {}

  ValueType get_Type() const override { return ValueType::kDate; }
  String get_String() const override {
    if (get_IsNull()) return {};
    fmt::memory_buffer text;
    FormatDate(text, {mYear, mMonth, mDay});
    return Text(text);
  }
  void put_String(String&& ioValue) override {
    DateTimeParts const parts = ParseDateTime(ioValue.view());
    put_Date(parts.mYear, parts.mMonth, parts.mDay);
  }
  std::uint32_t get_Length() const override {
    return get_IsNull() ? 0 : sizeof mYear + sizeof mMonth + sizeof mDay;
  }

  void get_Date(std::int32_t& outYear, std::int16_t& outMonth,
                std::int16_t& outDay) const override {
    outYear = mYear;
    outMonth = mMonth;
    outDay = mDay;
  }
  void put_Date(std::int32_t inYear, std::int16_t inMonth, std::int16_t inDay) override {
    mYear = inYear;
    mMonth = inMonth;
    mDay = inDay;
    SetNotNull();
  }

 private:
  void ClearContent() override {
    mYear = 0;
    mMonth = mDay = 0;
  }

  std::int32_t mYear = 0;
  std::int16_t mMonth = 0;
  std::int16_t mDay = 0;
};

class DateTimeValue final : public WithViews<ConvertingValue, I_ValueDate, I_ValueDateTime> {
 public:
  using ConvertingValue::put_String;

  explicit DateTimeValue(bool inNullable) noexcept : WithViews(inNullable) {}

  ValueType get_Type() const override { return ValueType::kDateTime; }
  String get_String() const override {
    if (get_IsNull()) return {};
    fmt::memory_buffer text;
    FormatDate(text, mParts);
    fmt::format_to(std::back_inserter(text), " {:02}:{:02}:{:02}.{:03}", mParts.mHour,
                   mParts.mMinute, mParts.mSecond, mParts.mMillisecond);
    return Text(text);
  }
  void put_String(String&& ioValue) override {
    mParts = ParseDateTime(ioValue.view());
    SetNotNull();
  }
  std::uint32_t get_Length() const override { return get_IsNull() ? 0 : sizeof mParts; }

  void get_Date(std::int32_t& outYear, std::int16_t& outMonth,
                std::int16_t& outDay) const override {
    outYear = mParts.mYear;
    outMonth = mParts.mMonth;
    outDay = mParts.mDay;
  }
  // The time of day stays.
  void put_Date(std::int32_t inYear, std::int16_t inMonth, std::int16_t inDay) override {
    mParts.mYear = inYear;
    mParts.mMonth = inMonth;
    mParts.mDay = inDay;
    SetNotNull();
  }

  DateTimeParts get_DateTime() const override { return mParts; }
  void put_DateTime(std::int32_t inYear, std::int16_t inMonth, std::int16_t inDay,
                    std::int16_t inHour, std::int16_t inMinute, std::int16_t inSecond,
                    std::int16_t inMillisecond) override {
    mParts = {inYear, inMonth, inDay, inHour, inMinute, inSecond, inMillisecond};
    SetNotNull();
  }

 private:
  void ClearContent() override { mParts = DateTimeParts(); }

  DateTimeParts mParts;
};

}  // namespace

I_Value* CreateValueDate(bool inNullable, void const*, void const*) {
  return new DateValue(inNullable);
}

I_Value* CreateValueDateTime(bool inNullable, void const*, void const*) {
  return new DateTimeValue(inNullable);
}

}  // namespace tarn
