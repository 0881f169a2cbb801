#include "tarn/Json.h"

#include <gtest/gtest.h>

#include <string>

#include "Probe.h"

namespace {

using tarn::Json;
using tarn::String;
using tarn::test::Utf8;
using tarn::test::Wide;

TEST(Json, WhatIsNotOneJsonValueIsInvalid) {
  for (char const* const text :
       {"",        " ",     "{",           "}",        "[",        "[1,]",          "{\"a\":1,}",
        "{\"a\"}", "{a:1}", "{'a':1}",     "\"open",   "\"\\x\"",  "\"tab\there\"", "01",
        "1.",      ".5",    "+1",          "NaN",      "nul",      "True",          "1 2",
        "{} {}",   "[1]x",  "\"\\ud800\"", "\"\xFF\"", "\"\xC3\"", "\xEF\xBB",      "// c\n1",
        "1e999",   "-1e999"}) {
    Json const json(text);
    EXPECT_FALSE(json.isValid()) << text;
    EXPECT_FALSE(json.isObject()) << text;
    EXPECT_FALSE(json.HasMember("a")) << text;
    EXPECT_TRUE(json.get_JsonValue("a").isEmpty()) << text;
  }
  EXPECT_FALSE(Json(static_cast<char const*>(nullptr)).isValid());
}

TEST(Json, ATextIsInvalidFromItsNulOn) {
  EXPECT_FALSE(Json(String("{\"a\":1}\0", 8)).isValid());
  EXPECT_FALSE(Json(String("{\"a\":1}\0garbage", 15)).isValid());
  EXPECT_FALSE(Json(String("\"a\0b\"", 5)).isValid());
  EXPECT_TRUE(Json("{\"a\":1}\0garbage").isValid()) << "a narrow text ends at its terminator";
}

TEST(Json, ValuesThatAreNoObjectHaveNoMembers) {
  for (char const* const text : {"null", "true", "1", "-0.5e-3", "\"a\"", "[]", "[{\"a\":1}]",
                                 " [ 1 , 2 ] ", "\"\\u0041\\ud83d\\ude00\\n\""}) {
    Json const json(text);
    EXPECT_TRUE(json.isValid()) << text;
    EXPECT_FALSE(json.isObject()) << text;
    EXPECT_FALSE(json.HasMember("a")) << text;
    EXPECT_TRUE(json.get_JsonValue("a").isEmpty()) << text;
  }
}

TEST(Json, MembersAreTexts) {
  struct Case {
    char const* mValue;
    char const* mExpected;
  };
  for (Case const& c : {
           Case{"\"text\"", "text"},
           Case{"\"\"", ""},
           Case{"\"q\\\"\\\\\\/\\b\\f\\n\\r\\t\"", "q\"\\/\b\f\n\r\t"},
           Case{"\"\\u00e9\\ud83d\\ude00\"", "\xC3\xA9\xF0\x9F\x98\x80"},
           Case{"\"caf\xC3\xA9\"", "caf\xC3\xA9"},
           Case{"true", "true"},
           Case{"false", "false"},
           Case{"null", ""},
           Case{"0", "0"},
           Case{"9223372036854775807", "9223372036854775807"},
           Case{"-9223372036854775808", "-9223372036854775808"},
           Case{"18446744073709551615", "18446744073709551615"},
           Case{"123456789012345678901234567890", "123456789012345678901234567890"},
           Case{"1.50", "1.50"},
           Case{"-1E+5", "-1E+5"},
           Case{"[]", "[]"},
           Case{"{}", "{}"},
           Case{" [ 1 , [ ] , { } , \"a\" , null ] ", "[1,[],{},\"a\",null]"},
           Case{"{ \"x\" : { \"y\" : [ 1 , 2 ] } , \"z\" : true }",
                "{\"x\":{\"y\":[1,2]},\"z\":true}"},
           Case{"[\"quote \\\" back \\\\ line \\n\"]", "[\"quote \\\" back \\\\ line \\u000a\"]"},
           Case{"{\"a{\":\"[\",\"b,\":\":\"}", "{\"a{\":\"[\",\"b,\":\":\"}"},
       }) {
    std::string const text = std::string("{\"before\":0,\"m\":") + c.mValue + ",\"after\":1}";
    for (bool const isWide : {false, true}) {
      Json const json = isWide ? Json(Wide(text)) : Json(text.c_str());
      EXPECT_TRUE(json.isValid()) << text;
      EXPECT_TRUE(json.isObject());
      EXPECT_TRUE(json.HasMember("m"));
      EXPECT_EQ(Utf8(json.get_JsonValue("m")), c.mExpected) << text;
      EXPECT_EQ(Utf8(json.get_JsonValue("after")), "1") << text;
    }
  }
}

TEST(Json, AMemberOfAMemberIsNoMember) {
  Json const json("{\"a\":{\"inner\":1},\"b\":[{\"inner\":2}]}");
  EXPECT_TRUE(json.HasMember("a"));
  EXPECT_FALSE(json.HasMember("inner"));
  EXPECT_FALSE(json.HasMember(""));
  EXPECT_FALSE(json.HasMember(nullptr));
  EXPECT_TRUE(json.get_JsonValue(nullptr).isEmpty());
  EXPECT_TRUE(json.get_JsonValue("inner").isEmpty());
  EXPECT_EQ(Utf8(Json("{\"\":5}").get_JsonValue("")), "5");
}

TEST(Json, OfSeveralMembersOfOneNameTheLastCounts) {
  Json const json("{\"a\":1,\"b\":2,\"a\":\"last\"}");
  EXPECT_EQ(Utf8(json.get_JsonValue("a")), "last");
  EXPECT_EQ(Utf8(Json("{\"a\":null,\"a\":3}").get_JsonValue("a")), "3");
  EXPECT_EQ(Utf8(Json("{\"a\":3,\"a\":null}").get_JsonValue("a")), "");
}

TEST(Json, NestingOfAnyDepthIsRead) {
  constexpr std::size_t kDepth = 1'000'000;
  std::string const deep = std::string(kDepth, '[') + std::string(kDepth, ']');
  EXPECT_TRUE(Json(deep.c_str()).isValid());
  EXPECT_FALSE(Json(std::string(kDepth, '[').c_str()).isValid());
  EXPECT_FALSE(Json((deep + "]").c_str()).isValid());
  EXPECT_EQ(Utf8(Json(("{\"a\":" + deep + "}").c_str()).get_JsonValue("a")), deep);
  std::string objects;
  for (std::size_t i = 0; i < kDepth; ++i) objects += "{\"a\":";
  EXPECT_FALSE(Json(objects.c_str()).isValid());
  EXPECT_TRUE(Json((objects + "1" + std::string(kDepth, '}')).c_str()).isObject());
}

TEST(Json, AnErrorReportOfDuckDBIsRead) {
  Json const json(
      "{\"exception_type\":\"Catalog\",\"exception_message\":\"Table with name t does not "
      "exist!\\nDid you mean "
      "\\\"u\\\"?\",\"position\":\"14\",\"error_subtype\":\"MISSING_ENTRY\"}");
  EXPECT_EQ(Utf8(json.get_JsonValue("exception_type")), "Catalog");
  EXPECT_EQ(Utf8(json.get_JsonValue("exception_message")),
            "Table with name t does not exist!\nDid you mean \"u\"?");
  EXPECT_EQ(json.get_JsonValue("position").parseLLong(), 14);
}

}  // namespace
