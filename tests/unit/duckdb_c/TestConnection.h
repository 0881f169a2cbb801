#pragma once

#include <duckdb.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>

#include "duckdb_c/Handles.h"

namespace lumora::duckdb_c::test {

// An in-memory database of the test's own, in UTC, and one connection to it: the oracle.
class TestConnection {
 public:
  TestConnection();
  duckdb_connection get() const noexcept { return mConnection.get(); }

  // The result; the test fails when the statement does.
  ResultHandle Query(std::string const& inSql) const;
  // Empty when it succeeds.
  std::string QueryError(std::string const& inSql) const;
  // The text of the first cell.
  std::string Text(std::string const& inSql) const;
  // The value of the first cell, by the call under test.
  ValueHandle Value(std::string const& inSql) const;
  PreparedHandle Prepare(std::string const& inSql) const;

 private:
  DatabaseHandle mDatabase;
  ConnectionHandle mConnection;
};

// One for all tests that leave nothing behind in it: opening a database costs more than a test.
TestConnection const& SharedConnection();

// A VARCHAR cell of a chunk, NULL as "(NULL)".
std::string CellText(duckdb_data_chunk inChunk, idx_t inColumn, idx_t inRow);
bool CellFlag(duckdb_data_chunk inChunk, idx_t inColumn, idx_t inRow);

std::string TypeText(duckdb_logical_type inType);
std::string ValueTypeText(duckdb_value inValue);

// Runs the work for every chunk of a result.
void ForEachChunk(ResultHandle& ioResult, std::function<void(duckdb_data_chunk)> const& inWork);

}  // namespace lumora::duckdb_c::test
