#pragma once

#include <cstdint>

#include "tarn/String.h"

namespace lumora {

struct DecodedError {
  tarn::String mMessage;
  tarn::String mType;           // DuckDB's exception type ("Catalog"); empty when unknown
  std::int64_t mPosition = -1;  // byte offset in the executed text, from 0; -1 when unknown
};

// Reads DuckDB's error text (UTF-8, NUL-terminated). A JSON text gives the members
// exception_message, exception_type and position, each as far as it is there; any other text is
// the message itself. Throws std::bad_alloc alone.
DecodedError DecodeError(char const* inText);

}  // namespace lumora
