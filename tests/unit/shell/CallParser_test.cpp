#include "CallParser.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace lumora::shell {
namespace {

// One argument as a text that shows its kind.
std::string Show(HostValue const& inValue) {
  if (HostArray const* items = inValue.get_Array()) {
    std::string text = "[";
    for (HostValue const& item : *items) text += (text.size() > 1 ? " " : "") + Show(item);
    return text + "]";
  }
  std::string text;
  inValue.get_Text(text);
  return std::string(KindName(inValue.get_Kind())) + ":" + text;
}

std::string ShowCall(std::string const& inText) {
  CallStatement const call = ParseCall(inText);
  std::string text = call.mName;
  for (HostValue const& argument : call.mArguments) text += " " + Show(argument);
  return text;
}

struct BadCall {
  std::string mText;
  std::string mMessage;
  std::size_t mOffset;
};

TEST(CallParser, RefusesWhatIsNoCallAndTellsWhere) {
  std::string const deep = "CALL p(" + std::string(kMaxArrayDepth + 1, '[');
  std::vector<BadCall> const cases = {
      {"", "expected CALL", 0},
      {"SELECT 1", "expected CALL", 7},
      {"CALL", "expected the name of a procedure, found the end", 4},
      {"CALL 1p()", "expected the name of a procedure, found '1p()'", 5},
      {"CALL p", "expected '(' behind the name of the procedure, found the end", 6},
      {"CALL p 'a'", "expected '(' behind the name of the procedure, found ''a''", 7},
      {"CALL p(", "an argument is missing at the end", 7},
      {"CALL p('a'", "expected ')' behind the arguments, found the end", 10},
      {"CALL p('a' 'b')", "expected ')' behind the arguments, found ''b')'", 11},
      {"CALL p('a',)",
       "expected a text in single quotes, a number, NULL, TRUE, FALSE or an array, found ')'", 11},
      {"CALL p(,)",
       "expected a text in single quotes, a number, NULL, TRUE, FALSE or an array, found ',)'", 7},
      {"CALL p(a)",
       "expected a text in single quotes, a number, NULL, TRUE, FALSE or an array, found 'a)'", 7},
      {"CALL p('a)", "a quoted text has no end", 7},
      {"CALL p('a'')", "a quoted text has no end", 7},
      {"CALL p(\"a\")", "a text is written in single quotes, not in double quotes", 7},
      {"CALL p([1)", "expected ']' at the end of an array, found ')'", 9},
      {"CALL p(1) x", "unexpected 'x' behind the call", 10},
      {"CALL p(1); CALL q(1)", "unexpected 'CALL q(1)' behind the call", 11},
      {"CALL p(18446744073709551616)", "an integer is out of the range of 64 bits", 7},
      {"CALL p(-9223372036854775809)", "an integer is out of the range of 64 bits", 7},
      {"CALL p(1e999)", "a number is out of range", 7},
      {"CALL p(-)", "expected a number, found '-)'", 7},
      {"CALL p(.)", "expected a number, found '.)'", 7},
      {"CALL p(1e)", "expected a number, found '1e)'", 7},
      {"CALL p(1x)", "expected a number, found '1x)'", 7},
      {"CALL p(1.2.3)", "expected a number, found '1.2.3)'", 7},
      {"CALL p(--1)", "an argument is missing at the end", 11},
      {"CALL p(/* 1)", "a comment has no end", 7},
      {deep, "arrays stand too deep inside each other", 7 + kMaxArrayDepth},
  };
  for (BadCall const& c : cases) {
    try {
      ParseCall(c.mText);
      ADD_FAILURE() << c.mText << " was taken";
    } catch (CallSyntaxError const& error) {
      EXPECT_EQ(error.what(), c.mMessage) << c.mText;
      EXPECT_EQ(error.mOffset, c.mOffset) << c.mText;
    }
  }
}

TEST(CallParser, ReadsEveryKindOfArgument) {
  struct Case {
    char const* mText;
    char const* mShown;
  };
  Case const cases[] = {
      {"CALL p()", "p"},
      {"call P ( ) ;;", "P"},
      {"CALL p('')", "p text:"},
      {"CALL p('it''s')", "p text:it's"},
      {"CALL p('''')", "p text:'"},
      {"CALL p('\xE6\x97\xA5 \"x\" -- no comment; /* nor here')",
       "p text:\xE6\x97\xA5 \"x\" -- no comment; /* nor here"},
      {"CALL p('a', 'b')", "p text:a text:b"},
      {"CALL p(0, -0, +7, 007)", "p int64:0 int64:0 int64:7 int64:7"},
      {"CALL p(9223372036854775807, -9223372036854775808)",
       "p int64:9223372036854775807 int64:-9223372036854775808"},
      {"CALL p(9223372036854775808, 18446744073709551615)",
       "p uint64:9223372036854775808 uint64:18446744073709551615"},
      {"CALL p(1.5, -.25, 2., 1e3, +1E-2)",
       "p double:1.5 double:-0.25 double:2 double:1000 double:0.01"},
      {"CALL p(NULL, null, True, FALSE)", "p null: null: bool:true bool:false"},
      {"CALL p([], [1], ['a', NULL, [2.5, TRUE]])",
       "p [] [int64:1] [text:a null: [double:2.5 bool:true]]"},
      {"-- first\nCALL /* a /* nested */ comment */ p -- here\n(1 -- one\n, 2)",
       "p int64:1 int64:2"},
      {"CALL p(--1\n 2)", "p int64:2"},
      {"CALL \xC3\xA4_9(1)", "\xC3\xA4_9 int64:1"},
  };
  for (Case const& c : cases) EXPECT_EQ(ShowCall(c.mText), c.mShown) << c.mText;
}

TEST(CallParser, KeepsNulBytesOfATextAndLongTexts) {
  using namespace std::string_literals;
  EXPECT_EQ(ShowCall("CALL p('a\0b')"s), "p text:a\0b"s);
  std::string const large(1 << 20, 'x');
  EXPECT_EQ(ShowCall("CALL p('" + large + "')"), "p text:" + large);
}

TEST(CallParser, TellsTheNameOfACallAlone) {
  EXPECT_EQ(PeekCallName("SELECT call(1)"), std::nullopt);
  EXPECT_EQ(PeekCallName(""), std::nullopt);
  EXPECT_EQ(PeekCallName("CALL"), std::nullopt);
  EXPECT_EQ(PeekCallName("CALL /* open"), std::nullopt);
  EXPECT_EQ(PeekCallName("CALLp(1)"), std::nullopt);
  EXPECT_EQ(PeekCallName("/* c */ caLL  Fetch_x"), "Fetch_x");
  EXPECT_EQ(PeekCallName("CALL p(this is no argument"), "p");
}

TEST(CallParser, ReadsOneArgumentOnItsOwn) {
  EXPECT_EQ(Show(ParseArgument(" 'a' ")), "text:a");
  EXPECT_EQ(Show(ParseArgument("18446744073709551615")), "uint64:18446744073709551615");
  EXPECT_THROW(ParseArgument(""), CallSyntaxError);
  EXPECT_THROW(ParseArgument("1, 2"), CallSyntaxError);
}

}  // namespace
}  // namespace lumora::shell
