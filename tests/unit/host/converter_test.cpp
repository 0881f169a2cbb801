#include "tarn/Converter.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "Probe.h"

namespace {

using tarn::EscapeStringU;
using tarn::GetConverter_UTF8;
using tarn::I_Converter;
using tarn::StFromUTF16;
using tarn::String;
using tarn::StToUTF16;
using tarn::WChar;
using tarn::test::Random;
using tarn::test::Seed;
using tarn::test::Utf8;
using Units = std::basic_string<WChar>;

// --- a slow reference, straight from the Unicode standard's table of well-formed byte sequences
// ---

struct Row {
  unsigned mFirstLow, mFirstHigh;
  std::vector<std::pair<unsigned, unsigned>> mFollowing;
};

std::vector<Row> const& WellFormed() {
  static std::vector<Row> const rows = {
      {0x00, 0x7F, {}},
      {0xC2, 0xDF, {{0x80, 0xBF}}},
      {0xE0, 0xE0, {{0xA0, 0xBF}, {0x80, 0xBF}}},
      {0xE1, 0xEC, {{0x80, 0xBF}, {0x80, 0xBF}}},
      {0xED, 0xED, {{0x80, 0x9F}, {0x80, 0xBF}}},
      {0xEE, 0xEF, {{0x80, 0xBF}, {0x80, 0xBF}}},
      {0xF0, 0xF0, {{0x90, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}}},
      {0xF1, 0xF3, {{0x80, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}}},
      {0xF4, 0xF4, {{0x80, 0x8F}, {0x80, 0xBF}, {0x80, 0xBF}}},
  };
  return rows;
}

Units EncodeUtf16(char32_t inCode) {
  if (inCode < 0x10000) return {static_cast<WChar>(inCode)};
  char32_t const rest = inCode - 0x10000;
  return {static_cast<WChar>(0xD800 + rest / 0x400), static_cast<WChar>(0xDC00 + rest % 0x400)};
}

// The sequence at the start: how many bytes are its maximal part, and the character or U+FFFD.
std::pair<std::size_t, char32_t> ReferenceOne(std::string_view inText) {
  auto const byte = [&](std::size_t i) { return unsigned{static_cast<unsigned char>(inText[i])}; };
  for (Row const& row : WellFormed()) {
    if (byte(0) < row.mFirstLow || byte(0) > row.mFirstHigh) continue;
    std::size_t const count = row.mFollowing.size();
    static constexpr unsigned kPayload[] = {0x7F, 0x1F, 0x0F, 0x07};
    char32_t code = byte(0) & kPayload[count];
    for (std::size_t i = 0; i < count; ++i) {
      auto const [low, high] = row.mFollowing[i];
      if (i + 1 == inText.size() || byte(i + 1) < low || byte(i + 1) > high) return {i + 1, 0xFFFD};
      code = code * 64 + (byte(i + 1) & 0x3F);
    }
    return {count + 1, code};
  }
  return {1, 0xFFFD};
}

Units Reference(std::string_view inText) {
  Units units;
  while (!inText.empty()) {
    auto const [length, code] = ReferenceOne(inText);
    units += EncodeUtf16(code);
    inText.remove_prefix(length);
  }
  return units;
}

std::string EncodeUtf8(char32_t inCode) {
  std::string text;
  auto const put = [&](char32_t inByte) { text.push_back(static_cast<char>(inByte)); };
  if (inCode < 0x80) {
    put(inCode);
  } else if (inCode < 0x800) {
    put(0xC0 + inCode / 64);
  } else if (inCode < 0x10000) {
    put(0xE0 + inCode / 4096), put(0x80 + inCode / 64 % 64);
  } else {
    put(0xF0 + inCode / 262144), put(0x80 + inCode / 4096 % 64), put(0x80 + inCode / 64 % 64);
  }
  if (inCode >= 0x80) put(0x80 + inCode % 64);
  return text;
}

std::string ReferenceFrom(Units const& inUnits) {
  std::string text;
  for (std::size_t i = 0; i < inUnits.size(); ++i) {
    char32_t code = inUnits[i];
    bool const isHigh = code >= 0xD800 && code <= 0xDBFF;
    bool const isLow = code >= 0xDC00 && code <= 0xDFFF;
    if (isHigh && i + 1 < inUnits.size() && inUnits[i + 1] >= 0xDC00 && inUnits[i + 1] <= 0xDFFF) {
      code = 0x10000 + (code - 0xD800) * 0x400 + (inUnits[++i] - 0xDC00u);
    } else if (isHigh || isLow) {
      code = 0xFFFD;
    }
    text += EncodeUtf8(code);
  }
  return text;
}

Units To(std::string const& inText) {
  // A copy of the exact size, so that a read past its end is seen.
  std::vector<char> const bytes(inText.begin(), inText.end());
  String const text = GetConverter_UTF8()->ToUTF16(bytes.data(), bytes.size());
  EXPECT_EQ(text.c_str()[text.length()], 0);
  return Units(text.view());
}

std::string From(Units const& inUnits) {
  std::vector<WChar> const units(inUnits.begin(), inUnits.end());
  return GetConverter_UTF8()->FromUTF16(units.data(), units.size());
}

TEST(Converter, TextsTooLongForAStringAreRefusedUnread) {
  char const text[] = "x";
  WChar const units[] = {u'x', 0};
  for (std::size_t const length :
       {std::size_t{0x7FFFFFFF}, std::size_t{1} << 31, ~std::size_t{0}}) {
    EXPECT_THROW(GetConverter_UTF8()->ToUTF16(text, length), std::length_error);
    EXPECT_THROW(GetConverter_UTF8()->FromUTF16(units, length), std::length_error);
  }
  EXPECT_THROW(StToUTF16(text, std::int64_t{1} << 31, GetConverter_UTF8()), std::length_error);
}

TEST(Converter, EachMaximalPartOfAnInvalidSequenceBecomesOneReplacement) {
  struct Case {
    char const* mText;
    Units mExpected;
  };
  for (Case const& c : {
           Case{"\x80", TARN_W("\xFFFD")},
           Case{"\xFF\xFE", TARN_W("\xFFFD\xFFFD")},
           Case{"\xC0\x80", TARN_W("\xFFFD\xFFFD")},
           Case{"\xC3", TARN_W("\xFFFD")},
           Case{"\xC3(", TARN_W("\xFFFD(")},
           Case{"\xE2\x82", TARN_W("\xFFFD")},
           Case{"\xE2\x82z", TARN_W("\xFFFDz")},
           Case{"\xE0\x80\x80", TARN_W("\xFFFD\xFFFD\xFFFD")},
           Case{"\xED\xA0\x80", TARN_W("\xFFFD\xFFFD\xFFFD")},
           Case{"\xF0\x9F\x98", TARN_W("\xFFFD")},
           Case{"\xF0\x8F\xBF\xBF", TARN_W("\xFFFD\xFFFD\xFFFD\xFFFD")},
           Case{"\xF4\x90\x80\x80", TARN_W("\xFFFD\xFFFD\xFFFD\xFFFD")},
           Case{"\xF1\x80\x80\xE1\x80\xC2", TARN_W("\xFFFD\xFFFD\xFFFD")},
       }) {
    EXPECT_EQ(To(c.mText), c.mExpected);
    EXPECT_EQ(
        To(std::string("long enough for whole blocks ") + c.mText + " and behind it as well"),
        TARN_W("long enough for whole blocks ") + c.mExpected + TARN_W(" and behind it as well"));
  }
}

TEST(Converter, UnpairedSurrogatesBecomeReplacements) {
  struct Case {
    Units mUnits;
    char const* mExpected;
  };
  WChar const high = 0xD83D;
  WChar const low = 0xDE00;
  for (Case const& c : {Case{{high}, "\xEF\xBF\xBD"}, Case{{low}, "\xEF\xBF\xBD"},
                        Case{{low, high}, "\xEF\xBF\xBD\xEF\xBF\xBD"},
                        Case{{high, high, low}, "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
                        Case{{high, low, low}, "\xF0\x9F\x98\x80\xEF\xBF\xBD"},
                        Case{{u'a', high, u'b'},
                             "a\xEF\xBF\xBD"
                             "b"}}) {
    EXPECT_EQ(From(c.mUnits), c.mExpected);
  }
}

TEST(Converter, EveryCodePointGoesThereAndBack) {
  for (char32_t code = 0; code <= 0x10FFFF; ++code) {
    if (code >= 0xD800 && code <= 0xDFFF) continue;
    std::string const text = EncodeUtf8(code);
    Units const units = EncodeUtf16(code);
    ASSERT_EQ(To(text), units) << std::hex << std::uint32_t{code};
    ASSERT_EQ(From(units), text) << std::hex << std::uint32_t{code};
  }
}

TEST(Converter, EverySequenceOfTwoBytesAgreesWithTheReference) {
  for (unsigned bytes = 0; bytes < 0x10000; ++bytes) {
    std::string const text{static_cast<char>(bytes >> 8), static_cast<char>(bytes)};
    ASSERT_EQ(To(text), Reference(text)) << std::hex << bytes;
  }
}

// Bytes at which the rules change, and some ASCII between them.
std::string RandomBytes(Random& ioRandom) {
  static constexpr unsigned char kEdges[] = {0x00, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF,
                                             0xC0, 0xC1, 0xC2, 0xDF, 0xE0, 0xE1, 0xEC, 0xED,
                                             0xEE, 0xEF, 0xF0, 0xF1, 0xF3, 0xF4, 0xF5, 0xFF};
  std::string text;
  std::size_t const length = ioRandom() % 70;
  auto const asciiShare = ioRandom() % 20;
  while (text.size() < length) {
    if (ioRandom() % 20 < asciiShare) {
      text.push_back(static_cast<char>(ioRandom() % 128));
    } else if (ioRandom() % 2 == 0) {
      text += EncodeUtf8(static_cast<char32_t>(ioRandom() % 0xD800));
    } else {
      text.push_back(static_cast<char>(kEdges[ioRandom() % sizeof kEdges]));
    }
  }
  return text;
}

TEST(Converter, RandomBytesAgreeWithTheReference) {
  auto const seed = Seed();
  Random random(seed);
  for (int i = 0; i < 50000; ++i) {
    std::string const text = RandomBytes(random);
    ASSERT_EQ(To(text), Reference(text)) << "LUMORA_TEST_SEED=" << seed << " text " << i;
  }
}

TEST(Converter, RandomUnitsAgreeWithTheReference) {
  auto const seed = Seed();
  Random random(seed);
  static constexpr unsigned kLimits[] = {0x80, 0x800, 0x10000};
  for (int i = 0; i < 50000; ++i) {
    Units units;
    std::size_t const length = random() % 60;
    while (units.size() < length) {
      unsigned const unit =
          random() % 4 == 0 ? 0xD700 + random() % 0xA00 : random() % kLimits[random() % 3];
      units.push_back(static_cast<WChar>(unit));
    }
    ASSERT_EQ(From(units), ReferenceFrom(units)) << "LUMORA_TEST_SEED=" << seed << " text " << i;
  }
}

TEST(Converter, TextsOfEveryLengthAroundTheBlocks) {
  for (std::size_t length = 0; length < 100; ++length) {
    std::string text(length, 'x');
    Units units(length, u'x');
    ASSERT_EQ(To(text), units);
    ASSERT_EQ(From(units), text);
    for (std::size_t i = 0; i < length; ++i) {
      std::string const mixed = text.substr(0, i) + "\xC3\xA9" + text.substr(i);
      ASSERT_EQ(From(To(mixed)), mixed) << length << " " << i;
      ASSERT_EQ(To(mixed).size(), length + 1);
    }
  }
}

TEST(Converter, ASurrogatePairIsKeptTogetherAtEveryPlace) {
  for (std::size_t place = 0; place < 800; ++place) {
    Units const units = Units(place, u'x') + EncodeUtf16(0x1F986) + Units(300, u'y');
    ASSERT_EQ(From(units), ReferenceFrom(units)) << place;
    Units const alone = Units(place, u'x') + WChar{0xD83E} + Units(300, u'y');
    ASSERT_EQ(From(alone), ReferenceFrom(alone)) << place;
  }
  Units const high(1000, 0xD83E);
  EXPECT_EQ(From(high), ReferenceFrom(high));
}

TEST(Converter, ALongTextIsConvertedWhole) {
  std::string text;
  for (char32_t code = 1; text.size() < 3'000'000; code = code % 0xD7F0 + 7)
    text += EncodeUtf8(code);
  EXPECT_TRUE(To(text) == Reference(text));
  EXPECT_TRUE(From(To(text)) == text);
}

TEST(StToUTF16, NullIsEmptyAndMinusOneGoesToTheTerminator) {
  I_Converter* const converter = GetConverter_UTF8();
  EXPECT_TRUE(StToUTF16(nullptr, -1, converter).isEmpty());
  EXPECT_TRUE(StToUTF16(nullptr, 5, converter).isEmpty());
  EXPECT_EQ(Utf8(StToUTF16("abc", -1, converter)), "abc");
  EXPECT_EQ(Utf8(StToUTF16("abc", 2, converter)), "ab");
  EXPECT_EQ(StToUTF16("a\0b", 3, converter).length(), 3u);
  EXPECT_EQ(StFromUTF16(StToUTF16("a\0b", 3, converter), converter), std::string("a\0b", 3));
  EXPECT_EQ(Utf8(StToUTF16("utf-8 is the default", -1, nullptr)), "utf-8 is the default");
  EXPECT_EQ(StFromUTF16(String("x"), nullptr), "x");
}

TEST(EscapeStringU, DoublesTheQuoteAlone) {
  struct Case {
    char const* mText;
    char mQuote;
    char const* mExpected;
  };
  for (Case const& c :
       {Case{"", '\'', ""}, Case{"plain", '\'', "plain"}, Case{"'", '\'', "''"},
        Case{"it's 'so'", '\'', "it''s ''so''"}, Case{"a\"b'c", '"', "a\"\"b'c"},
        Case{"caf\xC3\xA9's \xF0\x9F\x98\x80", '\'', "caf\xC3\xA9''s \xF0\x9F\x98\x80"}}) {
    EXPECT_EQ(Utf8(EscapeStringU(String(c.mText).c_str(), static_cast<unsigned char>(c.mQuote))),
              c.mExpected);
  }
  EXPECT_TRUE(EscapeStringU(nullptr, '\'').isEmpty());
  EXPECT_EQ(Utf8(EscapeStringU(TARN_W("ab"), 0)), "ab");
  EXPECT_EQ(Utf8(EscapeStringU(TARN_W("ab"), 0x10000 + 'a')), "ab");
}

}  // namespace
