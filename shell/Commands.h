#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Session.h"

namespace lumora::shell {

struct Command {
  char const* mName;       // ".open"
  char const* mArguments;  // "PATH"
  char const* mHelp;
  std::size_t mMinWords;
  std::size_t mMaxWords;
  // inWords: the words behind the name; inRest: all behind the name as it was typed.
  void (*mRun)(Session& ioSession, std::vector<std::string> const& inWords,
               std::string_view inRest);
};

// In the order of their help.
std::vector<Command> const& get_Commands();

// Runs one line that begins with a full stop. Throws StatementError.
void RunCommand(Session& ioSession, std::string_view inLine);

// Cuts at blanks outside of '…' and "…"; a quote inside its own quotes is doubled. Throws
// StatementError for an open quote. Pure.
std::vector<std::string> SplitWords(std::string_view inText);

// The commands that ask the database; the table of all of them has them.
namespace commands {
using Words = std::vector<std::string>;
void Tables(Session& ioSession, Words const& inWords, std::string_view inRest);
void Schema(Session& ioSession, Words const& inWords, std::string_view inRest);
void Databases(Session& ioSession, Words const& inWords, std::string_view inRest);
void Types(Session& ioSession, Words const& inWords, std::string_view inRest);
void Prepare(Session& ioSession, Words const& inWords, std::string_view inRest);
void Next(Session& ioSession, Words const& inWords, std::string_view inRest);
}  // namespace commands

}  // namespace lumora::shell
