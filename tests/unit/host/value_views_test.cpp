#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Probe.h"
#include "tarn/Value.h"

namespace {

using tarn::DateTimeParts;
using tarn::I_Value;
using tarn::I_ValueBinary;
using tarn::I_ValueDate;
using tarn::I_ValueDateTime;
using tarn::smart_ptr;
using tarn::String;
using tarn::ValueType;
using tarn::test::Utf8;
using Bytes = std::vector<unsigned char>;

smart_ptr<I_Value> Binary(std::uint32_t inSize, bool inNullable = true) {
  return smart_ptr<I_Value>(tarn::CreateValueFixedBinary(inNullable, &inSize, nullptr));
}
smart_ptr<I_Value> Date(bool inNullable = true) {
  return smart_ptr<I_Value>(tarn::CreateValueDate(inNullable, nullptr, nullptr));
}
smart_ptr<I_Value> DateTime(bool inNullable = true) {
  return smart_ptr<I_Value>(tarn::CreateValueDateTime(inNullable, nullptr, nullptr));
}
smart_ptr<I_ValueBinary> BinaryView(smart_ptr<I_Value> const& inValue) {
  return tarn::query_interface<I_ValueBinary>(inValue.get(), tarn::kIID_ValueBinary);
}
smart_ptr<I_ValueDate> DateView(smart_ptr<I_Value> const& inValue) {
  return tarn::query_interface<I_ValueDate>(inValue.get(), tarn::kIID_ValueDate);
}
smart_ptr<I_ValueDateTime> DateTimeView(smart_ptr<I_Value> const& inValue) {
  return tarn::query_interface<I_ValueDateTime>(inValue.get(), tarn::kIID_ValueDateTime);
}

Bytes Content(smart_ptr<I_Value> const& inValue) {
  auto const view = BinaryView(inValue);
  Bytes bytes(view->get_DataSize() + 4, 0xEE);
  EXPECT_EQ(view->get_Data(bytes.data(), static_cast<std::uint32_t>(bytes.size())),
            view->get_DataSize());
  EXPECT_EQ(inValue->get_Length(), view->get_DataSize());
  bytes.resize(view->get_DataSize());
  return bytes;
}

TEST(Views, EachKindOffersItsOwnAndNoOther) {
  struct Case {
    smart_ptr<I_Value> mValue;
    ValueType mType;
    std::vector<std::uint32_t> mViews;
  };
  smart_ptr<I_Value> const json(tarn::CreateValueJSON(false, nullptr, nullptr));
  smart_ptr<I_Value> const wrapped(tarn::CreateValueWrapped(false, nullptr, nullptr));
  for (Case const& c :
       {Case{Binary(3), ValueType::kFixedBinary, {1, 2202}},
        Case{Date(), ValueType::kDate, {1, 2203}},
        Case{DateTime(), ValueType::kDateTime, {1, 2203, 2204}},
        Case{json, ValueType::kJSON, {1, 2213}}, Case{wrapped, ValueType::kWrapped, {1, 2211}}}) {
    EXPECT_EQ(c.mValue->get_Type(), c.mType);
    for (std::uint32_t number = 0; number < 3000; ++number) {
      bool const isOffered = std::find(c.mViews.begin(), c.mViews.end(), number) != c.mViews.end();
      auto const view = tarn::query_interface<tarn::I_Unknown>(c.mValue.get(), number);
      ASSERT_EQ(static_cast<bool>(view), isOffered) << static_cast<int>(c.mType) << " " << number;
      EXPECT_TRUE(!view || view->get_RefsCount() == c.mValue->get_RefsCount());
    }
  }
}

TEST(Views, AViewKeepsItsValueAlive) {
  auto view = BinaryView(Binary(3));
  EXPECT_EQ(view->get_RefsCount(), 1u);
  EXPECT_EQ(view->get_DataSize(), 3u);
  auto const date = DateView(DateTime());
  EXPECT_EQ(tarn::query_interface<I_ValueDateTime>(date.get(), 2204)->get_DateTime().mYear, 0);
}

TEST(BinaryValue, ItStartsAsZeroBytesOfTheGivenSize) {
  for (std::uint32_t const size : {0u, 1u, 16u, 256u, 257u, 100000u}) {
    auto const value = Binary(size);
    EXPECT_EQ(Content(value), Bytes(size, 0));
    EXPECT_EQ(value->get_MaxLength(), size);
    EXPECT_FALSE(value->get_IsNull());
  }
  smart_ptr<I_Value> const value(tarn::CreateValueFixedBinary(true, nullptr, nullptr));
  EXPECT_EQ(Content(value), Bytes());
}

TEST(BinaryValue, ReadingCopiesNoMoreThanAskedForAndThere) {
  auto const value = Binary(0);
  auto const view = BinaryView(value);
  EXPECT_EQ(view->get_Data(nullptr, 5), 0u);
  view->put_Data("abc", 3);
  unsigned char bytes[5] = {9, 9, 9, 9, 9};
  EXPECT_EQ(view->get_Data(bytes, 2), 2u);
  EXPECT_EQ(bytes[2], 9);
  EXPECT_EQ(view->get_Data(bytes, 5), 3u);
  EXPECT_EQ(bytes[2], 'c');
  EXPECT_EQ(bytes[3], 9);
  EXPECT_EQ(view->get_Data(nullptr, 5), 0u);
  EXPECT_EQ(view->get_Data(bytes, 0), 0u);
}

TEST(BinaryValue, DataReplacesContentLengthAndNullness) {
  auto const value = Binary(2);
  value->put_IsNull(true);
  EXPECT_EQ(Content(value), Bytes());
  std::string const data("\0\x01\xFF tail", 8);
  BinaryView(value)->put_Data(data.data(), 8);
  EXPECT_FALSE(value->get_IsNull());
  EXPECT_EQ(Content(value), Bytes(data.begin(), data.end()));
  EXPECT_EQ(value->get_MaxLength(), 2u) << "a description only";
  BinaryView(value)->put_Data("xy", 2);
  EXPECT_EQ(Content(value), (Bytes{'x', 'y'}));
  BinaryView(value)->put_Data(nullptr, 7);
  EXPECT_EQ(Content(value), Bytes());
}

TEST(BinaryValue, SettingTheLengthKeepsTheBytesAndAddsZeros) {
  auto const value = Binary(0);
  BinaryView(value)->put_Data("abcd", 4);
  value->put_Length(2);
  EXPECT_EQ(Content(value), (Bytes{'a', 'b'}));
  value->put_Length(4);
  EXPECT_EQ(Content(value), (Bytes{'a', 'b', 0, 0}));
  value->put_Length(1000);
  EXPECT_EQ(Content(value)[0], 'a');
  EXPECT_EQ(Content(value)[999], 0);
  value->put_Length(0);
  EXPECT_EQ(Content(value), Bytes());
}

TEST(BinaryValue, ItsTextIsLowerCaseHexadecimalAndSetsItAgain) {
  auto const value = Binary(0);
  EXPECT_TRUE(value->get_String().isEmpty());
  Bytes all(256);
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = static_cast<unsigned char>(i);
  BinaryView(value)->put_Data(all.data(), 256);
  String const text = value->get_String();
  EXPECT_EQ(Utf8(text).substr(0, 8), "00010203");
  EXPECT_EQ(Utf8(text).substr(504), "fcfdfeff");
  auto const copy = Binary(0);
  copy->put_String(text);
  EXPECT_EQ(Content(copy), all);
  copy->put_String(String("CAFE"));
  EXPECT_EQ(Content(copy), (Bytes{0xCA, 0xFE}));
  for (char const* const other : {"", "abc", "xy", "0x12", "\xC3\xA9\xC3\xA9"}) {
    copy->put_String(String(other));
    EXPECT_EQ(Content(copy), Bytes()) << other;
  }
}

TEST(BinaryValue, NumbersAreNoBytesAndBytesNoNumber) {
  auto const value = Binary(8);
  EXPECT_EQ(value->get_LLong(), 0);
  EXPECT_EQ(value->get_Double(), 0);
  EXPECT_FALSE(value->get_Boolean());
  BinaryView(value)->put_Data("12345678", 8);
  EXPECT_EQ(value->get_LLong(), 0);
  value->put_Long(5);
  EXPECT_EQ(Content(value), Bytes());
}

void ExpectDate(smart_ptr<I_Value> const& inValue, int inYear, int inMonth, int inDay) {
  std::int32_t year = -1;
  std::int16_t month = -1;
  std::int16_t day = -1;
  DateView(inValue)->get_Date(year, month, day);
  EXPECT_EQ(year, inYear);
  EXPECT_EQ(month, inMonth);
  EXPECT_EQ(day, inDay);
}

TEST(DateValue, PartsAreKeptAsGiven) {
  for (auto const& value : {Date(), DateTime()}) {
    ExpectDate(value, 0, 0, 0);
    value->put_IsNull(true);
    DateView(value)->put_Date(-44, 3, 15);
    EXPECT_FALSE(value->get_IsNull());
    ExpectDate(value, -44, 3, 15);
    DateView(value)->put_Date(2147483647, 99, -1);
    ExpectDate(value, 2147483647, 99, -1);
    value->put_IsNull(true);
    ExpectDate(value, 0, 0, 0);
    EXPECT_TRUE(value->get_String().isEmpty());
    EXPECT_EQ(value->get_Length(), 0u);
  }
}

TEST(DateValue, ItsTextIsIsoAndSetsItAgain) {
  struct Case {
    int mYear, mMonth, mDay;
    char const* mText;
  };
  auto const value = Date();
  for (Case const& c :
       {Case{2024, 1, 5, "2024-01-05"}, Case{1, 12, 31, "0001-12-31"}, Case{0, 1, 1, "0000-01-01"},
        Case{-43, 3, 15, "-0043-03-15"}, Case{12345, 6, 7, "12345-06-07"},
        Case{-2147483647, 1, 1, "-2147483647-01-01"}}) {
    DateView(value)->put_Date(c.mYear, static_cast<std::int16_t>(c.mMonth),
                              static_cast<std::int16_t>(c.mDay));
    EXPECT_EQ(Utf8(value->get_String()), c.mText);
    auto const copy = Date();
    copy->put_String(String(c.mText));
    ExpectDate(copy, c.mYear, c.mMonth, c.mDay);
  }
}

TEST(DateValue, OtherTextsAndNumbersGivePartsOfZero) {
  for (auto const& value : {Date(), DateTime()}) {
    for (char const* const text :
         {"", "2024", "2024-01", "2024-01-", "2024/01/05", "x2024-01-05", "2024-01-05x",
          "2024-01-05 10", "2024-01-05 10:11:12.5x", "99999999999-01-01", "2024-99999-01"}) {
      DateView(value)->put_Date(2000, 2, 3);
      value->put_String(String(text));
      ExpectDate(value, 0, 0, 0);
      EXPECT_FALSE(value->get_IsNull());
    }
    DateView(value)->put_Date(2000, 2, 3);
    EXPECT_EQ(value->get_Long(), 0);
    EXPECT_EQ(value->get_Double(), 0);
    EXPECT_FALSE(value->get_Boolean());
    value->put_Long(20000203);
    ExpectDate(value, 0, 0, 0);
  }
}

TEST(DateTimeValue, AllPartsAreKeptAndReadThroughBothViews) {
  auto const value = DateTime();
  value->put_IsNull(true);
  DateTimeView(value)->put_DateTime(2024, 2, 29, 23, 59, 58, 123);
  EXPECT_FALSE(value->get_IsNull());
  DateTimeParts const parts = DateTimeView(value)->get_DateTime();
  EXPECT_EQ(parts.mYear, 2024);
  EXPECT_EQ(parts.mMonth, 2);
  EXPECT_EQ(parts.mDay, 29);
  EXPECT_EQ(parts.mHour, 23);
  EXPECT_EQ(parts.mMinute, 59);
  EXPECT_EQ(parts.mSecond, 58);
  EXPECT_EQ(parts.mMillisecond, 123);
  ExpectDate(value, 2024, 2, 29);
  EXPECT_EQ(Utf8(value->get_String()), "2024-02-29 23:59:58.123");
}

TEST(DateTimeValue, PuttingADateKeepsTheTimeOfDay) {
  auto const value = DateTime();
  DateTimeView(value)->put_DateTime(2024, 2, 29, 1, 2, 3, 4);
  DateView(value)->put_Date(1999, 12, 31);
  EXPECT_EQ(Utf8(value->get_String()), "1999-12-31 01:02:03.004");
}

TEST(DateTimeValue, ItsTextSetsItAgain) {
  struct Case {
    char const* mText;
    char const* mExpected;
  };
  auto const value = DateTime();
  for (Case const& c : {Case{"2024-02-29 23:59:58.123", "2024-02-29 23:59:58.123"},
                        Case{"-0044-03-15 00:00:00.000", "-0044-03-15 00:00:00.000"},
                        Case{"2024-02-29", "2024-02-29 00:00:00.000"},
                        Case{"2024-02-29T10:11", "2024-02-29 10:11:00.000"},
                        Case{"2024-02-29 10:11:12", "2024-02-29 10:11:12.000"},
                        Case{"2024-02-29 10:11:12.5", "2024-02-29 10:11:12.500"},
                        Case{"2024-02-29 10:11:12.123999", "2024-02-29 10:11:12.123"}}) {
    value->put_String(String(c.mText));
    EXPECT_EQ(Utf8(value->get_String()), c.mExpected) << c.mText;
  }
}

}  // namespace
