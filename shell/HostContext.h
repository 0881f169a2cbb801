#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "HostValue.h"
#include "RowSource.h"
#include "tarn/ExtensionApi.h"

namespace lumora::shell {

class ProcedureRegistry;

// What the first argument of a host function points at: the registration of an extension, one call
// of a procedure, or the life of one cursor. Owns the values and texts that were made through it,
// until it dies or Forget is called. One thread at a time.
class HostContext {
 public:
  explicit HostContext(ProcedureRegistry* inRegistry = nullptr) : mRegistry(inRegistry) {}
  HostContext(HostContext const&) = delete;
  HostContext& operator=(HostContext const&) = delete;

  // Null outside of a registration.
  ProcedureRegistry* get_Registry() const { return mRegistry; }

  // Of a call; the handles point at the caller's values.
  void put_Arguments(std::vector<HostValue> const& inArguments);
  std::vector<lumora_value> const& get_Arguments() const { return mArguments; }

  void ReportError(std::string inMessage);
  std::vector<std::string> const& get_Errors() const { return mErrors; }
  // All messages that were reported, joined, and none left; empty when there was none.
  std::optional<std::string> TakeError();

  // The handle is valid until Forget.
  lumora_value Keep(HostValue inValue);
  char const* KeepText(std::string inText, std::uint64_t& outLength);
  void Forget();

  // The cursor that was made last and not taken yet.
  lumora_cursor KeepCursor(std::unique_ptr<RowSource> inCursor);
  std::unique_ptr<RowSource> TakeCursor(lumora_cursor inHandle);

 private:
  ProcedureRegistry* mRegistry;
  std::vector<lumora_value> mArguments;
  std::vector<std::string> mErrors;
  std::deque<HostValue> mValues;
  std::deque<std::string> mTexts;
  std::vector<std::unique_ptr<RowSource>> mCursors;
};

}  // namespace lumora::shell
