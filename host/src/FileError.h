#pragma once

#include <cstdint>
#include <system_error>

#include "tarn/String.h"

namespace tarn {

inline constexpr std::uint32_t kErrorBadArgument = 0x66000;
inline constexpr std::uint32_t kErrorFile = 0x66001;

// xException kErrorFile with texts (path, message).
[[noreturn]] void ThrowFileError(String const& inPath, char const* inMessage);
[[noreturn]] void ThrowFileError(String const& inPath, std::error_code const& inError);

inline void CheckFileError(String const& inPath, std::error_code const& inError) {
  if (inError) ThrowFileError(inPath, inError);
}

}  // namespace tarn
