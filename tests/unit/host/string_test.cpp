#include "tarn/String.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <type_traits>

#include "Probe.h"

namespace {

using tarn::String;
using tarn::WChar;
using tarn::test::Random;
using tarn::test::Utf8;
using tarn::test::Wide;

static_assert(sizeof(String) == 32);
static_assert(std::is_nothrow_move_constructible_v<String>);
static_assert(std::is_nothrow_move_assignable_v<String>);

std::basic_string<WChar> Model(String const& inText) {
  EXPECT_EQ(inText.c_str()[inText.length()], 0) << "a NUL follows the text";
  return std::basic_string<WChar>(inText.view());
}

std::basic_string<WChar> Units(std::size_t inCount, WChar inFirst = u'a') {
  std::basic_string<WChar> units(inCount, u' ');
  for (std::size_t i = 0; i < inCount; ++i) units[i] = static_cast<WChar>(inFirst + i % 26);
  return units;
}

String Of(std::basic_string<WChar> const& inUnits) {
  return String(inUnits.data(), static_cast<std::int32_t>(inUnits.size()));
}

// Around the inline room, the pool's largest piece and the growth steps.
constexpr std::size_t kLengths[] = {0, 1, 10, 11, 12, 13, 22, 23, 24, 126, 127, 128, 129, 1000};

TEST(String, LengthsPastTheLimitAreRefusedAndTheTextStays) {
  String text("kept");
  for (std::uint32_t const units : {0x7FFFFFFFu, 0xFFFFFFFFu}) {
    EXPECT_THROW(text.reserve(units), std::length_error);
    EXPECT_THROW(text.resize_for_overwrite(units), std::length_error);
  }
  EXPECT_EQ(Utf8(text), "kept");
}

TEST(String, NullTextsAreEmpty) {
  EXPECT_TRUE(String(static_cast<WChar const*>(nullptr)).isEmpty());
  EXPECT_TRUE(String(static_cast<WChar const*>(nullptr), 5).isEmpty());
  EXPECT_TRUE(String(static_cast<char const*>(nullptr)).isEmpty());
  EXPECT_TRUE(String(static_cast<char const*>(nullptr), 5).isEmpty());
  String text("x");
  text = static_cast<WChar const*>(nullptr);
  EXPECT_TRUE(text.isEmpty());
  text = "x";
  text = static_cast<char const*>(nullptr);
  EXPECT_TRUE(text.isEmpty());
  text += static_cast<char const*>(nullptr);
  text += static_cast<WChar const*>(nullptr);
  EXPECT_TRUE(text.isEmpty());
  EXPECT_EQ(text.c_str()[0], 0);
}

TEST(String, TheSharedEmptyTextIsEmpty) {
  EXPECT_TRUE(String::sEmpty.isEmpty());
  EXPECT_EQ(String::sEmpty.length(), 0u);
  EXPECT_EQ(String::sEmpty.c_str()[0], 0);
}

TEST(String, EveryWayToMakeOneKeepsTheText) {
  for (std::size_t const length : kLengths) {
    auto const units = Units(length);
    String const text = Of(units);
    EXPECT_EQ(Model(text), units);
    EXPECT_EQ(Model(String(units.c_str())), units);
    EXPECT_EQ(Model(String(Utf8(text).c_str())), units);
    EXPECT_EQ(Model(String(Utf8(text).c_str(), static_cast<std::int32_t>(length), nullptr)), units);
    EXPECT_EQ(Model(String(text)), units);
    EXPECT_EQ(text.length(), length);
    EXPECT_EQ(text.isEmpty(), length == 0);
  }
}

TEST(String, ALengthCutsAndMinusOneGoesToTheTerminator) {
  EXPECT_EQ(Utf8(String(TARN_W("abcdef"), 3)), "abc");
  EXPECT_EQ(Utf8(String("abcdef", 3)), "abc");
  EXPECT_EQ(Utf8(String("abcdef", 0)), "");
  EXPECT_EQ(Utf8(String("abc\0def", -1)), "abc");
  EXPECT_EQ(String(TARN_W("abc\0def")).length(), 3u);
}

TEST(String, NulUnitsAreUnits) {
  String const text("a\0b", 3);
  EXPECT_EQ(text.length(), 3u);
  EXPECT_EQ(Utf8(text), std::string("a\0b", 3));
  EXPECT_FALSE(text == String("a"));
  String sum(text);
  sum += text;
  EXPECT_EQ(Utf8(sum), std::string("a\0ba\0b", 6));
  EXPECT_EQ(Utf8(String(sum)), std::string("a\0ba\0b", 6));
}

TEST(String, MovingLeavesTheEmptyText) {
  for (std::size_t const length : kLengths) {
    auto const units = Units(length);
    String source = Of(units);
    String target(std::move(source));
    EXPECT_EQ(Model(target), units);
    EXPECT_TRUE(source.isEmpty());
    EXPECT_EQ(source.c_str()[0], 0);
    source = "used again";
    EXPECT_EQ(Utf8(source), "used again");
    source = std::move(target);
    EXPECT_EQ(Model(source), units);
    EXPECT_TRUE(target.isEmpty());
  }
}

TEST(String, AMoveTakesALongTextOverWithoutACopy) {
  String source = Of(Units(1000));
  WChar const* const units = source.c_str();
  String const target(std::move(source));
  EXPECT_EQ(target.c_str(), units);
}

TEST(String, AssigningATextToItselfKeepsIt) {
  for (std::size_t const length : kLengths) {
    auto const units = Units(length);
    String text = Of(units);
    String& self = text;
    text = self;
    EXPECT_EQ(Model(text), units);
    text = std::move(self);
    EXPECT_EQ(Model(text), units);
    text = text.c_str();
    EXPECT_EQ(Model(text), units);
    if (length == 0) continue;
    text = text.c_str() + 1;
    EXPECT_EQ(Model(text), units.substr(1));
  }
}

TEST(String, AppendingATextToItselfDoublesIt) {
  for (std::size_t const length : kLengths) {
    auto const units = Units(length);
    String text = Of(units);
    text += text;
    EXPECT_EQ(Model(text), units + units);
    text << text.c_str();
    EXPECT_EQ(Model(text), units + units + units + units);
  }
}

TEST(String, AppendsOfEveryKindOfText) {
  String text;
  text += "caf\xC3\xA9 ";
  text += TARN_W("wide ");
  text += String("string ");
  text << "a " << TARN_W("b ") << String("c");
  EXPECT_EQ(Utf8(text), "caf\xC3\xA9 wide string a b c");
}

TEST(String, NumbersAreAppendedInDecimal) {
  String text;
  text << std::uint32_t{0} << " " << std::uint32_t{4294967295u} << " "
       << std::uint64_t{18446744073709551615u} << " " << std::numeric_limits<std::int64_t>::min();
  EXPECT_EQ(Utf8(text), "0 4294967295 18446744073709551615 -9223372036854775808");
}

TEST(String, ClearGivesTheEmptyText) {
  for (std::size_t const length : kLengths) {
    String text = Of(Units(length));
    text.clear();
    EXPECT_TRUE(text.isEmpty());
    EXPECT_EQ(text.c_str()[0], 0);
    text += "x";
    EXPECT_EQ(Utf8(text), "x");
  }
}

TEST(String, ReserveKeepsTheTextAndMakesRoom) {
  for (std::size_t const length : kLengths) {
    auto const units = Units(length);
    String text = Of(units);
    text.reserve(2000);
    EXPECT_EQ(Model(text), units);
    WChar const* const place = text.c_str();
    while (text.length() < 2000) text += "x";
    EXPECT_EQ(text.c_str(), place) << "no growth inside the reserved room";
    text.reserve(5);
    EXPECT_EQ(text.c_str(), place);
  }
}

TEST(String, ResizeForOverwriteGivesUnitsToFill) {
  String text("before");
  for (std::uint32_t const length : {5u, 11u, 12u, 500u, 3u, 0u}) {
    auto const units = Units(length, u'A');
    std::copy(units.begin(), units.end(), text.resize_for_overwrite(length));
    EXPECT_EQ(Model(text), units);
  }
}

TEST(String, TextsCompareByTheirUnits) {
  char const* const kAscending[] = {"", "A", "AB", "B", "a", "ab", "b", "\xC3\xA9", "\xEF\xBD\x81"};
  for (auto const* const a : kAscending) {
    for (auto const* const b : kAscending) {
      auto const order = Model(String(a)).compare(Model(String(b)));
      EXPECT_EQ(String(a) < String(b), order < 0) << a << " " << b;
      EXPECT_EQ(String(a) == String(b), order == 0) << a << " " << b;
    }
  }
  // By unit and not by code point: a surrogate is less than U+FF41.
  EXPECT_TRUE(String("\xF0\x9F\x98\x80") < String("\xEF\xBD\x81"));
  EXPECT_TRUE(String("a") < String("a\0", 2));
  EXPECT_FALSE(String("a") == String("a\0", 2));
}

TEST(String, ParseLLongReadsTheLeadingNumberAndClamps) {
  struct Case {
    char const* mText;
    std::int64_t mExpected;
  };
  constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
  constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
  for (Case const& c : {Case{"", 0},
                        Case{"   ", 0},
                        Case{"x1", 0},
                        Case{"-", 0},
                        Case{"+", 0},
                        Case{"- 1", 0},
                        Case{"--1", 0},
                        Case{"0", 0},
                        Case{"-0", 0},
                        Case{"007", 7},
                        Case{" \t\r\n42 rows", 42},
                        Case{"+5", 5},
                        Case{"-5.9", -5},
                        Case{"1e3", 1},
                        Case{"9223372036854775807", kMax},
                        Case{"9223372036854775808", kMax},
                        Case{"-9223372036854775808", kMin},
                        Case{"-9223372036854775809", kMin},
                        Case{"18446744073709551616", kMax},
                        Case{"-99999999999999999999999", kMin},
                        Case{"99999999999999999999999", kMax}}) {
    EXPECT_EQ(String(c.mText).parseLLong(), c.mExpected) << c.mText;
  }
  EXPECT_EQ(Wide("\xD9\xA1").parseLLong(), 0) << "digits of other scripts are none";
  EXPECT_EQ(String("12\0"
                   "34",
                   5)
                .parseLLong(),
            12);
}

TEST(String, RandomOperationsAgreeWithAModel) {
  auto const seed = tarn::test::Seed();
  Random random(seed);
  String text;
  std::basic_string<WChar> model;
  for (int step = 0; step < 20000; ++step) {
    auto const units = Units(random() % 40, static_cast<WChar>(random()));
    switch (random() % 7) {
      case 0:
        text = Of(units), model = units;
        break;
      case 1:
        text += Of(units), model += units;
        break;
      case 2:
        text = String(text), text += units.c_str(), model += units.c_str();
        break;
      case 3:
        text.reserve(random() % 300);
        break;
      case 4: {
        String moved(std::move(text));
        text = std::move(moved);
      } break;
      case 5:
        if (model.size() < 200) text += text, model += model;
        break;
      default:
        if (random() % 4 == 0) text.clear(), model.clear();
        break;
    }
    ASSERT_EQ(Model(text), model) << "LUMORA_TEST_SEED=" << seed << " step " << step;
  }
}

}  // namespace
