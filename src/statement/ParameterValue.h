#pragma once

#include <stdexcept>

#include "duckdb_c/Handles.h"
#include "duckdb_c/Types.h"
#include "statement/ParameterCell.h"
#include "tarn/Value.h"

namespace lumora {

// A host value that no DuckDB value can be made of. The text is for the host; the bind step turns
// it into the host's exception.
class ValueError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What a host value is bound as, told by its views first (bytes, variant envelope)
// and then by its type code. A null pointer and a null value give SQL NULL; codes without a rule of
// their own give the value's text. Wrapped values give what they hold, up to 100 deep.
//
// inTarget: the exact type of the parameter where nothing of the bound type can be seen from SQL;
// DuckDB binds a statement again, at three times the cost of its execution, when a value's type is
// not the parameter's. A whole number that fits then takes that type at once, which is what
// DuckDB's own cast would give. 0 = the value's own type.
//
// Errors: ValueError; xDuckDBError 0x72501 ("variant", message) for an envelope;
// std::invalid_argument and std::out_of_range for an INT8 envelope that holds no number.
void ReadParameter(tarn::I_Value* inValue, duckdb_c::TypeId inTarget, ParameterCell& outCell);

// The same as a value of DuckDB's.
duckdb_c::ValueHandle MakeDuckDBValue(tarn::I_Value* inValue, duckdb_c::TypeId inTarget = 0);

}  // namespace lumora
