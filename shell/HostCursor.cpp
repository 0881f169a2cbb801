#include "HostCursor.h"

#include <limits>

#include "Procedures.h"

namespace lumora::shell {

namespace {

std::string NameText(char const* inName) { return inName ? std::string(inName) : std::string(); }

}  // namespace

HostRowCursor::HostRowCursor(std::uint64_t inColumnCount, std::uint64_t inRowCount,
                             char const* const* inColumnNames, lumora_value* const* inRows) {
  for (std::uint64_t c = 0; c < inColumnCount; ++c) {
    mColumns.push_back({NameText(inColumnNames[c]), KindName(lumora_kind_null), false});
  }
  for (std::uint64_t r = 0; r < inRowCount; ++r) {
    std::vector<Cell>& row = mRows.emplace_back(inColumnCount);
    for (std::uint64_t c = 0; c < inColumnCount; ++c) {
      auto const* value = static_cast<HostValue const*>(inRows[r][c]);
      if (!value || value->get_IsNull()) continue;
      row[c] = value->ToCell();
      mColumns[c].mKind = KindName(value->get_Kind());
      mColumns[c].mIsNumber = IsNumberKind(value->get_Kind());
    }
  }
}

bool HostRowCursor::Next() {
  if (mNextRow >= mRows.size()) return false;
  ++mNextRow;
  return true;
}

void HostRowCursor::Read(std::vector<Cell>& ioCells) { ioCells = mRows.at(mNextRow - 1); }

bool HostRowCursor::Seek(std::uint64_t inRow) {
  if (inRow >= mRows.size()) return false;
  mNextRow = inRow + 1;
  return true;
}

HostCallbackCursor::HostCallbackCursor(lumora_cursor_def const& inDefinition)
    : mDefinition(inDefinition) {
  for (std::uint32_t c = 0; c < mDefinition.column_count; ++c) {
    lumora_value_kind const kind = mDefinition.column_kinds[c];
    mColumns.push_back({NameText(mDefinition.column_names[c]), KindName(kind), IsNumberKind(kind)});
  }
}

HostCallbackCursor::~HostCallbackCursor() { mDefinition.destroy(&mContext, mDefinition.user_data); }

char const* HostCallbackCursor::FindFault(lumora_cursor_def const* inDefinition) {
  if (!inDefinition) return "no cursor record";
  lumora_cursor_def const& def = *inDefinition;
  if (!def.destroy || !def.get_value || !def.seek || !def.next || !def.row_count) {
    return "a cursor record without all of its callbacks";
  }
  if (def.column_count != 0 && (!def.column_names || !def.column_kinds)) {
    return "a cursor record without its columns";
  }
  return nullptr;
}

void HostCallbackCursor::CheckError() {
  if (auto const message = mContext.TakeError()) throw ProcedureError(*message);
}

bool HostCallbackCursor::Next() {
  bool const hasRow = mDefinition.next(&mContext, mDefinition.user_data) == 0;
  CheckError();
  return hasRow;
}

void HostCallbackCursor::Read(std::vector<Cell>& ioCells) {
  ioCells.resize(mColumns.size());
  for (std::size_t c = 0; c < ioCells.size(); ++c) {
    auto const column = static_cast<std::int32_t>(c);
    auto const* value = static_cast<HostValue const*>(
        mDefinition.get_value(&mContext, mDefinition.user_data, column));
    ioCells[c] = value ? value->ToCell() : Cell();
    CheckError();
  }
  mContext.Forget();
}

std::optional<std::uint64_t> HostCallbackCursor::get_Count() {
  std::int64_t const count = mDefinition.row_count(&mContext, mDefinition.user_data);
  CheckError();
  if (count < 0) return std::nullopt;
  return static_cast<std::uint64_t>(count);
}

bool HostCallbackCursor::Seek(std::uint64_t inRow) {
  constexpr auto kMax = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (inRow > kMax) return false;
  auto const row = static_cast<std::int64_t>(inRow);
  bool const hasRow = mDefinition.seek(&mContext, mDefinition.user_data, row) == 0;
  CheckError();
  return hasRow;
}

}  // namespace lumora::shell
