#pragma once

#include <cstdint>

// Like support/DuckDBCalls.h, for DuckDB's calls that make values, types and texts: they answer
// null when they fail.
namespace lumora::test {

enum class ValueCall {
  kMakeValue,     // duckdb_create_<type>, of values alone
  kMakeNested,    // values made of values, and the child of a list
  kMakeType,      // duckdb_create_<kind of type>
  kAskType,       // of a column, a parameter, a vector or another type
  kText,          // duckdb_get_varchar
  kMemory,        // duckdb_malloc
  kMakeVector,    // vectors and selections
  kMakeFunction,  // duckdb_create_table_function
  kRegister,      // duckdb_register_table_function
  kCount,
};

std::uint64_t get_CallCount(ValueCall inCall);
// Values that DuckDB gave out and that were not given back.
std::int64_t get_LiveValues();

// While it lives, calls of that kind fail: the first inSuccesses succeed, and those after
// inFailures failures.
class FailingValueCall {
 public:
  explicit FailingValueCall(ValueCall inCall, std::int64_t inSuccesses = 0,
                            std::int64_t inFailures = 1);
  ~FailingValueCall();
  FailingValueCall(FailingValueCall const&) = delete;
  FailingValueCall& operator=(FailingValueCall const&) = delete;

 private:
  ValueCall mCall;
};

}  // namespace lumora::test
