#include "Runner.h"

#include <fmt/format.h>

#include <chrono>
#include <fstream>
#include <iterator>

#include "CallParser.h"
#include "Commands.h"
#include "DatabaseErrors.h"
#include "DatabaseRows.h"
#include "Elapsed.h"
#include "HostText.h"
#include "Interrupt.h"
#include "Parameters.h"
#include "Platform.h"
#include "Text.h"

namespace lumora::shell {

namespace {

using tarn::lsql::I_DuckDBQueryResult;

void RunCall(Session& ioSession, ScriptPiece const& inPiece, Procedure const& inProcedure) {
  try {
    ElapsedDisplay elapsed("running");
    CallStatement const call = ParseCall(inPiece.mText);
    auto const rows = CallProcedure(inProcedure, call.mArguments);
    elapsed.Stop();
    ShowRows(ioSession, *rows);
  } catch (CallSyntaxError const& error) {
    throw StatementError(error.what(), "Syntax", error.mOffset);
  } catch (ProcedureError const& error) {
    // The place that such a report may name is one in the procedure's own SQL text.
    StatementError const report = DecodeReport(error.what());
    throw StatementError(report.what(), report.mType);
  }
}

void RunSql(Session& ioSession, std::string_view inSql) {
  ElapsedDisplay elapsed("running");
  auto result = WithDatabaseErrors([&] {
    return ioSession.RequireDatabase().Execute(ToHostText(inSql), ioSession.mCursorKind,
                                               MakeParameterRow(ioSession.mParameters, inSql));
  });
  elapsed.Stop();
  while (result) {
    ShowResult(ioSession, *result);
    result = WithDatabaseErrors([&] { return result->NextResult(); });
  }
}

void RunStatement(Session& ioSession, ScriptPiece const& inPiece) {
  auto const name = PeekCallName(inPiece.mText);
  Procedure const* const procedure = name ? ioSession.get_Procedures().Find(*name) : nullptr;
  if (procedure) return RunCall(ioSession, inPiece, *procedure);
  RunSql(ioSession, inPiece.mText);
}

// For a person; a program that reads csv or json gets rows alone.
bool IsForPeople(Mode inMode) {
  return inMode == Mode::kBox || inMode == Mode::kLine || inMode == Mode::kMarkdown;
}

// A plan is a drawing of several lines: a cell of a table would break it.
bool IsPlan(std::vector<Column> const& inColumns) {
  return inColumns.size() == 2 && inColumns[0].mName == "explain_key" &&
         inColumns[1].mName == "explain_value";
}

void WritePlan(RowSource& inRows, Output& outOutput) {
  std::vector<Cell> cells;
  while (inRows.Next()) {
    inRows.Read(cells);
    outOutput.Write(PrintableLines(cells.at(1).mText) + "\n");
  }
}

}  // namespace

std::string ReadFile(std::string const& inPath) {
  std::ifstream file(PathOf(inPath), std::ios::binary);
  std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (!file.is_open() || file.bad()) throw StatementError("cannot read " + inPath);
  return text;
}

std::unique_ptr<RowSource> RunQuery(Session& ioSession, std::string const& inSql) {
  auto const cursor = WithDatabaseErrors(
      [&] { return ioSession.RequireDatabase().ExecuteQuery(ToHostText(inSql), 1, nullptr); });
  return std::make_unique<DatabaseRows>(cursor, true);
}

void ShowRows(Session& ioSession, RowSource& inRows) {
  ioSession.mLastColumns = inRows.get_Columns();
  DisplayLimits const limits = ioSession.get_Limits();
  bool const isPlan = ioSession.mMode == Mode::kBox && IsPlan(inRows.get_Columns());
  ioSession.get_Results().Show([&](Output& outOutput) {
    if (isPlan) return WritePlan(inRows, outOutput);
    WriteRows(ioSession.mMode, inRows, outOutput, limits);
  });
}

void ShowResult(Session& ioSession, I_DuckDBQueryResult& inResult) {
  std::uint32_t const flags = inResult.get_Flags();
  if (flags & tarn::lsql::kResultHasError) {
    std::int64_t const position = inResult.get_ErrorPosition();
    std::optional<std::size_t> offset;
    if (position >= 0) offset = static_cast<std::size_t>(position);
    throw StatementError(ToUtf8(inResult.get_ErrorMessage()), ToUtf8(inResult.get_ErrorType()),
                         offset);
  }
  if (flags & tarn::lsql::kResultHasCursor) {
    auto const cursor = WithDatabaseErrors([&] { return inResult.get_Cursor(); });
    DatabaseRows rows(cursor, ioSession.mCursorKind == 1);
    ShowRows(ioSession, rows);
  } else if ((flags & tarn::lsql::kResultHasRowsChanged) && IsForPeople(ioSession.mMode)) {
    std::string const text = RowCountText(inResult.get_RowsChanged()) + " changed\n";
    ioSession.get_Results().Show([&](Output& outOutput) { outOutput.Write(text); });
  }
}

void RunPiece(Session& ioSession, ScriptPiece const& inPiece) {
  auto const start = std::chrono::steady_clock::now();
  try {
    if (inPiece.mIsCommand) {
      RunCommand(ioSession, inPiece.mText);
    } else {
      RunStatement(ioSession, inPiece);
    }
  } catch (StatementError const& error) {
    if (!error.mOffset) throw;
    throw StatementError(error.what(), error.mType, inPiece.mOffset + *error.mOffset);
  }
  if (ioSession.mHasTimer && !inPiece.mIsCommand) {
    TellUser("Time: " + DurationText(std::chrono::steady_clock::now() - start));
  }
}

bool RunScript(Session& ioSession, std::string_view inScript) {
  for (ScriptPiece const& piece : SplitScript(inScript).mPieces) {
    if (ioSession.mHasQuit) break;
    CheckInterrupt();
    try {
      RunPiece(ioSession, piece);
    } catch (StatementError const& error) {
      std::fputs(DescribeError(error, inScript).c_str(), stderr);
      return false;
    }
  }
  return true;
}

}  // namespace lumora::shell
