#include "Results.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "Platform.h"

namespace lumora::shell {

namespace {

std::string PagerCommand() {
  for (char const* name : {"LUMORA_PAGER", "PAGER"}) {
    char const* const value = std::getenv(name);
    if (value && *value) return value;
  }
  return "LESS=${LESS:-FRSX} less";
}

bool HasColor() {
  char const* const none = std::getenv("NO_COLOR");
  char const* const terminal = std::getenv("TERM");
  bool const isDumb = !terminal || std::strcmp(terminal, "dumb") == 0;
  return !(none && *none) && !isDumb;
}

}  // namespace

PagerOutput::~PagerOutput() {
  if (mPager) ClosePipe(mPager);
}

void PagerOutput::Write(std::string_view inText) {
  if (!mPager) {
    mWaiting += inText;
    mLines += static_cast<std::size_t>(std::count(inText.begin(), inText.end(), '\n'));
    if (mLines < mRows) return;
    mPager = OpenPipe(mCommand);
    if (!mPager) throw OutputFailed("cannot start the pager " + mCommand);
    // Not before: the pager would inherit it.
    mPause.emplace();
    inText = mWaiting;
  }
  if (std::fwrite(inText.data(), 1, inText.size(), mPager) != inText.size()) {
    throw OutputClosed("the pager has gone");
  }
}

void PagerOutput::Flush() {
  std::FILE* const target = mPager ? mPager : stdout;
  if (!mPager) std::fwrite(mWaiting.data(), 1, mWaiting.size(), stdout);
  mWaiting.clear();
  if (std::fflush(target) != 0) throw OutputClosed("the terminal has gone");
}

Results::Results(bool inPages)
    : mStandard(stdout, IsTerminal(1)),
      mPages(inPages && IsTerminal(1)),
      mHasColor(HasColor()),
      mPagerCommand(PagerCommand()) {}

Results::~Results() {
  if (mFile) std::fclose(mFile);
}

std::size_t Results::ScreenRows() { return std::max<std::size_t>(get_ScreenSize().mRows, 2); }

Output& Results::get_Plain() {
  if (mFileOutput) return *mFileOutput;
  return mStandard;
}

void Results::Redirect(std::string const& inPath) {
  std::FILE* file = nullptr;
  if (!inPath.empty()) {
    file = CreateTextFile(inPath);
    if (!file) throw OutputFailed("cannot write " + inPath + ": " + std::strerror(errno));
  }
  mFileOutput.reset();
  if (mFile) std::fclose(mFile);
  mFile = file;
  if (mFile) mFileOutput = std::make_unique<FileOutput>(mFile, IsTerminal(FileNumber(mFile)));
}

}  // namespace lumora::shell
