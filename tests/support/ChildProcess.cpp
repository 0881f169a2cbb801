#include "support/ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

extern char** environ;

namespace lumora::test {

namespace {

pid_t ProcessId(std::intptr_t inProcess) { return static_cast<pid_t>(inProcess); }

}  // namespace

ChildProcess::ChildProcess(std::string const& inJob, Arguments const& inArguments) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  std::string self = "/proc/self/exe";
  Arguments arguments = {"--child", inJob};
  arguments.insert(arguments.end(), inArguments.begin(), inArguments.end());
  std::vector<char*> pointers = {self.data()};
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  pid_t process = -1;
  int const error =
      posix_spawn(&process, self.c_str(), &actions, nullptr, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error == 0) mProcess = process;
  close(ends[1]);
  mOutput = ends[0];
  if (error != 0) throw std::runtime_error("no child process");
}

ChildProcess::~ChildProcess() {
  if (mProcess > 0) {
    Kill();
    waitpid(ProcessId(mProcess), nullptr, 0);
  }
  close(static_cast<int>(mOutput));
}

int ChildProcess::get_ProcessId() const { return ProcessId(mProcess); }

bool ChildProcess::ReadMore() {
  char bytes[4096];
  ssize_t const count = read(static_cast<int>(mOutput), bytes, sizeof bytes);
  if (count <= 0) return false;
  mBuffer.append(bytes, static_cast<std::size_t>(count));
  return true;
}

void ChildProcess::Kill() { kill(ProcessId(mProcess), SIGKILL); }

void ChildProcess::KillBetweenCalls() {
  kill(ProcessId(mProcess), SIGSTOP);
  siginfo_t information{};
  waitid(P_PID, static_cast<id_t>(mProcess), &information, WSTOPPED | WEXITED | WNOWAIT);
  Kill();
}

ChildResult ChildProcess::Wait() {
  while (ReadMore()) {
  }
  int status = 0;
  waitpid(ProcessId(mProcess), &status, 0);
  mProcess = -1;
  ChildResult result;
  if (WIFEXITED(status)) result.mExitCode = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.mSignal = WTERMSIG(status);
  result.mOutput = mBuffer;
  return result;
}

}  // namespace lumora::test
