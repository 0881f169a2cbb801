#include "Options.h"

#include <CLI/CLI.hpp>
#include <array>
#include <charconv>
#include <cmath>
#include <map>
#include <sstream>

#include "Text.h"

namespace lumora::shell {

namespace {

// Texts that are looked at once the library has read the command line.
struct RawOptions {
  std::vector<std::string> mCommands;
  std::vector<std::string> mFiles;
  std::string mMode;
  std::string mCursor;
  std::string mMaxMemory;
  bool mNoExternalAccess = false;
};

void AddScriptOptions(CLI::App& ioApp, RawOptions& ioRaw, Options& ioOptions) {
  ioApp
      .add_option("DATABASE", ioOptions.mDatabase,
                  "A path, :memory: (the default) or a remote path")
      ->type_name("");
  ioApp.add_option("-c,--command", ioRaw.mCommands, "Run this text (may be given again)")
      ->type_name("SQL")
      ->expected(1)
      ->take_all()
      ->allow_extra_args(false);
  ioApp
      .add_option("-f,--file", ioRaw.mFiles,
                  "Run this file; - is standard input (may be given again)")
      ->type_name("FILE")
      ->expected(1)
      ->take_all()
      ->allow_extra_args(false);
  ioApp
      .add_option("--param", ioOptions.mParameters,
                  "A parameter, bound by position (may be given again): an integer, a decimal "
                  "number, NULL, a text, 'a text in quotes' or a variant envelope")
      ->type_name("VALUE")
      ->expected(1)
      ->take_all()
      ->allow_extra_args(false);
}

void AddDisplayOptions(CLI::App& ioApp, RawOptions& ioRaw, Options& ioOptions) {
  ioApp.add_option("--mode", ioRaw.mMode, "How results look: " + AllModeNames())->type_name("MODE");
  ioApp
      .add_option("--max-rows", ioOptions.mMaxRows,
                  "Rows of a box before its middle is left out; 0 = all "
                  "(40, or 1000 where results scroll)")
      ->type_name("N")
      ->check(CLI::NonNegativeNumber.description(""));
  ioApp
      .add_option("--cursor", ioRaw.mCursor,
                  "client (reads a result at once, the default) or server (streams it)")
      ->type_name("KIND");
  ioApp.add_option("--extension", ioOptions.mExtensionPath, "The extension library to load")
      ->type_name("PATH");
  ioApp.add_flag("--version", ioOptions.mShowVersion, "Show the versions");
}

void AddOpenOptions(CLI::App& ioApp, RawOptions& ioRaw, Options& ioOptions) {
  OpenOptions& open = ioOptions.mOpen;
  ioApp.add_flag("--create", ioOptions.mCreate, "Create the database; it must not be there");
  ioApp.add_flag("--readonly", open.mReadOnly, "Open the database for reading only");
  ioApp.add_option("--threads", open.mThreads, "Threads that DuckDB uses")
      ->type_name("N")
      ->check(CLI::Range(1U, 65535U).description(""));
  ioApp.add_option("--max-memory", ioRaw.mMaxMemory, "Memory that DuckDB uses: 500MB, 2GB")
      ->type_name("SIZE");
  ioApp.add_option("--temp-dir", open.mTempFolder, "Folder for what does not fit into memory")
      ->type_name("FOLDER");
  ioApp.add_flag("--no-external-access", ioRaw.mNoExternalAccess,
                 "No files, network or extensions beside the database");
  ioApp
      .add_option("--storage-version", open.mStorageVersion,
                  "Storage version of a new database: v1.5.0, latest")
      ->type_name("VERSION");
  ioApp.add_option("--block-size", open.mBlockSize, "Block size of a new database: 16384, 262144")
      ->type_name("BYTES")
      ->check(CLI::NonNegativeNumber.description(""));
  ioApp.add_option("--token", open.mToken, "Access token of a remote database")->type_name("TEXT");
  ioApp.add_option("--user-agent", open.mUserAgent, "User agent towards a remote database")
      ->type_name("TEXT");
}

// The library keeps the values of one option together; the order between -c and -f is in what it
// parsed.
void OrderScripts(CLI::App const& inApp, Options& ioOptions) {
  std::map<CLI::Option const*, std::size_t> taken;
  for (CLI::Option const* option : inApp.parse_order()) {
    bool const isCommand = option->check_lname("command");
    if (!isCommand && !option->check_lname("file")) continue;
    auto const kind = isCommand ? ScriptOption::Kind::kCommand : ScriptOption::Kind::kFile;
    std::size_t const index = taken[option]++;
    if (index < option->results().size()) {
      ioOptions.mScripts.push_back({kind, option->results()[index]});
    }
  }
}

// What is wrong with the texts, or nothing.
std::string ReadRaw(RawOptions const& inRaw, Options& ioOptions) {
  ioOptions.mOpen.mExternalAccess = !inRaw.mNoExternalAccess;
  if (!inRaw.mMode.empty()) {
    auto const mode = ParseMode(inRaw.mMode);
    if (!mode) return "--mode: '" + inRaw.mMode + "' is none of " + AllModeNames();
    ioOptions.mMode = *mode;
  }
  if (!inRaw.mCursor.empty()) {
    auto const kind = ParseCursorKind(inRaw.mCursor);
    if (!kind) return "--cursor: '" + inRaw.mCursor + "' is neither client nor server";
    ioOptions.mCursorKind = *kind;
  }
  if (!inRaw.mMaxMemory.empty()) {
    auto const megabytes = ParseMegabytes(inRaw.mMaxMemory);
    if (!megabytes) return "--max-memory: '" + inRaw.mMaxMemory + "' is no size such as 500MB";
    ioOptions.mOpen.mMaxMemory = *megabytes;
  }
  if (ioOptions.mCreate && ioOptions.mOpen.mReadOnly)
    return "--create and --readonly exclude each other";
  if (ioOptions.mCreate && ioOptions.mDatabase.empty()) return "--create needs a DATABASE";
  return {};
}

}  // namespace

ParsedOptions ParseOptions(int inCount, char const* const* inArguments) {
  Options options;
  RawOptions raw;
  CLI::App app("Runs SQL and procedures through the lumora_duckdb extension.", "lumora");
  AddScriptOptions(app, raw, options);
  AddDisplayOptions(app, raw, options);
  AddOpenOptions(app, raw, options);
  try {
    app.parse(inCount, inArguments);
  } catch (CLI::ParseError const& error) {
    std::ostringstream out;
    std::ostringstream err;
    int const code = app.exit(error, out, err);
    return UsageAnswer{code == 0 ? out.str() : err.str(), code != 0};
  }
  OrderScripts(app, options);
  std::string const fault = ReadRaw(raw, options);
  if (!fault.empty()) return UsageAnswer{fault + "\n", true};
  return options;
}

std::optional<std::uint32_t> ParseCursorKind(std::string_view inName) {
  if (EqualsIgnoringCase(inName, "client")) return 1;
  if (EqualsIgnoringCase(inName, "server")) return 2;
  return std::nullopt;
}

char const* CursorKindName(std::uint32_t inKind) { return inKind == 1 ? "client" : "server"; }

std::optional<std::uint32_t> ParseMegabytes(std::string_view inText) {
  struct Unit {
    char const* mName;
    double mMegabytes;
  };
  static constexpr std::array<Unit, 9> kUnits = {{{"", 1},
                                                  {"mb", 1},
                                                  {"m", 1},
                                                  {"gb", 1e3},
                                                  {"g", 1e3},
                                                  {"tb", 1e6},
                                                  {"mib", 1.048576},
                                                  {"gib", 1073.741824},
                                                  {"tib", 1099511.627776}}};
  double number = 0;
  auto const parsed = std::from_chars(inText.data(), inText.data() + inText.size(), number,
                                      std::chars_format::fixed);
  if (parsed.ec != std::errc() || !(number > 0)) return std::nullopt;
  std::string_view const rest =
      Trim(inText.substr(static_cast<std::size_t>(parsed.ptr - inText.data())));
  for (Unit const& unit : kUnits) {
    double const megabytes = number * unit.mMegabytes;
    if (!EqualsIgnoringCase(rest, unit.mName)) continue;
    if (megabytes > 4294967295.0) return std::nullopt;
    return static_cast<std::uint32_t>(std::max(1.0, std::floor(megabytes)));
  }
  return std::nullopt;
}

}  // namespace lumora::shell
