#pragma once

namespace lumora::shell {

enum ExitCode : int { kExitOk = 0, kExitFailed = 1, kExitUsage = 2, kExitInterrupted = 130 };

// Everything that the executable does; returns the exit code.
int RunLumora(int inCount, char const* const* inArguments);

}  // namespace lumora::shell
