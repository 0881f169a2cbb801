#pragma once

#include <stdexcept>

namespace lumora::shell {

// The user pressed Ctrl-C.
struct Interrupted : std::runtime_error {
  Interrupted() : std::runtime_error("interrupted") {}
};

// From here on Ctrl-C ends the process at once with exit code 130. What DuckDB has not committed is
// undone when its file is opened next.
void EndOnInterrupt();

// From here on Ctrl-C is noted; a second one before ClearInterrupt ends the process as above.
void NoteInterrupts();

// While a line is typed Ctrl-C is noted without a word, however often it comes, and writes 'I' to
// that descriptor: the signal may be handled on any thread, so that no waiting call need end by it.
// -1: no line is typed.
void put_WakeUp(int inDescriptor);

// Throws Interrupted when Ctrl-C was noted.
void CheckInterrupt();
void ClearInterrupt();

// While it lives Ctrl-C has no effect; afterwards it has the effect that it had before.
class InterruptPause {
 public:
  InterruptPause();
  ~InterruptPause();
  InterruptPause(InterruptPause const&) = delete;
  InterruptPause& operator=(InterruptPause const&) = delete;

 private:
  void (*mHandler)(int);
};

}  // namespace lumora::shell
