#include "statement/ParameterTypes.h"

#include "duckdb_c/SearchPath.h"
#include "statement/InsertPattern.h"
#include "statement/ParameterValue.h"

namespace lumora {
namespace {

using duckdb_c::ValueHandle;

// DuckDB's C API makes a NULL of a type only inside of a list.
ValueHandle MakeListOfNull(duckdb_logical_type inType) {
  ValueHandle const null(duckdb_create_null_value());
  duckdb_value elements[] = {null.get()};
  return ValueHandle(duckdb_create_list_value(inType, elements, 1));
}

}  // namespace

ParameterTypes::ParameterTypes(duckdb_connection inConnection, duckdb_prepared_statement inPrepared,
                               std::string_view inSql) {
  if (duckdb_prepared_statement_type(inPrepared) != DUCKDB_STATEMENT_TYPE_INSERT) return;
  if (!IsPlainInsert(inSql)) return;
  mSearchPath = duckdb_c::GetSearchPath(inConnection);
  mParameters.resize(duckdb_nparams(inPrepared));
  for (idx_t i = 0; i < mParameters.size(); ++i) {
    duckdb_c::LogicalTypeHandle const type(duckdb_param_logical_type(inPrepared, i + 1));
    duckdb_c::TypeId const id = duckdb_c::GetTypeId(type.get());
    if (id == 0) continue;
    mParameters[i] = {id, MakeListOfNull(type.get())};
  }
}

bool ParameterTypes::AreCurrent(duckdb_connection inConnection) const {
  if (mParameters.empty()) return true;
  return mSearchPath && mSearchPath == duckdb_c::GetSearchPath(inConnection);
}

void ParameterTypes::Read(std::uint32_t inIndex, tarn::I_Value* inValue,
                          ParameterCell& outCell) const {
  ReadParameter(inValue, inIndex < mParameters.size() ? mParameters[inIndex].mType : 0, outCell);
}

ValueHandle ParameterTypes::MakeValue(std::uint32_t inIndex, ParameterCell& ioCell) const {
  if (ioCell.mType == ParameterCell::kNull && inIndex < mParameters.size() &&
      mParameters[inIndex].mNull) {
    return ValueHandle(duckdb_get_list_child(mParameters[inIndex].mNull.get(), 0));
  }
  return lumora::MakeValue(ioCell);
}

}  // namespace lumora
