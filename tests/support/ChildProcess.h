#pragma once

#include <string>
#include <vector>

namespace lumora::test {

struct ChildResult {
  int mExitCode = -1;  // -1: ended by a signal
  int mSignal = 0;
  std::string mOutput;
};

// Runs this test executable again with these arguments, and waits for it. Its main must know them.
ChildResult RunSelf(std::vector<std::string> const& inArguments);

// The same without waiting. Killed and waited for when the object dies.
class RunningChild {
 public:
  explicit RunningChild(std::vector<std::string> const& inArguments);
  ~RunningChild();
  RunningChild(RunningChild const&) = delete;
  RunningChild& operator=(RunningChild const&) = delete;

  int get_ProcessId() const { return mProcess; }
  // The next line that it writes to its standard output, without the end of line; empty at its end.
  std::string ReadLine();
  void Kill();         // SIGKILL
  ChildResult Wait();  // its remaining output

 private:
  int mProcess = -1;
  int mOutput = -1;
  std::string mBuffer;
};

}  // namespace lumora::test
