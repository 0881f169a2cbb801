#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "HostValue.h"

namespace lumora::shell {

// A CALL that cannot be read; mOffset is the byte in the text where it goes wrong.
struct CallSyntaxError : std::runtime_error {
  CallSyntaxError(std::string const& inMessage, std::size_t inOffset)
      : std::runtime_error(inMessage), mOffset(inOffset) {}
  std::size_t mOffset;
};

struct CallStatement {
  std::string mName;
  std::vector<HostValue> mArguments;
};

// How deep arrays may stand inside each other.
inline constexpr std::size_t kMaxArrayDepth = 32;

// The name behind CALL when the text begins with CALL and a name, else nothing. Pure.
std::optional<std::string> PeekCallName(std::string_view inText);

// Reads `CALL name(argument, …)`, a semicolon at the end allowed. An argument is a text in single
// quotes (a quote inside is doubled), an integer of 64 bits (signed, or unsigned above that), a
// decimal number, NULL, TRUE, FALSE, or an array of arguments in brackets. Throws CallSyntaxError.
// Pure.
CallStatement ParseCall(std::string_view inText);

// One argument on its own, by the same rules.
HostValue ParseArgument(std::string_view inText);

}  // namespace lumora::shell
