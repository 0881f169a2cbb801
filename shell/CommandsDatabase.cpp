// The commands that ask the database.
#include <fmt/format.h>

#include "Commands.h"
#include "DatabaseErrors.h"
#include "DatabaseRows.h"
#include "HostText.h"
#include "Parameters.h"
#include "Runner.h"
#include "Text.h"

namespace lumora::shell {

namespace {

// A text as an SQL literal.
std::string Literal(std::string_view inText) {
  std::string literal = "'";
  for (char const c : inText) literal += c == '\'' ? std::string("''") : std::string(1, c);
  return literal + "'";
}

std::string NameFilter(commands::Words const& inWords, char const* inColumn) {
  if (inWords.empty()) return "true";
  return fmt::format("{} ILIKE {}", inColumn, Literal(inWords[0]));
}

// The rows of columns that no query gives.
class ColumnRows final : public RowSource {
 public:
  explicit ColumnRows(std::vector<Column> inColumns) : mShown(std::move(inColumns)) {}
  std::vector<Column> const& get_Columns() const override { return mColumns; }
  bool Next() override { return mNext++ < mShown.size(); }
  void Read(std::vector<Cell>& ioCells) override {
    Column const& column = mShown.at(mNext - 1);
    ioCells = {{CellKind::kText, column.mName}, {CellKind::kText, column.mKind}};
  }
  std::optional<std::uint64_t> get_Count() override { return std::nullopt; }
  bool Seek(std::uint64_t) override { return false; }

 private:
  std::vector<Column> mColumns = {{"column", "text", false}, {"type", "text", false}};
  std::vector<Column> mShown;
  std::size_t mNext = 0;
};

}  // namespace

namespace commands {

void Tables(Session& ioSession, Words const& inWords, std::string_view) {
  auto const rows = RunQuery(
      ioSession,
      "SELECT database_name AS database, schema_name AS schema, table_name AS name, "
      "'table' AS type, estimated_size AS rows FROM duckdb_tables() WHERE NOT internal AND " +
          NameFilter(inWords, "table_name") +
          " UNION ALL SELECT database_name, schema_name, view_name, 'view', NULL "
          "FROM duckdb_views() WHERE NOT internal AND " +
          NameFilter(inWords, "view_name") + " ORDER BY ALL");
  ShowRows(ioSession, *rows);
}

void Schema(Session& ioSession, Words const& inWords, std::string_view) {
  auto const rows =
      RunQuery(ioSession,
               "SELECT rtrim(sql, '; \n') || ';' FROM ("
               "SELECT 1 AS kind, table_name AS name, sql FROM duckdb_tables() WHERE NOT internal "
               "UNION ALL SELECT 2, view_name, sql FROM duckdb_views() WHERE NOT internal "
               "UNION ALL SELECT 3, index_name, sql FROM duckdb_indexes() "
               "UNION ALL SELECT 0, sequence_name, sql FROM duckdb_sequences()) AS s WHERE " +
                   NameFilter(inWords, "name") + " AND sql IS NOT NULL ORDER BY kind, name");
  ioSession.get_Results().Show([&](Output& outOutput) {
    std::vector<Cell> cells;
    while (rows->Next()) {
      rows->Read(cells);
      outOutput.Write(PrintableLines(cells.at(0).mText) + "\n");
    }
  });
}

void Databases(Session& ioSession, Words const&, std::string_view) {
  if (!ioSession.get_Database()) {
    return ioSession.get_Results().Show(
        [](Output& outOutput) { outOutput.Write("no database is open\n"); });
  }
  auto const rows = RunQuery(ioSession,
                             "SELECT database_name AS name, path, type, readonly "
                             "FROM duckdb_databases() WHERE NOT internal ORDER BY database_oid");
  ShowRows(ioSession, *rows);
}

void Types(Session& ioSession, Words const&, std::string_view inRest) {
  std::vector<Column> columns = ioSession.mLastColumns;
  if (!inRest.empty()) {
    auto const cursor = WithDatabaseErrors([&] {
      return ioSession.RequireDatabase().ExecuteQuery(
          ToHostText(inRest), 2, MakeParameterRow(ioSession.mParameters, inRest));
    });
    columns = DatabaseRows(cursor, false).get_Columns();
  }
  ColumnRows rows(columns);
  ioSession.get_Results().Show([&](Output& outOutput) {
    WriteRows(ioSession.mMode, rows, outOutput, ioSession.get_Limits());
  });
}

void Prepare(Session& ioSession, Words const&, std::string_view inRest) {
  ioSession.Prepare(std::string(inRest));
}

void Next(Session& ioSession, Words const&, std::string_view) {
  StatementPtr const statement = ioSession.get_Statement();
  if (!statement) throw StatementError("nothing is prepared; .prepare does it");
  auto const countLeft = [&] {
    return WithDatabaseErrors([&] { return statement->get_RemainingStatements(); });
  };
  if (countLeft() == 0) throw StatementError("no prepared statement is left");
  try {
    auto const result = WithDatabaseErrors([&] {
      statement->ClearBindings();
      statement->PrepareNext();
      std::string const sql = ToUtf8(statement->get_CurrentSql());
      if (auto const row = MakeParameterRow(ioSession.mParameters, sql)) {
        statement->BindParameters(row);
      }
      return statement->ExecuteResult(ioSession.mCursorKind);
    });
    if (result) ShowResult(ioSession, *result);
    TellUser(GroupDigits(countLeft()) + " left");
  } catch (StatementError const& error) {
    // The offset is one of the prepared text, which stands on another line.
    throw StatementError(error.what(), error.mType);
  }
}

}  // namespace commands

}  // namespace lumora::shell
