#pragma once

#include "tarn/ExtensionApi.h"

namespace lumora::shell {

// The function table that extensions are bound to; valid for the life of the process. Each function
// takes a HostContext as its context. An entry that is not defined for extensions tells on standard
// error, and in the call at hand, which one was called, and answers 0.
lumora_extension_api get_HostTable();

// How many functions the table has.
std::size_t get_HostTableSize();

}  // namespace lumora::shell
