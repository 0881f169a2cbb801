#pragma once

#include <string_view>

#include "ExtensionLibrary.h"
#include "Options.h"
#include "Output.h"
#include "Script.h"

namespace lumora::shell {

enum ExitCode : int { kExitOk = 0, kExitFailed = 1, kExitUsage = 2, kExitInterrupted = 130 };

// Runs scripts and shows what comes of them. One thread.
class Shell {
 public:
  Shell(ExtensionLibrary const& inExtension, Options const& inOptions, Output& outResults)
      : mExtension(inExtension), mOptions(inOptions), mResults(outResults) {}

  // Runs statement by statement and stops at the first that fails, which is told on standard
  // error. False then. OutputClosed and OutputFailed pass through.
  bool RunScript(std::string_view inScript);

 private:
  void RunStatement(ScriptPiece const& inPiece);
  void RunCall(ScriptPiece const& inPiece, Procedure const& inProcedure);
  DisplayLimits get_Limits() const;

  ExtensionLibrary const& mExtension;
  Options const& mOptions;
  Output& mResults;
};

// Everything that the executable does; returns the exit code.
int RunLumora(int inCount, char const* const* inArguments);

}  // namespace lumora::shell
