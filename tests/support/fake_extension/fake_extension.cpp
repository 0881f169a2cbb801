// An extension that knows no database: procedures with which tests see what a host does with
// arguments, rows, errors and misuse. It reaches the host by index alone.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tarn/ExtensionApi.h"

namespace {

lumora_extension_api gApi = nullptr;

template <typename TFunction>
TFunction Host(lumora_api_index inIndex) {
  return reinterpret_cast<TFunction>(gApi[inIndex]);
}

lumora_value NewText(void* inContext, std::string const& inText) {
  return Host<lumora_value_new_text>(lumora_api_value_new_text)(inContext, inText.data(),
                                                                inText.size(), 0);
}
lumora_value NewInt64(void* inContext, std::int64_t inValue) {
  return Host<lumora_value_new_int64>(lumora_api_value_new_int64)(inContext, inValue);
}

lumora_cursor RowCursor(void* inContext, std::vector<char const*> const& inNames,
                        std::vector<std::vector<lumora_value>> inRows) {
  std::vector<lumora_value*> rows;
  for (auto& row : inRows) rows.push_back(row.data());
  lumora_cursor cursor = nullptr;
  Host<lumora_create_row_cursor>(lumora_api_create_row_cursor)(
      inContext, inNames.size(), rows.size(), inNames.data(), rows.data(), &cursor);
  return cursor;
}

// One row an argument: its kind, its text, and the number of its items.
lumora_cursor Echo(void* inContext, lumora_value const* inArguments) {
  std::vector<std::vector<lumora_value>> rows;
  std::int32_t const count = Host<lumora_arg_count>(lumora_api_arg_count)(inContext);
  for (std::int32_t i = 0; i < count; ++i) {
    lumora_value const value = inArguments[i];
    std::uint64_t length = 0;
    char const* text =
        Host<lumora_value_get_text>(lumora_api_value_get_text)(inContext, value, &length);
    rows.push_back({NewInt64(inContext, Host<lumora_value_get_kind>(lumora_api_value_kind)(value)),
                    text ? NewText(inContext, std::string(text, length)) : nullptr,
                    NewInt64(inContext, Host<lumora_array_count>(lumora_api_array_count)(value))});
  }
  return RowCursor(inContext, {"kind", "text", "items"}, rows);
}

// Texts that would harm a terminal, and texts whose width is hard to tell.
lumora_cursor Hostile(void* inContext, lumora_value const*) {
  std::vector<std::vector<lumora_value>> rows;
  for (char const* text : {"\x1b[2J\x1b[31mred", "line\nfeed\rand\ttab", "\x07\x08\x7f",
                           "\xC2\x9B"
                           "5n",
                           "\xE2\x80\xAE"
                           "cba",
                           "\xFF\xFE", "日本語", "👨‍👩‍👧 😀", "a,\"b\""}) {
    rows.push_back({NewText(inContext, text)});
  }
  return RowCursor(inContext, {"name\x1b[1m"}, rows);
}

struct Counter {
  std::int64_t mRow = -1;
  std::int64_t mCount = 0;
  std::int64_t mFailAt = -1;
};

Counter& CounterOf(void* inState) { return *static_cast<Counter*>(inState); }

void Report(void* inContext, char const* inText) {
  Host<lumora_report_error>(lumora_api_report_error)(inContext, inText, std::strlen(inText));
}

lumora_value CounterValue(void* inContext, void* inState, std::int32_t inColumn) {
  Counter const& counter = CounterOf(inState);
  if (counter.mRow == counter.mFailAt) {
    Report(inContext, "row lost");
    return nullptr;
  }
  if (inColumn == 0) return NewInt64(inContext, counter.mRow);
  return counter.mRow % 3 == 0 ? nullptr
                               : NewText(inContext, "row " + std::to_string(counter.mRow));
}

std::int32_t CounterSeek(void*, void* inState, std::int64_t inRow) {
  if (inRow < 0 || inRow >= CounterOf(inState).mCount) return -1;
  CounterOf(inState).mRow = inRow;
  return 0;
}

std::int32_t CounterNext(void* inContext, void* inState) {
  return CounterSeek(inContext, inState, CounterOf(inState).mRow + 1);
}

// count(n [, row that fails]): the rows 0 to n - 1.
lumora_cursor Count(void* inContext, lumora_value const* inArguments) {
  static char const* const sNames[] = {"n", "text"};
  static lumora_value_kind const sKinds[] = {lumora_kind_int64, lumora_kind_text};
  auto const number = Host<lumora_value_get_int64>(lumora_api_value_get_int64);
  auto* counter = new Counter;
  counter->mCount = number(inArguments[0]);
  if (Host<lumora_arg_count>(lumora_api_arg_count)(inContext) > 1) {
    counter->mFailAt = number(inArguments[1]);
  }
  lumora_cursor_def def{};
  def.user_data = counter;
  def.column_count = 2;
  def.column_names = sNames;
  def.column_kinds = sKinds;
  def.destroy = [](void*, void* inState) {
    delete &CounterOf(inState);
    std::fputs("destroyed\n", stderr);
  };
  def.get_value = CounterValue;
  def.seek = CounterSeek;
  def.next = CounterNext;
  def.row_count = [](void*, void* inState) { return CounterOf(inState).mCount; };
  lumora_cursor cursor = nullptr;
  auto const create = Host<lumora_create_callback_cursor>(lumora_api_create_callback_cursor);
  if (create(inContext, &def, &cursor) != 0) delete counter;
  return cursor;
}

lumora_cursor Fail(void* inContext, lumora_value const*) {
  Report(inContext, "it \x1b[31mfailed");
  return nullptr;
}

lumora_cursor Silent(void*, lumora_value const*) { return nullptr; }

lumora_cursor Misuse(void*, lumora_value const*) {
  reinterpret_cast<std::uintptr_t (*)() noexcept>(gApi[0])();
  return nullptr;
}

void Register(void* inContext, char const* inName, std::uint32_t inMin, std::uint32_t inMax,
              char const* inSignature, lumora_procedure_handler inHandler) {
  lumora_procedure_def const def = {inName,    inMin,   inMax,   inSignature,
                                    "A test.", nullptr, nullptr, inHandler};
  auto const add = Host<lumora_register_procedure>(lumora_api_register_procedure);
  if (add(inContext, &def) != 0) Report(inContext, "a procedure was refused");
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) void lumora_extension_bind_api(lumora_extension_api inApi) {
  gApi = inApi;
}

__attribute__((visibility("default"))) void lumora_extension_init(void* inContext) {
  Register(inContext, "echo", 0, 8, "[value, …]", Echo);
  Register(inContext, "echo", 0, 8, "", Echo);
  Register(inContext, "hostile", 0, 0, "", Hostile);
  Register(inContext, "count", 1, 2, "rows [, failing row]", Count);
  Register(inContext, "fail", 0, 0, "", Fail);
  Register(inContext, "silent", 0, 0, "", Silent);
  Register(inContext, "misuse", 0, 0, "", Misuse);
}

}  // extern "C"
