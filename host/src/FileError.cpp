#include "FileError.h"

#include <string>

#include "tarn/Exceptions.h"

namespace tarn {

void ThrowFileError(String const& inPath, char const* inMessage) {
  throw xException(kErrorFile, inPath.c_str(), String(inMessage).c_str());
}

void ThrowFileError(String const& inPath, std::error_code const& inError) {
  ThrowFileError(inPath, inError.message().c_str());
}

}  // namespace tarn
