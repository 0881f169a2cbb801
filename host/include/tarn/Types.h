#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn {

// The unit of a wide text: one UTF-16 code unit on every platform.
#if defined(_WIN32)
using WChar = wchar_t;
#define TARN_W(text) L##text
#else
using WChar = char16_t;
#define TARN_W(text) u##text
#endif

// Interface numbers that QueryInterface answers. The numbers are part of the binary contract.
enum InterfaceId : std::uint32_t {
  kIID_Unknown = 1,   // a plain reference-counted object
  kIID_Folder = 402,  // I_Folder
  kIID_DuckDBDatabase = 406,
  kIID_DuckDBStatement = 407,
  kIID_DuckDBCursor = 408,
  kIID_DuckDBQueryResult = 409,
  kIID_ForeignPlugin = 608,   // I_ForeignPlugin
  kIID_ValueBinary = 2202,    // I_ValueBinary
  kIID_ValueDate = 2203,      // I_ValueDate
  kIID_ValueDateTime = 2204,  // I_ValueDateTime
  kIID_ValueWrapper = 2211,   // I_ValueWrapper
  kIID_ValueJSON = 2213,      // I_ValueJSON
};

}  // namespace tarn
