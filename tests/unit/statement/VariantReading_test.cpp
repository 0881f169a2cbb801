#include "statement/VariantReading.h"

#include <gtest/gtest.h>

#include "duckdb_c/Types.h"
#include "duckdb_c/duckdb_completion.h"
#include "support/FakeDatabase.h"
#include "support/Seed.h"
#include "support/SeenBySql.h"
#include "support/TestValue.h"
#include "tarn/Exceptions.h"

namespace lumora {
namespace {

using test::ToUTF8;

using test::SeenBySql;

struct Case {
  char const* mType;
  char const* mText;
  char const* mSeen;
};

class Envelope : public testing::TestWithParam<Case> {};

TEST_P(Envelope, IsRebuiltAsTheTypeItNames) {
  EXPECT_EQ(SeenBySql(ReadVariant(GetParam().mType, GetParam().mText)), GetParam().mSeen);
}

constexpr Case kCases[] = {
    {"INT8", "-128", "TINYINT:-128"},
    {"INT8", "300", "TINYINT:44"},
    {"INT8", " \t\n+7 and more", "TINYINT:7"},
    {"INT8", "2147483647", "TINYINT:-1"},
    {"INT8", "-2147483648", "TINYINT:0"},
    {"INT128", "170141183460469231731687303715884105727",
     "HUGEINT:170141183460469231731687303715884105727"},
    {"INT128", "-170141183460469231731687303715884105728",
     "HUGEINT:-170141183460469231731687303715884105728"},
    {"UINT128", "340282366920938463463374607431768211455",
     "UHUGEINT:340282366920938463463374607431768211455"},
    {"UUID", "00112233-4455-6677-8899-AABBCCDDEEFF", "UUID:00112233-4455-6677-8899-aabbccddeeff"},
    {"TIME_MICROS", "23:59:59.999999", "TIME:23:59:59.999999"},
    {"TIME_NANOS", "01:02:03.123456789", "TIME_NS:01:02:03.123456789"},
    {"TIME_MICROS_TZ", "01:02:03+05:30", "TIME WITH TIME ZONE:01:02:03+05:30"},
    {"TIMESTAMP_SEC", "2024-02-29 01:02:03", "TIMESTAMP_S:2024-02-29 01:02:03"},
    {"TIMESTAMP_MILIS", "2024-02-29 01:02:03.123", "TIMESTAMP_MS:2024-02-29 01:02:03.123"},
    {"TIMESTAMP_MICROS", "2024-02-29 01:02:03.123456", "TIMESTAMP:2024-02-29 01:02:03.123456"},
    {"TIMESTAMP_NANOS", "2024-02-29 01:02:03.123456789",
     "TIMESTAMP_NS:2024-02-29 01:02:03.123456789"},
    {"INTERVAL", "1 year 2 days 00:00:03", "INTERVAL:1 year 2 days 00:00:03"},
    {"BITSTRING", "010101", "BIT:010101"},
    {"BIGNUM", "123456789012345678901234567890123456789012345678901234567890",
     "BIGNUM:123456789012345678901234567890123456789012345678901234567890"},
    {"DECIMAL", "-12.345", "DECIMAL(5,3):-12.345"},
    {"DECIMAL", "7", "DECIMAL(1,0):7"},
    {"DECIMAL", "100.00", "DECIMAL(5,2):100.00"},
    {"DECIMAL", "0.05", "DECIMAL(3,2):0.05"},
    {"DECIMAL", ".5", "DECIMAL(1,1):.5"},
    {"DECIMAL", "99999999999999999999999999999999999999",
     "DECIMAL(38,0):99999999999999999999999999999999999999"},
    {"OBJECT", R"({"a":1,"b":[true,null,"x"]})", R"(VARIANT:{"a":1,"b":[true,null,"x"]})"},
    {"OBJECT", "{}", "VARIANT:{}"},
    {"ARRAY", "[1,[2,[3]]]", "VARIANT:[1,[2,[3]]]"},
    {"ARRAY", "[]", "VARIANT:[]"},
    {"GEOMETRY", "POINT (1 2)", "GEOMETRY:POINT (1 2)"},
};

INSTANTIATE_TEST_SUITE_P(Types, Envelope, testing::ValuesIn(kCases), [](auto const& inInfo) {
  return std::string(inInfo.param.mType) + "_" + std::to_string(inInfo.index);
});

TEST(VariantReading, ReadsATimestampWithTimeZone) {
  std::string const seen =
      SeenBySql(ReadVariant("TIMESTAMP_MICROS_TZ", "2024-02-29 01:02:03.5+00"));
  EXPECT_EQ(seen.substr(0, seen.find(':')), "TIMESTAMP WITH TIME ZONE");
}

// --- failures
// ---------------------------------------------------------------------------------------

std::string Failure(std::function<void()> const& inRead) {
  try {
    inRead();
  } catch (tarn::lsql::xDuckDBError const& error) {
    EXPECT_EQ(error.get_Code(), 0x72501U);
    EXPECT_EQ(ToUTF8(error.get_Text(0)), "variant");
    return ToUTF8(error.get_Text(1));
  }
  return "<nothing thrown>";
}

TEST(VariantReading, RefusesNamesThatItDoesNotKnow) {
  for (char const* const name :
       {"TIMESTAMP_MILLIS", "int8",  "UUID ",  "",        "Ünknown", "VARIANT_NULL", "BOOL_TRUE",
        "BOOL_FALSE",       "INT16", "INT32",  "INT64",   "UINT8",   "UINT16",       "UINT32",
        "UINT64",           "FLOAT", "DOUBLE", "VARCHAR", "BLOB",    "DATE",         "UNKNOWN"}) {
    EXPECT_EQ(Failure([&] { ReadVariant(name, "1"); }),
              std::string("Unsupported DuckDB variant type in envelope: ") + name);
  }
}

TEST(VariantReading, TellsDuckDBsReasonForATextThatDoesNotCast) {
  for (Case const& bad : {Case{"INT128", "1x", "Could not convert string '1x' to INT128"},
                          Case{"UUID", "nope", "Could not convert string 'nope' to INT128"},
                          Case{"TIME_MICROS", "25:99", "25:99"}, Case{"INTERVAL", "soon", "soon"},
                          Case{"BITSTRING", "012", "'2'"}, Case{"UINT128", "-1", "-1"},
                          Case{"OBJECT", "{", "JSON"}, Case{"ARRAY", "[1,", "JSON"}}) {
    std::string const text = Failure([&] { ReadVariant(bad.mType, bad.mText); });
    EXPECT_NE(text, "<nothing thrown>") << bad.mType;
    EXPECT_NE(text.find(bad.mSeen), std::string::npos) << bad.mType << ": " << text;
  }
}

TEST(VariantReading, RefusesATextThatIsNoValueOfItsTypeHoweverLong) {
  std::string const large(test::kIsSlow ? 1 << 16 : 1 << 20, 'x');
  for (char const* const type :
       {"INT128", "UUID", "TIME_MICROS", "TIME_NANOS", "TIME_MICROS_TZ", "TIMESTAMP_SEC",
        "TIMESTAMP_MILIS", "TIMESTAMP_MICROS", "TIMESTAMP_NANOS", "TIMESTAMP_MICROS_TZ", "INTERVAL",
        "BITSTRING", "BIGNUM", "UINT128", "DECIMAL", "ARRAY", "OBJECT", "GEOMETRY"}) {
    for (std::string const& bad : {std::string("no value"), std::string("\0", 1), large}) {
      std::string const text = Failure([&] { ReadVariant(type, bad); });
      EXPECT_NE(text, "<nothing thrown>") << type;
      EXPECT_FALSE(text.empty()) << type;
    }
  }
}

TEST(VariantReading, RefusesDecimalsThatDuckDBCannotHold) {
  EXPECT_NE(Failure([] { ReadVariant("DECIMAL", std::string(39, '9')); }), "<nothing thrown>");
  EXPECT_NE(Failure([] { ReadVariant("DECIMAL", "1.abcd"); }), "<nothing thrown>");
  EXPECT_NE(Failure([] { ReadVariant("DECIMAL", ""); }), "<nothing thrown>");
  EXPECT_NE(Failure([] { ReadVariant("DECIMAL", std::string(1 << 20, '1')); }), "<nothing thrown>");
}

// The digits are counted in 8 bits, and none at all count as one.
TEST(VariantReading, CountsTheDigitsOfADecimalUpTo255) {
  EXPECT_EQ(SeenBySql(ReadVariant("DECIMAL", std::string(255, '0') + "7")), "DECIMAL(1,0):7");
  EXPECT_EQ(SeenBySql(ReadVariant("DECIMAL", std::string(256, '0') + "12")), "DECIMAL(2,0):12");
  EXPECT_EQ(SeenBySql(ReadVariant("DECIMAL", "0." + std::string(256, '0'))), "DECIMAL(1,0):0");
}

TEST(VariantReading, RefusesAnInt8WithoutANumberAsTheStandardLibraryDoes) {
  for (char const* const text : {"", "x1", "-", " ", "--1"}) {
    try {
      ReadVariant("INT8", text);
      ADD_FAILURE() << text;
    } catch (std::invalid_argument const& error) {
      EXPECT_STREQ(error.what(), "invalid stoi argument");
    }
  }
  for (char const* const text :
       {"2147483648", "-2147483649", "9223372036854775808", "99999999999999999999999"}) {
    try {
      ReadVariant("INT8", text);
      ADD_FAILURE() << text;
    } catch (std::out_of_range const& error) {
      EXPECT_STREQ(error.what(), "stoi argument out of range");
    }
  }
}

TEST(VariantReading, RefusesAnEnvelopeThatLacksAMember) {
  std::string const malformed =
      "Malformed DuckDB variant envelope: missing 'variant_type' or 'value' field";
  for (char const* const text :
       {R"({"duckdb_variant":true})", R"({"duckdb_variant":true,"variant_type":"UUID"})",
        R"({"duckdb_variant":true,"value":"1"})", R"({"duckdb_variant":null})"}) {
    auto const json = test::MakeJSON(text);
    auto const object = tarn::query_interface<tarn::I_ValueJSON>(json.get(), tarn::kIID_ValueJSON);
    ASSERT_TRUE(IsVariantEnvelope(*object)) << text;
    EXPECT_EQ(Failure([&] { ReadVariantEnvelope(*object); }), malformed) << text;
  }
}

TEST(VariantReading, IsNoEnvelopeWithoutTheMark) {
  for (char const* const text : {"{}", R"({"variant_type":"UUID","value":"1"})", "[]", "1", "x",
                                 R"({"a":{"duckdb_variant":true}})"}) {
    auto const json = test::MakeJSON(text);
    auto const object = tarn::query_interface<tarn::I_ValueJSON>(json.get(), tarn::kIID_ValueJSON);
    EXPECT_FALSE(IsVariantEnvelope(*object)) << text;
  }
}

TEST(VariantReading, ReadsMembersInAnyOrderAndBesideOthers) {
  auto const json = test::MakeJSON(
      R"( { "value" : "5", "more" : [1], "variant_type" : "INT8", "duckdb_variant" : 0 } )");
  auto const object = tarn::query_interface<tarn::I_ValueJSON>(json.get(), tarn::kIID_ValueJSON);
  EXPECT_EQ(SeenBySql(ReadVariantEnvelope(*object)), "TINYINT:5");
}

TEST(VariantReading, ReadsLongTexts) {
  // DuckDB's time for a BIGNUM grows with the square of its digits.
  std::string const number(1 << 14, '7');
  EXPECT_EQ(SeenBySql(ReadVariant("BIGNUM", number)), "BIGNUM:" + number);
  std::string const digits(1 << 20, '7');
  std::string const object = R"({"a":")" + std::string(1 << 20, 'x') + R"("})";
  EXPECT_EQ(SeenBySql(ReadVariant("OBJECT", object)), "VARIANT:" + object);
  EXPECT_NE(Failure([&] { ReadVariant("UUID", digits); }), "<nothing thrown>");
}

}  // namespace
}  // namespace lumora
