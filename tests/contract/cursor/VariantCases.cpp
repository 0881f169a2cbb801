#include "CursorFixture.h"

namespace lumora::test {

namespace {

constexpr VariantCase kNumbersAndTexts[] = {
    {"CAST('null' AS JSON)", "Boolean", false},
    {"true", "Boolean", false},
    {"false", "Boolean", false},
    {"(-128)::TINYINT", "INT8", true},
    {"(-7)::TINYINT", "INT8", true},
    {"0::TINYINT", "INT8", true},
    {"127::TINYINT", "INT8", true},
    {"(-32768)::SMALLINT", "Short", false},
    {"(-2147483648)::INTEGER", "Long", false},
    {"(-9223372036854775808)::BIGINT", "LLong", false},
    {"(-170141183460469231731687303715884105728)::HUGEINT", "INT128", true},
    {"170141183460469231731687303715884105727::HUGEINT", "INT128", true},
    {"200::UTINYINT", "Byte", false},
    {"65535::USMALLINT", "UShort", false},
    {"4294967295::UINTEGER", "ULong", false},
    {"18446744073709551615::UBIGINT", "ULLong", false},
    {"340282366920938463463374607431768211455::UHUGEINT", "UINT128", true},
    {"0.1::FLOAT", "Float", false},
    {"'-inf'::FLOAT", "Float", false},
    {"0.1::DOUBLE", "Double", false},
    {"'nan'::DOUBLE", "Double", false},
    {"(-12.345)::DECIMAL(5,3)", "DECIMAL", true},
    {"(-99.99)::DECIMAL(4,2)", "DECIMAL", true},
    {"123456789.012345678::DECIMAL(18,9)", "DECIMAL", true},
    {"(-0.5)::DECIMAL(1,1)", "DECIMAL", true},
    {"0::DECIMAL(38,38)", "DECIMAL", true},
    {"0.00000000000000000000000000000000000001::DECIMAL(38,38)", "DECIMAL", true},
    {"12345678901234567890.123456789012345678::DECIMAL(38,18)", "DECIMAL", true},
    {"''", "String", false},
    {"'text with a long tail, é€😀'", "String", false},
    {"''::BLOB", "FixedBinary", false},
    {"'\\x00\\xFF\\x22'::BLOB", "FixedBinary", false},
    {"'a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11'::UUID", "UUID", true},
    {"'ffffffff-ffff-ffff-ffff-ffffffffffff'::UUID", "UUID", true},
};

constexpr VariantCase kOthers[] = {
    {"DATE '2024-01-15'", "Date", false},
    {"DATE '0044-03-15 (BC)'", "Date", false},
    {"TIME '00:00:00'", "TIME_MICROS", true},
    {"TIME '23:59:59.999999'", "TIME_MICROS", true},
    {"'12:34:56.123456789'::TIME_NS", "TIME_NANOS", true},
    {"'1969-07-20 20:17:40'::TIMESTAMP_S", "TIMESTAMP_SEC", true},
    {"'2024-01-15 12:34:56.789'::TIMESTAMP_MS", "DateTime", false},
    {"'1969-12-31 23:59:59.999'::TIMESTAMP_MS", "DateTime", false},
    {"'infinity'::TIMESTAMP_MS", "TIMESTAMP_MILIS", true},
    {"TIMESTAMP '2024-01-15 12:34:56.789012'", "TIMESTAMP_MICROS", true},
    {"TIMESTAMP '0044-03-15 (BC) 10:00:00'", "TIMESTAMP_MICROS", true},
    {"'infinity'::TIMESTAMP", "TIMESTAMP_MICROS", true},
    {"'2024-01-15 12:34:56.123456789'::TIMESTAMP_NS", "TIMESTAMP_NANOS", true},
    {"'23:59:59.999999+15:59:59'::TIMETZ", "TIME_MICROS_TZ", true},
    {"'00:00:00-15:59'::TIMETZ", "TIME_MICROS_TZ", true},
    {"'2024-01-15 12:34:56.789012+02'::TIMESTAMPTZ", "TIMESTAMP_MICROS_TZ", true},
    {"INTERVAL '1 year 2 months 3 days 04:05:06.789'", "INTERVAL", true},
    {"INTERVAL '-14 months'", "INTERVAL", true},
    {"to_microseconds(-1)", "INTERVAL", true},
    {"{'a': 1, 'b': 'c\"\\'}", "OBJECT", true},
    {"{'o': {'p': [1, NULL, 2.5::DOUBLE]}}", "OBJECT", true},
    {"[]::INTEGER[]", "ARRAY", true},
    {"[1, NULL, 3]", "ARRAY", true},
    {"'-123456789012345678901234567890123456789012345'::BIGNUM", "BIGNUM", true},
    {"'0'::BIT", "BITSTRING", true},
    {"'101010101'::BIT", "BITSTRING", true},
    {"'POINT (1.5 -2)'::GEOMETRY", "GEOMETRY", true},
};

}  // namespace

// Every code of a VARIANT, with the ends of its range.
std::vector<VariantCase> const& VariantCases() {
  static std::vector<VariantCase> const sCases = [] {
    std::vector<VariantCase> cases(std::begin(kNumbersAndTexts), std::end(kNumbersAndTexts));
    cases.insert(cases.end(), std::begin(kOthers), std::end(kOthers));
    return cases;
  }();
  return sCases;
}

}  // namespace lumora::test
