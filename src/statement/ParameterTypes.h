#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "duckdb_c/Handles.h"
#include "duckdb_c/Types.h"
#include "statement/ParameterCell.h"
#include "tarn/Value.h"

namespace lumora {

// The exact types of a prepared statement's parameters, so far as a bound value may take them
// without anything of it being seen from SQL.
//
// A value whose type is not the parameter's, and an untyped NULL, make DuckDB bind the statement
// again at every execution, which takes three times as long. In an INSERT whose VALUES are
// parameters alone the only thing that ever sees a value is the cast to its column.
class ParameterTypes {
 public:
  ParameterTypes() = default;
  // inSql: the statement's text. Empty (no types) for any statement but a plain INSERT.
  ParameterTypes(duckdb_connection inConnection, duckdb_prepared_statement inPrepared,
                 std::string_view inSql);

  // False when the connection looks for names elsewhere than when the statement was prepared: then
  // it can be seen whether DuckDB binds the statement again, and its text may mean another table.
  bool AreCurrent(duckdb_connection inConnection) const;

  // The value for the parameter of that 0-based index. Errors: those of ReadParameter.
  void Read(std::uint32_t inIndex, tarn::I_Value* inValue, ParameterCell& outCell) const;
  duckdb_c::ValueHandle MakeValue(std::uint32_t inIndex, ParameterCell& ioCell) const;

 private:
  struct Parameter {
    duckdb_c::TypeId mType = 0;
    duckdb_c::ValueHandle mNull;  // a list of the type whose one element is NULL
  };
  std::vector<Parameter> mParameters;
  std::optional<std::string> mSearchPath;
};

}  // namespace lumora
