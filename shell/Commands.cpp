#include "Commands.h"

#include <fmt/format.h>

#include <algorithm>

#include "ErrorDisplay.h"
#include "Runner.h"
#include "Text.h"

namespace lumora::shell {

namespace {

using commands::Words;

constexpr std::size_t kAnyNumber = static_cast<std::size_t>(-1);
constexpr int kMaxReadDepth = 16;

void Say(Session& ioSession, std::string const& inLine) {
  ioSession.get_Results().Show(
      [&](Output& outOutput) { outOutput.Write(PrintableLines(inLine) + "\n"); });
}

void Open(Session& ioSession, Words const& inWords, std::string_view) {
  bool const isReadOnly = inWords.size() == 2 && inWords[1] == "readonly";
  if (inWords.size() == 2 && !isReadOnly) {
    throw StatementError(".open: '" + inWords[1] + "' is not understood; readonly is");
  }
  ioSession.Open(inWords.empty() ? ":memory:" : inWords[0], isReadOnly);
}

void Create(Session& ioSession, Words const& inWords, std::string_view) {
  ioSession.Create(inWords[0]);
}

void Close(Session& ioSession, Words const&, std::string_view) { ioSession.Close(); }

void Drop(Session& ioSession, Words const&, std::string_view) { ioSession.Drop(); }

void Backup(Session& ioSession, Words const& inWords, std::string_view) {
  Say(ioSession, ioSession.Backup(inWords.empty() ? "" : inWords[0]));
}

void Restore(Session& ioSession, Words const& inWords, std::string_view) {
  ioSession.Restore(inWords[0], inWords[1]);
}

void SetMode(Session& ioSession, Words const& inWords, std::string_view) {
  if (inWords.empty()) return Say(ioSession, ModeName(ioSession.mMode));
  auto const mode = ParseMode(inWords[0]);
  if (!mode) throw StatementError(".mode: '" + inWords[0] + "' is none of " + AllModeNames());
  ioSession.mMode = *mode;
}

void SetCursor(Session& ioSession, Words const& inWords, std::string_view) {
  if (inWords.empty()) return Say(ioSession, CursorKindName(ioSession.mCursorKind));
  auto const kind = ParseCursorKind(inWords[0]);
  if (!kind) throw StatementError(".cursor: '" + inWords[0] + "' is neither client nor server");
  ioSession.mCursorKind = *kind;
}

void SetTimer(Session& ioSession, Words const& inWords, std::string_view) {
  if (inWords.empty()) return Say(ioSession, ioSession.mHasTimer ? "on" : "off");
  if (inWords[0] != "on" && inWords[0] != "off") {
    throw StatementError(".timer: '" + inWords[0] + "' is neither on nor off");
  }
  ioSession.mHasTimer = inWords[0] == "on";
}

// The values are kept as they are typed, quotes included: those tell a text from a number.
void SetParameters(Session& ioSession, Words const& inWords, std::string_view inRest) {
  if (inWords.size() == 1 && inWords[0] == "clear") return ioSession.mParameters.clear();
  if (inWords.size() > 1 && inWords[0] == "add") {
    ioSession.mParameters.emplace_back(Trim(inRest.substr(inRest.find("add") + 3)));
    return;
  }
  if (!inWords.empty()) throw StatementError(".param: say add VALUE or clear");
  for (std::size_t i = 0; i < ioSession.mParameters.size(); ++i) {
    Say(ioSession, fmt::format("${} = {}", i + 1, ioSession.mParameters[i]));
  }
}

void Read(Session& ioSession, Words const& inWords, std::string_view) {
  if (ioSession.mReadDepth >= kMaxReadDepth) {
    throw StatementError(".read: files read each other too deep");
  }
  std::string const script = ReadFile(inWords[0]);
  ++ioSession.mReadDepth;
  bool const isGood = RunScript(ioSession, script);
  --ioSession.mReadDepth;
  if (!isGood) throw StatementError("in " + inWords[0]);
}

void RedirectOutput(Session& ioSession, Words const& inWords, std::string_view) {
  try {
    ioSession.get_Results().Redirect(inWords.empty() ? "" : inWords[0]);
  } catch (OutputFailed const& error) {
    throw StatementError(std::string(".output: ") + error.what());
  }
}

void Quit(Session& ioSession, Words const&, std::string_view) { ioSession.mHasQuit = true; }

// Two columns; on a narrow screen each explanation stands below.
void Help(Session& ioSession, Words const&, std::string_view) {
  constexpr std::size_t kTwoColumns = 80;
  std::size_t const screen = ioSession.get_Limits().mScreenWidth;
  std::size_t const width = screen ? std::max<std::size_t>(screen, 20) : kNoWidthLimit;
  std::string text;
  for (Command const& command : get_Commands()) {
    std::string const usage = fmt::format("{} {}", command.mName, command.mArguments);
    text += width >= kTwoColumns
                ? fmt::format("{:<28} {}\n", usage, command.mHelp)
                : fmt::format("{}\n    {}", Trim(usage), WrapWords(command.mHelp, width - 4, 4));
  }
  for (Procedure const& procedure : ioSession.get_Procedures().get_All()) {
    text += WrapWords(fmt::format("CALL {}", ProcedureHelp(procedure)), width, 4);
  }
  ioSession.get_Results().Show([&](Output& outOutput) { outOutput.Write(PrintableLines(text)); });
}

}  // namespace

std::vector<Command> const& get_Commands() {
  static std::vector<Command> const sCommands = {
      {".open", "[PATH [readonly]]", "open a database in place of the one at hand", 0, 2, Open},
      {".create", "PATH", "create a database and open it", 1, 1, Create},
      {".close", "", "close the database", 0, 0, Close},
      {".drop", "", "close the database and remove its file", 0, 0, Drop},
      {".backup", "[FOLDER]", "write a backup into a new folder inside FOLDER", 0, 1, Backup},
      {".restore", "BACKUP PATH", "make a database from a backup and open it", 2, 2, Restore},
      {".tables", "[PATTERN]", "tables and views; PATTERN as for LIKE", 0, 1, commands::Tables},
      {".schema", "[PATTERN]", "the statements that made them", 0, 1, commands::Schema},
      {".databases", "", "the databases that are open", 0, 0, commands::Databases},
      {".types", "[QUERY]", "columns and types of QUERY, or of the last result", 0, kAnyNumber,
       commands::Types},
      {".prepare", "SQL", "prepare statements for .next", 1, kAnyNumber, commands::Prepare},
      {".next", "", "run the next prepared statement", 0, 0, commands::Next},
      {".param", "[add VALUE | clear]", "the parameters, bound by position", 0, kAnyNumber,
       SetParameters},
      {".mode", "[MODE]", "results as box csv json jsonlines line markdown", 0, 1, SetMode},
      {".cursor", "[client|server]", "how results are read", 0, 1, SetCursor},
      {".timer", "[on|off]", "the time that each statement takes", 0, 1, SetTimer},
      {".read", "FILE", "run a file", 1, 1, Read},
      {".output", "[FILE]", "write results to FILE; without it to the screen", 0, 1,
       RedirectOutput},
      {".help", "", "this list", 0, 0, Help},
      {".quit", "", "leave", 0, 0, Quit},
  };
  return sCommands;
}

std::vector<std::string> SplitWords(std::string_view inText) {
  std::vector<std::string> words;
  bool isInWord = false;
  for (std::size_t i = 0; i < inText.size(); ++i) {
    char const c = inText[i];
    if (Trim(inText.substr(i, 1)).empty()) {
      isInWord = false;
      continue;
    }
    if (!isInWord) words.emplace_back();
    isInWord = true;
    if (c != '\'' && c != '"') {
      words.back() += c;
      continue;
    }
    for (++i;; ++i) {
      if (i >= inText.size()) throw StatementError("a quote is not closed");
      bool const isDoubled = inText[i] == c && i + 1 < inText.size() && inText[i + 1] == c;
      if (inText[i] == c && !isDoubled) break;
      words.back() += inText[i];
      if (isDoubled) ++i;
    }
  }
  return words;
}

void RunCommand(Session& ioSession, std::string_view inLine) {
  std::string_view line = Trim(inLine);
  if (!line.empty() && line.back() == ';') line = Trim(line.substr(0, line.size() - 1));
  std::size_t const nameEnd = std::min(line.find_first_of(" \t"), line.size());
  std::string_view const name = line.substr(0, nameEnd);
  std::string_view const rest = Trim(line.substr(nameEnd));
  for (Command const& command : get_Commands()) {
    if (!EqualsIgnoringCase(command.mName, name)) continue;
    // Texts in SQL have quotes of their own rules.
    Words const words = command.mMaxWords == kAnyNumber && command.mMinWords == 1
                            ? Words(rest.empty() ? 0 : 1, std::string(rest))
                            : SplitWords(rest);
    if (words.size() < command.mMinWords || words.size() > command.mMaxWords) {
      throw StatementError(fmt::format("usage: {} {}", command.mName, command.mArguments));
    }
    try {
      return command.mRun(ioSession, words, rest);
    } catch (StatementError const& error) {
      // The place is one in the SQL text behind the name.
      if (!error.mOffset) throw;
      auto const restOffset = static_cast<std::size_t>(rest.data() - inLine.data());
      throw StatementError(error.what(), error.mType, restOffset + *error.mOffset);
    }
  }
  throw StatementError(fmt::format("there is no command {}; .help shows all", name));
}

}  // namespace lumora::shell
