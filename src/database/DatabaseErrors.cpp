#include "database/DatabaseErrors.h"

#include "tarn/Converter.h"
#include "tarn/Exceptions.h"

namespace lumora {

tarn::String ToHostText(std::string const& inText) {
  return tarn::StToUTF16(inText.data(), static_cast<std::int64_t>(inText.size()),
                         tarn::GetConverter_UTF8());
}

std::string ToUtf8(tarn::String const& inText) {
  return tarn::StFromUTF16(inText, tarn::GetConverter_UTF8());
}

void ThrowDuckDBError(tarn::String const& inPath, std::string const& inMessage) {
  throw tarn::lsql::xDuckDBError(kDuckDBError, inPath.c_str(), ToHostText(inMessage).c_str());
}

void ThrowOpenError(std::string const& inMessage) {
  throw tarn::xException(kOpenError, inMessage.c_str());
}

}  // namespace lumora
