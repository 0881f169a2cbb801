#include "Interactive.h"

#include <fmt/format.h>

#include "Commands.h"
#include "ErrorDisplay.h"
#include "Interrupt.h"
#include "LineEditor.h"
#include "Platform.h"
#include "Runner.h"
#include "Text.h"

namespace lumora::shell {

namespace {

std::string HistoryPath() {
  std::string const folder = StateFolder();
  return folder.empty() ? folder : folder + "/history";
}

// The names that a statement may use: tables, views, columns, procedures.
std::vector<std::string> CollectNames(Session& ioSession) {
  std::vector<std::string> names;
  for (Procedure const& procedure : ioSession.get_Procedures().get_All()) {
    names.push_back(procedure.mName);
  }
  if (!ioSession.get_Database()) return names;
  try {
    auto const rows = RunQuery(ioSession,
                               "SELECT table_name FROM duckdb_tables() UNION "
                               "SELECT view_name FROM duckdb_views() WHERE NOT internal UNION "
                               "SELECT column_name FROM duckdb_columns() WHERE NOT internal");
    std::vector<Cell> cells;
    while (rows->Next()) {
      rows->Read(cells);
      names.push_back(cells.at(0).mText);
    }
  } catch (StatementError const&) {
    // What the database cannot tell now is not completed.
  }
  return names;
}

Completions CompleteLine(Session& ioSession, std::string_view inLine) {
  std::vector<std::string> commands;
  for (Command const& command : get_Commands()) commands.emplace_back(command.mName);
  bool const isCommand = !inLine.empty() && inLine.front() == '.';
  return Complete(inLine, commands,
                  isCommand ? std::vector<std::string>() : CollectNames(ioSession));
}

void Greet(Session& ioSession) {
  std::string engine;
  if (auto const extension = tarn::lsql::GetDuckDBExtension()) {
    engine = fmt::format(" with DuckDB {}", extension->get_LibraryVersion());
  }
  TellUser(fmt::format("lumora {}{}. A statement ends with a semicolon; .help shows the commands.",
                       LUMORA_VERSION, engine));
  if (!ioSession.get_Database()) TellUser("The database is in memory; .open PATH opens a file.");
}

void RunText(Session& ioSession, std::string const& inText) {
  try {
    RunScript(ioSession, inText);
  } catch (Interrupted const&) {
    TellUser("interrupted");
  } catch (std::exception const& error) {
    TellUser(std::string("Error: ") + error.what());
  }
  ClearInterrupt();
}

// One line can be called back and run again as it stands, unless a comment ends at a line's end or
// a text goes over several lines.
void Remember(LineEditor& ioEditor, std::string const& inText) {
  std::string_view text = Trim(inText);
  bool const isOneLine = text.find('\n') == std::string_view::npos;
  if (isOneLine || text.find_first_of("-'\"$") == std::string_view::npos) {
    std::string line(text);
    for (char& c : line) c = c == '\n' ? ' ' : c;
    return ioEditor.Remember(line);
  }
  while (!text.empty()) {
    std::size_t const end = std::min(text.find('\n'), text.size());
    ioEditor.Remember(std::string(text.substr(0, end)));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

}  // namespace

void RunInteractive(Session& ioSession) {
  NoteInterrupts();
  Greet(ioSession);
  LineEditor editor(HistoryPath(),
                    [&](std::string_view inLine) { return CompleteLine(ioSession, inLine); });
  std::string pending;
  while (!ioSession.mHasQuit) {
    ClearInterrupt();
    std::string line;
    auto const outcome = editor.Read(pending.empty() ? "lumora> " : "   ...> ", line);
    if (outcome == LineEditor::Outcome::kEnd) {
      std::fputs("\n", stderr);
      return;
    }
    if (outcome == LineEditor::Outcome::kAbandoned) {
      pending.clear();
      continue;
    }
    pending += line + "\n";
    if (SplitScript(pending).mIsIncomplete) continue;
    Remember(editor, pending);
    RunText(ioSession, pending);
    pending.clear();
  }
}

}  // namespace lumora::shell
