#include "statement/ErrorDecoding.h"

#include "tarn/Converter.h"
#include "tarn/Json.h"

namespace lumora {

DecodedError DecodeError(char const* inText) {
  DecodedError error;
  tarn::Json const report(inText);
  if (!report.isValid()) {
    error.mMessage = tarn::StToUTF16(inText, -1, tarn::GetConverter_UTF8());
    return error;
  }
  error.mMessage = report.get_JsonValue("exception_message");
  error.mType = report.get_JsonValue("exception_type");
  tarn::String const position = report.get_JsonValue("position");
  if (!position.isEmpty()) error.mPosition = position.parseLLong();
  return error;
}

}  // namespace lumora
