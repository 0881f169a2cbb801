#include "tarn/Json.h"

#include "JsonDocument.h"
#include "tarn/Converter.h"

namespace tarn {

struct Json::Document {
  JsonDocument mJson;
};

Json::Json(char const* inText)
    : mDocument(std::make_unique<Document>(
          Document{inText ? JsonDocument::Read(inText) : JsonDocument()})) {}

Json::Json(String const& inText)
    : mDocument(std::make_unique<Document>(
          Document{JsonDocument::Read(StFromUTF16(inText, GetConverter_UTF8()))})) {}

Json::~Json() = default;

bool Json::isValid() const noexcept { return mDocument->mJson.mIsValid; }
bool Json::isObject() const noexcept { return mDocument->mJson.mIsObject; }

bool Json::HasMember(char const* inName) const {
  return inName && mDocument->mJson.Find(inName) != nullptr;
}

String Json::get_JsonValue(char const* inName) const {
  JsonDocument::Member const* const member = inName ? mDocument->mJson.Find(inName) : nullptr;
  if (!member || member->mIsNull) return {};
  return GetConverter_UTF8()->ToUTF16(member->mText.data(), member->mText.size());
}

}  // namespace tarn
