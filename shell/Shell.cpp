#include "Shell.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>

#include <fmt/format.h>

#include "CallParser.h"
#include "ErrorDisplay.h"
#include "Platform.h"
#include "Text.h"

namespace lumora::shell {

namespace {

void Tell(std::string const& inText) { std::fputs(inText.c_str(), stderr); }

std::string ReadStream(std::istream& inStream) {
  return {std::istreambuf_iterator<char>(inStream), std::istreambuf_iterator<char>()};
}

// The text of a script option. Throws StatementError when a file cannot be read.
std::string ScriptText(ScriptOption const& inScript) {
  if (inScript.mKind == ScriptOption::Kind::kCommand) return inScript.mText;
  std::ifstream file(inScript.mText, std::ios::binary);
  std::string text = ReadStream(file);
  if (!file.is_open() || file.bad()) throw StatementError("cannot read " + inScript.mText);
  return text;
}

}  // namespace

DisplayLimits Shell::get_Limits() const {
  DisplayLimits limits;
  limits.mMaxRows = mOptions.mMaxRows;
  if (mResults.get_IsTerminal()) limits.mScreenWidth = get_ScreenSize().mColumns;
  return limits;
}

void Shell::RunCall(ScriptPiece const& inPiece, Procedure const& inProcedure) {
  try {
    CallStatement const call = ParseCall(inPiece.mText);
    auto const rows = CallProcedure(inProcedure, call.mArguments);
    WriteRows(mOptions.mMode, *rows, mResults, get_Limits());
    mResults.Flush();
  } catch (CallSyntaxError const& error) {
    throw StatementError(error.what(), "Syntax", inPiece.mOffset + error.mOffset);
  } catch (ProcedureError const& error) {
    throw StatementError(error.what());
  }
}

void Shell::RunStatement(ScriptPiece const& inPiece) {
  auto const name = PeekCallName(inPiece.mText);
  Procedure const* procedure = name ? mExtension.get_Procedures().Find(*name) : nullptr;
  if (!procedure) throw StatementError("only CALL of a procedure can be run");
  RunCall(inPiece, *procedure);
}

bool Shell::RunScript(std::string_view inScript) {
  for (ScriptPiece const& piece : SplitScript(inScript).mPieces) {
    try {
      RunStatement(piece);
    } catch (StatementError const& error) {
      mResults.Flush();
      Tell(DescribeError(error, inScript));
      return false;
    }
  }
  return true;
}

namespace {

bool RunScripts(Shell& ioShell, Options const& inOptions) {
  if (inOptions.mScripts.empty()) {
    std::ostringstream text;
    char buffer[65536];
    while (std::size_t const size = std::fread(buffer, 1, sizeof buffer, stdin)) {
      text.write(buffer, static_cast<std::streamsize>(size));
    }
    return ioShell.RunScript(text.str());
  }
  for (ScriptOption const& script : inOptions.mScripts) {
    if (!ioShell.RunScript(ScriptText(script))) return false;
  }
  return true;
}

int RunWith(Options const& inOptions) {
  if (inOptions.mShowVersion) {
    std::puts("lumora " LUMORA_VERSION);
    return kExitOk;
  }
  std::string const path =
      inOptions.mExtensionPath.empty() ? DefaultExtensionPath() : inOptions.mExtensionPath;
  ExtensionLibrary const extension(path);
  for (std::string const& report : extension.get_Reports()) {
    Tell(PrintableLines(report) + "\n");
  }
  FileOutput results(stdout, IsTerminal(1));
  Shell shell(extension, inOptions, results);
  return RunScripts(shell, inOptions) ? kExitOk : kExitFailed;
}

}  // namespace

int RunLumora(int inCount, char const* const* inArguments) {
  IgnoreClosedPipes();
  ParsedOptions const parsed = ParseOptions(inCount, inArguments);
  if (auto const* answer = std::get_if<UsageAnswer>(&parsed)) {
    std::fputs(answer->mText.c_str(), answer->mIsError ? stderr : stdout);
    return answer->mIsError ? kExitUsage : kExitOk;
  }
  try {
    return RunWith(std::get<Options>(parsed));
  } catch (LoadError const& error) {
    Tell("lumora: " + PrintableLines(error.what()) + "\n");
    return kExitUsage;
  } catch (OutputClosed const&) {
    return kExitOk;
  } catch (std::exception const& error) {
    Tell("lumora: " + PrintableLines(error.what()) + "\n");
    return kExitFailed;
  }
}

}  // namespace lumora::shell
