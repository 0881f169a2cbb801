#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "tarn/Export.h"
#include "tarn/String.h"
#include "tarn/Types.h"

namespace tarn {

// Converts between one narrow encoding and UTF-16. Stateless; every operation may be called from
// any thread. Invalid input becomes U+FFFD (one for each maximal invalid sequence, as the Unicode
// standard recommends), NUL is a character as any other, and nothing is ever cut.
class LSHARED_API I_Converter {
 public:
  virtual ~I_Converter() = default;
  virtual String ToUTF16(char const* inText, std::size_t inLength) const = 0;
  virtual std::string FromUTF16(WChar const* inText, std::size_t inLength) const = 0;
};

// The one UTF-8 converter; owned by the library, valid for the life of the process.
LSHARED_API I_Converter* GetConverter_UTF8() noexcept;

// The narrow text as UTF-16 (length in bytes, -1 = up to the terminator, null = empty).
LSHARED_API String StToUTF16(char const* inText, std::int64_t inLength, I_Converter* inConverter);

// The host text as narrow bytes; its c_str() and size() feed SQL text and settings.
LSHARED_API std::string StFromUTF16(String const& inText, I_Converter* inConverter);

// The text with each inQuote doubled, for embedding in a quoted SQL literal.
LSHARED_API String EscapeStringU(WChar const* inText, std::uint32_t inQuote);

}  // namespace tarn
