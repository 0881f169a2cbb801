#include "Completion.h"

#include <algorithm>
#include <array>
#include <set>

#include "Text.h"

namespace lumora::shell {

namespace {

constexpr std::array kKeywords = {
    "ALL",        "ALTER",    "AND",      "ANTI",     "AS",           "ASC",        "ASOF",
    "ATTACH",     "BEGIN",    "BETWEEN",  "BIGINT",   "BLOB",         "BOOLEAN",    "BY",
    "CALL",       "CASE",     "CAST",     "CHECK",    "CHECKPOINT",   "COLUMN",     "COMMIT",
    "CONSTRAINT", "COPY",     "CREATE",   "CROSS",    "CURRENT_DATE", "DATE",       "DECIMAL",
    "DEFAULT",    "DELETE",   "DESC",     "DESCRIBE", "DETACH",       "DISTINCT",   "DOUBLE",
    "DROP",       "ELSE",     "END",      "EXCEPT",   "EXCLUDE",      "EXISTS",     "EXPLAIN",
    "EXPORT",     "FALSE",    "FILTER",   "FLOAT",    "FOREIGN",      "FROM",       "FULL",
    "FUNCTION",   "GROUP",    "HAVING",   "HUGEINT",  "ILIKE",        "IMPORT",     "IN",
    "INDEX",      "INNER",    "INSERT",   "INTEGER",  "INTERSECT",    "INTERVAL",   "INTO",
    "IS",         "JOIN",     "KEY",      "LATERAL",  "LEFT",         "LIKE",       "LIMIT",
    "MACRO",      "MAP",      "MERGE",    "NATURAL",  "NOT",          "NULL",       "NULLS",
    "OFFSET",     "ON",       "OR",       "ORDER",    "OUTER",        "OVER",       "PARTITION",
    "PIVOT",      "PRAGMA",   "PRIMARY",  "QUALIFY",  "RECURSIVE",    "REFERENCES", "REPLACE",
    "RETURNING",  "RIGHT",    "ROLLBACK", "SAMPLE",   "SCHEMA",       "SELECT",     "SEMI",
    "SEQUENCE",   "SET",      "SHOW",     "SMALLINT", "STRUCT",       "SUMMARIZE",  "TABLE",
    "TEMPORARY",  "TEXT",     "THEN",     "TIME",     "TIMESTAMP",    "TINYINT",    "TRANSACTION",
    "TRUE",       "TRUNCATE", "TYPE",     "UNION",    "UNIQUE",       "UNPIVOT",    "UPDATE",
    "USE",        "USING",    "UUID",     "VALUES",   "VARCHAR",      "VARIANT",    "VIEW",
    "WHEN",       "WHERE",    "WINDOW",   "WITH"};

bool IsWordByte(char inByte) {
  auto const byte = static_cast<unsigned char>(inByte);
  return (byte >= '0' && byte <= '9') || ((byte | 0x20) >= 'a' && (byte | 0x20) <= 'z') ||
         byte == '_' || byte >= 0x80;
}

bool HasPrefix(std::string_view inText, std::string_view inPrefix) {
  return EqualsIgnoringCase(inText.substr(0, inPrefix.size()), inPrefix);
}

std::string InCaseOf(char const* inKeyword, std::string_view inWord) {
  bool const isLower =
      std::any_of(inWord.begin(), inWord.end(), [](char c) { return c >= 'a' && c <= 'z'; });
  return isLower ? ToLower(inKeyword) : inKeyword;
}

// Identifiers that are no plain names stand in double quotes.
std::string Quoted(std::string const& inName) {
  bool const isPlain = !inName.empty() && !(inName[0] >= '0' && inName[0] <= '9') &&
                       std::all_of(inName.begin(), inName.end(), IsWordByte);
  if (isPlain) return inName;
  std::string quoted = "\"";
  for (char const c : inName) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quoted + "\"";
}

std::string CommonStart(std::vector<std::string> const& inCandidates) {
  if (inCandidates.empty()) return {};
  std::string common = inCandidates.front();
  for (std::string const& candidate : inCandidates) {
    std::size_t length = 0;
    while (length < std::min(common.size(), candidate.size()) &&
           ToLower(common.substr(length, 1)) == ToLower(candidate.substr(length, 1))) {
      ++length;
    }
    common.resize(length);
  }
  // A character that is cut in its middle is left out.
  while (!common.empty() && ValidUtf8(common) != common) common.pop_back();
  return common;
}

}  // namespace

Completions Complete(std::string_view inLine, std::vector<std::string> const& inCommands,
                     std::vector<std::string> const& inNames) {
  Completions result;
  std::set<std::string> found;
  std::string_view word = inLine;
  bool const isCommand = !inLine.empty() && inLine.front() == '.' &&
                         inLine.find_first_of(" \t") == std::string_view::npos;
  if (isCommand) {
    for (std::string const& command : inCommands) {
      if (HasPrefix(command, word)) found.insert(command);
    }
  } else {
    std::size_t start = inLine.size();
    while (start > 0 && IsWordByte(inLine[start - 1])) --start;
    word = inLine.substr(start);
    if (word.empty()) return result;
    for (char const* keyword : kKeywords) {
      if (HasPrefix(keyword, word)) found.insert(InCaseOf(keyword, word));
    }
    for (std::string const& name : inNames) {
      if (HasPrefix(name, word)) found.insert(Quoted(name));
    }
  }
  result.mWordLength = word.size();
  result.mCandidates.assign(found.begin(), found.end());
  result.mCommon = CommonStart(result.mCandidates);
  if (result.mCommon.size() < word.size()) result.mCommon = word;
  return result;
}

}  // namespace lumora::shell
