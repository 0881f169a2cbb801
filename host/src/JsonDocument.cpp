#include "JsonDocument.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

namespace tarn {
namespace {

using nlohmann::json;

// A NUL byte ends the text for the reader, and no JSON text has one.
bool HasNul(std::string_view inText) { return inText.find('\0') != std::string_view::npos; }

void AppendQuoted(std::string& ioText, std::string_view inText) {
  ioText.push_back('"');
  for (char const byte : inText) {
    auto const unit = static_cast<unsigned char>(byte);
    if (byte == '"' || byte == '\\') {
      ioText.push_back('\\');
      ioText.push_back(byte);
    } else if (unit < 0x20) {
      fmt::format_to(std::back_inserter(ioText), "\\u{:04x}", unit);
    } else {
      ioText.push_back(byte);
    }
  }
  ioText.push_back('"');
}

// Writes the member at hand again while the reader walks through it.
class TopMembers final : public json::json_sax_t {
 public:
  explicit TopMembers(JsonDocument& outDocument) : mDocument(outDocument) {}

  bool null() override {
    if (mDepth == 1 && mMember) mMember->mIsNull = true;
    return Scalar("null");
  }
  bool boolean(bool inValue) override { return Scalar(inValue ? "true" : "false"); }
  bool number_integer(number_integer_t inValue) override {
    return Scalar(fmt::format_int(inValue).c_str());
  }
  bool number_unsigned(number_unsigned_t inValue) override {
    return Scalar(fmt::format_int(inValue).c_str());
  }
  bool number_float(number_float_t, string_t const& inText) override { return Scalar(inText); }
  bool string(string_t& inValue) override {
    if (!mMember) return true;
    if (mDepth == 1) {
      mMember->mText = std::move(inValue);
    } else {
      Separate();
      AppendQuoted(mMember->mText, inValue);
    }
    return true;
  }
  bool binary(binary_t&) override { return false; }

  bool start_object(std::size_t) override {
    if (mDepth == 0) mDocument.mIsObject = true;
    return Open('{');
  }
  bool end_object() override { return Close('}'); }
  bool start_array(std::size_t) override { return Open('['); }
  bool end_array() override { return Close(']'); }

  bool key(string_t& inName) override {
    if (!mDocument.mIsObject) return true;
    if (mDepth == 1) {
      mMember = &mDocument.mMembers[inName];
      *mMember = JsonDocument::Member();
    } else {
      Separate();
      AppendQuoted(mMember->mText, inName);
      mMember->mText.push_back(':');
    }
    return true;
  }

  bool parse_error(std::size_t, std::string const&, json::exception const&) override {
    return false;
  }

 private:
  // A comma goes before everything that does not begin an object, an array or a member's value.
  void Separate() {
    if (mMember->mText.empty()) return;
    char const last = mMember->mText.back();
    if (last != '{' && last != '[' && last != ':') mMember->mText.push_back(',');
  }
  bool Scalar(std::string_view inText) {
    if (!mMember) return true;
    if (mDepth > 1) Separate();
    mMember->mText.append(inText);
    return true;
  }
  bool Open(char inBracket) {
    if (mMember) {
      Separate();
      mMember->mText.push_back(inBracket);
    }
    ++mDepth;
    return true;
  }
  bool Close(char inBracket) {
    --mDepth;
    if (mMember && mDepth > 0) mMember->mText.push_back(inBracket);
    return true;
  }

  JsonDocument& mDocument;
  JsonDocument::Member* mMember = nullptr;  // of the top object; null outside of one
  std::size_t mDepth = 0;
};

}  // namespace

JsonDocument JsonDocument::Read(std::string_view inText) {
  JsonDocument document;
  TopMembers members(document);
  if (HasNul(inText) || !json::sax_parse(inText.begin(), inText.end(), &members)) return {};
  document.mIsValid = true;
  return document;
}

JsonDocument::Member const* JsonDocument::Find(std::string_view inName) const {
  auto const found = mMembers.find(inName);
  return found == mMembers.end() ? nullptr : &found->second;
}

bool IsJson(std::string_view inText) {
  return !HasNul(inText) && json::accept(inText.begin(), inText.end());
}

}  // namespace tarn
