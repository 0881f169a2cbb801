#pragma once

#include "Session.h"

namespace lumora::shell {

// Reads statements from a person until .quit or the end of the input, and runs them.
void RunInteractive(Session& ioSession);

}  // namespace lumora::shell
