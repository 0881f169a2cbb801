#include "support/Forked.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <exception>
#include <stdexcept>

#include "support/DatabaseTest.h"

namespace lumora::test {

namespace {

int gParent = -1;
std::vector<std::string> gTold;

[[noreturn]] void BecomeCopy(std::function<void()> const& inWork, unsigned inSeconds) {
  alarm(inSeconds);
  try {
    inWork();
  } catch (tarn::xException const& error) {
    TellParent("exception: " + Utf8(error.get_Message()));
  } catch (std::exception const& error) {
    TellParent(std::string("exception: ") + error.what());
  }
  _exit(0);
}

std::vector<std::string> ReadLines(int inDescriptor) {
  std::string text;
  char bytes[4096];
  for (ssize_t count; (count = read(inDescriptor, bytes, sizeof bytes)) != 0;) {
    if (count > 0) text.append(bytes, static_cast<std::size_t>(count));
    if (count < 0 && errno != EINTR) break;
  }
  std::vector<std::string> lines;
  for (std::size_t start = 0, end; (end = text.find('\n', start)) != text.npos; start = end + 1) {
    lines.push_back(text.substr(start, end - start));
  }
  return lines;
}

}  // namespace

void TellParent(std::string const& inLine) {
  std::string line = inLine;
  for (char& unit : line) {
    if (unit == '\n') unit = ' ';
  }
  gTold.push_back(line);
  line += '\n';
  (void)!write(gParent, line.data(), line.size());
}

std::vector<std::string> const& get_ToldLines() { return gTold; }

ForkedResult RunForked(std::function<void()> const& inWork, unsigned inSeconds) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe");
  pid_t const child = fork();
  if (child < 0) throw std::runtime_error("no process");
  if (child == 0) {
    close(ends[0]);
    gParent = ends[1];
    BecomeCopy(inWork, inSeconds);
  }
  close(ends[1]);
  ForkedResult result;
  result.mLines = ReadLines(ends[0]);
  close(ends[0]);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFSIGNALED(status)) result.mSignal = WTERMSIG(status);
  return result;
}

}  // namespace lumora::test
