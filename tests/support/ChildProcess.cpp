#include "support/ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <map>
#include <stdexcept>

extern char** environ;

namespace lumora::test {

namespace {

std::map<std::string, ChildJob::Function>& Jobs() {
  static std::map<std::string, ChildJob::Function> jobs;
  return jobs;
}

}  // namespace

ChildJob::ChildJob(char const* inName, Function inFunction) { Jobs()[inName] = inFunction; }

int ChildJob::Run(std::string const& inName, Arguments const& inArguments) {
  auto const job = Jobs().find(inName);
  if (job == Jobs().end()) throw std::runtime_error("no job " + inName);
  return job->second(inArguments);
}

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
  int const error =
      posix_spawn(&mProcess, self.c_str(), &actions, nullptr, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  mOutput = ends[0];
  if (error != 0) throw std::runtime_error("no child process");
}

ChildProcess::~ChildProcess() {
  if (mProcess > 0) {
    Kill();
    waitpid(mProcess, nullptr, 0);
  }
  close(mOutput);
}

std::string ChildProcess::ReadLine() {
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

void ChildProcess::Kill() { kill(mProcess, SIGKILL); }

void ChildProcess::KillBetweenCalls() {
  kill(mProcess, SIGSTOP);
  siginfo_t information{};
  waitid(P_PID, static_cast<id_t>(mProcess), &information, WSTOPPED | WEXITED | WNOWAIT);
  Kill();
}

ChildResult ChildProcess::Wait() {
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

ChildResult RunChild(std::string const& inJob, Arguments const& inArguments) {
  return ChildProcess(inJob, inArguments).Wait();
}

}  // namespace lumora::test
