// lumora as a person meets it: on a terminal.
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>

#include "ShellRunner.h"
#include "support/TempFolder.h"

namespace lumora::test {
namespace {

// A lumora on a terminal of its own, which answers every wait within twenty seconds or fails the
// test.
class TerminalShell {
 public:
  TerminalShell(std::string const& inHome, std::vector<std::string> const& inArguments = {},
                std::string const& inPager = "cat", unsigned short inColumns = 80) {
    winsize size{};
    size.ws_col = inColumns;
    size.ws_row = 24;
    mChild = forkpty(&mTerminal, nullptr, nullptr, &size);
    if (mChild != 0) return;
    setenv("HOME", inHome.c_str(), 1);
    setenv("TERM", "xterm", 1);
    setenv("PAGER", inPager.c_str(), 1);
    unsetenv("XDG_STATE_HOME");
    unsetenv("NO_COLOR");
    setenv("LC_ALL", "C.UTF-8", 1);
    std::vector<char*> arguments = {strdup(LUMORA_SHELL_PATH)};
    for (std::string const& each : inArguments) arguments.push_back(strdup(each.c_str()));
    arguments.push_back(nullptr);
    execv(arguments[0], arguments.data());
    _exit(127);
  }
  ~TerminalShell() {
    if (mChild > 0) {
      kill(mChild, SIGKILL);
      waitpid(mChild, nullptr, 0);
    }
    close(mTerminal);
  }
  TerminalShell(TerminalShell const&) = delete;
  TerminalShell& operator=(TerminalShell const&) = delete;

  void Type(std::string const& inKeys) {
    ASSERT_EQ(write(mTerminal, inKeys.data(), inKeys.size()), static_cast<ssize_t>(inKeys.size()));
  }

  // Reads until the text has come, behind what was found before; what came with it.
  std::string ExpectText(std::string const& inText) {
    std::size_t found = mScreen.find(inText, mSeen);
    while (found == std::string::npos && ReadMore()) found = mScreen.find(inText, mSeen);
    EXPECT_NE(found, std::string::npos) << "no '" << inText << "' in:\n" << mScreen.substr(mSeen);
    std::string const passed = mScreen.substr(mSeen);
    if (found != std::string::npos) mSeen = found + inText.size();
    return passed;
  }

  int ExpectEnd() {
    while (ReadMore()) {
    }
    int status = 0;
    pid_t ended = 0;
    for (int i = 0; i < 100 && ended == 0; ++i) {
      ended = waitpid(mChild, &status, WNOHANG);
      if (ended == 0) usleep(100'000);
    }
    if (ended == 0) {
      ADD_FAILURE() << "still running:\n" << mScreen.substr(mSeen);
      kill(mChild, SIGKILL);
      waitpid(mChild, &status, 0);
    }
    mChild = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

  pid_t get_Child() const { return mChild; }

 private:
  bool ReadMore() {
    pollfd watched{mTerminal, POLLIN, 0};
    if (poll(&watched, 1, 20'000) <= 0) return false;
    char buffer[65536];
    ssize_t const size = read(mTerminal, buffer, sizeof buffer);
    if (size <= 0) return false;
    mScreen.append(buffer, static_cast<std::size_t>(size));
    return true;
  }

  int mTerminal = -1;
  pid_t mChild = -1;
  std::string mScreen;
  std::size_t mSeen = 0;
};

constexpr char const* kPrompt = "lumora> ";

TEST(LumoraOnTerminal, CtrlCAbandonsTheLineAndKeepsTheSession) {
  TempFolder const home;
  TerminalShell shell(home.get_Path().string());
  shell.ExpectText(kPrompt);
  shell.Type("CREATE TABLE kept AS SELECT 41 AS i;\n");
  shell.ExpectText(kPrompt);
  shell.Type("SELECT nonsense\n");
  shell.ExpectText("   ...> ");
  shell.Type("more nonsense\x03");
  shell.ExpectText("^C");
  shell.ExpectText(kPrompt);
  shell.Type("SELECT i + 1 AS answer FROM kept;\n");
  shell.ExpectText("│      42 │");
  shell.ExpectText(kPrompt);
  shell.Type(".quit\n");
  EXPECT_EQ(shell.ExpectEnd(), 0);
}

TEST(LumoraOnTerminal, ErrorsDoNotEndTheSession) {
  TempFolder const home;
  TerminalShell shell(home.get_Path().string());
  shell.ExpectText(kPrompt);
  shell.Type("SELEC 1;\n");
  shell.ExpectText("Parser Error");
  shell.ExpectText(kPrompt);
  shell.Type(".open /nowhere/x.db\n");
  shell.ExpectText("/nowhere/x.db: File does not exist");
  shell.ExpectText(kPrompt);
  shell.Type("\x04");
  EXPECT_EQ(shell.ExpectEnd(), 0);
}

TEST(LumoraOnTerminal, TakesStatementsOfSeveralLines) {
  TempFolder const home;
  TerminalShell shell(home.get_Path().string());
  shell.ExpectText(kPrompt);
  shell.Type("SELECT 'one;\n");
  shell.ExpectText("   ...> ");
  shell.Type("two' AS t\n");
  shell.ExpectText("   ...> ");
  shell.Type("; SELECT 5 AS five;\n");
  shell.ExpectText("one;\\ntwo");
  shell.ExpectText("five");
  shell.ExpectText(kPrompt);
}

TEST(LumoraOnTerminal, CompletesKeywordsTablesAndCommands) {
  TempFolder const home;
  TerminalShell shell(home.get_Path().string());
  shell.ExpectText(kPrompt);
  shell.Type("CREATE TABLE künstlerliste AS SELECT 7 AS i;\n");
  shell.ExpectText(kPrompt);
  shell.Type("sel\ti FROM k\xC3\xBC\t;\n");
  shell.ExpectText("│       7 │");
  shell.ExpectText(kPrompt);
  shell.Type(".hel\t\n");
  shell.ExpectText("CALL fetch_parquet");
}

TEST(LumoraOnTerminal, KeepsTheHistoryForTheNextSessionAndForNobodyElse) {
  TempFolder const home;
  {
    TerminalShell shell(home.get_Path().string());
    shell.ExpectText(kPrompt);
    shell.Type("SELECT 1234 AS\n");
    shell.ExpectText("   ...> ");
    shell.Type("number;\n");
    shell.ExpectText("1 row");
    shell.ExpectText(kPrompt);
    shell.Type("\x04");
    EXPECT_EQ(shell.ExpectEnd(), 0);
  }
  std::string const path = home.At(".local/state/lumora/history");
  auto const rights = std::filesystem::status(path).permissions();
  EXPECT_EQ(rights & std::filesystem::perms::all,
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  TerminalShell again(home.get_Path().string());
  again.ExpectText(kPrompt);
  again.Type("\x1b[A\n");
  again.ExpectText("SELECT 1234 AS number;");
  again.ExpectText("1 row");
}

TEST(LumoraOnTerminal, FitsTheScreenUsesColourAndObeysNoColor) {
  TempFolder const home;
  TerminalShell shell(home.get_Path().string());
  shell.ExpectText(kPrompt);
  shell.Type("SELECT repeat('x', 10000000) AS big, NULL AS n;\n");
  std::string const shown = shell.ExpectText("1 row");
  EXPECT_LT(shown.size(), 3000U);
  EXPECT_NE(shown.find("\x1b[2mNULL\x1b[0m"), std::string::npos);
  setenv("NO_COLOR", "1", 1);
  ProcessResult const plain = RunLumora({"-c", "SELECT NULL AS n"});
  unsetenv("NO_COLOR");
  EXPECT_EQ(plain.mOutput.find('\x1b'), std::string::npos);
}

TEST(LumoraOnTerminal, GivesLongResultsToThePager) {
  TempFolder const home;
  std::string const paged = home.At("paged.txt");
  TerminalShell shell(home.get_Path().string(), {}, "cat > '" + paged + "'");
  shell.ExpectText(kPrompt);
  shell.Type("FROM range(3);\n");
  shell.ExpectText("3 rows");
  shell.ExpectText(kPrompt);
  shell.Type("FROM range(500);\n");
  shell.ExpectText(kPrompt);
  std::string const text = home.Read("paged.txt");
  EXPECT_NE(text.find("500 rows"), std::string::npos);
  EXPECT_NE(text.find("250 │"), std::string::npos);
}

TEST(LumoraOnTerminal, AUserWhoLeavesThePagerEarlyGoesOn) {
  TempFolder const home;
  TerminalShell shell(home.get_Path().string(), {"--mode", "csv"}, "head -n 1 > /dev/null");
  shell.ExpectText(kPrompt);
  shell.Type("FROM range(1000000);\n");
  shell.ExpectText(kPrompt);
  shell.Type("SELECT 6 * 7 AS answer;\n");
  shell.ExpectText("42");
  shell.ExpectText(kPrompt);
}

TEST(LumoraOnTerminal, CtrlCInThePagerIsThePagersAlone) {
  TempFolder const home;
  TerminalShell shell(home.get_Path().string(), {"--mode", "csv"},
                      "trap '' INT; head -n 1 > /dev/null; echo 'pag''ing' > /dev/tty; read key < "
                      "/dev/tty");
  shell.ExpectText(kPrompt);
  shell.Type("CREATE TABLE kept AS SELECT 41 AS i;\n");
  shell.ExpectText(kPrompt);
  shell.Type("FROM range(1000000);\n");
  shell.ExpectText("paging");
  shell.Type("\x03");
  shell.Type("\x03");
  shell.Type("\n");
  EXPECT_EQ(shell.ExpectText(kPrompt).find("Ctrl-C"), std::string::npos);
  shell.Type("SELECT i + 1 AS answer FROM kept;\n");
  shell.ExpectText("42");
  shell.ExpectText(kPrompt);
}

TEST(LumoraOnTerminal, ShowsItsHelpWithoutCuttingItOnANarrowScreen) {
  TempFolder const home;
  TerminalShell shell(home.get_Path().string(), {}, "cat", 40);
  shell.ExpectText(kPrompt);
  shell.Type(".help\n");
  std::string const help = shell.ExpectText("    table or view.\r\n");
  EXPECT_NE(help.find("    results as box csv json jsonlines\r\n    line markdown\r\n"),
            std::string::npos)
      << help;
}

TEST(LumoraOnTerminal, ACsvCellCannotMoveTheCursor) {
  TempFolder const home;
  TerminalShell shell(home.get_Path().string(), {"--mode", "csv"});
  shell.ExpectText(kPrompt);
  shell.Type("SELECT chr(27) || '[2J' || chr(155) || chr(8) AS t;\n");
  shell.ExpectText("\\x1b[2J\\x9b\\x08");
}

constexpr char const* kEndless =
    "INSERT INTO kept SELECT a.range FROM range(100000) a, range(100000) b, range(1000) c "
    "WHERE (a.range * b.range + c.range) % 7 = 8";

// The database is as before the statement that was interrupted, and can be written.
void ExpectWhole(std::string const& inPath) {
  ProcessResult const result =
      RunLumora({"--mode", "csv", inPath, "-c", "INSERT INTO kept VALUES (2)", "-c", "FROM kept"});
  EXPECT_EQ(result.mExitCode, 0) << result.mErrors;
  EXPECT_EQ(result.mOutput, "i\r\n1\r\n2\r\n");
}

TEST(LumoraOnTerminal, ASecondCtrlCEndsAStatementThatRunsAndUndoesIt) {
  TempFolder const home;
  std::string const path = home.At("a.db");
  TerminalShell shell(home.get_Path().string(), {"--create", path});
  shell.ExpectText(kPrompt);
  shell.Type("CREATE TABLE kept AS SELECT 1 AS i;\n");
  shell.ExpectText(kPrompt);
  shell.Type(std::string(kEndless) + ";\n");
  shell.ExpectText("running: 2 s");
  shell.Type("\x03");
  shell.ExpectText("once more ends lumora");
  shell.Type("\x03");
  EXPECT_EQ(shell.ExpectEnd(), 130);
  ExpectWhole(path);
}

TEST(LumoraOnTerminal, OneCtrlCKeepsTheSessionAndStopsWhatFollows) {
  TempFolder const home;
  TerminalShell shell(home.get_Path().string());
  shell.ExpectText(kPrompt);
  shell.Type(
      "SELECT 'be' || 'gun'; SELECT count(*) FROM range(60000000) WHERE hash(range) = 0; "
      "SELECT 'the ' || 'end';\n");
  shell.ExpectText("begun");
  shell.Type("\x03");
  shell.ExpectText("once more ends lumora");
  EXPECT_EQ(shell.ExpectText("interrupted").find("the end"), std::string::npos);
  shell.ExpectText(kPrompt);
  shell.Type("SELECT 6 * 7 AS answer;\n");
  shell.ExpectText("42");
  shell.ExpectText(kPrompt);
}

TEST(LumoraOnTerminal, AnInterruptedScriptLeavesItsFileWhole) {
  TempFolder const home;
  std::string const path = home.At("a.db");
  TerminalShell shell(
      home.get_Path().string(),
      {"--create", path, "-c", "CREATE TABLE kept AS SELECT 1 AS i", "-c", kEndless});
  shell.ExpectText("running: 2 s");
  shell.Type("\x03");
  EXPECT_EQ(shell.ExpectEnd(), 130);
  ExpectWhole(path);
}

using Folder = std::filesystem::directory_iterator;

std::size_t CountEntries(std::string const& inFolder) {
  std::error_code error;
  return static_cast<std::size_t>(std::distance(Folder(inFolder, error), Folder()));
}

// The elapsed time is shown after two seconds and taken away in the end. The work is made longer by
// stopping the process in its middle; when that comes too late, it is done once more.
void ExpectElapsed(TerminalShell& ioShell, std::string const& inWhat,
                   std::function<std::string(int)> const& inCommand,
                   std::function<bool(int)> const& inHasBegun) {
  for (int attempt = 0; attempt < 20; ++attempt) {
    ioShell.Type(inCommand(attempt) + "\n");
    for (int i = 0; i < 20000 && !inHasBegun(attempt); ++i) usleep(1000);
    kill(ioShell.get_Child(), SIGSTOP);
    usleep(2'100'000);
    kill(ioShell.get_Child(), SIGCONT);
    std::string const number = std::to_string(attempt);
    ioShell.Type("SELECT 'attempt' || " + number + ";\n");
    std::string const shown = ioShell.ExpectText("attempt" + number);
    std::size_t const found = shown.find("\r" + inWhat + ": ");
    if (found == std::string::npos) continue;
    EXPECT_NE(shown.find("\r\x1b[K", found), std::string::npos) << shown;
    return;
  }
  ADD_FAILURE() << "no elapsed time: " << inWhat;
}

TEST(LumoraOnTerminal, ShowsTheElapsedTimeOfABackupAndOfARestore) {
  TempFolder const home;
  std::string const backups = home.At("backups");
  auto const target = [&](int attempt) { return home.At(std::to_string(attempt) + ".db"); };
  TerminalShell shell(home.get_Path().string(), {"--create", home.At("a.db")});
  shell.ExpectText(kPrompt);
  shell.Type("CREATE TABLE t AS SELECT range AS i, hash(range) AS h FROM range(2000000);\n");
  shell.ExpectText(kPrompt);
  ExpectElapsed(
      shell, "backup", [&](int) { return ".backup " + backups; },
      [&](int attempt) { return CountEntries(backups) > static_cast<std::size_t>(attempt); });
  std::string const backup = Folder(backups)->path().string();
  ExpectElapsed(
      shell, "restoring", [&](int attempt) { return ".restore " + backup + " " + target(attempt); },
      [&](int attempt) { return std::filesystem::exists(target(attempt) + ".lumora-restoring"); });
  shell.Type("SELECT count(*) AS n FROM t;\n");
  shell.ExpectText("2000000");
  shell.ExpectText(kPrompt);
  shell.Type("\x04");
  EXPECT_EQ(shell.ExpectEnd(), 0);
}

TEST(LumoraOnTerminal, AScriptThatIsInterruptedEndsWith130) {
  TempFolder const home;
  TerminalShell shell(home.get_Path().string(),
                      {"-c", "SELECT 'started' AS s", "-c",
                       "SELECT count(*) FROM range(100000) a, range(100000) b, range(1000) c "
                       "WHERE (a.range * b.range + c.range) % 7 = 0"});
  shell.ExpectText("started");
  shell.ExpectText("1 row");
  shell.ExpectText("running: 2 s");
  shell.Type("\x03");
  EXPECT_EQ(shell.ExpectEnd(), 130);
}

}  // namespace
}  // namespace lumora::test
