#pragma once

#include <memory>

#include "tarn/Export.h"
#include "tarn/String.h"
#include "tarn/noncopyable.h"

namespace tarn {

// Reads one JSON text. The nesting may be of any depth. Numbers of 64-bit integers and their digits
// are kept exactly; a number that no double holds (1e999) makes the text invalid. Of several
// members of one name the last one counts.
class LSHARED_API Json : public noncopyable {
 public:
  // UTF-8, NUL-terminated; null is not valid JSON. Never throws for a bad text.
  explicit Json(char const* inText);
  explicit Json(String const& inText);
  ~Json() override;

  // The whole text is one JSON value.
  bool isValid() const noexcept;
  bool isObject() const noexcept;
  bool HasMember(char const* inName) const;

  // The member of the top object as text: a string's own characters, any other value's JSON text.
  // Empty when the text is not a valid object, or has no such member, or the member is null.
  String get_JsonValue(char const* inName) const;

 private:
  struct Document;
  std::unique_ptr<Document> mDocument;
};

}  // namespace tarn
