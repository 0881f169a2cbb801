#pragma once

#include <string>

#include "TestConnection.h"

namespace lumora::duckdb_c::test {

// Compares every cell of a column of a table with what SQL says of it: the text of the rebuilt
// value with CAST(x AS VARCHAR), its type's text with typeof(x), and, bound back as a parameter,
// that it is not distinct from x and of the same type. Returns the number of cells compared. The
// table needs a column id that counts from 0.
std::size_t ExpectCellsEqualSql(TestConnection const& inConnection, std::string const& inTable,
                                std::string const& inColumn);

}  // namespace lumora::duckdb_c::test
