// The texts that a user may type: cutting a script, reading a CALL, showing an error in it.
// Whatever comes in, pieces lie inside the script, errors inside the piece, and nothing shown moves
// a cursor.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "CallParser.h"
#include "ErrorDisplay.h"
#include "Formats.h"
#include "Script.h"
#include "Text.h"

using namespace lumora::shell;

namespace {

void Require(bool inHolds) {
  if (!inHolds) std::abort();
}

void CheckShown(std::string_view inText) {
  while (!inText.empty()) {
    char32_t const character = TakeCharacter(inText);
    Require(character == U'\n' || character == U'\t' || !IsUnprintable(character));
  }
}

void CheckPiece(std::string_view inScript, ScriptPiece const& inPiece) {
  Require(inPiece.mOffset <= inScript.size() && !inPiece.mText.empty());
  Require(inScript.substr(inPiece.mOffset, inPiece.mText.size()) == inPiece.mText);
  try {
    for (HostValue const& argument : ParseCall(inPiece.mText).mArguments) {
      std::string const json = JsonValue(argument.ToCell());
      CheckShown(json);
      CheckShown(MakePrintable(CellText(argument.ToCell()), 20).mText);
    }
    Require(PeekCallName(inPiece.mText).has_value());
  } catch (CallSyntaxError const& error) {
    Require(error.mOffset <= inPiece.mText.size());
    StatementError const shown(error.what(), "Syntax", inPiece.mOffset + error.mOffset);
    CheckShown(DescribeError(shown, inScript));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
  std::string_view const script(reinterpret_cast<char const*>(inData), inSize);
  for (ScriptPiece const& piece : SplitScript(script).mPieces) CheckPiece(script, piece);
  PrintableText const printable = MakePrintable(script, 30);
  Require(printable.mWidth <= 30 && DisplayWidth(printable.mText) == printable.mWidth);
  return 0;
}
