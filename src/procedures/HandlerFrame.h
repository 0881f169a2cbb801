#pragma once

#include <exception>

#include "duckdb_c/DeferredWork.h"
#include "procedures/HostApi.h"

namespace lumora::procedures {

// Runs a handler's body. An exception is reported to the host, a standard one with its own message
// and any other with inUnexpected, and becomes a null cursor. What the calling thread has put off
// is done first: a procedure may look at the file that it goes to.
template <typename TBody>
lumora_cursor RunHandler(void* inContext, char const* inUnexpected, TBody inBody) {
  try {
    FinishDeferredWork();
    return inBody();
  } catch (std::exception const& error) {
    host_api::report_error(inContext, error.what());
  } catch (...) {
    host_api::report_error(inContext, inUnexpected);
  }
  return nullptr;
}

}  // namespace lumora::procedures
