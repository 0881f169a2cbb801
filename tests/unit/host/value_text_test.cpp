#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "Probe.h"
#include "tarn/Json.h"
#include "tarn/Value.h"

namespace {

using tarn::I_Value;
using tarn::I_ValueJSON;
using tarn::Json;
using tarn::smart_ptr;
using tarn::String;
using tarn::ValueType;
using tarn::WChar;
using tarn::test::Utf8;
using tarn::test::Wide;

smart_ptr<I_Value> Text(bool inNullable = false) {
  return smart_ptr<I_Value>(tarn::CreateValueString(inNullable, nullptr, nullptr));
}
smart_ptr<I_Value> JsonText(char const* inText, bool inNullable = false) {
  smart_ptr<I_Value> const value(tarn::CreateValueJSON(inNullable, nullptr, nullptr));
  value->put_String(String(inText));
  return value;
}
smart_ptr<I_ValueJSON> View(smart_ptr<I_Value> const& inValue) {
  return tarn::query_interface<I_ValueJSON>(inValue.get(), tarn::kIID_ValueJSON);
}

TEST(TextValue, ATextWithoutANumberIsZeroToEveryGetter) {
  auto const value = Text();
  for (char const* const text : {"", "abc", "-", "  ", "\xC3\xA9"}) {
    value->put_String(String(text));
    EXPECT_FALSE(value->get_Boolean());
    EXPECT_EQ(value->get_Byte(), 0);
    EXPECT_EQ(value->get_Short(), 0);
    EXPECT_EQ(value->get_UShort(), 0);
    EXPECT_EQ(value->get_Long(), 0);
    EXPECT_EQ(value->get_ULong(), 0u);
    EXPECT_EQ(value->get_LLong(), 0);
    EXPECT_EQ(value->get_ULLong(), 0u);
    EXPECT_EQ(value->get_Float(), 0);
    EXPECT_EQ(value->get_Double(), 0);
    EXPECT_EQ(Utf8(value->get_String()), text);
  }
}

TEST(TextValue, NumbersAreReadFromTheStartAndClamped) {
  auto const value = Text();
  value->put_String(String("-300.7 km"));
  EXPECT_TRUE(value->get_Boolean());
  EXPECT_EQ(value->get_Byte(), 0);
  EXPECT_EQ(value->get_Short(), -300);
  EXPECT_EQ(value->get_UShort(), 0);
  EXPECT_EQ(value->get_Long(), -300);
  EXPECT_EQ(value->get_ULLong(), 0u);
  EXPECT_EQ(value->get_Float(), -300.7f);
  EXPECT_EQ(value->get_Double(), -300.7);
  value->put_String(String("18446744073709551615"));
  EXPECT_EQ(value->get_ULLong(), std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(value->get_LLong(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(value->get_Byte(), 255);
  value->put_String(String("True"));
  EXPECT_TRUE(value->get_Boolean());
  EXPECT_EQ(value->get_Long(), 0);
}

TEST(TextValue, SettersOfOtherKindsWriteTheirText) {
  auto const value = Text(true);
  auto const expect = [&](char const* inText) {
    EXPECT_EQ(Utf8(value->get_String()), inText);
    EXPECT_FALSE(value->get_IsNull());
    value->put_IsNull(true);
    EXPECT_TRUE(value->get_IsNull());
    EXPECT_TRUE(value->get_String().isEmpty());
  };
  value->put_Boolean(true), expect("true");
  value->put_Boolean(false), expect("false");
  value->put_Byte(200), expect("200");
  value->put_Short(-5), expect("-5");
  value->put_UShort(65535), expect("65535");
  value->put_Long(-70000), expect("-70000");
  value->put_ULong(4294967295u), expect("4294967295");
  value->put_LLong(std::numeric_limits<std::int64_t>::min()), expect("-9223372036854775808");
  value->put_ULLong(std::numeric_limits<std::uint64_t>::max()), expect("18446744073709551615");
  value->put_Float(0.1f), expect("0.1");
  value->put_Double(0.1), expect("0.1");
  value->put_Double(std::nan("")), expect("NaN");
}

TEST(TextValue, AMovedInTextIsTakenOverWithoutACopy) {
  auto const value = Text();
  String text(std::string(1000, 'x').c_str());
  WChar const* const units = text.c_str();
  value->put_String(std::move(text));
  EXPECT_TRUE(text.isEmpty());
  String source("kept");
  value->put_String(source);
  EXPECT_EQ(Utf8(source), "kept");
  source = String(units == nullptr ? "" : "moved");
  value->put_String(std::move(source));
  EXPECT_EQ(Utf8(value->get_String()), "moved");
}

TEST(TextValue, ALongerTextThanDeclaredIsKeptWhole) {
  auto const value = Text();
  EXPECT_EQ(value->get_MaxLength(), 0u);
  value->put_MaxLength(4);
  value->put_String(String("longer than four bytes"));
  EXPECT_EQ(Utf8(value->get_String()), "longer than four bytes");
  EXPECT_EQ(value->get_MaxLength(), 4u);
}

TEST(TextValue, TheLengthCountsBytesAndCannotBeSet) {
  auto const value = Text(true);
  EXPECT_EQ(value->get_Length(), 0u);
  value->put_String(String("caf\xC3\xA9\0\xF0\x9F\x98\x80", 10));
  EXPECT_EQ(value->get_Length(), 7 * sizeof(WChar));
  value->put_Length(2);
  EXPECT_EQ(value->get_Length(), 7 * sizeof(WChar));
  value->put_IsNull(true);
  EXPECT_EQ(value->get_Length(), 0u);
}

TEST(TextValue, ANewTextIsEmptyAndNotNull) {
  auto const value = Text(true);
  EXPECT_EQ(value->get_Type(), ValueType::kString);
  EXPECT_EQ(value->get_RefsCount(), 1u);
  EXPECT_FALSE(value->get_IsNull());
  EXPECT_TRUE(value->get_String().isEmpty());
  EXPECT_EQ(value->QueryInterface(tarn::kIID_ValueJSON), nullptr);
}

TEST(TextValue, NullIsRefusedWhenItIsNotNullable) {
  auto const value = Text(false);
  value->put_String(String("kept"));
  value->put_IsNull(true);
  EXPECT_FALSE(value->get_IsNull());
  EXPECT_EQ(Utf8(value->get_String()), "kept");
}

TEST(JsonValue, ATextThatIsNoObjectHasNoMembers) {
  for (char const* const text : {"", "no json", "[1]", "\"a\"", "null", "{\"a\":", "{\"a\":1} x"}) {
    auto const value = JsonText(text);
    EXPECT_FALSE(View(value)->HasMember(String("a"))) << text;
    EXPECT_TRUE(View(value)->get_Member(String("a")).isEmpty()) << text;
    EXPECT_EQ(Utf8(value->get_String()), text) << "the text itself stays as it was put";
  }
}

TEST(JsonValue, MembersAreReadAsText) {
  auto const value = JsonText(
      "{\"duckdb_variant\":true,\"variant_type\":\"INT8\",\"value\":\"-7\",\"n\":null,"
      "\"o\":{ \"x\":[1, 2] },\"caf\xC3\xA9\":\"\\u00e9\"}");
  auto const view = View(value);
  struct Case {
    char const* mName;
    bool mHas;
    char const* mText;
  };
  for (Case const& c : {Case{"duckdb_variant", true, "true"}, Case{"variant_type", true, "INT8"},
                        Case{"value", true, "-7"}, Case{"n", true, "null"},
                        Case{"o", true, "{\"x\":[1,2]}"}, Case{"caf\xC3\xA9", true, "\xC3\xA9"},
                        Case{"x", false, ""}, Case{"", false, ""}, Case{"Value", false, ""}}) {
    EXPECT_EQ(view->HasMember(String(c.mName)), c.mHas) << c.mName;
    EXPECT_EQ(Utf8(view->get_Member(String(c.mName))), c.mText) << c.mName;
  }
  EXPECT_FALSE(view->HasMember(String("value\0", 6))) << "a name counts to its end";
}

TEST(JsonValue, TheViewFollowsTheText) {
  auto const value = JsonText("{\"a\":1}", true);
  auto const view = View(value);
  EXPECT_TRUE(view->HasMember(String("a")));
  value->put_String(String("{\"b\":2}"));
  EXPECT_FALSE(view->HasMember(String("a")));
  EXPECT_EQ(Utf8(view->get_Member(String("b"))), "2");
  value->put_Long(5);
  EXPECT_FALSE(view->HasMember(String("b")));
  value->put_String(String("{\"b\":2}"));
  EXPECT_TRUE(view->HasMember(String("b")));
  value->put_IsNull(true);
  EXPECT_FALSE(view->HasMember(String("b")));
}

TEST(JsonValue, EverySetterLeavesJson) {
  auto const value = JsonText("");
  EXPECT_EQ(value->get_Type(), ValueType::kJSON);
  auto const expect = [&](char const* inText) {
    EXPECT_EQ(Utf8(value->get_String()), inText);
    EXPECT_TRUE(Json(value->get_String()).isValid());
  };
  value->put_Boolean(true), expect("true");
  value->put_Boolean(false), expect("false");
  value->put_LLong(-5), expect("-5");
  value->put_Double(1e300), expect("1e+300");
  value->put_Double(std::nan("")), expect("\"NaN\"");
  value->put_Double(-HUGE_VAL), expect("\"-Infinity\"");
  value->put_Float(HUGE_VALF), expect("\"Infinity\"");
}

TEST(JsonValue, TheViewCountsForTheValue) {
  auto value = JsonText("{}");
  auto view = View(value);
  EXPECT_EQ(value->get_RefsCount(), 2u);
  EXPECT_EQ(view->get_RefsCount(), 2u);
  EXPECT_NE(static_cast<void*>(view.get()), static_cast<void*>(value.get()));
  EXPECT_EQ(view->QueryInterface(tarn::kIID_ValueDate), nullptr);
  auto const again = tarn::query_interface<I_ValueJSON>(view.get(), tarn::kIID_ValueJSON);
  EXPECT_EQ(again.get(), view.get());
  value.reset();
  EXPECT_EQ(view->get_RefsCount(), 2u);
  EXPECT_FALSE(view->HasMember(String("a")));
}

}  // namespace
