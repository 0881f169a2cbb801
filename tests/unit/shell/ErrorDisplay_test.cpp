#include "ErrorDisplay.h"

#include <gtest/gtest.h>

namespace lumora::shell {
namespace {

TEST(ErrorDisplay, ShowsTypeMessageAndPlaceWithACaret) {
  struct Case {
    char const* mScript;
    StatementError mError;
    char const* mShown;
  };
  Case const cases[] = {
      {"x", StatementError("went wrong"), "Error: went wrong\n"},
      {"x", StatementError("no such table", "Catalog"), "Catalog Error: no such table\n"},
      {"SELECT a;\nSELECT bad FROM t", StatementError("bad", "Binder", 17),
       "Binder Error: bad (line 2, column 8)\nline 2: SELECT bad FROM t\n               ^\n"},
      {"SELECT '日本', bad", StatementError("bad", "Binder", 17),
       "Binder Error: bad (line 1, column 14)\nline 1: SELECT '日本', bad\n"
       "                       ^\n"},
      {"SELECT\t\x1b[1m bad", StatementError("a\x1b]0;title\x07", "", 12),
       "Error: a\\x1b]0;title\\x07 (line 1, column 13)\nline 1: SELECT\\t\\x1b[1m bad\n"
       "                        ^\n"},
      {"a", StatementError("end", "Parser", 99),
       "Parser Error: end (line 1, column 2)\nline 1: a\n         ^\n"},
  };
  for (Case const& c : cases) EXPECT_EQ(DescribeError(c.mError, c.mScript), c.mShown);
}

TEST(ErrorDisplay, ShowsThePartOfALongLineAroundThePlace) {
  std::string const script = std::string(5000, 'a') + "BAD" + std::string(5000, 'b');
  std::string const shown = DescribeError(StatementError("e", "", 5000), script);
  EXPECT_LT(shown.size(), 500U);
  EXPECT_NE(shown.find("…" + std::string(60, 'a') + "BAD"), std::string::npos);
  std::size_t const caret = shown.find('^');
  std::size_t const lineStart = shown.rfind('\n', caret) + 1;
  EXPECT_EQ(caret - lineStart, std::string("line 1: ").size() + 1 + 60);
}

}  // namespace
}  // namespace lumora::shell
