#include "statement/ParameterValue.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <ostream>

#include "duckdb_c/duckdb_completion.h"
#include "support/FakeDatabase.h"
#include "support/SeenBySql.h"
#include "support/TestValue.h"
#include "tarn/Exceptions.h"

namespace lumora {
namespace {

using test::TestValue;
using test::ToUTF8;
using Ptr = tarn::smart_ptr<tarn::I_Value>;

std::string Seen(tarn::I_Value* inValue) { return test::SeenBySql(MakeDuckDBValue(inValue)); }
std::string Seen(Ptr const& inValue) { return Seen(inValue.get()); }

tarn::smart_ptr<TestValue> MakeValue(std::uint32_t inCode) {
  return tarn::smart_ptr<TestValue>(new TestValue(inCode));
}

// --- codes
// ------------------------------------------------------------------------------------------

struct CodeCase {
  std::uint32_t mCode;
  std::int64_t mNumber;
  char const* mSeen;

  friend std::ostream& operator<<(std::ostream& ioStream, CodeCase const& inCase) {
    return ioStream << inCase.mCode << ": " << inCase.mNumber;
  }
};

class WholeNumberCode : public testing::TestWithParam<CodeCase> {};

TEST_P(WholeNumberCode, BindsItsOwnType) {
  auto const value = MakeValue(GetParam().mCode);
  value->mNumber = GetParam().mNumber;
  value->mUnsigned = static_cast<std::uint64_t>(GetParam().mNumber);
  EXPECT_EQ(Seen(value.get()), GetParam().mSeen);
}

constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();

INSTANTIATE_TEST_SUITE_P(
    Matrix, WholeNumberCode,
    testing::Values(CodeCase{2, 1, "BOOLEAN:true"}, CodeCase{2, 0, "BOOLEAN:false"},
                    CodeCase{3, 255, "UTINYINT:255"}, CodeCase{3, 0, "UTINYINT:0"},
                    CodeCase{4, -32768, "SMALLINT:-32768"}, CodeCase{5, 65535, "USMALLINT:65535"},
                    CodeCase{6, -2147483648, "INTEGER:-2147483648"},
                    CodeCase{8, 2147483647, "INTEGER:2147483647"},
                    CodeCase{7, 4294967295, "UINTEGER:4294967295"},
                    CodeCase{9, 4294967295, "UINTEGER:4294967295"},
                    CodeCase{10, kMin, "BIGINT:-9223372036854775808"},
                    CodeCase{10, kMax, "BIGINT:9223372036854775807"},
                    CodeCase{11, -1, "UBIGINT:18446744073709551615"},
                    CodeCase{33, 200, "UTINYINT:200"}, CodeCase{34, 60000, "USMALLINT:60000"}),
    [](auto const& inInfo) {
      return "Code" + std::to_string(inInfo.param.mCode) + "_" + std::to_string(inInfo.index);
    });

TEST(ParameterValue, BindsRealCodesAsFloatAndDouble) {
  for (std::uint32_t const code : {12U, 13U, 14U, 15U}) {
    auto const value = MakeValue(code);
    std::string const type = code == 12 ? "FLOAT:" : "DOUBLE:";
    value->mReal = 0.5;
    EXPECT_EQ(Seen(value.get()), type + "0.5");
    value->mReal = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(Seen(value.get()), type + "nan");
    value->mReal = -std::numeric_limits<double>::infinity();
    EXPECT_EQ(Seen(value.get()), type + "-inf");
    value->mReal = -0.0;
    EXPECT_EQ(Seen(value.get()), type + "-0.0");
  }
}

TEST(ParameterValue, BindsEveryCodeWithoutARuleAsText) {
  for (std::uint32_t const code :
       {0U,  1U,  17U, 19U, 20U, 21U, 22U, 23U, 24U, 25U, 26U,   27U,
        28U, 29U, 30U, 31U, 32U, 35U, 36U, 37U, 39U, 40U, 1000U, 0xFFFFFFFFU}) {
    auto const value = MakeValue(code);
    value->mText = tarn::String("some text");
    EXPECT_EQ(Seen(value.get()), "VARCHAR:some text") << code;
  }
}

TEST(ParameterValue, BindsDateCodesWithoutTheirViewAsText) {
  for (std::uint32_t const code : {16U, 18U}) {
    auto const value = MakeValue(code);
    value->mText = tarn::String("2024-02-29");
    EXPECT_EQ(Seen(value.get()), "VARCHAR:2024-02-29") << code;
  }
}

TEST(ParameterValue, BindsNullForANullPointerAndEveryNullValue) {
  EXPECT_EQ(Seen(static_cast<tarn::I_Value*>(nullptr)), "\"NULL\":<null>");
  for (std::uint32_t code = 0; code <= 40; ++code) {
    auto const value = MakeValue(code);
    value->mIsNull = true;
    value->mHasBytes = true;
    value->mHasObject = true;
    EXPECT_EQ(Seen(value.get()), "\"NULL\":<null>") << code;
  }
}

// --- texts
// ------------------------------------------------------------------------------------------

TEST(ParameterValue, PassesATextWithNulBytesWhole) {
  auto const value = test::MakeText(std::string("a\0b", 3));
  duckdb_c::ValueHandle const bound = MakeDuckDBValue(value.get());
  test::FakeDatabase database;
  duckdb_c::PreparedHandle prepared;
  duckdb_prepare(database.get_Connection()->get(), "SELECT octet_length(encode($1))",
                 prepared.out());
  duckdb_bind_value(prepared.get(), 1, bound.get());
  duckdb_c::ResultHandle result;
  ASSERT_EQ(duckdb_execute_prepared(prepared.get(), result.out()), DuckDBSuccess);
  duckdb_c::ChunkHandle const chunk(duckdb_fetch_chunk(result.get()));
  EXPECT_EQ(*static_cast<std::int64_t*>(
                duckdb_vector_get_data(duckdb_data_chunk_get_vector(chunk.get(), 0))),
            3);
}

TEST(ParameterValue, ReplacesWhatIsNoUnicodeText) {
  auto const value = MakeValue(19);
  tarn::WChar const lone[] = {'a', static_cast<tarn::WChar>(0xD800), 'b', 0};
  value->mText = tarn::String(lone);
  EXPECT_EQ(Seen(value.get()),
            "VARCHAR:a\xEF\xBF\xBD"
            "b");
}

TEST(ParameterValue, BindsEmptyAndLongTexts) {
  EXPECT_EQ(Seen(test::MakeText("")), "VARCHAR:");
  EXPECT_EQ(Seen(test::MakeText("Ünï 😀")), "VARCHAR:Ünï 😀");
  std::string const megabyte(1 << 20, 'x');
  EXPECT_EQ(Seen(test::MakeText(megabyte)), "VARCHAR:" + megabyte);
}

// --- views
// ------------------------------------------------------------------------------------------

TEST(ParameterValue, BindsBytesWhateverTheCode) {
  for (std::uint32_t code = 0; code <= 40; ++code) {
    auto const value = MakeValue(code);
    value->mHasBytes = true;
    value->mBytes = {0, 'a', 0xFF};
    EXPECT_EQ(Seen(value.get()), "BLOB:\\x00a\\xFF") << code;
  }
}

TEST(ParameterValue, BindsAsManyBytesAsTheViewCopies) {
  auto const value = MakeValue(24);
  value->mHasBytes = true;
  EXPECT_EQ(Seen(value.get()), "BLOB:");
  value->mBytes = {'a', 'b', 'c'};
  value->mBytesCopied = 2;
  EXPECT_EQ(Seen(value.get()), "BLOB:ab");
  value->mBytesCopied = 0;
  EXPECT_EQ(Seen(value.get()), "BLOB:");
}

TEST(ParameterValue, BindsAnObjectWithoutTheMarkByItsCodeOrAsText) {
  auto const value = MakeValue(10);
  value->mHasObject = true;
  value->mNumber = 7;
  EXPECT_EQ(Seen(value.get()), "BIGINT:7");
  EXPECT_EQ(Seen(test::MakeJSON(R"({"variant_type":"UUID","value":"x"})")),
            R"(VARCHAR:{"variant_type":"UUID","value":"x"})");
  EXPECT_EQ(Seen(test::MakeJSON("[1,2]")), "VARCHAR:[1,2]");
  EXPECT_EQ(Seen(test::MakeJSON("no json")), "VARCHAR:no json");
}

TEST(ParameterValue, BytesGoBeforeAnEnvelope) {
  auto const value = MakeValue(25);
  value->mHasObject = true;
  value->mMembers = {{"duckdb_variant", "true"}};
  value->mHasBytes = true;
  EXPECT_EQ(Seen(value.get()), "BLOB:");
}

TEST(ParameterValue, AnEnvelopeGoesBeforeTheCode) {
  auto const value = MakeValue(10);
  value->mHasObject = true;
  value->mMembers = {{"duckdb_variant", "false"}, {"variant_type", "INT8"}, {"value", "5"}};
  EXPECT_EQ(Seen(value.get()), "TINYINT:5");
}

// --- dates
// ------------------------------------------------------------------------------------------

tarn::smart_ptr<TestValue> MakeDateValue(std::int32_t inYear, int inMonth, int inDay) {
  auto const value = MakeValue(16);
  value->mHasDate = true;
  value->mParts.mYear = inYear;
  value->mParts.mMonth = static_cast<std::int16_t>(inMonth);
  value->mParts.mDay = static_cast<std::int16_t>(inDay);
  return value;
}

TEST(ParameterValue, BindsDates) {
  EXPECT_EQ(Seen(MakeDateValue(2024, 2, 29).get()), "DATE:2024-02-29");
  EXPECT_EQ(Seen(MakeDateValue(1, 1, 1).get()), "DATE:0001-01-01");
  EXPECT_EQ(Seen(MakeDateValue(0, 12, 31).get()), "DATE:0001-12-31 (BC)");
  EXPECT_EQ(Seen(MakeDateValue(-43, 3, 15).get()), "DATE:0044-03-15 (BC)");
  EXPECT_EQ(Seen(MakeDateValue(9999, 12, 31).get()), "DATE:9999-12-31");
  EXPECT_EQ(Seen(test::MakeDate(2000, 1, 2)), "DATE:2000-01-02");
}

TEST(ParameterValue, RefusesDatesThatAreNone) {
  for (auto const& [year, month, day] : std::vector<std::tuple<std::int32_t, int, int>>{
           {2023, 2, 29},
           {2024, 13, 1},
           {2024, 0, 1},
           {2024, 1, 0},
           {2024, 4, 31},
           {2024, 257, 1},
           {2024, 1, 300},
           {2024, -1, 1},
           {std::numeric_limits<std::int32_t>::max(), 1, 1},
           {std::numeric_limits<std::int32_t>::min(), 1, 1}}) {
    auto const value = MakeDateValue(year, month, day);
    EXPECT_THROW(MakeDuckDBValue(value.get()), ValueError) << year << ' ' << month << ' ' << day;
  }
}

tarn::smart_ptr<TestValue> MakeDateTimeValue(tarn::DateTimeParts const& inParts) {
  auto const value = MakeValue(18);
  value->mHasDateTime = true;
  value->mParts = inParts;
  return value;
}

TEST(ParameterValue, BindsDateTimesWithMilliseconds) {
  EXPECT_EQ(Seen(MakeDateTimeValue({2024, 2, 29, 23, 59, 58, 123}).get()),
            "TIMESTAMP_MS:2024-02-29 23:59:58.123");
  EXPECT_EQ(Seen(MakeDateTimeValue({1969, 12, 31, 23, 59, 59, 999}).get()),
            "TIMESTAMP_MS:1969-12-31 23:59:59.999");
  EXPECT_EQ(Seen(MakeDateTimeValue({1970, 1, 1, 0, 0, 0, 0}).get()),
            "TIMESTAMP_MS:1970-01-01 00:00:00");
}

TEST(ParameterValue, RefusesDateTimesThatAreNone) {
  for (tarn::DateTimeParts const& parts :
       {tarn::DateTimeParts{2024, 2, 30, 0, 0, 0, 0}, tarn::DateTimeParts{2024, 1, 1, 300, 0, 0, 0},
        tarn::DateTimeParts{2024, 1, 1, 0, -200, 0, 0},
        tarn::DateTimeParts{2024, 1, 1, 0, 0, 128, 0},
        tarn::DateTimeParts{5000000, 1, 1, 0, 0, 0, 0}}) {
    auto const value = MakeDateTimeValue(parts);
    EXPECT_THROW(MakeDuckDBValue(value.get()), ValueError) << parts.mYear << ' ' << parts.mHour;
  }
}

// --- wrapped values
// ---------------------------------------------------------------------------------

Ptr Wrap(Ptr inInner, int inLevels) {
  for (int i = 0; i < inLevels; ++i) {
    auto const wrapper = MakeValue(38);
    wrapper->mHasWrapped = true;
    wrapper->mInner = inInner;
    inInner = wrapper;
  }
  return inInner;
}

TEST(ParameterValue, BindsWhatAWrappedValueHoldsTenDeep) {
  EXPECT_EQ(Seen(Wrap(test::MakeLong(5), 10)), "INTEGER:5");
  EXPECT_EQ(Seen(Wrap(test::MakeJSON(test::MakeEnvelope("INT8", "-7")), 10)), "TINYINT:-7");
  EXPECT_EQ(Seen(Wrap(test::MakeNullValue(), 10)), "\"NULL\":<null>");
  EXPECT_EQ(Seen(Wrap(nullptr, 3)), "\"NULL\":<null>");
}

TEST(ParameterValue, BindsAHundredValuesInsideEachOtherAndNoMore) {
  EXPECT_EQ(Seen(Wrap(test::MakeLong(5), 99)), "INTEGER:5");
  EXPECT_THROW(MakeDuckDBValue(Wrap(test::MakeLong(5), 100).get()), ValueError);
}

TEST(ParameterValue, BindsNullForAWrappedCodeWithoutItsView) {
  EXPECT_EQ(Seen(MakeValue(38).get()), "\"NULL\":<null>");
}

TEST(ParameterValue, EndsTheWalkThroughAValueThatWrapsItself) {
  auto const value = MakeValue(38);
  value->mHasWrapped = true;
  value->mInner = value;
  EXPECT_THROW(MakeDuckDBValue(value.get()), ValueError);
  value->mInner = nullptr;
}

// --- exact types
// ------------------------------------------------------------------------------------

TEST(ParameterValue, TakesTheTargetTypeWhereTheNumberFits) {
  auto const seen = [](Ptr const& inValue, duckdb_type inType) {
    return test::SeenBySql(MakeDuckDBValue(inValue.get(), static_cast<duckdb_c::TypeId>(inType)));
  };
  EXPECT_EQ(seen(test::MakeLLong(127), DUCKDB_TYPE_TINYINT), "TINYINT:127");
  EXPECT_EQ(seen(test::MakeLLong(128), DUCKDB_TYPE_TINYINT), "BIGINT:128");
  EXPECT_EQ(seen(test::MakeLLong(-1), DUCKDB_TYPE_UBIGINT), "BIGINT:-1");
  EXPECT_EQ(seen(test::MakeLLong(-32768), DUCKDB_TYPE_SMALLINT), "SMALLINT:-32768");
  EXPECT_EQ(seen(test::MakeLong(-5), DUCKDB_TYPE_BIGINT), "BIGINT:-5");
  EXPECT_EQ(seen(test::MakeLong(5), DUCKDB_TYPE_UBIGINT), "UBIGINT:5");
  EXPECT_EQ(seen(test::MakeLong(255), DUCKDB_TYPE_UTINYINT), "UTINYINT:255");
  EXPECT_EQ(seen(test::MakeLong(256), DUCKDB_TYPE_UTINYINT), "INTEGER:256");
  EXPECT_EQ(seen(test::MakeLong(65535), DUCKDB_TYPE_USMALLINT), "USMALLINT:65535");
  EXPECT_EQ(seen(test::MakeLLong(4294967295), DUCKDB_TYPE_UINTEGER), "UINTEGER:4294967295");
  EXPECT_EQ(seen(test::MakeLong(5), DUCKDB_TYPE_DOUBLE), "INTEGER:5");
  EXPECT_EQ(seen(test::MakeLong(5), DUCKDB_TYPE_VARCHAR), "INTEGER:5");
  EXPECT_EQ(seen(test::MakeDouble(5), DUCKDB_TYPE_INTEGER), "DOUBLE:5.0");
  EXPECT_EQ(seen(test::MakeText("5"), DUCKDB_TYPE_INTEGER), "VARCHAR:5");
  EXPECT_EQ(seen(Wrap(test::MakeLong(5), 2), DUCKDB_TYPE_TINYINT), "TINYINT:5");
  EXPECT_EQ(seen(MakeDateTimeValue({2024, 1, 2, 3, 4, 5, 678}), DUCKDB_TYPE_TIMESTAMP),
            "TIMESTAMP:2024-01-02 03:04:05.678");
}

}  // namespace
}  // namespace lumora
