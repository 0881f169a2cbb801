#pragma once

#include <string>
#include <vector>

#include "support/FakeDatabase.h"

// What DuckDB's SQL says of values, in the words of test::Describe.
namespace lumora::test {

// For every column of a query, by row: what the host value must be.
struct SqlAnswers {
  std::vector<std::string> mColumnTypes;            // typeof
  std::vector<std::vector<std::string>> mExpected;  // [column][row]
};

// Asks DuckDB for the texts of all cells (TimeZone UTC) and puts the host's kind before them.
SqlAnswers AskSql(FakeDatabase& ioDatabase, std::string const& inQuery);

}  // namespace lumora::test
