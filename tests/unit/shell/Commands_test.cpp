#include "Commands.h"

#include <gtest/gtest.h>

#include "DatabaseErrors.h"
#include "Elapsed.h"

namespace lumora::shell {
namespace {

using Words = std::vector<std::string>;

TEST(Commands, CutTheirWordsAtBlanksOutsideOfQuotes) {
  EXPECT_THROW(SplitWords("'open"), StatementError);
  EXPECT_THROW(SplitWords("a \"open"), StatementError);
  EXPECT_EQ(SplitWords(""), Words());
  EXPECT_EQ(SplitWords(" a  b\tc "), (Words{"a", "b", "c"}));
  EXPECT_EQ(SplitWords("'a b' \"c d\""), (Words{"a b", "c d"}));
  EXPECT_EQ(SplitWords("'it''s' \"say \"\"x\"\"\""), (Words{"it's", "say \"x\""}));
  EXPECT_EQ(SplitWords("a'b c'd"), (Words{"ab cd"}));
  EXPECT_EQ(SplitWords("''"), (Words{""}));
}

TEST(DatabaseErrors, AreDecodedWhereverTheReportStands) {
  struct Case {
    char const* mText;
    char const* mMessage;
    char const* mType;
    std::optional<std::size_t> mOffset;
  };
  Case const cases[] = {
      {"", "", "", std::nullopt},
      {"plain", "plain", "", std::nullopt},
      {"{broken", "{broken", "", std::nullopt},
      {"{\"a\":1}", "{\"a\":1}", "", std::nullopt},
      {R"({"exception_type":"Catalog","exception_message":"gone","position":"14"})", "gone",
       "Catalog", 14},
      {R"({"exception_type":"Catalog","exception_message":"gone"})", "gone", "Catalog",
       std::nullopt},
      {R"({"exception_type":3,"exception_message":"gone","position":"x"})", "gone", "",
       std::nullopt},
      {R"(Parser Error: {"exception_type":"Parser","exception_message":"bad","position":"0"})",
       "bad", "Parser", 0},
      {"Invalid Input Error: no", "no", "Invalid Input", std::nullopt},
      {"a/b: IO Error: no", "a/b: IO Error: no", "", std::nullopt},
  };
  for (Case const& c : cases) {
    StatementError const error = DecodeReport(c.mText);
    EXPECT_STREQ(error.what(), c.mMessage) << c.mText;
    EXPECT_EQ(error.mType, c.mType) << c.mText;
    EXPECT_EQ(error.mOffset, c.mOffset) << c.mText;
  }
}

TEST(DatabaseErrors, OfAnExceptionWithoutTextsTellItsCode) {
  EXPECT_STREQ(ToStatementError(tarn::xDBError(0x51501)).what(), "xDBError 0x51501");
  EXPECT_STREQ(ToStatementError(tarn::xDBError(0x1, TARN_W("path"), TARN_W("why"))).what(), "why");
}

TEST(Elapsed, TellsDurationsInTheirUnit) {
  using Seconds = std::chrono::duration<double>;
  EXPECT_EQ(DurationText(Seconds(0.0123)), "0.012 s");
  EXPECT_EQ(DurationText(Seconds(75.25)), "75.2 s");
  EXPECT_EQ(DurationText(Seconds(125)), "2 min 5 s");
}

}  // namespace
}  // namespace lumora::shell
