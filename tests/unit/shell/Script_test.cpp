#include "Script.h"

#include <gtest/gtest.h>

namespace lumora::shell {
namespace {

struct SplitCase {
  char const* mText;
  std::vector<std::string> mPieces;
  bool mIsIncomplete;
};

TEST(Script, CutsAtSemicolonsOutsideOfQuotesAndComments) {
  SplitCase const cases[] = {
      {"", {}, false},
      {" \n\t ", {}, false},
      {";;;", {}, false},
      {"-- nothing; here", {}, false},
      {"/* nor ; here */", {}, false},
      {"a", {"a"}, true},
      {"a;", {"a"}, false},
      {" a ; b ", {"a", "b"}, true},
      {"a;;b;", {"a", "b"}, false},
      {"a; -- the end", {"a"}, false},
      {"a -- the end", {"a"}, true},
      {"a -- b; c\n d;", {"a -- b; c\n d"}, false},
      {"a /* ; /* ; */ ; */ b;", {"a /* ; /* ; */ ; */ b"}, false},
      {"'a;''b;';", {"'a;''b;'"}, false},
      {"\"a;\"\"b;\";", {"\"a;\"\"b;\""}, false},
      {"'a\\';b;", {"'a\\'", "b"}, false},
      {"E'a\\';b';", {"E'a\\';b'"}, false},
      {"e'\\\\';b;", {"e'\\\\'", "b"}, false},
      {"file'a\\';b;", {"file'a\\'", "b"}, false},
      {"$$a;b$$;", {"$$a;b$$"}, false},
      {"$x$a;$$;$y$;$x$;", {"$x$a;$$;$y$;$x$"}, false},
      {"SELECT $1; SELECT $name;", {"SELECT $1", "SELECT $name"}, false},
      {"a$$;b$$;", {"a$$", "b$$"}, false},
      {"1 - -1; 4 / 2;", {"1 - -1", "4 / 2"}, false},
      {"a 'open;", {"a 'open;"}, true},
      {"a \"open;", {"a \"open;"}, true},
      {"a $q$ open;", {"a $q$ open;"}, true},
      {"a /* open;", {"a"}, true},
      {"/* open;", {}, true},
      {"a; /* open", {"a"}, true},
      {"\xE6\x97\xA5;\xF0\x9F\x98\x80", {"\xE6\x97\xA5", "\xF0\x9F\x98\x80"}, true},
  };
  for (SplitCase const& c : cases) {
    SplitResult const result = SplitScript(c.mText);
    std::vector<std::string> pieces;
    for (ScriptPiece const& piece : result.mPieces) {
      pieces.emplace_back(piece.mText);
      EXPECT_EQ(std::string_view(c.mText).substr(piece.mOffset, piece.mText.size()), piece.mText);
    }
    EXPECT_EQ(pieces, c.mPieces) << c.mText;
    EXPECT_EQ(result.mIsIncomplete, c.mIsIncomplete) << c.mText;
  }
}

TEST(Script, FindsLineAndColumnOfAnOffset) {
  std::string const text = "ab\n\xE6\x97\xA5\xE6\x9C\xAC x\n\nend";
  struct Case {
    std::size_t mOffset, mLine, mColumn;
    char const* mLineText;
  };
  Case const cases[] = {
      {0, 1, 1, "ab"},
      {2, 1, 3, "ab"},
      {3, 2, 1, "\xE6\x97\xA5\xE6\x9C\xAC x"},
      {10, 2, 4, "\xE6\x97\xA5\xE6\x9C\xAC x"},
      {12, 3, 1, ""},
      {13, 4, 1, "end"},
      {999, 4, 4, "end"},
  };
  for (Case const& c : cases) {
    TextPosition const place = LocateOffset(text, c.mOffset);
    EXPECT_EQ(place.mLine, c.mLine) << c.mOffset;
    EXPECT_EQ(place.mColumn, c.mColumn) << c.mOffset;
    EXPECT_EQ(place.mLineText, c.mLineText) << c.mOffset;
  }
}

}  // namespace
}  // namespace lumora::shell
