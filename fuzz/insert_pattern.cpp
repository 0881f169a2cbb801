// IsPlainInsert and ReadParameterInsert on any text. What it accepts is for DuckDB one INSERT or
// nothing; and where DuckDB can prepare it, a whole number arrives in its column the same, whether
// it is bound as it is or in the exact type of its parameter: this is what the pattern is for.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "duckdb_c/Handles.h"
#include "statement/InsertPattern.h"
#include "statement/ParameterValue.h"
#include "support/Input.h"
#include "support/Sql.h"
#include "tarn/smart_ptr.h"

namespace {

using lumora::duckdb_c::ExtractedHandle;
using lumora::duckdb_c::LogicalTypeHandle;
using lumora::duckdb_c::PreparedHandle;
using lumora::duckdb_c::ResultHandle;
using lumora::duckdb_c::ValueHandle;
using lumora::fuzz::FirstText;
using lumora::fuzz::Input;
using lumora::fuzz::Require;
using lumora::fuzz::Sql;

char const kTables[] =
    "CREATE TABLE t (a INTEGER, b VARCHAR, c DOUBLE DEFAULT 5);"
    "CREATE SCHEMA s; CREATE TABLE s.t (a TINYINT, b DECIMAL(9, 3), c BOOLEAN);"
    "CREATE TABLE \"q\"\"q\" (a VARIANT, b UNION(x INTEGER, y VARCHAR), c BLOB);"
    "CREATE TABLE d (a HUGEINT, b TIMESTAMP, c INTEGER[]);";

Sql& Tables() {
  static Sql& sql = [&]() -> Sql& {
    Require(Sql::Instance().Run(kTables), "the tables");
    return Sql::Instance();
  }();
  return sql;
}

std::string Contents() {
  ResultHandle result;
  Require(Tables().Run("SELECT concat((SELECT list(t) FROM t)::VARCHAR, '/', (SELECT list(x) FROM "
                       "s.t x)::VARCHAR, '/', (SELECT list(struct_pack(a := a::VARCHAR, b := b, k "
                       ":= variant_typeof(a), c := c)) FROM \"q\"\"q\")::VARCHAR, '/', (SELECT "
                       "list(d) FROM d)::VARCHAR)",
                       result),
          "reading the tables");
  return FirstText(result.get());
}

// What the tables hold after the statement, or why it fails; the tables are empty again then.
std::string Effect(duckdb_prepared_statement inStatement, std::int64_t inNumber, bool inIsExact) {
  tarn::smart_ptr<tarn::I_Value> const number(tarn::CreateValueLLong(false, nullptr, nullptr));
  for (idx_t i = 1; i <= duckdb_nparams(inStatement); ++i) {
    // Another one for each parameter, so that two that are mixed up are seen.
    number->put_LLong(static_cast<std::int64_t>(static_cast<std::uint64_t>(inNumber) + i));
    LogicalTypeHandle const type(duckdb_param_logical_type(inStatement, i));
    lumora::duckdb_c::TypeId const target = duckdb_get_type_id(type.get());
    ValueHandle const value = lumora::MakeDuckDBValue(number.get(), inIsExact ? target : 0);
    if (duckdb_bind_value(inStatement, i, value.get()) != DuckDBSuccess) return "not bound";
  }
  Require(Tables().Run("BEGIN"), "BEGIN");
  ResultHandle result;
  bool const isDone = duckdb_execute_prepared(inStatement, result.out()) == DuckDBSuccess;
  std::string const effect = isDone ? Contents() : "failed";
  Require(Tables().Run("ROLLBACK"), "ROLLBACK");
  return effect;
}

void CheckPrepared(duckdb_prepared_statement inStatement, std::int64_t inNumber) {
  Require(duckdb_prepared_statement_type(inStatement) == DUCKDB_STATEMENT_TYPE_INSERT,
          "an accepted text is an INSERT");
  std::string const plain = Effect(inStatement, inNumber, false);
  std::string const exact = Effect(inStatement, inNumber, true);
  Require(plain == exact, "the same row from either type: " + plain + " and " + exact);
}

std::string Quote(std::string const& inName) {
  std::string quoted = "\"";
  for (char const c : inName) quoted.append(c == '"' ? 2 : 1, c);
  return quoted + '"';
}

// The statement put together again from its parts.
std::string MakeSql(lumora::ParameterInsert const& inParts) {
  std::string sql = "INSERT INTO ";
  for (auto const& name : inParts.mName)
    sql += (&name == &inParts.mName[0] ? "" : ".") + Quote(name);
  for (auto const& column : inParts.mColumns) {
    sql += (&column == &inParts.mColumns[0] ? " (" : ", ") + Quote(column);
  }
  sql += inParts.mColumns.empty() ? " VALUES (" : ") VALUES (";
  for (std::size_t i = 0; i < inParts.mParameters.size(); ++i) {
    sql += (i == 0 ? "$" : ", $") + std::to_string(inParts.mParameters[i] + 1);
  }
  return sql + ")";
}

// The parts of an INSERT of parameters alone are that statement.
void CheckParts(std::string const& inSql, duckdb_prepared_statement inStatement,
                std::int64_t inNumber) {
  auto const parts = lumora::ReadParameterInsert(inSql);
  if (!parts) return;
  Require(parts->mParameters.size() == duckdb_nparams(inStatement), "each parameter once");
  std::string const again = MakeSql(*parts);
  PreparedHandle prepared;
  bool const isPrepared =
      duckdb_prepare(Tables().get(), again.c_str(), prepared.out()) == DuckDBSuccess;
  Require(isPrepared, "the parts are a statement: " + again);
  std::string const first = Effect(inStatement, inNumber, false);
  Require(Effect(prepared.get(), inNumber, false) == first, "and the same one: " + again);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* inData, std::size_t inSize) {
  Input input(inData, inSize);
  auto const number = static_cast<std::int64_t>(input.TakeNumber());
  std::string const sql = input.TakeRest();
  Require(lumora::IsPlainInsert(sql) || !lumora::ReadParameterInsert(sql),
          "parts of a plain INSERT");
  if (!lumora::IsPlainInsert(sql) || sql.find('\0') != std::string::npos) return 0;
  ExtractedHandle extracted;
  idx_t const count = duckdb_extract_statements(Tables().get(), sql.c_str(), extracted.out());
  Require(count <= 1, "an accepted text is one statement");
  if (count == 0) return 0;
  PreparedHandle prepared;
  if (duckdb_prepare_extracted_statement(Tables().get(), extracted.get(), 0, prepared.out()) ==
      DuckDBSuccess) {
    CheckPrepared(prepared.get(), number);
    CheckParts(sql, prepared.get(), number);
  }
  return 0;
}
