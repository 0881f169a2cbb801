#pragma once

#include <memory>

#include "cursor/I_DatabaseLink.h"
#include "duckdb_c/Handles.h"
#include "statement/ParameterTypes.h"
#include "tarn/Array.h"

namespace lumora {

// The bind step in its parts. A failure leaves the parameters before it bound.
//
// A host value may call back into the statement that binds it, and prepare or close that. So the
// handle and the database are looked at anew at every parameter; the variables of the caller must
// outlive the binder, and the row must be held by him.
//
// inTypes: exact parameter types that may be used unseen, or null.
//
// Errors: xDuckDBError 0x72501 with texts (database path or "unknown", DuckDB's message,
// "Failed to clear statement bindings", "Failed to bind statement parameter" or ValueError's text);
// an envelope's as ReadVariantEnvelope tells.
class RowBinder {
 public:
  RowBinder(duckdb_c::PreparedHandle const& inPrepared, I_DatabaseLink* const& inDatabase,
            std::shared_ptr<ParameterTypes const> const& inTypes)
      : mPrepared(inPrepared), mDatabase(inDatabase), mTypes(inTypes) {}

  // Clears what is bound; what is bound after it are the parameters that the statement has now.
  void Clear();
  // Reads the host's value for the parameter of that 0-based index, by types that the caller holds:
  // the value may call back and prepare another statement, with types of its own.
  void Read(std::uint32_t inIndex, tarn::I_Value* inValue, ParameterTypes const* inTypes,
            ParameterCell& outCell) const;
  // What was read; a made value is used up.
  void Bind(std::uint32_t inIndex, ParameterCell& ioCell) const;
  // The row's elements from that index on, read and bound one by one.
  void BindFrom(tarn::ValueRow const& inRow, std::uint32_t inFirst) const;

 private:
  duckdb_c::PreparedHandle const& mPrepared;
  I_DatabaseLink* const& mDatabase;
  std::shared_ptr<ParameterTypes const> const& mTypes;
  idx_t mParameters = 0;
};

// The whole step: clears what is bound and binds the row's element i to parameter i + 1. Nothing
// without a prepared statement; with a null or empty row all parameters stay unbound.
void BindRow(duckdb_c::PreparedHandle const& inPrepared, tarn::ValueRow const* inRow,
             I_DatabaseLink* const& inDatabase,
             std::shared_ptr<ParameterTypes const> const& inTypes = {});

}  // namespace lumora
