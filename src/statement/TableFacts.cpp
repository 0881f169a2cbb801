#include "statement/TableFacts.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace lumora {
namespace {

using Column = TableFacts::Column;

bool IsSameName(std::string_view inLeft, std::string_view inRight) {
  return std::equal(
      inLeft.begin(), inLeft.end(), inRight.begin(), inRight.end(),
      [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
}

bool IsNumber(std::string_view inText) {
  if (!inText.empty() && inText.front() == '-') inText.remove_prefix(1);
  return !inText.empty() && inText.front() != '.' &&
         inText.find_first_not_of("0123456789.") == std::string_view::npos;
}

bool IsQuoted(std::string_view inText) {
  if (inText.size() < 2 || inText.front() != '\'' || inText.back() != '\'') return false;
  return inText.substr(1, inText.size() - 2).find('\'') == std::string_view::npos;
}

// As DuckDB writes what stands behind DEFAULT.
bool IsConstant(std::string_view inText) {
  return inText.empty() || inText == "NULL" || inText == "CAST('t' AS BOOLEAN)" ||
         inText == "CAST('f' AS BOOLEAN)" || IsNumber(inText) || IsQuoted(inText);
}

// In DuckDB's text of an expression a call is a name and a parenthesis without a blank between.
bool CallsFunction(std::string_view inText) {
  for (std::size_t i = 1; i < inText.size(); ++i) {
    if (inText[i] != '(') continue;
    auto const before = static_cast<unsigned char>(inText[i - 1]);
    if (std::isalnum(before) || before == '_' || before == '"' || before >= 0x80) return true;
  }
  return false;
}

// The place of the column in the batch; the number of columns when the statement leaves it out.
std::size_t PlaceOf(ParameterInsert const& inInsert, std::size_t inIndex, Column const& inColumn) {
  auto const& names = inInsert.mColumns;
  if (names.empty()) return std::min(inIndex, inInsert.mParameters.size());
  auto const found = std::find_if(names.begin(), names.end(), [&](std::string const& inName) {
    return IsSameName(inName, inColumn.mName);
  });
  return found == names.end() ? inInsert.mParameters.size()
                              : static_cast<std::size_t>(found - names.begin());
}

// Without names the parameters are the columns but the generated ones, of which it is not known
// which they are.
bool HasUnknownPlaces(TableFacts const& inTable, ParameterInsert const& inInsert) {
  return inInsert.mColumns.empty() && inTable.mColumns.size() != inInsert.mParameters.size();
}

bool IsAmong(std::string_view inName, std::initializer_list<std::string_view> inNames) {
  return std::find(inNames.begin(), inNames.end(), inName) != inNames.end();
}

bool ConvertsAlways(duckdb_c::TypeId inFrom, std::string_view inTo) {
  CellType const* const from = FindCellType(inFrom);
  if (!from || inTo == from->mSqlName || inTo == "VARCHAR") return true;
  switch (inFrom) {
    case DUCKDB_TYPE_UTINYINT:
    case DUCKDB_TYPE_SMALLINT:
    case DUCKDB_TYPE_USMALLINT:
    case DUCKDB_TYPE_INTEGER:
    case DUCKDB_TYPE_UINTEGER:
    case DUCKDB_TYPE_BIGINT:
    case DUCKDB_TYPE_UBIGINT:
      return IsAmong(inTo, {"HUGEINT", "FLOAT", "DOUBLE"});
    case DUCKDB_TYPE_FLOAT:
      return inTo == "DOUBLE";
    default:
      return false;
  }
}

// Where a NULL of any type stays a NULL.
bool KeepsNull(std::string_view inType) {
  return inType.starts_with("DECIMAL(") || inType.starts_with("ENUM(") ||
         IsAmong(inType, {"BOOLEAN",
                          "TINYINT",
                          "SMALLINT",
                          "INTEGER",
                          "BIGINT",
                          "HUGEINT",
                          "UTINYINT",
                          "USMALLINT",
                          "UINTEGER",
                          "UBIGINT",
                          "UHUGEINT",
                          "FLOAT",
                          "DOUBLE",
                          "VARCHAR",
                          "JSON",
                          "BLOB",
                          "BIT",
                          "DATE",
                          "TIME",
                          "TIME_NS",
                          "TIMESTAMP",
                          "TIMESTAMP_S",
                          "TIMESTAMP_MS",
                          "TIMESTAMP_NS",
                          "INTERVAL",
                          "UUID",
                          "TIME WITH TIME ZONE",
                          "TIMESTAMP WITH TIME ZONE"});
}

}  // namespace

bool IsSameInOneStatement(TableFacts const& inTable, ParameterInsert const& inInsert,
                          RowBatch const& inRows) {
  if (std::any_of(inTable.mChecks.begin(), inTable.mChecks.end(), CallsFunction)) return false;
  if (HasUnknownPlaces(inTable, inInsert)) {
    return std::all_of(inTable.mColumns.begin(), inTable.mColumns.end(),
                       [](Column const& inColumn) { return KeepsNull(inColumn.mType); });
  }
  for (std::size_t i = 0; i < inTable.mColumns.size(); ++i) {
    Column const& column = inTable.mColumns[i];
    std::size_t const place = PlaceOf(inInsert, i, column);
    if (place < inInsert.mParameters.size()) {
      if (inRows.get_HasNull(inInsert.mParameters[place]) && !KeepsNull(column.mType)) return false;
    } else if (!IsConstant(column.mDefault)) {
      return false;
    }
  }
  return true;
}

bool CannotFail(TableFacts const& inTable, ParameterInsert const& inInsert,
                RowBatch const& inRows) {
  if (inTable.mHasKey || inTable.mHasIndex || !inTable.mChecks.empty()) return false;
  // The expression of a generated column may fail.
  if (HasUnknownPlaces(inTable, inInsert)) return false;
  for (std::size_t i = 0; i < inTable.mColumns.size(); ++i) {
    Column const& column = inTable.mColumns[i];
    std::size_t const place = PlaceOf(inInsert, i, column);
    // What a default does to the first row it does to all.
    if (place == inInsert.mParameters.size()) continue;
    std::uint32_t const parameter = inInsert.mParameters[place];
    if (column.mIsNotNull && inRows.get_HasNull(parameter)) return false;
    if (!ConvertsAlways(inRows.get_Type(parameter), column.mType)) return false;
  }
  return true;
}

}  // namespace lumora
