#include "HostTable.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <utility>

#include "HostContext.h"
#include "HostCursor.h"
#include "Procedures.h"

namespace lumora::shell {

namespace {

// A server's table goes on behind the last entry that extensions may use.
constexpr std::size_t kTableSize = lumora_api_size + 18;

HostContext* ToContext(void* inContext) { return static_cast<HostContext*>(inContext); }
HostValue const* ToValue(lumora_value inValue) { return static_cast<HostValue const*>(inValue); }

void TellMisuse(char const* inText, HostContext* inContext = nullptr) noexcept {
  std::fprintf(stderr, "lumora: misuse by the extension: %s\n", inText);
  if (!inContext) return;
  try {
    inContext->ReportError(std::string("the extension misused its host: ") + inText);
  } catch (...) {
    std::fputs("lumora: out of memory\n", stderr);
  }
}

// No exception may pass the C functions of the extension.
template <typename TResult, typename TWork>
TResult Guard(TResult inFailure, TWork inWork) noexcept {
  try {
    return inWork();
  } catch (std::exception const& error) {
    TellMisuse(error.what());
    return inFailure;
  }
}

template <std::size_t kIndex>
std::uintptr_t UndefinedEntry() noexcept {
  char text[80];
  std::snprintf(text, sizeof text, "function %zu of the host is not defined for extensions",
                kIndex);
  TellMisuse(text);
  return 0;
}

template <typename TMake>
lumora_value NewValue(void* inContext, TMake inMake) noexcept {
  HostContext* const context = ToContext(inContext);
  if (!context) {
    TellMisuse("a value made without a context");
    return nullptr;
  }
  return Guard<lumora_value>(nullptr, [&] { return context->Keep(inMake()); });
}

std::int32_t RegisterProcedure(void* inContext, lumora_procedure_def const* inDefinition) {
  HostContext* const context = ToContext(inContext);
  if (!context || !context->get_Registry()) {
    TellMisuse("a procedure registered outside of the start-up", context);
    return 1;
  }
  return Guard(1, [&] { return context->get_Registry()->Register(inDefinition) ? 0 : 1; });
}

std::int32_t ArgumentCount(void* inContext) {
  HostContext const* const context = ToContext(inContext);
  return context ? static_cast<std::int32_t>(context->get_Arguments().size()) : 0;
}

void ReportError(void* inContext, char const* inText, std::uint64_t inLength) {
  HostContext* const context = ToContext(inContext);
  if (!context) return TellMisuse("an error reported without a context");
  Guard(0, [&] {
    context->ReportError(inText ? std::string(inText, inLength) : std::string());
    return 0;
  });
}

std::int32_t CreateRowCursor(void* inContext, std::uint64_t inColumnCount, std::uint64_t inRowCount,
                             char const* const* inColumnNames, lumora_value* const* inRows,
                             lumora_cursor* outCursor) {
  HostContext* const context = ToContext(inContext);
  bool const isComplete = (inColumnCount == 0 || inColumnNames) && (inRowCount == 0 || inRows);
  if (!context || !outCursor || !isComplete) {
    TellMisuse("an incomplete row cursor", context);
    return -1;
  }
  return Guard(-1, [&] {
    *outCursor = context->KeepCursor(
        std::make_unique<HostRowCursor>(inColumnCount, inRowCount, inColumnNames, inRows));
    return 0;
  });
}

std::int32_t CreateCallbackCursor(void* inContext, lumora_cursor_def const* inDefinition,
                                  lumora_cursor* outCursor) {
  HostContext* const context = ToContext(inContext);
  char const* fault = HostCallbackCursor::FindFault(inDefinition);
  if (!context || !outCursor) fault = "a cursor without a place to put it";
  if (fault) {
    TellMisuse(fault, context);
    return -1;
  }
  return Guard(-1, [&] {
    auto cursor = std::make_unique<HostCallbackCursor>(*inDefinition);
    *outCursor = context->KeepCursor(std::move(cursor));
    return 0;
  });
}

lumora_value NewBytes(void* inContext, lumora_value_kind inKind, void const* inBytes,
                      std::uint64_t inLength) noexcept {
  return NewValue(inContext, [&] {
    auto const* bytes = static_cast<char const*>(inBytes);
    return HostValue(inKind, bytes ? std::string(bytes, inLength) : std::string());
  });
}

lumora_value NewBinary(void* inContext, void const* inBytes, std::uint64_t inLength,
                       std::uint64_t) {
  return NewBytes(inContext, lumora_kind_binary, inBytes, inLength);
}
lumora_value NewText(void* inContext, char const* inText, std::uint64_t inLength, std::uint64_t) {
  return NewBytes(inContext, lumora_kind_text, inText, inLength);
}
lumora_value NewBoolean(void* inContext, std::uint8_t inValue) {
  return NewValue(inContext, [&] { return HostValue::Boolean(inValue != 0); });
}
lumora_value NewDate(void* inContext, std::uint32_t inPacked) {
  return NewValue(inContext, [&] { return HostValue(lumora_kind_date, std::uint64_t{inPacked}); });
}
lumora_value NewDateTime(void* inContext, std::uint64_t inPacked) {
  return NewValue(inContext, [&] { return HostValue(lumora_kind_datetime, inPacked); });
}
lumora_value NewTime(void* inContext, std::uint32_t inPacked) {
  return NewValue(inContext, [&] { return HostValue(lumora_kind_time, std::uint64_t{inPacked}); });
}
lumora_value NewDouble(void* inContext, double inValue) {
  return NewValue(inContext, [&] { return HostValue::Double(inValue); });
}
lumora_value NewInt64(void* inContext, std::int64_t inValue) {
  return NewValue(inContext, [&] { return HostValue::Int64(inValue); });
}
lumora_value NewUInt64(void* inContext, std::uint64_t inValue) {
  return NewValue(inContext, [&] { return HostValue::UInt64(inValue); });
}

std::uint8_t ValueIsNull(lumora_value inValue) {
  HostValue const* const value = ToValue(inValue);
  return !value || value->get_IsNull() ? 1 : 0;
}
lumora_value_kind ValueKind(lumora_value inValue) {
  HostValue const* const value = ToValue(inValue);
  return value ? value->get_Kind() : lumora_kind_null;
}
std::int64_t ArrayCount(lumora_value inValue) {
  HostValue const* const value = ToValue(inValue);
  HostArray const* const items = value ? value->get_Array() : nullptr;
  return items ? static_cast<std::int64_t>(items->size()) : 0;
}
lumora_value ArrayItem(lumora_value inValue, std::int64_t inIndex) {
  if (inIndex < 0 || inIndex >= ArrayCount(inValue)) return nullptr;
  HostValue const& item = (*ToValue(inValue)->get_Array())[static_cast<std::size_t>(inIndex)];
  return const_cast<HostValue*>(&item);
}
std::int64_t ValueInt64(lumora_value inValue) {
  return inValue ? ToValue(inValue)->get_Int64() : 0;
}
std::uint64_t ValueUInt64(lumora_value inValue) {
  return inValue ? ToValue(inValue)->get_UInt64() : 0;
}
char const* ValueText(void* inContext, lumora_value inValue, std::uint64_t* outLength) {
  HostContext* const context = ToContext(inContext);
  if (outLength) *outLength = 0;
  if (!context || !outLength || !inValue) return nullptr;
  return Guard<char const*>(nullptr, [&]() -> char const* {
    std::string text;
    if (!ToValue(inValue)->get_Text(text)) return nullptr;
    return context->KeepText(std::move(text), *outLength);
  });
}

using Table = std::array<lumora_extension_function, kTableSize>;

template <std::size_t... kIndexes>
Table UndefinedTable(std::index_sequence<kIndexes...>) {
  return {reinterpret_cast<lumora_extension_function>(&UndefinedEntry<kIndexes>)...};
}

// The type of each entry is checked where it is put, since the table itself has none.
template <typename TFunction>
void Put(Table& ioTable, lumora_api_index inIndex, TFunction* inFunction) {
  ioTable[inIndex] = reinterpret_cast<lumora_extension_function>(inFunction);
}

Table MakeTable() {
  Table table = UndefinedTable(std::make_index_sequence<kTableSize>());
  Put<std::remove_pointer_t<lumora_register_procedure>>(table, lumora_api_register_procedure,
                                                        RegisterProcedure);
  Put<std::remove_pointer_t<lumora_arg_count>>(table, lumora_api_arg_count, ArgumentCount);
  Put<std::remove_pointer_t<lumora_report_error>>(table, lumora_api_report_error, ReportError);
  Put<std::remove_pointer_t<lumora_create_row_cursor>>(table, lumora_api_create_row_cursor,
                                                       CreateRowCursor);
  Put<std::remove_pointer_t<lumora_create_callback_cursor>>(
      table, lumora_api_create_callback_cursor, CreateCallbackCursor);
  Put<std::remove_pointer_t<lumora_value_new_binary>>(table, lumora_api_value_new_binary,
                                                      NewBinary);
  Put<std::remove_pointer_t<lumora_value_new_bool>>(table, lumora_api_value_new_bool, NewBoolean);
  Put<std::remove_pointer_t<lumora_value_new_date>>(table, lumora_api_value_new_date, NewDate);
  Put<std::remove_pointer_t<lumora_value_new_datetime>>(table, lumora_api_value_new_datetime,
                                                        NewDateTime);
  Put<std::remove_pointer_t<lumora_value_new_double>>(table, lumora_api_value_new_double,
                                                      NewDouble);
  Put<std::remove_pointer_t<lumora_value_new_int64>>(table, lumora_api_value_new_int64, NewInt64);
  Put<std::remove_pointer_t<lumora_value_new_text>>(table, lumora_api_value_new_text, NewText);
  Put<std::remove_pointer_t<lumora_value_new_time>>(table, lumora_api_value_new_time, NewTime);
  Put<std::remove_pointer_t<lumora_value_new_uint64>>(table, lumora_api_value_new_uint64,
                                                      NewUInt64);
  Put<std::remove_pointer_t<lumora_value_is_null>>(table, lumora_api_value_is_null, ValueIsNull);
  Put<std::remove_pointer_t<lumora_value_get_kind>>(table, lumora_api_value_kind, ValueKind);
  Put<std::remove_pointer_t<lumora_array_count>>(table, lumora_api_array_count, ArrayCount);
  Put<std::remove_pointer_t<lumora_array_item>>(table, lumora_api_array_item, ArrayItem);
  Put<std::remove_pointer_t<lumora_value_get_int64>>(table, lumora_api_value_get_int64, ValueInt64);
  Put<std::remove_pointer_t<lumora_value_get_uint64>>(table, lumora_api_value_get_uint64,
                                                      ValueUInt64);
  Put<std::remove_pointer_t<lumora_value_get_text>>(table, lumora_api_value_get_text, ValueText);
  return table;
}

}  // namespace

lumora_extension_api get_HostTable() {
  static Table const sTable = MakeTable();
  return sTable.data();
}

std::size_t get_HostTableSize() { return kTableSize; }

}  // namespace lumora::shell
