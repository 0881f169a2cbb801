#include "TypeCases.h"

namespace lumora::test {

std::vector<TypeCase> const& NumberTypeCases() {
  static std::vector<TypeCase> const sCases = {
      {"BOOLEAN", {"false", "true"}},
      {"TINYINT", {"(-128)::TINYINT", "(-5)::TINYINT", "0::TINYINT", "127::TINYINT"}},
      {"SMALLINT", {"(-32768)::SMALLINT", "0::SMALLINT", "32767::SMALLINT"}},
      {"INTEGER", {"(-2147483648)::INTEGER", "0", "2147483647"}},
      {"BIGINT", {"(-9223372036854775808)::BIGINT", "0::BIGINT", "9223372036854775807"}},
      {"UTINYINT", {"0::UTINYINT", "200::UTINYINT", "255::UTINYINT"}},
      {"USMALLINT", {"0::USMALLINT", "65535::USMALLINT"}},
      {"UINTEGER", {"0::UINTEGER", "4294967295::UINTEGER"}},
      {"UBIGINT", {"0::UBIGINT", "18446744073709551615::UBIGINT"}},
      {"HUGEINT",
       {"(-170141183460469231731687303715884105728)::HUGEINT", "0::HUGEINT",
        "170141183460469231731687303715884105727::HUGEINT"}},
      {"UHUGEINT", {"0::UHUGEINT", "340282366920938463463374607431768211455::UHUGEINT"}},
      {"BIGNUM", {"'-123456789012345678901234567890123456789012345'::BIGNUM", "0::BIGNUM"}},
      {"FLOAT",
       {"(-3.4028235e38)::FLOAT", "0::FLOAT", "'-0.0'::FLOAT", "0.1::FLOAT", "1e-45::FLOAT",
        "'nan'::FLOAT", "'inf'::FLOAT", "'-inf'::FLOAT"}},
      {"DOUBLE",
       {"(-1.7976931348623157e308)::DOUBLE", "0::DOUBLE", "'-0.0'::DOUBLE", "0.1::DOUBLE",
        "5e-324::DOUBLE", "'nan'::DOUBLE", "'inf'::DOUBLE", "'-inf'::DOUBLE"}},
      {"DECIMAL",
       {"(-999.9)::DECIMAL(4,1)", "12.34::DECIMAL(10,2)", "(-99999.9999)::DECIMAL(9,4)",
        "999999999999.999999::DECIMAL(18,6)", "0::DECIMAL(38,10)",
        "9999999999999999999999999999.9999999999::DECIMAL(38,10)"}},
  };
  return sCases;
}

std::vector<TypeCase> const& TimeTypeCases() {
  static std::vector<TypeCase> const sCases = {
      {"DATE",
       {"DATE '5877642-06-25 (BC)'", "DATE '0044-03-15 (BC)'", "DATE '0001-01-01'",
        "DATE '2024-01-15'", "DATE '5881580-07-10'", "'infinity'::DATE", "'-infinity'::DATE"}},
      {"TIME",
       {"TIME '00:00:00'", "TIME '12:34:56.7'", "TIME '23:59:59.999999'", "TIME '24:00:00'"}},
      {"TIME_NS", {"'00:00:00'::TIME_NS", "'23:59:59.999999999'::TIME_NS"}},
      {"TIME WITH TIME ZONE",
       {"'00:00:00+15:59:59'::TIMETZ", "'12:00:00-05:30'::TIMETZ", "'24:00:00-15:59:59'::TIMETZ"}},
      {"TIMESTAMP",
       {"'290309-12-22 (BC) 00:00:00'::TIMESTAMP", "TIMESTAMP '0044-03-15 (BC) 10:00:00'",
        "TIMESTAMP '1969-12-31 23:59:59.999999'", "TIMESTAMP '2024-01-15 12:34:56.789'",
        "'294247-01-10 04:00:54.775806'::TIMESTAMP", "'infinity'::TIMESTAMP",
        "'-infinity'::TIMESTAMP"}},
      {"TIMESTAMP_S",
       {"'290309-12-22 (BC) 00:00:00'::TIMESTAMP_S", "'2024-01-15 12:34:56'::TIMESTAMP_S",
        "'infinity'::TIMESTAMP_S"}},
      {"TIMESTAMP_MS",
       {"'290309-12-22 (BC) 00:00:00'::TIMESTAMP_MS", "'2024-01-15 12:34:56.789'::TIMESTAMP_MS",
        "'-infinity'::TIMESTAMP_MS"}},
      {"TIMESTAMP_NS",
       {"'1677-09-22 00:00:00'::TIMESTAMP_NS", "'2024-01-15 12:34:56.123456789'::TIMESTAMP_NS",
        "'2262-04-11 23:47:16.854775806'::TIMESTAMP_NS", "'infinity'::TIMESTAMP_NS"}},
      {"TIMESTAMP WITH TIME ZONE",
       {"'0044-03-15 (BC) 10:00:00+00'::TIMESTAMPTZ", "'2024-01-15 12:34:56.789+02'::TIMESTAMPTZ",
        "'infinity'::TIMESTAMPTZ"}},
      {"INTERVAL",
       {"INTERVAL '0 days'", "INTERVAL '1 year 2 months 3 days 04:05:06.789'",
        "INTERVAL '-14 months'", "to_microseconds(-9223372036854775807)"}},
      {"UUID",
       {"'00000000-0000-0000-0000-000000000000'::UUID",
        "'a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11'::UUID",
        "'ffffffff-ffff-ffff-ffff-ffffffffffff'::UUID"}},
  };
  return sCases;
}

std::vector<TypeCase> const& OtherTypeCases() {
  static std::vector<TypeCase> const sCases = {
      {"VARCHAR",
       {"''", "'abc'", "'é € 😀'", "'a' || chr(0) || 'b'", "'quote '' and | pipe'",
        "repeat('0123456789', 12)"}},
      {"BLOB", {"''::BLOB", "'\\x00\\xFF\\x22'::BLOB", "repeat('x', 40)::BLOB"}},
      {"BIT", {"'0'::BIT", "'1'::BIT", "'101010101'::BIT"}},
      {"ENUM", {"'b'::ENUM('a', 'b')", "'é'::ENUM('', 'é')"}},
      {"LIST", {"[]::INTEGER[]", "[1, NULL, 3]", "[[1], [], NULL]", "['a', 'b, c', '']"}},
      {"STRUCT", {"{'a': 1, 'b': 'x'}", "{'a': NULL, 'b b': {'c': [1]}}"}},
      {"MAP", {"map()::MAP(INTEGER, VARCHAR)", "map([1, 2], ['a', NULL])"}},
      {"UNION", {"union_value(n := 5)", "'x'::UNION(n INTEGER, s VARCHAR)"}},
      {"ARRAY", {"array_value(1, 2, 3)", "array_value('a', NULL)"}},
      {"JSON", {"'{\"a\": [1, null]}'::JSON"}},
      {"GEOMETRY", {"'POINT (1.5 -2)'::GEOMETRY"}},
      {"NULL", {"NULL", "NULL::INTEGER", "NULL::VARCHAR", "NULL::INTEGER[]"}},
  };
  return sCases;
}

}  // namespace lumora::test
