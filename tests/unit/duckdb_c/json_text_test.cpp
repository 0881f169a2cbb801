#include "duckdb_c/JsonText.h"

#include <gtest/gtest.h>

namespace lumora::duckdb_c {
namespace {

struct Case {
  char const* mText;
  char const* mWhole;
};

class JsonText : public testing::TestWithParam<Case> {};

TEST_P(JsonText, HasADigitBeforeEveryPointOutsideOfTexts) {
  EXPECT_EQ(WithWholeNumbers(GetParam().mText), GetParam().mWhole);
}

constexpr Case kCases[] = {
    {"", ""},
    {".", "0."},
    {"[", "["},
    {"\"open .5", "\"open .5"},
    {"\"\\", "\"\\"},
    {".5", "0.5"},
    {"-.5", "-0.5"},
    {"[.5,-.25,1.5,10.0]", "[0.5,-0.25,1.5,10.0]"},
    {R"({".5":".5","a":.5})", R"({".5":".5","a":0.5})"},
    {R"({"a\".5":"\\","b":.5})", R"({"a\".5":"\\","b":0.5})"},
    {"{\"a\":NaN,\"b\":-Infinity,\"c\":1e-5}", "{\"a\":NaN,\"b\":-Infinity,\"c\":1e-5}"},
};

INSTANTIATE_TEST_SUITE_P(Texts, JsonText, testing::ValuesIn(kCases));

}  // namespace
}  // namespace lumora::duckdb_c
