#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

// The SQL texts of a backup folder, as DuckDB's EXPORT writes them, and their repair. Pure but for
// the two file functions.
namespace lumora {

using Statements = std::vector<std::string>;

// Runs one statement; false with the reason in outError.
using RunStatement = std::function<bool(std::string const& inSql, std::string& outError)>;

// The statements of a script, without semicolons and comments.
Statements SplitStatements(std::string_view inScript);

// One statement a line, each ended by a semicolon.
std::string JoinStatements(Statements const& inStatements);

// DuckDB writes the values of an enum without doubling the quotes inside. Replaces each of these
// value lists by the right one.
std::string QuoteEnumValues(std::string inScript, std::vector<Statements> const& inValueLists);

// Runs every statement, one that fails again after the others, until no further one succeeds.
// DuckDB writes views in the order of their names, whatever they need of each other. Returns the
// statements in the order in which they ran; what is left in ioPending never did, and outError
// says why of the first.
Statements RunInWorkingOrder(Statements& ioPending, RunStatement const& inRun,
                             std::string& outError);

// The table that "COPY <name> FROM …" fills, its parts without quotes and with a NUL between them;
// empty for any other statement.
std::string CopiedTable(std::string_view inStatement);

// Moves every COPY behind those of the tables that its table refers to. Keys and values are as of
// CopiedTable.
Statements OrderCopies(Statements const& inStatements,
                       std::map<std::string, std::set<std::string>> const& inReferences);

// The first line of a schema script that we wrote, and the version in it; empty when it has none.
std::string StorageVersionLine(std::string const& inVersion);
std::string StorageVersionOf(std::string_view inScript);

// A whole text file at a path (UTF-8). Writing replaces it at once or not at all, and is on the
// disk when it returns. Both throw tarn::xException (path, the system's message).
std::string ReadTextFile(std::string const& inPath);
void ReplaceTextFile(std::string const& inPath, std::string const& inText);

}  // namespace lumora
