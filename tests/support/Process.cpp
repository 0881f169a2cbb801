#include "support/Process.h"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <algorithm>
#include <stdexcept>

namespace lumora::test {

namespace {

constexpr int kTimeLimitMilliseconds = 120'000;

struct Pipe {
  Pipe() {
    if (pipe(mEnds) != 0) throw std::runtime_error("no pipe");
  }
  ~Pipe() {
    CloseEnd(0);
    CloseEnd(1);
  }
  Pipe(Pipe const&) = delete;
  Pipe& operator=(Pipe const&) = delete;
  void CloseEnd(int inEnd) {
    if (mEnds[inEnd] >= 0) close(mEnds[inEnd]);
    mEnds[inEnd] = -1;
  }
  int mEnds[2];
};

[[noreturn]] void BecomeChild(std::vector<std::string> const& inCommand,
                              std::vector<std::string> const& inVariables, Pipe& ioInput,
                              Pipe& ioOutput, Pipe& ioErrors) {
  dup2(ioInput.mEnds[0], STDIN_FILENO);
  dup2(ioOutput.mEnds[1], STDOUT_FILENO);
  dup2(ioErrors.mEnds[1], STDERR_FILENO);
  for (Pipe* each : {&ioInput, &ioOutput, &ioErrors}) {
    each->CloseEnd(0);
    each->CloseEnd(1);
  }
  for (std::string const& variable : inVariables) putenv(strdup(variable.c_str()));
  std::vector<char*> arguments;
  for (std::string const& part : inCommand) arguments.push_back(strdup(part.c_str()));
  arguments.push_back(nullptr);
  execv(arguments[0], arguments.data());
  _exit(127);
}

void ReadSome(Pipe& ioPipe, std::string& ioText) {
  char buffer[65536];
  ssize_t const size = read(ioPipe.mEnds[0], buffer, sizeof buffer);
  if (size > 0) {
    ioText.append(buffer, static_cast<std::size_t>(size));
  } else if (size == 0 || errno != EINTR) {
    ioPipe.CloseEnd(0);
  }
}

void WriteSome(Pipe& ioPipe, std::string const& inText, std::size_t& ioWritten) {
  // A piece that a pipe takes without waiting, once it is ready at all.
  std::size_t const size = std::min<std::size_t>(inText.size() - ioWritten, PIPE_BUF);
  ssize_t const written = write(ioPipe.mEnds[1], inText.data() + ioWritten, size);
  if (written > 0) ioWritten += static_cast<std::size_t>(written);
  if (written < 0 || ioWritten == inText.size()) ioPipe.CloseEnd(1);
}

// False when the time is up.
bool Exchange(Pipe& ioInput, Pipe& ioOutput, Pipe& ioErrors, std::string const& inInput,
              ProcessResult& ioResult) {
  std::size_t written = 0;
  if (inInput.empty()) ioInput.CloseEnd(1);
  while (ioOutput.mEnds[0] >= 0 || ioErrors.mEnds[0] >= 0) {
    pollfd watched[] = {{ioOutput.mEnds[0], POLLIN, 0},
                        {ioErrors.mEnds[0], POLLIN, 0},
                        {ioInput.mEnds[1], POLLOUT, 0}};
    int const ready = poll(watched, 3, kTimeLimitMilliseconds);
    if (ready == 0) return false;
    if (ready < 0) continue;
    if (watched[0].revents) ReadSome(ioOutput, ioResult.mOutput);
    if (watched[1].revents) ReadSome(ioErrors, ioResult.mErrors);
    if (watched[2].revents) WriteSome(ioInput, inInput, written);
  }
  return true;
}

}  // namespace

ProcessResult RunProcess(std::vector<std::string> const& inCommand, std::string const& inInput,
                         std::vector<std::string> const& inVariables) {
  std::signal(SIGPIPE, SIG_IGN);
  Pipe input;
  Pipe output;
  Pipe errors;
  pid_t const child = fork();
  if (child < 0) throw std::runtime_error("no process");
  if (child == 0) BecomeChild(inCommand, inVariables, input, output, errors);
  input.CloseEnd(0);
  output.CloseEnd(1);
  errors.CloseEnd(1);
  ProcessResult result;
  if (!Exchange(input, output, errors, inInput, result)) kill(child, SIGKILL);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  result.mExitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return result;
}

}  // namespace lumora::test
