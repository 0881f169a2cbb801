#include "tarn/lsql/CursorToJSON.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "Probe.h"
#include "tarn/Exceptions.h"
#include "tarn/lsql/I_DuckDBDatabase.h"

namespace {

using namespace tarn;  // NOLINT: the cursor's interface names nearly every type of the host
using lsql::CursorToJSON;
using lsql::I_DuckDBCursor;
using lsql::I_DuckDBDatabase;
using nlohmann::json;
using test::Utf8;
using test::Wide;
using Value = smart_ptr<I_Value>;
using Rows = std::vector<std::vector<Value>>;

class FakeCursor final : public I_DuckDBCursor {
 public:
  FakeCursor(std::vector<std::string> const& inNames, Rows inRows) : mRows(std::move(inRows)) {
    for (auto const& name : inNames) mNames.push_back(Wide(name));
  }

  std::uint32_t AddRef() override { return mRefCount.Increment(); }
  std::uint32_t Release() override {
    std::uint32_t const count = mRefCount.Decrement();
    if (count == 0) delete this;
    return count;
  }
  void* QueryInterface(std::uint32_t inInterfaceId) override {
    return InterfaceTableQueryInterface(this, inInterfaceId, PlainInterfaceTable());
  }
  std::uint32_t get_RefsCount() const override { return mRefCount.get(); }

  std::uint32_t get_ColumnCount() const override {
    return static_cast<std::uint32_t>(mNames.size());
  }
  String const& get_ColumnName(std::uint32_t inIndex) const override { return mNames.at(inIndex); }
  String const& get_ColumnTypeName(std::uint32_t) const override { return String::sEmpty; }
  std::uint32_t get_ColumnType(std::uint32_t) const override { return 0; }
  std::uint32_t get_RecordCount() override { throw Unsupported(); }
  std::uint32_t get_CurrentRecord() override { throw Unsupported(); }
  bool put_CurrentRecord(std::uint32_t) override { throw Unsupported(); }
  smart_ptr<I_DuckDBDatabase> get_Database() override { throw Unsupported(); }
  void Invalidate() override {}
  bool FirstRecord() override { throw Unsupported(); }
  bool LastRecord() override { throw Unsupported(); }
  bool NextRecord() override {
    if (mNext == mFailAt) throw lsql::xDuckDBError(0x72501, "path", "cut off");
    return mNext++ < mRows.size();
  }
  bool PrevRecord() override { throw Unsupported(); }
  Value get_Value(std::uint32_t inIndex) override { return mRows.at(mNext - 1).at(inIndex); }
  void Close() override {}

  std::size_t mFailAt = static_cast<std::size_t>(-1);

 private:
  static lsql::xDuckDBError Unsupported() { return {0x72501, "path", "forward only"}; }

  RefsCount mRefCount;
  std::vector<String> mNames;
  Rows mRows;
  std::size_t mNext = 0;
};

template <typename TFill>
Value Make(I_Value* (*inFactory)(bool, void const*, void const*), TFill inFill) {
  Value value(inFactory(true, nullptr, nullptr));
  inFill(*value);
  return value;
}

Value Text(std::string const& inText) {
  return Make(CreateValueString, [&](I_Value& v) { v.put_String(Wide(inText)); });
}
Value JsonOf(std::string const& inText) {
  return Make(CreateValueJSON, [&](I_Value& v) { v.put_String(Wide(inText)); });
}
Value Double(double inNumber) {
  return Make(CreateValueDouble, [&](I_Value& v) { v.put_Double(inNumber); });
}
Value Bytes(std::string const& inBytes) {
  return Make(CreateValueFixedBinary, [&](I_Value& v) {
    query_interface<I_ValueBinary>(&v, kIID_ValueBinary)
        ->put_Data(inBytes.data(), static_cast<std::uint32_t>(inBytes.size()));
  });
}
Value Wrapped(Value const& inInner) {
  return Make(CreateValueWrapped, [&](I_Value& v) {
    query_interface<I_ValueWrapper>(&v, kIID_ValueWrapper)->put_InnerValue(inInner);
  });
}

std::string Json(std::vector<std::string> const& inNames, Rows inRows) {
  return Utf8(CursorToJSON(smart_ptr<I_DuckDBCursor>(new FakeCursor(inNames, std::move(inRows)))));
}
std::string Cell(Value const& inValue) {
  std::string const text = Json({"c"}, {{inValue}});
  EXPECT_TRUE(json::accept(text)) << text;
  EXPECT_EQ(text.substr(0, 6), "[{\"c\":");
  return text.substr(6, text.size() - 8);
}

TEST(CursorToJSON, NoCursorAndNoRecordsAreAnEmptyArray) {
  EXPECT_EQ(Utf8(CursorToJSON({})), "[]");
  EXPECT_EQ(Json({"a", "b"}, {}), "[]");
}

TEST(CursorToJSON, TheCursorsErrorsArePassedOn) {
  smart_ptr<FakeCursor> const cursor(new FakeCursor({"a"}, {{Text("x")}, {Text("y")}}));
  cursor->mFailAt = 1;
  EXPECT_THROW(CursorToJSON(cursor), lsql::xDuckDBError);
  EXPECT_EQ(cursor->get_RefsCount(), 1u);
}

TEST(CursorToJSON, OnlyTheRecordsThatAreLeftAreRead) {
  smart_ptr<FakeCursor> const cursor(
      new FakeCursor({"a"}, {{Text("x")}, {Text("y")}, {Text("z")}}));
  ASSERT_TRUE(cursor->NextRecord());
  EXPECT_EQ(Utf8(CursorToJSON(cursor)), "[{\"a\":\"y\"},{\"a\":\"z\"}]");
}

TEST(CursorToJSON, MembersStandInColumnOrder) {
  Value const one = Make(CreateValueLong, [](I_Value& v) { v.put_Long(1); });
  EXPECT_EQ(Json({"z", "a", "m"}, {{one, Text("x"), Value()}, {one, one, one}}),
            "[{\"z\":1,\"a\":\"x\",\"m\":null},{\"z\":1,\"a\":1,\"m\":1}]");
  EXPECT_EQ(Json({}, {{}, {}}), "[{},{}]");
}

TEST(CursorToJSON, ANameThatOccursAgainGetsANumber) {
  Value const one = Make(CreateValueLong, [](I_Value& v) { v.put_Long(1); });
  struct Case {
    std::vector<std::string> mNames, mMembers;
  };
  for (Case const& c :
       {Case{{"a", "a", "b", "a"}, {"a", "a_1", "b", "a_2"}},
        Case{{"a_1", "a", "a"}, {"a_1", "a", "a_2"}},
        Case{{"a", "a", "a_1"}, {"a", "a_1", "a_1_1"}}, Case{{"", ""}, {"", "_1"}},
        Case{{"a", "A"}, {"a", "A"}}, Case{{"q\"\\", "\n\xC3\xA9"}, {"q\"\\", "\n\xC3\xA9"}}}) {
    auto const rows =
        nlohmann::ordered_json::parse(Json(c.mNames, {std::vector<Value>(c.mNames.size(), one)}));
    std::vector<std::string> members;
    for (auto const& [name, value] : rows[0].items()) members.push_back(name);
    EXPECT_EQ(members, c.mMembers);
  }
}

TEST(CursorToJSON, ManyEqualNamesAreNumberedThrough) {
  std::vector<std::string> const names(5000, "same");
  auto const rows = json::parse(Json(names, {std::vector<Value>(names.size(), Text("x"))}));
  EXPECT_EQ(rows[0].size(), names.size());
  EXPECT_TRUE(rows[0].contains("same_4999"));
}

TEST(CursorToJSON, NullOfEveryShapeIsNull) {
  EXPECT_EQ(Cell({}), "null");
  for (auto* const factory :
       {CreateValueBoolean, CreateValueLong, CreateValueString, CreateValueJSON, CreateValueDate,
        CreateValueWrapped, CreateValueFixedBinary}) {
    EXPECT_EQ(Cell(Make(factory, [](I_Value& v) { v.put_IsNull(true); })), "null");
  }
  EXPECT_EQ(Cell(Wrapped({})), "null");
  EXPECT_EQ(Cell(Wrapped(Wrapped(Make(CreateValueLong, [](I_Value& v) { v.put_IsNull(true); })))),
            "null");
}

TEST(CursorToJSON, NumbersKeepEveryDigit) {
  auto const integer = [](auto* inFactory, std::int64_t inNumber) {
    return Cell(Make(inFactory, [&](I_Value& v) { v.put_LLong(inNumber); }));
  };
  EXPECT_EQ(integer(CreateValueBoolean, 1), "true");
  EXPECT_EQ(integer(CreateValueBoolean, 0), "false");
  EXPECT_EQ(integer(CreateValueByte, 255), "255");
  EXPECT_EQ(integer(CreateValueShort, -32768), "-32768");
  EXPECT_EQ(integer(CreateValueUShort, 65535), "65535");
  EXPECT_EQ(integer(CreateValueMedium, -70000), "-70000");
  EXPECT_EQ(integer(CreateValueUMedium, 70000), "70000");
  EXPECT_EQ(integer(CreateValueLong, -2147483648LL), "-2147483648");
  EXPECT_EQ(integer(CreateValueULong, 4294967295LL), "4294967295");
  EXPECT_EQ(integer(CreateValueLLong, std::numeric_limits<std::int64_t>::min()),
            "-9223372036854775808");
  EXPECT_EQ(integer(CreateValueEnum8, 200), "200");
  EXPECT_EQ(integer(CreateValueEnum16, 60000), "60000");
  EXPECT_EQ(integer(CreateValueMoney, 12), "12");
  EXPECT_EQ(Cell(Make(CreateValueULLong, [](I_Value& v) { v.put_ULLong(18446744073709551615u); })),
            "18446744073709551615");
  EXPECT_EQ(Cell(Make(CreateValueFloat, [](I_Value& v) { v.put_Float(0.1f); })), "0.1");
  for (double const number : {0.1, 1.0 / 3, 1e300, 5e-324, -0.5, 1e22, 123456789.123456789}) {
    EXPECT_EQ(json::parse(Cell(Double(number))).get<double>(), number);
  }
}

TEST(CursorToJSON, WhatJsonHasNoNumberForIsAString) {
  EXPECT_EQ(Cell(Double(std::nan(""))), "\"NaN\"");
  EXPECT_EQ(Cell(Double(HUGE_VAL)), "\"Infinity\"");
  EXPECT_EQ(Cell(Double(-HUGE_VAL)), "\"-Infinity\"");
  EXPECT_EQ(Cell(Make(CreateValueFloat, [](I_Value& v) { v.put_Float(-HUGE_VALF); })),
            "\"-Infinity\"");
}

TEST(CursorToJSON, TextsAreEscapedAndKeptOtherwise) {
  std::string every;
  for (char32_t unit = 0; unit < 0x80; ++unit) every.push_back(static_cast<char>(unit));
  for (std::string const& text :
       {std::string(), every, std::string("caf\xC3\xA9 \xE6\x97\xA5 \xF0\x9F\xA6\x86 \xEF\xBF\xBF"),
        std::string("\\\"\\"), std::string(100000, '"')}) {
    EXPECT_EQ(json::parse(Cell(Text(text))).get<std::string>(), text);
  }
  EXPECT_EQ(Cell(Text("a\"b\\c\b\f\n\r\t\x01/")), "\"a\\\"b\\\\c\\b\\f\\n\\r\\t\\u0001/\"");
}

TEST(CursorToJSON, UnpairedSurrogatesBecomeReplacements) {
  WChar const units[] = {0xDC00, u'a', 0xD83D, 0xDE00, 0xD83D, 0};
  EXPECT_EQ(Cell(Make(CreateValueString, [&](I_Value& v) { v.put_String(String(units)); })),
            "\"\xEF\xBF\xBD"
            "a\xF0\x9F\x98\x80\xEF\xBF\xBD\"");
}

TEST(CursorToJSON, DatesAreStrings) {
  EXPECT_EQ(Cell(Make(CreateValueDate, [](I_Value& v) { v.put_String(String("2024-02-29")); })),
            "\"2024-02-29\"");
  EXPECT_EQ(Cell(Make(CreateValueDateTime,
                      [](I_Value& v) { v.put_String(String("2024-02-29 01:02:03.004")); })),
            "\"2024-02-29 01:02:03.004\"");
}

TEST(CursorToJSON, BytesAreBase64) {
  struct Case {
    std::string mBytes;
    char const* mExpected;
  };
  for (Case const& c : {Case{"", ""}, Case{"f", "Zg=="}, Case{"fo", "Zm8="}, Case{"foo", "Zm9v"},
                        Case{"foob", "Zm9vYg=="}, Case{"fooba", "Zm9vYmE="},
                        Case{"foobar", "Zm9vYmFy"}, Case{std::string("\0\xFF\xFE", 3), "AP/+"}}) {
    EXPECT_EQ(Cell(Bytes(c.mBytes)), std::string("\"") + c.mExpected + "\"");
  }
}

TEST(CursorToJSON, JsonStandsAsItIsAndWhatIsNoneIsAString) {
  EXPECT_EQ(Cell(JsonOf("{ \"a\" : [1, 2.50] }")), "{ \"a\" : [1, 2.50] }");
  EXPECT_EQ(Cell(JsonOf("\"t\"")), "\"t\"");
  EXPECT_EQ(Cell(JsonOf("null")), "null");
  for (std::string const& text : {std::string(), std::string("{\"a\":"), std::string("plain"),
                                  std::string("1}],[{"), std::string("1\0", 2)}) {
    EXPECT_EQ(json::parse(Cell(JsonOf(text))).get<std::string>(), text);
  }
}

TEST(CursorToJSON, AWrappedValueStandsForItsInnerOne) {
  EXPECT_EQ(Cell(Wrapped(Wrapped(Double(1.5)))), "1.5");
  EXPECT_EQ(Cell(Wrapped(JsonOf("[1]"))), "[1]");
  EXPECT_EQ(Cell(Wrapped(Bytes("foo"))), "\"Zm9v\"");
}

}  // namespace
