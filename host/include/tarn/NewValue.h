#pragma once

#include <cstddef>
#include <cstdint>

#include "tarn/Export.h"
#include "tarn/Value.h"

namespace tarn {

// One call in place of three (factory, AddRef, setter) for those who make values by the million.
// Each answers what CreateValue<kind>(false, null, null) and that kind's setter make, already with
// one reference, which is the caller's: adopt it. Throw std::bad_alloc alone; never return null.
// Any thread.
LSHARED_API I_Value* NewValueBoolean(bool inValue);
LSHARED_API I_Value* NewValueByte(std::uint8_t inValue);
LSHARED_API I_Value* NewValueShort(std::int16_t inValue);
LSHARED_API I_Value* NewValueUShort(std::uint16_t inValue);
LSHARED_API I_Value* NewValueLong(std::int32_t inValue);
LSHARED_API I_Value* NewValueULong(std::uint32_t inValue);
LSHARED_API I_Value* NewValueLLong(std::int64_t inValue);
LSHARED_API I_Value* NewValueULLong(std::uint64_t inValue);
LSHARED_API I_Value* NewValueFloat(float inValue);
LSHARED_API I_Value* NewValueDouble(double inValue);

// A nullable Boolean that is null.
LSHARED_API I_Value* NewValueNull();

// A String whose declared size is that of the text with its terminator. The text is UTF-8 and
// becomes what the UTF-8 converter makes of it; NUL bytes are characters. Throws std::length_error
// too, beyond 2^31 - 2 bytes.
LSHARED_API I_Value* NewValueString(char const* inText, std::size_t inLength);

}  // namespace tarn
