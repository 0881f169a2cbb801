#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tarn/Converter.h"
#include "tarn/String.h"

namespace lumora::shell {

inline std::string ToUtf8(tarn::String const& inText) {
  return tarn::StFromUTF16(inText, tarn::GetConverter_UTF8());
}

inline tarn::String ToHostText(std::string_view inText) {
  return tarn::StToUTF16(inText.data(), static_cast<std::int64_t>(inText.size()),
                         tarn::GetConverter_UTF8());
}

}  // namespace lumora::shell
