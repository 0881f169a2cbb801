#pragma once

#include <string>

#include "ErrorDisplay.h"
#include "tarn/Exceptions.h"

namespace lumora::shell {

// What a database exception says, decoded: DuckDB's JSON report, wherever it stands in the text,
// gives message, type and offset; any other text is the message.
StatementError ToStatementError(tarn::xException const& inException);
StatementError DecodeReport(std::string const& inText);

// Runs inWork and turns the host's exceptions into StatementError.
template <typename TWork>
auto WithDatabaseErrors(TWork inWork) {
  try {
    return inWork();
  } catch (tarn::xException const& error) {
    throw ToStatementError(error);
  }
}

}  // namespace lumora::shell
