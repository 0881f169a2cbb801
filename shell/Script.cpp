#include "Script.h"

#include <algorithm>

#include "Text.h"

namespace lumora::shell {

namespace {

constexpr std::size_t kOpen = kOpenToken;

bool IsNameByte(char inByte) {
  auto const byte = static_cast<unsigned char>(inByte);
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
         (byte >= '0' && byte <= '9') || byte == '_' || byte >= 0x80;
}

bool StartsWith(std::string_view inText, std::size_t inOffset, std::string_view inPrefix) {
  return inText.substr(std::min(inOffset, inText.size()), inPrefix.size()) == inPrefix;
}

// Each of the skippers starts at the first byte of its token and returns the offset behind it, or
// kOpen when the token has no end.

std::size_t SkipQuoted(std::string_view inText, std::size_t inOffset, bool inHasEscapes) {
  char const quote = inText[inOffset];
  for (std::size_t i = inOffset + 1; i < inText.size(); ++i) {
    if (inHasEscapes && inText[i] == '\\') {
      ++i;
    } else if (inText[i] == quote) {
      // A doubled quote stands for one and does not end the token.
      if (i + 1 >= inText.size() || inText[i + 1] != quote) return i + 1;
      ++i;
    }
  }
  return kOpen;
}

std::size_t SkipBlockComment(std::string_view inText, std::size_t inOffset) {
  std::size_t depth = 0;
  for (std::size_t i = inOffset; i + 1 < inText.size(); ++i) {
    if (StartsWith(inText, i, "/*")) {
      ++depth;
      ++i;
    } else if (StartsWith(inText, i, "*/")) {
      ++i;
      if (--depth == 0) return i + 1;
    }
  }
  return kOpen;
}

// $tag$ … $tag$; a dollar that begins no such token is a token of its own.
std::size_t SkipDollarQuoted(std::string_view inText, std::size_t inOffset) {
  std::size_t end = inOffset + 1;
  if (end < inText.size() && inText[end] >= '0' && inText[end] <= '9') return inOffset + 1;
  while (end < inText.size() && IsNameByte(inText[end])) ++end;
  if (end >= inText.size() || inText[end] != '$') return inOffset + 1;
  std::string_view const tag = inText.substr(inOffset, end + 1 - inOffset);
  std::size_t const close = inText.find(tag, end + 1);
  return close == kOpen ? kOpen : close + tag.size();
}

std::size_t SkipName(std::string_view inText, std::size_t inOffset) {
  std::size_t end = inOffset;
  while (end < inText.size() && (IsNameByte(inText[end]) || inText[end] == '$')) ++end;
  bool const isEscapePrefix = end == inOffset + 1 && (inText[inOffset] | 0x20) == 'e';
  if (isEscapePrefix && end < inText.size() && inText[end] == '\'') {
    return SkipQuoted(inText, end, true);
  }
  return end;
}

}  // namespace

std::size_t SkipToken(std::string_view inText, std::size_t inOffset) {
  char const first = inText[inOffset];
  if (first == '\'' || first == '"') return SkipQuoted(inText, inOffset, false);
  if (first == '$') return SkipDollarQuoted(inText, inOffset);
  if (IsNameByte(first)) return SkipName(inText, inOffset);
  return inOffset + 1;
}

std::size_t SkipBlanks(std::string_view inText, std::size_t inOffset, bool* outIsOpen) {
  if (outIsOpen) *outIsOpen = false;
  std::size_t i = inOffset;
  while (i < inText.size()) {
    if (Trim(inText.substr(i, 1)).empty()) {
      ++i;
    } else if (StartsWith(inText, i, "--")) {
      i = std::min(inText.find('\n', i), inText.size());
    } else if (StartsWith(inText, i, "/*")) {
      i = SkipBlockComment(inText, i);
      if (i == kOpen) {
        if (outIsOpen) *outIsOpen = true;
        return inText.size();
      }
    } else {
      return i;
    }
  }
  return inText.size();
}

SplitResult SplitScript(std::string_view inScript) {
  SplitResult result;
  bool isOpen = false;
  std::size_t position = SkipBlanks(inScript, 0, &isOpen);
  std::size_t start = position;
  std::size_t end = position;  // behind the last token of the piece
  auto const finish = [&] {
    if (end > start) result.mPieces.push_back({inScript.substr(start, end - start), start, false});
  };
  while (position < inScript.size()) {
    if (position == start && inScript[position] == '.') {
      end = std::min(inScript.find('\n', position), inScript.size());
      result.mPieces.push_back({Trim(inScript.substr(start, end - start)), start, true});
      position = SkipBlanks(inScript, end, &isOpen);
      start = end = position;
      continue;
    }
    bool const isEnd = inScript[position] == ';';
    if (isEnd) {
      finish();
      position = SkipBlanks(inScript, position + 1, &isOpen);
      start = end = position;
      continue;
    }
    end = SkipToken(inScript, position);
    if (end == kOpen) {
      isOpen = true;
      end = inScript.size();
    }
    position = end;
    if (!isOpen) position = SkipBlanks(inScript, end, &isOpen);
  }
  finish();
  result.mIsIncomplete = isOpen || end > start;
  return result;
}

TextPosition LocateOffset(std::string_view inText, std::size_t inOffset) {
  std::size_t const offset = std::min(inOffset, inText.size());
  TextPosition position;
  std::size_t lineStart = 0;
  for (std::size_t i = 0; i < offset; ++i) {
    if (inText[i] != '\n') continue;
    ++position.mLine;
    lineStart = i + 1;
  }
  std::size_t const lineEnd = std::min(inText.find('\n', offset), inText.size());
  position.mLineText = inText.substr(lineStart, lineEnd - lineStart);
  position.mOffsetInLine = offset - lineStart;
  for (std::size_t i = lineStart; i < offset; ++i) {
    // The bytes behind the first of a character are no characters of their own.
    if ((static_cast<unsigned char>(inText[i]) & 0xC0) != 0x80) ++position.mColumn;
  }
  return position;
}

}  // namespace lumora::shell
