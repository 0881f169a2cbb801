#include "Text.h"

#include <gtest/gtest.h>

namespace lumora::shell {
namespace {

struct WidthCase {
  char const* mText;
  char const* mShown;
  std::size_t mWidth;
};

TEST(Text, ShowsNothingThatATerminalObeys) {
  WidthCase const cases[] = {
      {"\x1b[31mred\x1b[0m", "\\x1b[31mred\\x1b[0m", 18},
      {"a\r\nb\tc", "a\\r\\nb\\tc", 9},
      {"\x07\x08\x7f", "\\x07\\x08\\x7f", 12},
      {"\xC2\x9B"
       "31m",
       "\\x9b31m", 7},
      {"\xE2\x80\xAE"
       "abc",
       "\\u{202e}abc", 11},
      {"\xE2\x81\xA6x\xE2\x81\xA9", "\\u{2066}x\\u{2069}", 17},
      {"a\xE2\x80\xA8z", "a\\u{2028}z", 10},
      {"\xFF\xC3", "\xEF\xBF\xBD\xEF\xBF\xBD", 2},
      {"\xC0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD", 2},
      {"\xED\xA0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD", 3},
  };
  for (WidthCase const& c : cases) {
    PrintableText const shown = MakePrintable(c.mText);
    EXPECT_EQ(shown.mText, c.mShown);
    EXPECT_EQ(shown.mWidth, c.mWidth) << c.mShown;
  }
  EXPECT_EQ(MakePrintable(std::string_view("a\0b", 3)).mText, "a\\x00b");
}

TEST(Text, MeasuresColumnsByUnicode) {
  WidthCase const cases[] = {
      {"", "", 0},
      {"abc", "abc", 3},
      {"日本", "日本", 4},
      {"é", "é", 1},
      {"e\xCC\x81", "e\xCC\x81", 1},
      {"😀", "😀", 2},
      {"👍🏽", "👍🏽", 2},
      {"👨‍👩‍👧", "👨‍👩‍👧", 2},
      {"🇩🇪", "🇩🇪", 2},
      {"한국", "한국", 4},
      {"ｱ", "ｱ", 1},
  };
  for (WidthCase const& c : cases) {
    PrintableText const shown = MakePrintable(c.mText);
    EXPECT_EQ(shown.mText, c.mShown);
    EXPECT_EQ(shown.mWidth, c.mWidth) << c.mText;
  }
}

TEST(Text, CutsBetweenCharactersAndMarksTheCut) {
  struct Case {
    char const* mText;
    std::size_t mMaxWidth;
    char const* mShown;
    std::size_t mWidth;
  };
  Case const cases[] = {
      {"abcd", 4, "abcd", 4},     {"abcde", 4, "abc…", 4},   {"abcde", 1, "…", 1},
      {"日本語", 6, "日本語", 6}, {"日本語", 5, "日本…", 5}, {"日本語", 4, "日…", 3},
      {"a\nbc", 4, "a\\n…", 4},   {"ab\n", 3, "ab…", 3},
  };
  for (Case const& c : cases) {
    PrintableText const shown = MakePrintable(c.mText, c.mMaxWidth);
    EXPECT_EQ(shown.mText, c.mShown) << c.mText << " " << c.mMaxWidth;
    EXPECT_EQ(shown.mWidth, c.mWidth) << c.mText << " " << c.mMaxWidth;
  }
}

TEST(Text, ReadsNoMoreOfALongTextThanItShows) {
  std::string const large(100'000'000, 'x');
  EXPECT_EQ(MakePrintable(large, 5).mText, "xxxx…");
}

TEST(Text, KeepsLinesOfAMessageButNoOtherControls) {
  EXPECT_EQ(PrintableLines("a\nb\tc\x1b[1m\r"), "a\nb\tc\\x1b[1m\\r");
}

TEST(Text, WrapsWordsAtTheWidthOfTheScreen) {
  EXPECT_EQ(WrapWords("", 10, 2), "\n");
  EXPECT_EQ(WrapWords("one two  three", 80, 2), "one two three\n");
  EXPECT_EQ(WrapWords("one two three", 7, 2), "one two\n  three\n");
  EXPECT_EQ(WrapWords("one two three", 6, 2), "one\n  two\n  three\n");
  EXPECT_EQ(WrapWords("unbreakable and so on", 4, 2), "unbreakable\n  and\n  so\n  on\n");
  EXPECT_EQ(WrapWords("茶 茶 茶", 5, 1), "茶 茶\n 茶\n");
}

TEST(Text, GroupsDigits) {
  EXPECT_EQ(GroupDigits(0), "0");
  EXPECT_EQ(GroupDigits(999), "999");
  EXPECT_EQ(GroupDigits(1000), "1,000");
  EXPECT_EQ(GroupDigits(18446744073709551615ULL), "18,446,744,073,709,551,615");
}

TEST(Text, EncodesBytes) {
  EXPECT_EQ(ToHex(std::string_view("\x00\x7f\xff", 3)), "007fff");
  EXPECT_EQ(ToHex("abc", 2), "6162");
  EXPECT_EQ(ToBase64(""), "");
  EXPECT_EQ(ToBase64("f"), "Zg==");
  EXPECT_EQ(ToBase64("fo"), "Zm8=");
  EXPECT_EQ(ToBase64("foo"), "Zm9v");
  EXPECT_EQ(ToBase64("\xff\xfe\xfd\xfc"), "//79/A==");
}

}  // namespace
}  // namespace lumora::shell
