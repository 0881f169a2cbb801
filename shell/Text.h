#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Texts on their way to a person: what may reach a terminal, and how wide it is there.
// All texts are UTF-8; invalid bytes count as U+FFFD. Pure functions, callable from any thread.
namespace lumora::shell {

// A text that holds nothing a terminal obeys, with its width in terminal columns.
struct PrintableText {
  std::string mText;
  std::size_t mWidth = 0;
};

inline constexpr std::size_t kNoWidthLimit = static_cast<std::size_t>(-1);

// Control characters, bidirectional overrides and line separators as visible escapes ("\n", "\x1b",
// "\u{202e}"). A text wider than inMaxWidth columns (at least 1) is cut between characters and ends
// with "…"; no more of it is read than that needs.
PrintableText MakePrintable(std::string_view inText, std::size_t inMaxWidth = kNoWidthLimit);

std::size_t DisplayWidth(std::string_view inText);

// Takes the next character off the front of a text that is not empty; invalid bytes give U+FFFD one
// at a time.
char32_t TakeCharacter(std::string_view& ioText);
void AppendCharacter(std::string& ioText, char32_t inCharacter);

// A character that must not reach a terminal or a one-line message as it is.
bool IsUnprintable(char32_t inCharacter);

// A message of several lines: as MakePrintable, but line feeds and tabs stay.
std::string PrintableLines(std::string_view inText);

// As it is, with every invalid sequence replaced by U+FFFD.
std::string ValidUtf8(std::string_view inText);

// Cut at blanks into lines of at most inWidth columns, each ended by a line feed; those after the
// first begin with inIndent blanks. A word that is too wide has a line to itself.
std::string WrapWords(std::string_view inText, std::size_t inWidth, std::size_t inIndent);

// Lower-case ASCII letters; other bytes stay.
std::string ToLower(std::string_view inText);
bool EqualsIgnoringCase(std::string_view inA, std::string_view inB);

// Without the leading and trailing ASCII blanks.
std::string_view Trim(std::string_view inText);

// 1234567 as "1,234,567".
std::string GroupDigits(unsigned long long inNumber);

// Lower-case hexadecimal digits, two a byte; of at most inMaxBytes bytes.
std::string ToHex(std::string_view inBytes, std::size_t inMaxBytes = kNoWidthLimit);
std::string ToBase64(std::string_view inBytes);

}  // namespace lumora::shell
