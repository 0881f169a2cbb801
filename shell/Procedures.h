#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "HostValue.h"
#include "RowSource.h"
#include "tarn/ExtensionApi.h"

namespace lumora::shell {

// A procedure could not be called, or failed; what() is for the user.
struct ProcedureError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct Procedure {
  std::string mName;
  std::uint32_t mMinArguments = 0;
  std::uint32_t mMaxArguments = 0;
  std::string mSignature;
  std::string mDescription;
  lumora_procedure_handler mHandler = nullptr;
};

// The procedures that extensions have registered. Names are compared without case. Not
// synchronised.
class ProcedureRegistry {
 public:
  // Copies the record. False, and nothing is added, when it cannot be used or the name is taken.
  bool Register(lumora_procedure_def const* inDefinition);
  // Null when there is none; valid until the next Register.
  Procedure const* Find(std::string_view inName) const;
  std::vector<Procedure> const& get_All() const { return mProcedures; }

 private:
  std::vector<Procedure> mProcedures;
};

// Checks the number of arguments and runs the procedure. Never null; throws ProcedureError with the
// procedure's own message, or with its help text for a wrong number of arguments.
std::unique_ptr<RowSource> CallProcedure(Procedure const& inProcedure,
                                         std::vector<HostValue> const& inArguments);

// "fetch_duckdb(uri, table_or_view [, limit]): Returns rows from …, 2 to 3 arguments".
std::string ProcedureHelp(Procedure const& inProcedure);

}  // namespace lumora::shell
