#include "SqlOracle.h"

#include <fmt/format.h>

#include <cstdlib>
#include <map>

#include "support/HostValueText.h"

namespace lumora::test {

namespace {

// Types with a host kind of their own, by what typeof begins with. %: the cell.
struct Kind {
  char const* mName;
  char const* mText;  // SQL that gives the content as text
};

std::map<std::string, Kind, std::less<>> const kKinds = {
    {"BOOLEAN", {"Boolean", "CAST(% AS VARCHAR)"}},
    {"TINYINT", {"Short", "CAST(% AS VARCHAR)"}},
    {"SMALLINT", {"Short", "CAST(% AS VARCHAR)"}},
    {"INTEGER", {"Long", "CAST(% AS VARCHAR)"}},
    {"BIGINT", {"LLong", "CAST(% AS VARCHAR)"}},
    {"UTINYINT", {"Byte", "CAST(% AS VARCHAR)"}},
    {"USMALLINT", {"UShort", "CAST(% AS VARCHAR)"}},
    {"UINTEGER", {"ULong", "CAST(% AS VARCHAR)"}},
    {"UBIGINT", {"ULLong", "CAST(% AS VARCHAR)"}},
    {"FLOAT", {"Float", "CAST(% AS VARCHAR)"}},
    {"DOUBLE", {"Double", "CAST(% AS VARCHAR)"}},
    {"DECIMAL", {"Double", "CAST(CAST(% AS DOUBLE) AS VARCHAR)"}},
    // DuckDB's time zone library loses a millisecond at the ends of the range, in UTC too.
    {"TIMESTAMP WITH TIME ZONE",
     {"String",
      "CAST(make_timestamp(epoch_us(%)) AS VARCHAR) || CASE WHEN isinf(%) THEN '' ELSE '+00' END"}},
    {"BLOB", {"FixedBinary", "lower(hex(%))"}},
};

Kind const kText = {"String", "CAST(% AS VARCHAR)"};

Kind const& FindKind(std::string const& inType) {
  if (inType.ends_with(']')) return kText;
  auto const found = kKinds.find(inType.substr(0, inType.find('(')));
  return found == kKinds.end() ? kText : found->second;
}

std::string InWords(Kind const& inKind, std::string const& inText) {
  std::string const name = inKind.mName;
  if (name == "String") return "String '" + Visible(inText) + "'";
  if (name == "FixedBinary") return "FixedBinary x'" + inText + "'";
  if (name == "Float") return fmt::format("Float {}", std::strtof(inText.c_str(), nullptr));
  if (name == "Double") return fmt::format("Double {}", std::strtod(inText.c_str(), nullptr));
  return name + " " + inText;
}

std::vector<std::vector<std::string>> ReadTexts(duckdb_c::ResultHandle& ioResult,
                                                std::string const& inNull) {
  std::vector<std::vector<std::string>> texts(duckdb_column_count(ioResult.ptr()));
  while (duckdb_c::ChunkHandle const chunk{duckdb_fetch_chunk(ioResult.get())}) {
    idx_t const rows = duckdb_data_chunk_get_size(chunk.get());
    for (idx_t c = 0; c < texts.size(); ++c) {
      duckdb_vector const vector = duckdb_data_chunk_get_vector(chunk.get(), c);
      auto* const cells = static_cast<duckdb_string_t*>(duckdb_vector_get_data(vector));
      std::uint64_t* const validity = duckdb_vector_get_validity(vector);
      for (idx_t r = 0; r < rows; ++r) {
        bool const isNull = validity && !duckdb_validity_row_is_valid(validity, r);
        texts[c].push_back(isNull ? inNull
                                  : std::string(duckdb_string_t_data(&cells[r]),
                                                duckdb_string_t_length(cells[r])));
      }
    }
  }
  return texts;
}

}  // namespace

SqlAnswers AskSql(FakeDatabase& ioDatabase, std::string const& inQuery) {
  ioDatabase.Query("SET TimeZone = 'UTC'");
  duckdb_c::ResultHandle described = ioDatabase.Query("DESCRIBE " + inQuery);
  std::vector<std::vector<std::string>> const columns = ReadTexts(described, "");
  std::vector<std::string> const& types = columns[1];

  std::string select;
  for (std::size_t c = 0; c < types.size(); ++c) {
    std::string text = FindKind(types[c]).mText;
    for (auto at = text.find('%'); at != text.npos; at = text.find('%')) {
      text.replace(at, 1, fmt::format("c{}", c));
    }
    select += (c == 0 ? "" : ", ") + text;
  }
  std::string names;
  for (std::size_t c = 0; c < types.size(); ++c) names += fmt::format("{}c{}", c ? ", " : "", c);
  std::string const kNull = "the null cell";
  duckdb_c::ResultHandle result =
      ioDatabase.Query("SELECT " + select + " FROM (" + inQuery + ") q(" + names + ")");
  SqlAnswers answers{types, ReadTexts(result, kNull)};
  for (std::size_t c = 0; c < types.size(); ++c) {
    for (std::string& text : answers.mExpected[c]) {
      text = text == kNull ? "Boolean NULL" : InWords(FindKind(types[c]), text);
    }
  }
  return answers;
}

}  // namespace lumora::test
