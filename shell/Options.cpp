#include "Options.h"

#include <sstream>

#include <CLI/CLI.hpp>

namespace lumora::shell {

namespace {

void AddScriptOptions(CLI::App& ioApp, Options& ioOptions) {
  auto const add = [&](char const* inName, ScriptOption::Kind inKind, char const* inHelp,
                       char const* inArgument) {
    auto const keep = [&ioOptions, inKind](std::vector<std::string> const& inTexts) {
      ioOptions.mScripts.clear();
      for (std::string const& text : inTexts) ioOptions.mScripts.push_back({inKind, text});
      return true;
    };
    ioApp.add_option(inName, keep, inHelp)->type_name(inArgument)->expected(1)->take_all();
  };
  add("-c,--command", ScriptOption::Kind::kCommand, "Run this text (may be given again)", "SQL");
  add("-f,--file", ScriptOption::Kind::kFile, "Run this file (may be given again)", "FILE");
}

// The library keeps the values of one option together; the order between -c and -f is in what it
// parsed.
void OrderScripts(CLI::App const& inApp, Options& ioOptions) {
  ioOptions.mScripts.clear();
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

}  // namespace

ParsedOptions ParseOptions(int inCount, char const* const* inArguments) {
  Options options;
  CLI::App app("Runs SQL and procedures through the lumora_duckdb extension.", "lumora");
  AddScriptOptions(app, options);
  std::string mode;
  app.add_option("--mode", mode, "How results look: " + AllModeNames())->type_name("MODE");
  app.add_option("--max-rows", options.mMaxRows,
                 "Rows of a box before the middle is left out; 0 = all (40)")
      ->type_name("N");
  app.add_option("--extension", options.mExtensionPath, "The extension library to load")
      ->type_name("PATH");
  app.add_flag("--version", options.mShowVersion, "Show the versions");
  try {
    app.parse(inCount, inArguments);
  } catch (CLI::ParseError const& error) {
    std::ostringstream out;
    std::ostringstream err;
    int const code = app.exit(error, out, err);
    return UsageAnswer{code == 0 ? out.str() : err.str(), code != 0};
  }
  OrderScripts(app, options);
  if (!mode.empty()) {
    auto const known = ParseMode(mode);
    if (!known) {
      return UsageAnswer{"--mode: '" + mode + "' is none of " + AllModeNames() + "\n", true};
    }
    options.mMode = *known;
  }
  return options;
}

}  // namespace lumora::shell
