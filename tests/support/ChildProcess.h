#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// Work of a test in a process of its own: the test executable runs itself again with
// "--child NAME ARGUMENT...".
namespace lumora::test {

using Arguments = std::vector<std::string>;

// What a child process does; a global object makes it known under its name. The function's result
// is the exit code.
class ChildJob {
 public:
  using Function = int (*)(Arguments const& inArguments);
  ChildJob(char const* inName, Function inFunction);

  static int Run(std::string const& inName, Arguments const& inArguments);
};

struct ChildResult {
  int mExitCode = -1;  // -1: ended by a signal
  int mSignal = 0;
  std::string mOutput = {};
};

class ChildProcess {
 public:
  ChildProcess(std::string const& inJob, Arguments const& inArguments);
  // Kills it when it still runs.
  ~ChildProcess();
  ChildProcess(ChildProcess const&) = delete;
  ChildProcess& operator=(ChildProcess const&) = delete;

  int get_ProcessId() const;
  // The next line of its standard output, without the end of line; empty at its end.
  std::string ReadLine();
  void Kill();  // SIGKILL, which may end it in the middle of a write
  // Stops it first. A signal that stops waits for the system calls that are under way, so the
  // process dies between two of them, at whatever moment.
  void KillBetweenCalls();
  ChildResult Wait();  // with the output that was not read

 private:
  // More of its output into the buffer; false at its end.
  bool ReadMore();

  // What the system knows them by.
  std::intptr_t mProcess = -1;
  std::intptr_t mOutput = -1;
  std::string mBuffer;
};

ChildResult RunChild(std::string const& inJob, Arguments const& inArguments);

}  // namespace lumora::test
