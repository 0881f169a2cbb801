#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace lumora::shell {

// One statement of a script, without the blanks around it and without its semicolon, or one
// command: a line that begins with a full stop where a statement could begin.
struct ScriptPiece {
  std::string_view mText;   // into the script
  std::size_t mOffset = 0;  // of mText in the script, in bytes
  bool mIsCommand = false;
};

struct SplitResult {
  std::vector<ScriptPiece> mPieces;
  // Something that is not a blank or a comment follows the last semicolon, or a quote or comment
  // is still open: the user is not done. The last piece is that rest then, unless only a comment
  // is open.
  bool mIsIncomplete = false;
};

// Cuts a text at the semicolons outside of '…', "…", $tag$…$tag$, E'…' and comments. Pieces that
// hold nothing but blanks and comments are left out. Pure.
SplitResult SplitScript(std::string_view inScript);

// Skips blanks and comments from inOffset on; an open comment reaches to the end. Sets outIsOpen
// then.
std::size_t SkipBlanks(std::string_view inText, std::size_t inOffset, bool* outIsOpen = nullptr);

// The offset behind the token at inOffset (a name, a quoted text, or a single byte), or kOpenToken
// when its quote has no end.
inline constexpr std::size_t kOpenToken = static_cast<std::size_t>(-1);
std::size_t SkipToken(std::string_view inText, std::size_t inOffset);

struct TextPosition {
  std::size_t mLine = 1;    // from 1
  std::size_t mColumn = 1;  // from 1, in characters
  std::string_view mLineText;
  std::size_t mOffsetInLine = 0;  // in bytes
};

// Where a byte offset stands in a text; offsets past the end count as the end.
TextPosition LocateOffset(std::string_view inText, std::size_t inOffset);

}  // namespace lumora::shell
