#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tarn/Value.h"
#include "tarn/smart_ptr.h"

// The JSON text in which an inner value of a VARIANT reaches the host when the host has no kind for
// it, and in which the host sends it back as a parameter:
//
//   {"duckdb_variant":true,"variant_type":"<name>","value":"<text>"}
//
// without white space and with the members in this order. Pure functions; any thread.
namespace lumora {

// The name of a variant type code; "UNKNOWN" for a code without one. 23 is "TIMESTAMP_MILIS": the
// spelling belongs to the format.
char const* VariantTypeName(std::uint32_t inCode) noexcept;

// The text as the inside of a JSON string. Every byte below 0x20 and above 0x7F becomes an escape
// of its own, so the result is ASCII, and a JSON reader sees one code point from U+0080 to U+00FF
// for each byte of a multi-byte UTF-8 sequence.
std::string EscapeJsonString(std::string_view inText);

// The envelope as UTF-8, and as a JSON value that the caller owns.
std::string MakeVariantEnvelopeText(std::string_view inTypeName, std::string_view inValueText);
tarn::smart_ptr<tarn::I_Value> MakeVariantEnvelope(std::string_view inTypeName,
                                                   std::string_view inValueText);

}  // namespace lumora
