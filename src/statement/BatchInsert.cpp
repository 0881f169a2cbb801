#include "statement/BatchInsert.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

#include "duckdb_c/QueryRows.h"
#include "duckdb_c/Types.h"
#include "statement/StatementErrors.h"
#include "statement/TableFacts.h"

namespace lumora {
namespace {

using duckdb_c::ForEachRow;
using Row = std::vector<std::string>;

// Functions are named in full: the user may have macros of the same names.
#define LUMORA_NOW "CAST(system.main.epoch_us(system.main.now()) AS VARCHAR)"

// The moment that the transaction began, which outside of one is the query's; and each database
// with what must not be seen: whether the connection records every single statement.
constexpr char kState[] = "SELECT " LUMORA_NOW
                          ", CAST(system.main.current_setting('enable_profiling') IS NULL"
                          " AND coalesce(system.main.current_setting('log_query_path'), '') = ''"
                          " AND NOT CAST(system.main.current_setting('enable_logging') AS BOOLEAN)"
                          " AND system.main.current_setting('preserve_insertion_order') AS VARCHAR)"
                          ", type, CAST(internal AS VARCHAR) FROM system.main.duckdb_databases()";
constexpr char kNow[] = "SELECT " LUMORA_NOW;

#undef LUMORA_NOW

std::string Quoted(std::string const& inText, char inQuote) {
  std::string quoted(1, inQuote);
  for (char const c : inText) {
    quoted += c;
    if (c == inQuote) quoted += c;
  }
  return quoted + inQuote;
}

bool Execute(duckdb_connection inConnection, char const* inSql) {
  duckdb_c::ResultHandle result;
  return duckdb_query(inConnection, inSql, result.out()) == DuckDBSuccess;
}

// A transaction of the batch's own. What is not committed when it goes is rolled back, so that a
// lack of memory in the middle leaves no transaction open.
class OwnTransaction {
 public:
  explicit OwnTransaction(duckdb_connection inConnection) noexcept
      : mConnection(inConnection), mIsOpen(Execute(inConnection, "BEGIN TRANSACTION")) {}
  ~OwnTransaction() {
    if (mIsOpen) (void)Execute(mConnection, "ROLLBACK");
  }
  OwnTransaction(OwnTransaction const&) = delete;
  OwnTransaction& operator=(OwnTransaction const&) = delete;

  bool get_IsOpen() const noexcept { return mIsOpen; }
  bool Commit(duckdb_c::ResultHandle& outResult) noexcept {
    mIsOpen = duckdb_query(mConnection, "COMMIT", outResult.out()) != DuckDBSuccess;
    return !mIsOpen;
  }

 private:
  duckdb_connection const mConnection;
  bool mIsOpen;
};

std::string QualifiedName(ParameterInsert const& inInsert) {
  std::string name;
  for (std::string const& part : inInsert.mName) {
    name += (name.empty() ? "" : ".") + Quoted(part, '"');
  }
  return name;
}

// What of the facts decides about the rows.
struct Questions {
  bool mColumns = true;
  bool mKeysAndIndexes = true;
};

std::string WhereIsTable(ParameterInsert const& inInsert) {
  return " WHERE system.main.lower(table_name) = system.main.lower(" +
         Quoted(inInsert.mName.back(), '\'') + ")";
}

// The catalog's functions know names without their schema alone, so what they tell may be of more
// tables than the one: then a batch is run less often, never wrongly.
std::string FactsSql(ParameterInsert const& inInsert, Questions const& inQuestions) {
  std::string const isTable = WhereIsTable(inInsert);
  std::string sql =
      "SELECT constraint_type, coalesce(expression, ''), '', '', ''"
      " FROM system.main.duckdb_constraints()" +
      isTable;
  if (inQuestions.mColumns) {
    sql +=
        " UNION ALL SELECT 'column', name, type, coalesce(dflt_value, ''), "
        "CAST(\"notnull\" AS VARCHAR) FROM system.main.pragma_table_info(" +
        Quoted(QualifiedName(inInsert), '\'') + ")";
  }
  if (inQuestions.mKeysAndIndexes) {
    sql += " UNION ALL SELECT 'index', '', '', '', '' FROM system.main.duckdb_indexes()" + isTable;
  }
  return sql;
}

void Take(Row const& inRow, TableFacts& ioFacts) {
  std::string const& kind = inRow[0];
  if (kind == "column") {
    ioFacts.mColumns.push_back({inRow[1], inRow[2], inRow[3], inRow[4] == "true"});
  } else if (kind == "index") {
    ioFacts.mHasIndex = true;
  } else if (kind == "CHECK") {
    ioFacts.mChecks.push_back(inRow[1]);
  } else if (kind != "NOT NULL") {
    ioFacts.mHasKey = true;
  }
}

std::optional<TableFacts> ReadFacts(duckdb_connection inConnection, ParameterInsert const& inInsert,
                                    Questions const& inQuestions) {
  // DuckDB's function that tells the columns of a table cannot read a name with quotes in it.
  for (std::string const& part : inInsert.mName) {
    if (part.find('"') != std::string::npos) return std::nullopt;
  }
  TableFacts facts;
  std::string error;
  if (!ForEachRow(inConnection, FactsSql(inInsert, inQuestions), error,
                  [&](Row const& inRow) { Take(inRow, facts); })) {
    return std::nullopt;
  }
  return facts;
}

bool HasNull(RowBatch const& inRows) {
  for (std::uint32_t i = 0; i < inRows.get_Columns(); ++i) {
    if (inRows.get_HasNull(i)) return true;
  }
  return false;
}

// What the appender says before DuckDB's own text.
constexpr std::string_view kAppenderPrefix = "Failed to append: ";

std::string WithoutPrefix(std::string_view inText) {
  if (inText.starts_with(kAppenderPrefix)) inText.remove_prefix(kAppenderPrefix.size());
  return std::string(inText);
}

// The columns of a batch, as a table that is known to one query alone.
class BatchTable {
 public:
  static constexpr char kName[] = "lumora_parameter_rows";

  explicit BatchTable(RowBatch const& inRows) {
    for (std::uint32_t i = 0; i < inRows.get_Columns(); ++i) {
      auto const type = inRows.get_Type(i);
      // Every type can be had of a text, so of a column of no text too.
      mTypes.push_back(duckdb_c::MakeLogicalType(
          type == ParameterCell::kNull ? static_cast<duckdb_c::TypeId>(DUCKDB_TYPE_VARCHAR)
                                       : type));
      mNames.push_back(ColumnName(i));
    }
    for (auto const& type : mTypes) mTypePointers.push_back(type.get());
    for (auto const& name : mNames) mNamePointers.push_back(name.c_str());
  }

  static std::string ColumnName(std::uint32_t inIndex) { return "p" + std::to_string(inIndex + 1); }

  duckdb_c::AppenderHandle MakeAppender(duckdb_connection inConnection, std::string const& inSql) {
    duckdb_c::AppenderHandle appender;
    (void)duckdb_appender_create_query(inConnection, inSql.c_str(), mTypes.size(),
                                       mTypePointers.data(), kName, mNamePointers.data(),
                                       appender.out());
    return appender;
  }
  duckdb_c::ChunkHandle MakeChunk() {
    return duckdb_c::ChunkHandle(duckdb_create_data_chunk(mTypePointers.data(), mTypes.size()));
  }

 private:
  std::vector<duckdb_c::LogicalTypeHandle> mTypes;
  std::vector<std::string> mNames;
  std::vector<duckdb_logical_type> mTypePointers;
  std::vector<char const*> mNamePointers;
};

std::string InsertSql(ParameterInsert const& inInsert) {
  std::string sql = inInsert.mTarget + " SELECT ";
  char const* separator = "";
  for (std::uint32_t const parameter : inInsert.mParameters) {
    sql += separator + BatchTable::ColumnName(parameter);
    separator = ", ";
  }
  return sql + " FROM " + BatchTable::kName;
}

bool AppendChunks(duckdb_appender inAppender, duckdb_data_chunk inChunk, RowBatch const& inRows,
                  std::uint32_t inFirst, std::uint32_t inCount) {
  auto const size = static_cast<std::uint32_t>(duckdb_vector_size());
  for (std::uint32_t done = 0; done < inCount; done += size) {
    inRows.Fill(inChunk, inFirst + done, std::min(size, inCount - done));
    if (duckdb_append_data_chunk(inAppender, inChunk) != DuckDBSuccess) return false;
  }
  return true;
}

}  // namespace

bool BatchInsert::IsOwnTransaction(duckdb_connection inConnection) {
  if (mTransaction == Transaction::kUnknown) mTransaction = FindTransaction(inConnection);
  return mTransaction == Transaction::kOwn;
}

BatchInsert::Outcome BatchInsert::Run(duckdb_connection inConnection, RowBatch const& inRows,
                                      std::uint32_t inFirst, std::uint32_t inCount) {
  if (IsOwnTransaction(inConnection)) return RunOwn(inConnection, inRows, inFirst, inCount);
  if (mTransaction == Transaction::kUnfit || !IsFit(inConnection, inRows)) return Outcome::kUnfit;
  return Append(inConnection, inRows, inFirst, inCount) ? Outcome::kDone
                                                        : TellFailure(inConnection);
}

// Hazard: BEGIN in a transaction aborts it, and DuckDB tells nowhere whether there is one. Remedy:
// two queries of one transaction are of one moment. Two of their own are not; should the clock be
// set back by just that much, the batch is merely held to what cannot fail.
BatchInsert::Transaction BatchInsert::FindTransaction(duckdb_connection inConnection) const {
  std::string moment;
  int databases = 0;
  bool isFit = true;
  std::string error;
  bool const isTold = ForEachRow(inConnection, kState, error, [&](Row const& inRow) {
    moment = inRow[0];
    isFit = isFit && inRow[1] == "true" && inRow[2] == "duckdb";
    if (inRow[3] == "false") ++databases;
  });
  std::string later;
  if (!isTold || !isFit ||
      !ForEachRow(inConnection, kNow, error, [&](Row const& inRow) { later = inRow[0]; })) {
    return Transaction::kUnfit;
  }
  bool const isHosts = moment == later;
  // A look at the catalog would fix the moment that the transaction sees of every database.
  if ((isHosts && databases != 1) || !IsOneTable(inConnection)) return Transaction::kUnfit;
  return isHosts ? Transaction::kHosts : Transaction::kOwn;
}

// Hazard: a text finds a temporary table before any other of its name, but a statement that was
// prepared before there was one keeps to the other, and DuckDB does not tell which one it has.
// Remedy: rows go one by one where there are both. Only this connection makes its temporary tables.
bool BatchInsert::IsOneTable(duckdb_connection inConnection) const {
  constexpr std::size_t kWhole = 3;
  if (mInsert.mName.size() == kWhole) return true;
  std::string const look = "FROM temp.main." + Quoted(mInsert.mName.back(), '"');
  duckdb_c::PreparedHandle temporary;
  if (duckdb_prepare(inConnection, look.c_str(), temporary.out()) != DuckDBSuccess) {
    // Any other reason than that it is not there is none to be sure.
    std::string const text = duckdb_c::TextOr(duckdb_prepare_error(temporary.get()), "");
    return text.find("Catalog") != text.npos;
  }
  bool isOne = true;
  std::string error;
  return ForEachRow(inConnection,
                    "SELECT CAST(temporary AS VARCHAR) FROM system.main.duckdb_tables()" +
                        WhereIsTable(mInsert),
                    error, [&](Row const& inRow) { isOne = isOne && inRow[0] == "true"; }) &&
         isOne;
}

bool BatchInsert::IsFit(duckdb_connection inConnection, RowBatch const& inRows) {
  bool const isHosts = mTransaction == Transaction::kHosts;
  Questions const questions{isHosts || !mInsert.mColumns.empty() || HasNull(inRows), isHosts};
  auto const facts = ReadFacts(inConnection, mInsert, questions);
  if (!facts || (isHosts && !CannotFail(*facts, mInsert, inRows))) return false;
  return IsSameInOneStatement(*facts, mInsert, inRows);
}

BatchInsert::Outcome BatchInsert::RunOwn(duckdb_connection inConnection, RowBatch const& inRows,
                                         std::uint32_t inFirst, std::uint32_t inCount) {
  OwnTransaction transaction(inConnection);
  if (!transaction.get_IsOpen() || !IsFit(inConnection, inRows)) return Outcome::kUnfit;
  if (!Append(inConnection, inRows, inFirst, inCount)) {
    return mIsInterrupted ? Outcome::kFinal : Outcome::kFailed;
  }
  duckdb_c::ResultHandle result;
  return transaction.Commit(result) ? Outcome::kDone : TellFailedCommit(result);
}

// Hazard: a commit can fail after it was made, in the checkpoint that follows it. Remedy: the rows
// are tried again only when DuckDB says that it was the commit.
BatchInsert::Outcome BatchInsert::TellFailedCommit(duckdb_c::ResultHandle& inResult) {
  mError = duckdb_c::TextOr(duckdb_result_error(inResult.ptr()), statement_text::kExecuteUnknown);
  bool const isUndone = duckdb_result_error_type(inResult.ptr()) == DUCKDB_ERROR_TRANSACTION;
  return isUndone ? Outcome::kFailed : Outcome::kFinal;
}

bool BatchInsert::Append(duckdb_connection inConnection, RowBatch const& inRows,
                         std::uint32_t inFirst, std::uint32_t inCount) {
  BatchTable table(inRows);
  auto const appender = table.MakeAppender(inConnection, InsertSql(mInsert));
  auto const chunk = table.MakeChunk();
  if (!appender || !chunk) return false;
  if (AppendChunks(appender.get(), chunk.get(), inRows, inFirst, inCount) &&
      duckdb_appender_flush(appender.get()) == DuckDBSuccess) {
    return true;
  }
  duckdb_c::ErrorDataHandle const error(duckdb_appender_error_data(appender.get()));
  mIsInterrupted = duckdb_error_data_error_type(error.get()) == DUCKDB_ERROR_INTERRUPT;
  mError = WithoutPrefix(
      duckdb_c::TextOr(duckdb_error_data_message(error.get()), statement_text::kExecuteUnknown));
  return false;
}

BatchInsert::Outcome BatchInsert::TellFailure(duckdb_connection inConnection) {
  // Nothing was done yet when the transaction goes on.
  return !mIsInterrupted && Execute(inConnection, kNow) ? Outcome::kFailed : Outcome::kFinal;
}

}  // namespace lumora
