#include "Shell.h"

#include <cstdio>

#include "DatabaseErrors.h"
#include "ErrorDisplay.h"
#include "Interactive.h"
#include "Interrupt.h"
#include "Platform.h"
#include "Runner.h"
#include "Session.h"
#include "Text.h"

namespace lumora::shell {

namespace {

// The extension's object must be gone before the libraries' own data is.
struct ExtensionRelease {
  ~ExtensionRelease() { tarn::lsql::SetDuckDBExtension(nullptr); }
};

std::string ReadStandardInput() {
  std::string text;
  char buffer[65536];
  while (std::size_t const size = std::fread(buffer, 1, sizeof buffer, stdin)) {
    text.append(buffer, size);
  }
  return text;
}

std::string TextOf(ScriptOption const& inScript) {
  if (inScript.mKind == ScriptOption::Kind::kCommand) return inScript.mText;
  return inScript.mText == "-" ? ReadStandardInput() : ReadFile(inScript.mText);
}

bool RunScripts(Session& ioSession, Options const& inOptions) {
  if (inOptions.mScripts.empty()) return RunScript(ioSession, ReadStandardInput());
  for (ScriptOption const& script : inOptions.mScripts) {
    std::string const text = TextOf(script);
    if (ioSession.mHasQuit) break;
    if (!RunScript(ioSession, text)) return false;
  }
  return true;
}

void ShowVersion() {
  std::printf("lumora %s\n", LUMORA_VERSION);
  if (auto const extension = tarn::lsql::GetDuckDBExtension()) {
    std::printf("DuckDB %s\n", extension->get_LibraryVersion());
  }
}

bool OpenDatabase(Session& ioSession, Options const& inOptions) {
  try {
    if (inOptions.mCreate) {
      ioSession.Create(inOptions.mDatabase);
    } else if (!inOptions.mDatabase.empty()) {
      ioSession.Open(inOptions.mDatabase, false);
    }
    return true;
  } catch (StatementError const& error) {
    TellUser(std::string("lumora: ") + error.what());
    return false;
  }
}

int RunWith(Options const& inOptions) {
  std::string const path =
      inOptions.mExtensionPath.empty() ? DefaultExtensionPath() : inOptions.mExtensionPath;
  ExtensionLibrary const extension(path);
  ExtensionRelease const release;
  for (std::string const& report : extension.get_Reports()) TellUser(report);
  if (inOptions.mShowVersion) {
    ShowVersion();
    return kExitOk;
  }
  bool const isInteractive = inOptions.mScripts.empty() && IsTerminal(0);
  Results results(IsTerminal(0));
  Session session(extension, inOptions, results);
  if (!OpenDatabase(session, inOptions)) return kExitUsage;
  if (isInteractive) {
    RunInteractive(session);
    return kExitOk;
  }
  return RunScripts(session, inOptions) ? kExitOk : kExitFailed;
}

}  // namespace

int RunLumora(int inCount, char const* const* inArguments) {
  IgnoreClosedPipes();
  EndOnInterrupt();
  UseUtf8Streams();
  std::vector<std::string> const arguments = ArgumentsOf(inCount, inArguments);
  std::vector<char const*> words;
  words.reserve(arguments.size());
  for (std::string const& argument : arguments) words.push_back(argument.c_str());
  ParsedOptions const parsed = ParseOptions(static_cast<int>(words.size()), words.data());
  if (auto const* answer = std::get_if<UsageAnswer>(&parsed)) {
    std::fputs(answer->mText.c_str(), answer->mIsError ? stderr : stdout);
    return answer->mIsError ? kExitUsage : kExitOk;
  }
  try {
    return RunWith(std::get<Options>(parsed));
  } catch (LoadError const& error) {
    TellUser(std::string("lumora: ") + error.what());
    return kExitUsage;
  } catch (OutputClosed const&) {
    return kExitOk;
  } catch (std::exception const& error) {
    TellUser(std::string("lumora: ") + error.what());
    return kExitFailed;
  }
}

}  // namespace lumora::shell
