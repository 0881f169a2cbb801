#include "cursor/VariantEnvelope.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/HostValueText.h"
#include "support/TestValue.h"

namespace {

using lumora::EscapeJsonString;
using lumora::MakeVariantEnvelopeText;
using lumora::VariantTypeName;

struct EscapeCase {
  std::string_view mInput;
  std::string_view mOutput;
};

class EscapeJsonStringTest : public testing::TestWithParam<EscapeCase> {};

TEST_P(EscapeJsonStringTest, GivesTheExactBytes) {
  EXPECT_EQ(EscapeJsonString(GetParam().mInput), GetParam().mOutput);
}

INSTANTIATE_TEST_SUITE_P(
    Table, EscapeJsonStringTest,
    testing::Values(EscapeCase{"", ""}, EscapeCase{"plain / text", "plain / text"},
                    EscapeCase{"\"", "\\\""}, EscapeCase{"\\", "\\\\"}, EscapeCase{"\b", "\\b"},
                    EscapeCase{"\t", "\\t"}, EscapeCase{"\n", "\\n"}, EscapeCase{"\f", "\\f"},
                    EscapeCase{"\r", "\\r"}, EscapeCase{"\x01", "\\u0001"},
                    EscapeCase{"\x0b", "\\u000b"}, EscapeCase{"\x1f", "\\u001f"},
                    EscapeCase{{"\0", 1}, "\\u0000"}, EscapeCase{"\x7f", "\x7f"},
                    EscapeCase{"\x80", "\\u0080"}, EscapeCase{"\xff", "\\u00ff"},
                    EscapeCase{"\xc3\xa9", "\\u00c3\\u00a9"},
                    EscapeCase{"a\"b\\c\nd", "a\\\"b\\\\c\\nd"}));

TEST(EscapeJsonString, IsReadBackByAJsonReaderAsOneCodePointPerByte) {
  std::string bytes;
  for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
  auto const read = nlohmann::json::parse('"' + EscapeJsonString(bytes) + '"').get<std::string>();
  std::string expected;
  for (int i = 0; i < 256; ++i) {
    if (i < 0x80) {
      expected += static_cast<char>(i);
    } else {
      expected += static_cast<char>(0xC0 | (i >> 6));
      expected += static_cast<char>(0x80 | (i & 0x3F));
    }
  }
  EXPECT_EQ(read, expected);
}

TEST(VariantTypeName, NamesEveryCodeAndNoOther) {
  char const* const names[] = {"VARIANT_NULL",
                               "BOOL_TRUE",
                               "BOOL_FALSE",
                               "INT8",
                               "INT16",
                               "INT32",
                               "INT64",
                               "INT128",
                               "UINT8",
                               "UINT16",
                               "UINT32",
                               "UINT64",
                               "UINT128",
                               "FLOAT",
                               "DOUBLE",
                               "DECIMAL",
                               "VARCHAR",
                               "BLOB",
                               "UUID",
                               "DATE",
                               "TIME_MICROS",
                               "TIME_NANOS",
                               "TIMESTAMP_SEC",
                               "TIMESTAMP_MILIS",
                               "TIMESTAMP_MICROS",
                               "TIMESTAMP_NANOS",
                               "TIME_MICROS_TZ",
                               "TIMESTAMP_MICROS_TZ",
                               "INTERVAL",
                               "OBJECT",
                               "ARRAY",
                               "BIGNUM",
                               "BITSTRING",
                               "GEOMETRY"};
  for (std::uint32_t code = 0; code < 34; ++code) EXPECT_STREQ(VariantTypeName(code), names[code]);
  EXPECT_STREQ(VariantTypeName(34), "UNKNOWN");
  EXPECT_STREQ(VariantTypeName(0xFFFFFFFF), "UNKNOWN");
}

TEST(MakeVariantEnvelope, PutsThreeMembersInOrderWithoutWhiteSpace) {
  EXPECT_EQ(MakeVariantEnvelopeText("", ""),
            "{\"duckdb_variant\":true,\"variant_type\":\"\",\"value\":\"\"}");
  EXPECT_EQ(MakeVariantEnvelopeText("INT8", "-7"),
            "{\"duckdb_variant\":true,\"variant_type\":\"INT8\",\"value\":\"-7\"}");
  EXPECT_EQ(MakeVariantEnvelopeText("a\"b", "{\"x\":\"\xc3\xa9\"}"),
            "{\"duckdb_variant\":true,\"variant_type\":\"a\\\"b\",\"value\":\"{\\\"x\\\":"
            "\\\"\\u00c3\\u00a9\\\"}\"}");
}

TEST(MakeVariantEnvelope, IsAJsonValueThatCannotBecomeNull) {
  tarn::smart_ptr<tarn::I_Value> const value = lumora::MakeVariantEnvelope("UUID", "x");
  EXPECT_EQ(value->get_RefsCount(), 1U);
  EXPECT_EQ(value->get_Type(), tarn::ValueType::kJSON);
  EXPECT_FALSE(value->get_IsNullable());
  EXPECT_EQ(lumora::test::ToUTF8(value->get_String()), MakeVariantEnvelopeText("UUID", "x"));
  auto const json = tarn::query_interface<tarn::I_ValueJSON>(value.get(), tarn::kIID_ValueJSON);
  ASSERT_TRUE(json);
  EXPECT_TRUE(json->HasMember("duckdb_variant"));
  EXPECT_EQ(lumora::test::ToUTF8(json->get_Member("variant_type")), "UUID");
}

}  // namespace
