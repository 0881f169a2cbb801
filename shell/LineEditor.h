#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "Completion.h"

namespace lumora::shell {

// Reads lines from a person: editing, history, completion. One thread.
class LineEditor {
 public:
  enum class Outcome { kLine, kAbandoned, kEnd };
  using Completer = std::function<Completions(std::string_view inLine)>;

  // The history is read from inHistoryPath and written back to it; an empty path means that it is
  // not kept.
  LineEditor(std::string inHistoryPath, Completer inCompleter);
  ~LineEditor();
  LineEditor(LineEditor const&) = delete;
  LineEditor& operator=(LineEditor const&) = delete;

  // kLine: outLine is the line without its line feed. kAbandoned: Ctrl-C was pressed. kEnd: there
  // are no more lines.
  Outcome Read(std::string const& inPrompt, std::string& outLine);
  void Remember(std::string const& inText);

 private:
  struct State;
  std::unique_ptr<State> mState;
};

}  // namespace lumora::shell
