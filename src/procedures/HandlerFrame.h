#pragma once

#include <exception>

#include "procedures/HostApi.h"

namespace lumora::procedures {

// Runs a handler's body. An exception is reported to the host, a standard one with its own message
// and any other with inUnexpected, and becomes a null cursor.
template <typename TBody>
lumora_cursor RunHandler(void* inContext, char const* inUnexpected, TBody inBody) {
  try {
    return inBody();
  } catch (std::exception const& error) {
    host_api::report_error(inContext, error.what());
  } catch (...) {
    host_api::report_error(inContext, inUnexpected);
  }
  return nullptr;
}

}  // namespace lumora::procedures
