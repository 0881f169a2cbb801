#include "duckdb_c/SqlSplitter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace lumora::duckdb_c::test {
namespace {

std::vector<std::string> Split(std::string_view inScript) {
  std::vector<std::string> texts;
  for (const SqlPiece piece : SplitSql(inScript)) texts.emplace_back(PieceText(inScript, piece));
  return texts;
}

struct Case {
  char const* mName;
  std::string mScript;
  std::vector<std::string> mPieces;
};

class SplitterCase : public testing::TestWithParam<Case> {};

TEST_P(SplitterCase, GivesThePiecesAsWritten) {
  EXPECT_EQ(Split(GetParam().mScript), GetParam().mPieces);
}

std::string CaseName(testing::TestParamInfo<Case> const& inInfo) { return inInfo.param.mName; }

using namespace std::string_literals;

INSTANTIATE_TEST_SUITE_P(Nothing, SplitterCase,
                         testing::Values(Case{"Empty", "", {}}, Case{"Blanks", " \t\r\n\f", {}},
                                         Case{"Semicolons", ";;; ;\n;", {}},
                                         Case{"Comments", "-- a;b\n/* c;d */;/**/", {}},
                                         Case{"UnicodeBlanks", "\xC2\xA0 ;\xE3\x80\x80 ", {}}),
                         CaseName);

INSTANTIATE_TEST_SUITE_P(
    NeverClosed, SplitterCase,
    testing::Values(Case{"Quote", "SELECT 1; SELECT 'a;b", {"SELECT 1", "SELECT 'a;b"}},
                    Case{"Name", "SELECT \"a;b", {"SELECT \"a;b"}},
                    Case{"Dollar", "SELECT $x$a;b$$;", {"SELECT $x$a;b$$;"}},
                    Case{"Comment", "SELECT 1 /* ; /* ; */ ;", {"SELECT 1"}},
                    Case{"Escape", "SELECT E'a\\';", {"SELECT E'a\\';"}},
                    Case{"BackslashLast", "SELECT E'a\\", {"SELECT E'a\\"}}),
    CaseName);

INSTANTIATE_TEST_SUITE_P(
    Trimmed, SplitterCase,
    testing::Values(
        Case{"One", "SELECT 1", {"SELECT 1"}}, Case{"WithSemicolon", "SELECT 1;", {"SELECT 1"}},
        Case{"AroundBlanks", "  SELECT 1 \n ; \t", {"SELECT 1"}},
        Case{"AroundComments", "-- a\nSELECT 1 -- b\n; /* c */", {"SELECT 1"}},
        Case{"InnerComment", "SELECT /* a;b */ 1 /* c */", {"SELECT /* a;b */ 1"}},
        Case{"Several", "SELECT 1;;SELECT 2 ;\nSELECT 3", {"SELECT 1", "SELECT 2", "SELECT 3"}},
        Case{"ByteOrderMark", "\xEF\xBB\xBFSELECT 1", {"SELECT 1"}},
        Case{"UnicodeBlanks", "\xE2\x80\x83SELECT 1\xC2\xA0;\xE3\x80\x80 ", {"SELECT 1"}},
        Case{"OnlyOperator", "@;", {"@"}}, Case{"Nul", "SELECT\0 1;x"s, {"SELECT\0 1"s, "x"}}),
    CaseName);

INSTANTIATE_TEST_SUITE_P(
    Quotes, SplitterCase,
    testing::Values(
        Case{"Semicolon", "SELECT ';';SELECT \";\"", {"SELECT ';'", "SELECT \";\""}},
        Case{"Doubled",
             "SELECT 'a'';b';SELECT \"a\"\";b\"",
             {"SELECT 'a'';b'", "SELECT \"a\"\";b\""}},
        Case{"QuoteInQuote", "SELECT '\";';SELECT \"';\"", {"SELECT '\";'", "SELECT \"';\""}},
        Case{"CommentInQuote", "SELECT '--;';SELECT '/*;'", {"SELECT '--;'", "SELECT '/*;'"}},
        Case{"QuoteInComment", "SELECT 1 --';\n;SELECT 2", {"SELECT 1", "SELECT 2"}},
        Case{"PlainBackslash", "SELECT '\\';SELECT ';'", {"SELECT '\\'", "SELECT ';'"}},
        Case{"Bits", "SELECT x'1;2', B'0;1';y", {"SELECT x'1;2', B'0;1'", "y"}}),
    CaseName);

INSTANTIATE_TEST_SUITE_P(
    Escapes, SplitterCase,
    testing::Values(
        Case{"Backslash", "SELECT E'a\\';b';x", {"SELECT E'a\\';b'", "x"}},
        Case{"LowerCase", "SELECT e'\\';';x", {"SELECT e'\\';'", "x"}},
        Case{"TwoBackslashes", "SELECT E'\\\\';x", {"SELECT E'\\\\'", "x"}},
        Case{"Doubled", R"(SELECT E'\'''';x)", {R"(SELECT E'\'''')", "x"}},
        Case{"EndOfName", "SELECT ae'\\';x", {"SELECT ae'\\'", "x"}},
        Case{"AfterNumber", "SELECT 1e'\\';';x", {"SELECT 1e'\\';'", "x"}},
        Case{"GoesOnAfterLineEnd", "SELECT E'a'\n'\\';';x", {"SELECT E'a'\n'\\';'", "x"}},
        Case{"GoesOnAfterComment",
             "SELECT E'a' --;\n --;\n '\\';';x",
             {"SELECT E'a' --;\n --;\n '\\';'", "x"}},
        Case{"NotOnTheSameLine", "SELECT E'a' '\\';x", {"SELECT E'a' '\\'", "x"}},
        Case{"NotAfterBlockComment", "SELECT E'a'/*\n*/'\\';x", {"SELECT E'a'/*\n*/'\\'", "x"}},
        Case{"CommentWithoutLineEnd", "SELECT E'a'\n--x", {"SELECT E'a'"}}),
    CaseName);

INSTANTIATE_TEST_SUITE_P(
    Dollars, SplitterCase,
    testing::Values(
        Case{"NoTag", "SELECT $$a;b$$;x", {"SELECT $$a;b$$", "x"}},
        Case{"Tag", "SELECT $t$;$$;$u$;$t$;x", {"SELECT $t$;$$;$u$;$t$", "x"}},
        Case{"LongTag",
             "SELECT $t_1\xC3\xA9$;$t_1\xC3\xA9$;x",
             {"SELECT $t_1\xC3\xA9$;$t_1\xC3\xA9$", "x"}},
        Case{"TagWithDigitFirst", "SELECT $1$;$1$;x", {"SELECT $1$", "$1$", "x"}},
        Case{"InName", "SELECT a$$;b$$", {"SELECT a$$", "b$$"}},
        Case{"AfterParameter", "SELECT $1$$a;b$$;x", {"SELECT $1$$a;b$$", "x"}},
        Case{"ParameterThenName", "SELECT $1a$$;x$$", {"SELECT $1a$$", "x$$"}},
        Case{"NamedParameter", "SELECT $a b$;SELECT $b", {"SELECT $a b$", "SELECT $b"}},
        Case{"AfterNumber", "SELECT 1_0.5e-1_0$$;$$;x", {"SELECT 1_0.5e-1_0$$;$$", "x"}},
        Case{"AfterHalfExponent", "SELECT 1.5e$$;$$", {"SELECT 1.5e$$", "$$"}},
        Case{"AfterHexNumber", "SELECT 0x1F$$;$$", {"SELECT 0x1F$$", "$$"}},
        Case{"AfterQuotedName", "SELECT \"x\"$$;$$;x", {"SELECT \"x\"$$;$$", "x"}},
        Case{"AfterUnicodeBlank", "SELECT a\xC2\xA0$$;$$;x", {"SELECT a\xC2\xA0$$;$$", "x"}}),
    CaseName);

INSTANTIATE_TEST_SUITE_P(
    Comments, SplitterCase,
    testing::Values(Case{"Nested", "SELECT /* /* ; */ ; */ 1;x", {"SELECT /* /* ; */ ; */ 1", "x"}},
                    Case{"OpenSlash", "SELECT /*/ ; */ 1;x", {"SELECT /*/ ; */ 1", "x"}},
                    Case{"InOperator", "SELECT 1 //* ; */ 2;x", {"SELECT 1 //* ; */ 2", "x"}},
                    Case{"CarriageReturnEndsLine", "SELECT 1--;\r;x", {"SELECT 1", "x"}},
                    Case{"MinusMinus", "SELECT 1---;\n;x", {"SELECT 1", "x"}},
                    Case{"LineCommentHoldsOpening", "SELECT 1 --/*\n;x", {"SELECT 1", "x"}}),
    CaseName);

TEST(Splitter, TakesAMegabyteOfAnything) {
  for (char const* const part :
       {"'", "\"", "$", "$a", "/*", "*/", "--\n", "E'\\'", ";", "1e", "_a$"}) {
    std::string script;
    while (script.size() < 1U << 20U) script += part;
    EXPECT_LE(SplitSql(script).size(), script.size()) << part;
  }
}

}  // namespace
}  // namespace lumora::duckdb_c::test
