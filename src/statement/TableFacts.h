#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "statement/InsertPattern.h"
#include "statement/RowBatch.h"

namespace lumora {

// What the catalog says of the table of an INSERT, so far as it decides whether many rows in one
// statement are the same as these rows in a statement each.
struct TableFacts {
  struct Column {
    std::string mName;
    std::string mType;     // DuckDB's text of it
    std::string mDefault;  // of a default or of a generated column; empty when there is none
    bool mIsNotNull = false;
  };
  std::vector<Column> mColumns;      // in their order, generated ones too
  std::vector<std::string> mChecks;  // the conditions
  bool mHasKey = false;              // primary, unique or foreign key
  bool mHasIndex = false;
};

// Whether the rows, when they succeed in one statement, leave what they leave in a statement each:
// no default of a column that the statement leaves out, and no check, calls a function, whose value
// might depend on how often or when it is called; and no NULL goes into a type that may make
// something else of a NULL of another type, as UNION does.
bool IsSameInOneStatement(TableFacts const& inTable, ParameterInsert const& inInsert,
                          RowBatch const& inRows);

// Whether no row of the batch can fail in a table into which a row of that statement has just been
// inserted: no key, index or check, no NULL where none may be, and each value of its column's type
// or one that every value of its type converts to.
bool CannotFail(TableFacts const& inTable, ParameterInsert const& inInsert, RowBatch const& inRows);

}  // namespace lumora
