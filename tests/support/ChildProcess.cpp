#include "support/ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

extern char** environ;

namespace lumora::test {

RunningChild::RunningChild(std::vector<std::string> const& inArguments) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  std::string self = "/proc/self/exe";
  std::vector<std::string> arguments = inArguments;
  std::vector<char*> pointers = {self.data()};
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  int const error =
      posix_spawn(&mProcess, self.c_str(), &actions, nullptr, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  mOutput = ends[0];
  if (error != 0) throw std::runtime_error("no child process");
}

RunningChild::~RunningChild() {
  if (mProcess > 0) {
    Kill();
    waitpid(mProcess, nullptr, 0);
  }
  close(mOutput);
}

std::string RunningChild::ReadLine() {
  for (;;) {
    std::size_t const end = mBuffer.find('\n');
    if (end != std::string::npos) {
      std::string const line = mBuffer.substr(0, end);
      mBuffer.erase(0, end + 1);
      return line;
    }
    char bytes[4096];
    ssize_t const count = read(mOutput, bytes, sizeof bytes);
    if (count <= 0) return {};
    mBuffer.append(bytes, static_cast<std::size_t>(count));
  }
}

void RunningChild::Kill() { kill(mProcess, SIGKILL); }

ChildResult RunningChild::Wait() {
  char bytes[4096];
  for (ssize_t count; (count = read(mOutput, bytes, sizeof bytes)) > 0;) {
    mBuffer.append(bytes, static_cast<std::size_t>(count));
  }
  int status = 0;
  waitpid(mProcess, &status, 0);
  mProcess = -1;
  ChildResult result;
  if (WIFEXITED(status)) result.mExitCode = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.mSignal = WTERMSIG(status);
  result.mOutput = mBuffer;
  return result;
}

ChildResult RunSelf(std::vector<std::string> const& inArguments) {
  return RunningChild(inArguments).Wait();
}

}  // namespace lumora::test
