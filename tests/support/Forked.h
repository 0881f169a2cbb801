#pragma once

#include <functional>
#include <string>
#include <vector>

// Work in a copy of this process, which may die of it without harm to the test.
namespace lumora::test {

struct ForkedResult {
  int mSignal = 0;  // what ended it; SIGALRM: it hung
  std::vector<std::string> mLines = {};
};

// Inside the copy: tells its parent a line. What was told has happened. A newline in it becomes a
// blank.
void TellParent(std::string const& inLine);
// What it told so far.
std::vector<std::string> const& get_ToldLines();

// Only while this process has one thread. An exception that leaves the work is told as a line
// "exception: …". A copy that still works after inSeconds is killed.
ForkedResult RunForked(std::function<void()> const& inWork, unsigned inSeconds = 60);

}  // namespace lumora::test
