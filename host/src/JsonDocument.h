#pragma once

#include <map>
#include <string>
#include <string_view>

namespace tarn {

// A JSON text checked as a whole, of which the members of the top object are kept, each as text.
// No tree is built and no nesting recurses, so a text of any depth takes its length in memory.
struct JsonDocument {
  struct Member {
    std::string mText;  // a string's own characters, any other value's compact JSON text
    bool mIsNull = false;
  };

  bool mIsValid = false;
  bool mIsObject = false;
  std::map<std::string, Member, std::less<>> mMembers;  // of several of one name the last

  // UTF-8. A number whose value no double holds (1e999) makes the text invalid.
  static JsonDocument Read(std::string_view inText);

  Member const* Find(std::string_view inName) const;
};

// The text is one JSON value.
bool IsJson(std::string_view inText);

}  // namespace tarn
