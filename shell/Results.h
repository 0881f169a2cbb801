#pragma once

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "Interrupt.h"
#include "Output.h"

namespace lumora::shell {

// Shows what fits on the screen at once and gives anything longer to a pager.
class PagerOutput final : public Output {
 public:
  // inCommand: a shell command that reads standard input. Text beyond inRows lines starts it.
  PagerOutput(std::string inCommand, std::size_t inRows)
      : mCommand(std::move(inCommand)), mRows(inRows) {}
  // Waits until the user has left the pager; what was not flushed is dropped.
  ~PagerOutput() override;
  PagerOutput(PagerOutput const&) = delete;
  PagerOutput& operator=(PagerOutput const&) = delete;

  void Write(std::string_view inText) override;
  void Flush() override;
  bool get_IsTerminal() const override { return true; }

 private:
  std::string mCommand;
  std::size_t mRows;
  std::size_t mLines = 0;
  std::string mWaiting;
  std::FILE* mPager = nullptr;
  std::optional<InterruptPause> mPause;  // while the pager has the terminal, Ctrl-C is the pager's
};

// The place where results go: standard output, a pager on it, or a file. One thread.
class Results {
 public:
  // inPages: results that are longer than the screen go to a pager.
  explicit Results(bool inPages);
  ~Results();
  Results(Results const&) = delete;
  Results& operator=(Results const&) = delete;

  // From here on results go to a file, which is emptied; an empty path means standard output again.
  // Throws OutputFailed.
  void Redirect(std::string const& inPath);

  // Runs inWork with the output for one result and hands everything over. Throws what Output
  // throws; a user who leaves the pager early is no error.
  template <typename TWork>
  void Show(TWork inWork) {
    if (!mPages || mFile) {
      inWork(get_Plain());
      get_Plain().Flush();
      return;
    }
    PagerOutput pager(mPagerCommand, ScreenRows());
    try {
      inWork(pager);
      pager.Flush();
    } catch (OutputClosed const&) {
      // The user has seen enough.
    }
  }

  bool get_IsTerminal() const { return !mFile && mStandard.get_IsTerminal(); }
  bool get_Pages() const { return mPages && !mFile; }
  bool get_HasColor() const { return mHasColor && get_IsTerminal(); }

 private:
  Output& get_Plain();
  static std::size_t ScreenRows();

  FileOutput mStandard;
  bool mPages;
  bool mHasColor;
  std::string mPagerCommand;
  std::FILE* mFile = nullptr;
  std::unique_ptr<FileOutput> mFileOutput;
};

}  // namespace lumora::shell
