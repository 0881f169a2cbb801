#include "SqlOracle.h"

#include <fmt/format.h>

#include "support/HostValueText.h"

namespace lumora::test {

namespace {

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
    std::string text = SqlContent(types[c]);
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
      text = text == kNull ? "Boolean NULL" : InWords(types[c], text);
    }
  }
  return answers;
}

}  // namespace lumora::test
