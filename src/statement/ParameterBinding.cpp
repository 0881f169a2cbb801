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

}  // namespace

void RowBinder::Clear() {
  if (duckdb_clear_bindings(mPrepared.get()) != DuckDBSuccess) {
    ThrowError(mDatabase, duckdb_c::TextOr(duckdb_prepare_error(mPrepared.get()),
                                           statement_text::kClearBindings));
  }
  mParameters = duckdb_nparams(mPrepared.get());
}

void RowBinder::Read(std::uint32_t inIndex, tarn::I_Value* inValue, ParameterTypes const* inTypes,
                     ParameterCell& outCell) const {
  try {
    if (inTypes) {
      inTypes->Read(inIndex, inValue, outCell);
    } else {
      ReadParameter(inValue, 0, outCell);
    }
  } catch (ValueError const& error) {
    ThrowError(mDatabase, error.what());
  }
}

void RowBinder::Bind(std::uint32_t inIndex, ParameterCell& ioCell) const {
  auto const value = mTypes ? mTypes->MakeValue(inIndex, ioCell) : MakeValue(ioCell);
  if (inIndex >= mParameters) ThrowError(mDatabase, NoSuchParameter(inIndex + 1, mParameters));
  if (duckdb_bind_value(mPrepared.get(), inIndex + 1, value.get()) != DuckDBSuccess) {
    ThrowError(mDatabase, duckdb_c::TextOr(duckdb_prepare_error(mPrepared.get()),
                                           statement_text::kBindParameter));
  }
}

void RowBinder::BindFrom(tarn::ValueRow const& inRow, std::uint32_t inFirst) const {
  ParameterCell cell;
  for (std::uint32_t i = inFirst; i < inRow.get_Count(); ++i) {
    tarn::smart_ptr<tarn::I_Value> const element = inRow.get_Item(i);
    auto const types = mTypes;
    Read(i, element.get(), types.get(), cell);
    Bind(i, cell);
  }
}

void BindRow(duckdb_c::PreparedHandle const& inPrepared, tarn::ValueRow const* inRow,
             I_DatabaseLink* const& inDatabase,
             std::shared_ptr<ParameterTypes const> const& inTypes) {
  if (!inPrepared) return;
  RowBinder binder(inPrepared, inDatabase, inTypes);
  binder.Clear();
  if (inRow) binder.BindFrom(*inRow, 0);
}

}  // namespace lumora
