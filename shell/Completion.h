#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace lumora::shell {

// What the word at the end of a line could become.
struct Completions {
  std::size_t mWordLength = 0;           // bytes at the end of the line that they replace
  std::vector<std::string> mCandidates;  // sorted, each once
  // The longest beginning that all candidates share; not shorter than the word.
  std::string mCommon;
};

// A line that begins with a full stop is completed by inCommands, any other one by the keywords of
// SQL and inNames. Keywords follow the case of what is typed. Pure.
Completions Complete(std::string_view inLine, std::vector<std::string> const& inCommands,
                     std::vector<std::string> const& inNames);

}  // namespace lumora::shell
