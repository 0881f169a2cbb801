#include "HostContext.h"

#include <algorithm>

namespace lumora::shell {

void HostContext::put_Arguments(std::vector<HostValue> const& inArguments) {
  mArguments.clear();
  for (HostValue const& argument : inArguments) {
    mArguments.push_back(const_cast<HostValue*>(&argument));
  }
}

void HostContext::ReportError(std::string inMessage) { mErrors.push_back(std::move(inMessage)); }

std::optional<std::string> HostContext::TakeError() {
  if (mErrors.empty()) return std::nullopt;
  std::string message;
  for (std::string const& error : mErrors) {
    if (!message.empty()) message += '\n';
    message += error;
  }
  mErrors.clear();
  return message;
}

lumora_value HostContext::Keep(HostValue inValue) {
  return &mValues.emplace_back(std::move(inValue));
}

char const* HostContext::KeepText(std::string inText, std::uint64_t& outLength) {
  std::string const& text = mTexts.emplace_back(std::move(inText));
  outLength = text.size();
  return text.c_str();
}

void HostContext::Forget() {
  mValues.clear();
  mTexts.clear();
}

lumora_cursor HostContext::KeepCursor(std::unique_ptr<RowSource> inCursor) {
  return mCursors.emplace_back(std::move(inCursor)).get();
}

std::unique_ptr<RowSource> HostContext::TakeCursor(lumora_cursor inHandle) {
  auto const found = std::find_if(mCursors.begin(), mCursors.end(),
                                  [inHandle](auto const& c) { return c.get() == inHandle; });
  if (found == mCursors.end()) return nullptr;
  std::unique_ptr<RowSource> cursor = std::move(*found);
  mCursors.erase(found);
  return cursor;
}

}  // namespace lumora::shell
