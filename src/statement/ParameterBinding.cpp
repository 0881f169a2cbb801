#include "statement/ParameterBinding.h"

#include <string>
#include <utility>

#include "statement/ParameterValue.h"
#include "statement/StatementErrors.h"
#include "tarn/smart_ptr.h"

namespace lumora {
namespace {

// DuckDB's own text. DuckDB itself is not asked to bind a parameter that the statement does not
// have: it would refuse every later use of the statement, too.
std::string NoSuchParameter(std::uint32_t inPosition, idx_t inCount) {
  return "Invalid Input Error: Can not bind to parameter number " + std::to_string(inPosition) +
         ", statement only has " + std::to_string(inCount) + " parameter(s)";
}

duckdb_c::ValueHandle MakeParameter(tarn::I_Value* inValue, std::uint32_t inIndex,
                                    ParameterTypes const* inTypes,
                                    I_DatabaseLink* const& inDatabase) {
  try {
    if (!inTypes) return MakeDuckDBValue(inValue);
    return inTypes->MakeValue(inIndex, inValue);
  } catch (ValueError const& error) {
    ThrowError(inDatabase, error.what());
  }
}

}  // namespace

void BindRow(duckdb_c::PreparedHandle const& inPrepared, tarn::ValueRow const* inRow,
             I_DatabaseLink* const& inDatabase,
             std::shared_ptr<ParameterTypes const> const& inTypes) {
  if (!inPrepared) return;
  if (duckdb_clear_bindings(inPrepared.get()) != DuckDBSuccess) {
    ThrowError(inDatabase, duckdb_c::TextOr(duckdb_prepare_error(inPrepared.get()),
                                            statement_text::kClearBindings));
  }
  if (!inRow) return;
  idx_t const parameters = duckdb_nparams(inPrepared.get());
  for (std::uint32_t i = 0; i < inRow->get_Count(); ++i) {
    tarn::smart_ptr<tarn::I_Value> const element = inRow->get_Item(i);
    auto const value = MakeParameter(element.get(), i, inTypes.get(), inDatabase);
    if (i >= parameters) ThrowError(inDatabase, NoSuchParameter(i + 1, parameters));
    if (duckdb_bind_value(inPrepared.get(), i + 1, value.get()) != DuckDBSuccess) {
      ThrowError(inDatabase, duckdb_c::TextOr(duckdb_prepare_error(inPrepared.get()),
                                              statement_text::kBindParameter));
    }
  }
}

}  // namespace lumora
