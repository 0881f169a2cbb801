#include "LineEditor.h"

#include <cstdio>
#include <utility>

#if defined(_WIN32)

#include <iostream>

namespace lumora::shell {

struct LineEditor::State {};

LineEditor::LineEditor(std::string, Completer) {}
LineEditor::~LineEditor() = default;

LineEditor::Outcome LineEditor::Read(std::string const& inPrompt, std::string& outLine) {
  std::fputs(inPrompt.c_str(), stderr);
  if (!std::getline(std::cin, outLine)) return Outcome::kEnd;
  if (outLine.ends_with('\r')) outLine.pop_back();  // the streams are binary
  return Outcome::kLine;
}

void LineEditor::Remember(std::string const&) {}

}  // namespace lumora::shell

#else

#include <fcntl.h>
#include <histedit.h>
#include <langinfo.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstring>
#include <cwchar>
#include <filesystem>

#include "Interrupt.h"
#include "Platform.h"
#include "Text.h"

namespace lumora::shell {

namespace {

// Signals wake the wait for a key through it. One pipe for the process, made once.
int gWakePipe[2] = {-1, -1};

extern "C" void WakeUp(int inSignal) {
  int const error = errno;
  char const text = inSignal == SIGCONT ? 'C' : 'W';
  if (write(gWakePipe[1], &text, 1) < 0) errno = error;
  errno = error;
}

void WatchSignals() {
  if (gWakePipe[0] >= 0 || pipe(gWakePipe) != 0) return;
  for (int const end : gWakePipe) {
    fcntl(end, F_SETFD, FD_CLOEXEC);
    fcntl(end, F_SETFL, O_NONBLOCK);
  }
  struct sigaction action {};
  action.sa_handler = WakeUp;
  action.sa_flags = SA_RESTART;
  sigaction(SIGWINCH, &action, nullptr);
  sigaction(SIGCONT, &action, nullptr);
}

constexpr int kHistorySize = 5000;
constexpr std::size_t kMaxShownCandidates = 200;

// Without it every byte of a character would be a character of its own to the line editor.
void UseUtf8() {
  std::setlocale(LC_CTYPE, "");
  if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0) std::setlocale(LC_CTYPE, "C.UTF-8");
}

void MakeFolderOf(std::string const& inPath) {
  std::error_code error;
  std::filesystem::path const folder = std::filesystem::path(inPath).parent_path();
  std::filesystem::create_directories(folder, error);
}

}  // namespace

struct LineEditor::State {
  std::string mHistoryPath;
  Completer mCompleter;
  std::string mPrompt;
  bool mIsAbandoned = false;
  EditLine* mEdit = nullptr;
  History* mHistory = nullptr;

  static State& Of(EditLine* inEdit) {
    void* state = nullptr;
    el_get(inEdit, EL_CLIENTDATA, &state);
    return *static_cast<State*>(state);
  }
  static char* Prompt(EditLine* inEdit) { return Of(inEdit).mPrompt.data(); }

  // One byte of what is typed, 0 at the end, -1 on failure, or 1 with outWoken set when a signal
  // has come first.
  static ssize_t ReadByte(char& outByte, bool& outWoken) {
    for (;;) {
      pollfd watched[] = {{gWakePipe[0], POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
      if (poll(watched, 2, -1) < 0) {
        if (errno != EINTR) return -1;
        continue;
      }
      outWoken = watched[0].revents != 0;
      ssize_t const size = read(outWoken ? gWakePipe[0] : STDIN_FILENO, &outByte, 1);
      if (size >= 0 || errno != EINTR) return size;
    }
  }

  // Ctrl-C comes as a signal, and goes on as the key that it is.
  static int ReadKey(EditLine* inEdit, wchar_t* outKey) {
    std::mbstate_t state{};
    for (;;) {
      char byte = 0;
      bool isWoken = false;
      ssize_t const size = ReadByte(byte, isWoken);
      if (size <= 0) return static_cast<int>(size);
      if (isWoken) {
        if (byte == 'I') {
          *outKey = L'\x03';
          return 1;
        }
        Redraw(inEdit, byte);
        continue;
      }
      std::size_t const used = std::mbrtowc(outKey, &byte, 1, &state);
      if (used == static_cast<std::size_t>(-2)) continue;
      if (used == static_cast<std::size_t>(-1)) *outKey = L'?';
      return 1;
    }
  }

  // The screen has another size, or lumora is in the foreground again, whose terminal others used.
  static void Redraw(EditLine* inEdit, char inSignal) {
    el_resize(inEdit);
    if (inSignal != 'C') return;
    el_set(inEdit, EL_PREP_TERM, 0);
    el_set(inEdit, EL_PREP_TERM, 1);
    el_set(inEdit, EL_REFRESH);
  }

  static unsigned char Abandon(EditLine* inEdit, int) {
    Of(inEdit).mIsAbandoned = true;
    return CC_NEWLINE;
  }

  static unsigned char CompleteWord(EditLine* inEdit, int) {
    State& state = Of(inEdit);
    LineInfo const* const line = el_line(inEdit);
    std::string const text(line->buffer, line->cursor);
    Completions const found = state.mCompleter(text);
    if (found.mCandidates.empty()) return CC_REFRESH_BEEP;
    std::string_view const word = std::string_view(text).substr(text.size() - found.mWordLength);
    bool const isOnly = found.mCandidates.size() == 1;
    std::string const replacement = isOnly ? found.mCandidates[0] + " " : found.mCommon;
    if (replacement != word) {
      el_deletestr(inEdit, static_cast<int>(CharacterCount(word)));
      el_insertstr(inEdit, replacement.c_str());
      return CC_REFRESH;
    }
    ShowCandidates(found);
    return CC_REDISPLAY;
  }

  static std::size_t CharacterCount(std::string_view inText) {
    std::size_t count = 0;
    for (; !inText.empty(); ++count) TakeCharacter(inText);
    return count;
  }

  static void ShowCandidates(Completions const& inFound) {
    std::string text = "\n";
    std::size_t column = 0;
    std::size_t const width = std::max<std::size_t>(get_ScreenSize().mColumns, 20);
    std::size_t const count = std::min(inFound.mCandidates.size(), kMaxShownCandidates);
    for (std::size_t i = 0; i < count; ++i) {
      PrintableText const shown = MakePrintable(inFound.mCandidates[i], width - 2);
      if (column + shown.mWidth + 2 > width) {
        text += "\n";
        column = 0;
      }
      text += shown.mText + "  ";
      column += shown.mWidth + 2;
    }
    if (count < inFound.mCandidates.size()) text += "…";
    std::fputs((text + "\n").c_str(), stdout);
    std::fflush(stdout);
  }
};

LineEditor::LineEditor(std::string inHistoryPath, Completer inCompleter)
    : mState(std::make_unique<State>()) {
  UseUtf8();
  WatchSignals();
  mState->mHistoryPath = std::move(inHistoryPath);
  mState->mCompleter = std::move(inCompleter);
  mState->mEdit = el_init("lumora", stdin, IsTerminal(1) ? stdout : stderr, stderr);
  mState->mHistory = history_init();
  EditLine* const edit = mState->mEdit;
  HistEvent event;
  history(mState->mHistory, &event, H_SETSIZE, kHistorySize);
  history(mState->mHistory, &event, H_SETUNIQUE, 1);
  if (!mState->mHistoryPath.empty()) {
    history(mState->mHistory, &event, H_LOAD, mState->mHistoryPath.c_str());
  }
  el_set(edit, EL_CLIENTDATA, mState.get());
  el_set(edit, EL_PROMPT, &State::Prompt);
  el_set(edit, EL_EDITOR, "emacs");
  el_set(edit, EL_HIST, history, mState->mHistory);
  // The narrow variant of this call keeps copies of the texts that it never frees.
  el_wset(edit, EL_ADDFN, L"lumora-complete", L"complete the word", &State::CompleteWord);
  el_wset(edit, EL_ADDFN, L"lumora-abandon", L"abandon the line", &State::Abandon);
  el_set(edit, EL_BIND, "^I", "lumora-complete", nullptr);
  el_set(edit, EL_BIND, "^R", "em-inc-search-prev", nullptr);
  el_set(edit, EL_GETCFN, &State::ReadKey);
  el_set(edit, EL_BIND, "^C", "lumora-abandon", nullptr);
  el_source(edit, nullptr);
}

LineEditor::~LineEditor() {
  if (!mState->mHistoryPath.empty()) {
    MakeFolderOf(mState->mHistoryPath);
    mode_t const mask = umask(077);  // statements are nobody else's business
    HistEvent event;
    history(mState->mHistory, &event, H_SAVE, mState->mHistoryPath.c_str());
    umask(mask);
  }
  el_end(mState->mEdit);
  history_end(mState->mHistory);
}

LineEditor::Outcome LineEditor::Read(std::string const& inPrompt, std::string& outLine) {
  mState->mPrompt = inPrompt;
  mState->mIsAbandoned = false;
  int count = 0;
  put_WakeUp(gWakePipe[1]);
  // What came while no line was typed.
  char byte = 0;
  while (read(gWakePipe[0], &byte, 1) == 1) el_resize(mState->mEdit);
  // Else the prompt is there first, and a key such as Ctrl-D that comes before the terminal is in
  // raw mode is lost.
  el_set(mState->mEdit, EL_PREP_TERM, 1);
  char const* const text = el_gets(mState->mEdit, &count);
  put_WakeUp(-1);
  if (mState->mIsAbandoned) {
    ClearInterrupt();
    std::fputs("^C\n", stderr);
    return Outcome::kAbandoned;
  }
  if (!text || count <= 0) return Outcome::kEnd;
  outLine.assign(text, static_cast<std::size_t>(count));
  if (!outLine.empty() && outLine.back() == '\n') outLine.pop_back();
  return Outcome::kLine;
}

void LineEditor::Remember(std::string const& inText) {
  if (Trim(inText).empty()) return;
  HistEvent event;
  history(mState->mHistory, &event, H_ENTER, inText.c_str());
}

}  // namespace lumora::shell

#endif
