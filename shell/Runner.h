#pragma once

#include <string_view>

#include "Script.h"
#include "Session.h"

namespace lumora::shell {

// Runs a script statement by statement, shows what comes of each, and stops at the first failure,
// which it tells on standard error; false then. Also after .quit it stops. OutputClosed,
// OutputFailed and Interrupted pass through.
bool RunScript(Session& ioSession, std::string_view inScript);

// One statement or command. Throws StatementError; its offset counts from the start of the script
// that the piece stands in.
void RunPiece(Session& ioSession, ScriptPiece const& inPiece);

// Shows one outcome of a statement: its rows, how many rows it changed, or nothing; an error is
// thrown.
void ShowResult(Session& ioSession, tarn::lsql::I_DuckDBQueryResult& inResult);
void ShowRows(Session& ioSession, RowSource& inRows);

// Runs one query of the shell's own and gives its rows.
std::unique_ptr<RowSource> RunQuery(Session& ioSession, std::string const& inSql);

// The whole text of a file. Throws StatementError.
std::string ReadFile(std::string const& inPath);

}  // namespace lumora::shell
