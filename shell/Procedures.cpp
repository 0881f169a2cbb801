#include "Procedures.h"

#include <fmt/format.h>

#include "HostContext.h"
#include "Text.h"

namespace lumora::shell {

namespace {

std::string CountText(Procedure const& inProcedure) {
  std::uint32_t const min = inProcedure.mMinArguments;
  std::uint32_t const max = inProcedure.mMaxArguments;
  char const* plural = max == 1 ? "" : "s";
  if (min == max) return fmt::format("{} argument{}", max, plural);
  return fmt::format("{} to {} argument{}", min, max, plural);
}

}  // namespace

bool ProcedureRegistry::Register(lumora_procedure_def const* inDefinition) {
  if (!inDefinition || !inDefinition->name || !*inDefinition->name || !inDefinition->handler) {
    return false;
  }
  if (inDefinition->min_args > inDefinition->max_args || Find(inDefinition->name)) return false;
  Procedure procedure;
  procedure.mName = inDefinition->name;
  procedure.mMinArguments = inDefinition->min_args;
  procedure.mMaxArguments = inDefinition->max_args;
  procedure.mSignature = inDefinition->signature ? inDefinition->signature : "";
  procedure.mDescription = inDefinition->description ? inDefinition->description : "";
  procedure.mHandler = inDefinition->handler;
  mProcedures.push_back(std::move(procedure));
  return true;
}

Procedure const* ProcedureRegistry::Find(std::string_view inName) const {
  for (Procedure const& procedure : mProcedures) {
    if (EqualsIgnoringCase(procedure.mName, inName)) return &procedure;
  }
  return nullptr;
}

std::string ProcedureHelp(Procedure const& inProcedure) {
  return fmt::format("{}({}): {}", inProcedure.mName, inProcedure.mSignature,
                     inProcedure.mDescription);
}

std::unique_ptr<RowSource> CallProcedure(Procedure const& inProcedure,
                                         std::vector<HostValue> const& inArguments) {
  if (inArguments.size() < inProcedure.mMinArguments ||
      inArguments.size() > inProcedure.mMaxArguments) {
    throw ProcedureError(fmt::format("{} takes {}, not {}\n{}", inProcedure.mName,
                                     CountText(inProcedure), inArguments.size(),
                                     ProcedureHelp(inProcedure)));
  }
  HostContext context;
  context.put_Arguments(inArguments);
  lumora_cursor const handle = inProcedure.mHandler(&context, context.get_Arguments().data());
  std::unique_ptr<RowSource> cursor = context.TakeCursor(handle);
  if (auto const message = context.TakeError()) throw ProcedureError(*message);
  if (!cursor) throw ProcedureError(inProcedure.mName + " gave no rows and no error message");
  return cursor;
}

}  // namespace lumora::shell
