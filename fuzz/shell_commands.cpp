// Dot commands from bytes on a session with a database in memory, and the small readers that they
// and CALL are made of: what is written by their rules is read back the same, errors lie within
// the line, and nothing that is shown moves a cursor.
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "CallParser.h"
#include "Commands.h"
#include "Completion.h"
#include "ErrorDisplay.h"
#include "ExtensionLibrary.h"
#include "Options.h"
#include "Parameters.h"
#include "Runner.h"
#include "Session.h"
#include "Text.h"
#include "support/Input.h"
#include "tarn/lsql/I_DuckDBExtension.h"

namespace {

using namespace lumora::shell;
using lumora::fuzz::Input;
using lumora::fuzz::Require;

void CheckShown(std::string_view inText) {
  while (!inText.empty()) {
    char32_t const character = TakeCharacter(inText);
    bool const isBlank = character == U'\n' || character == U'\t';
    Require(isBlank || !IsUnprintable(character), "nothing moves a cursor");
  }
}

std::string Quote(std::string const& inText, char inQuote) {
  std::string quoted(1, inQuote);
  for (char const c : inText) quoted.append(c == inQuote ? 2 : 1, c);
  return quoted + inQuote;
}

// Words in quotes come back whole.
void CheckWords(Input& ioInput) {
  std::vector<std::string> words;
  std::string line;
  for (std::size_t i = ioInput.TakeBelow(4); i > 0; --i) {
    words.push_back(ioInput.TakeBytes(12));
    line += Quote(words.back(), ioInput.TakeBool() ? '"' : '\'') + " \t";
  }
  Require(SplitWords(line) == words, "words in quotes");
}

HostValue TakeArgument(Input& ioInput, unsigned inDepth, std::string& outText) {
  switch (ioInput.TakeBelow(inDepth < 3 ? 5 : 4)) {
    case 0: {
      std::string const text = ioInput.TakeBytes(12);
      outText += Quote(text, '\'');
      return HostValue::Text(text);
    }
    case 1: {
      auto const number = static_cast<std::int64_t>(ioInput.TakeNumber());
      outText += std::to_string(number);
      return HostValue::Int64(number);
    }
    case 2: {
      bool const isTrue = ioInput.TakeBool();
      outText += isTrue ? "TRUE" : "false";
      return HostValue::Boolean(isTrue);
    }
    case 3:
      outText += "NULL";
      return {};
    default: {
      HostArray items;
      outText += '[';
      for (std::size_t i = ioInput.TakeBelow(3); i > 0; --i) {
        items.push_back(TakeArgument(ioInput, inDepth + 1, outText));
        if (i > 1) outText += " , ";
      }
      outText += ']';
      return HostValue::Array(items);
    }
  }
}

bool AreEqual(HostValue const& inA, HostValue const& inB) {
  if (inA.get_Kind() != inB.get_Kind()) return false;
  HostArray const* const a = inA.get_Array();
  HostArray const* const b = inB.get_Array();
  if (a && b) return std::equal(a->begin(), a->end(), b->begin(), b->end(), AreEqual);
  std::string textA;
  std::string textB;
  return inA.get_Text(textA) == inB.get_Text(textB) && textA == textB;
}

void CheckCall(Input& ioInput) {
  std::string text;
  HostValue const argument = TakeArgument(ioInput, 0, text);
  CallStatement const call = ParseCall("CALL p(" + text + ", 1);");
  bool const isRead = call.mName == "p" && call.mArguments.size() == 2;
  Require(isRead && AreEqual(call.mArguments[0], argument), "an argument as it was written");
  Require(AreEqual(ParseArgument(text), argument), "an argument on its own");
}

// A session whose results go nowhere. Commands that name files are left out.
struct Shell {
  Shell() { mResults.Redirect("/dev/null"); }
  static Options MakeOptions() {
    Options options;
    options.mOpen.mExternalAccess = false;
    options.mOpen.mThreads = 1;
    return options;
  }
  ExtensionLibrary mExtension{LUMORA_EXTENSION_PATH};
  Results mResults{false};
  Session mSession{mExtension, MakeOptions(), mResults};
};

constexpr std::array kNames = {".close",   ".tables", ".schema", ".databases", ".types",
                               ".prepare", ".next",   ".param",  ".mode",      ".cursor",
                               ".timer",   ".help",   ".quit",   ".drop",      ".Nothing"};
constexpr std::array kRests = {
    "",
    "client",
    "json",
    "on",
    "add NULL",
    "add -1.5",
    "clear",
    "SELECT 1",
    "SELECT ?",
    "SELECT 'a; SELECT 2",
    "SELECT x",
    "CREATE TABLE t (a INTEGER)",
    "%",
    "'",
    "add {\"duckdb_variant\":true,\"variant_type\":\"INT8\",\"value\":\"x\"}",
    "CREATE VIEW \"v\n\" AS SELECT '\x1b[2J'"};

void RunOne(Session& ioSession, std::string const& inLine) {
  try {
    RunPiece(ioSession, {inLine, 0, true});
  } catch (StatementError const& error) {
    Require(!error.mOffset || *error.mOffset <= inLine.size(), "an error within the line");
    CheckShown(DescribeError(error, inLine));
  }
}

void RunCommands(Input& ioInput) {
  static Shell& shell = *new Shell;
  Session& session = shell.mSession;
  for (int i = 0; i < 8 && !ioInput.get_IsEmpty(); ++i) {
    std::string line = kNames[ioInput.TakeBelow(kNames.size())];
    line += ioInput.TakeBool() ? " " : "\t ";
    line += ioInput.TakeBelow(4) == 0 ? ioInput.TakeBytes(24)
                                      : kRests[ioInput.TakeBelow(kRests.size())];
    RunOne(session, line);
  }
  session.mParameters.clear();
  session.mHasQuit = false;
  session.Close();
}

void CheckReaders(std::string const& inText) {
  Require(MakeParameter(inText) != nullptr, "every text is a parameter");
  std::size_t const places = CountPlaces(inText);
  auto const row = MakeParameterRow({"1", "x"}, inText);
  Require((row ? row->get_Count() : 0) == std::min<std::size_t>(places, 2), "a value a place");
  auto const completions = Complete(inText, {".open", ".mode"}, {"select_me", "tablé"});
  Require(completions.mWordLength <= inText.size(), "a word at the end of the line");
  Require(std::is_sorted(completions.mCandidates.begin(), completions.mCandidates.end()), "sorted");
  auto const megabytes = ParseMegabytes(inText);
  Require(!megabytes || *megabytes >= 1, "a size of one megabyte at least");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* inData, std::size_t inSize) {
  Input input(inData, inSize);
  CheckWords(input);
  CheckCall(input);
  if (input.TakeBool()) {
    RunCommands(input);
  } else {
    CheckReaders(input.TakeRest());
  }
  return 0;
}
