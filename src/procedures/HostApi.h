#pragma once

#include <cstdint>
#include <string_view>

#include "tarn/ExtensionApi.h"

// Typed access to the host's function table. The functions have the names of the table's entries; a
// function does nothing but call its entry.
namespace lumora::procedures {

// The host's table; not ours. Null until lumora_extension_bind_api runs, never cleared, only read
// after that. Nothing below may be called while it is null.
extern lumora_extension_api gHostApi;

namespace host_api {

template <typename T>
T Entry(lumora_api_index inIndex) noexcept {
  return reinterpret_cast<T>(gHostApi[inIndex]);
}

inline std::int32_t register_procedure(void* ctx, lumora_procedure_def const& def) {
  return Entry<lumora_register_procedure>(lumora_api_register_procedure)(ctx, &def);
}
inline std::int32_t arg_count(void* ctx) {
  return Entry<lumora_arg_count>(lumora_api_arg_count)(ctx);
}
inline void report_error(void* ctx, std::string_view text) {
  Entry<lumora_report_error>(lumora_api_report_error)(ctx, text.data(), text.size());
}
inline std::int32_t create_row_cursor(void* ctx, std::uint64_t column_count,
                                      std::uint64_t row_count, char const* const* column_names,
                                      lumora_value* const* rows, lumora_cursor& out) {
  return Entry<lumora_create_row_cursor>(lumora_api_create_row_cursor)(ctx, column_count, row_count,
                                                                       column_names, rows, &out);
}
inline std::int32_t create_callback_cursor(void* ctx, lumora_cursor_def const& def,
                                           lumora_cursor& out) {
  return Entry<lumora_create_callback_cursor>(lumora_api_create_callback_cursor)(ctx, &def, &out);
}

inline lumora_value value_new_binary(void* ctx, void const* bytes, std::uint64_t length) {
  return Entry<lumora_value_new_binary>(lumora_api_value_new_binary)(ctx, bytes, length, 0);
}
inline lumora_value value_new_bool(void* ctx, std::uint8_t value) {
  return Entry<lumora_value_new_bool>(lumora_api_value_new_bool)(ctx, value);
}
inline lumora_value value_new_date(void* ctx, std::uint32_t packed) {
  return Entry<lumora_value_new_date>(lumora_api_value_new_date)(ctx, packed);
}
inline lumora_value value_new_datetime(void* ctx, std::uint64_t packed) {
  return Entry<lumora_value_new_datetime>(lumora_api_value_new_datetime)(ctx, packed);
}
inline lumora_value value_new_double(void* ctx, double value) {
  return Entry<lumora_value_new_double>(lumora_api_value_new_double)(ctx, value);
}
inline lumora_value value_new_int64(void* ctx, std::int64_t value) {
  return Entry<lumora_value_new_int64>(lumora_api_value_new_int64)(ctx, value);
}
inline lumora_value value_new_text(void* ctx, char const* text, std::uint64_t length) {
  return Entry<lumora_value_new_text>(lumora_api_value_new_text)(ctx, text, length, 0);
}
inline lumora_value value_new_time(void* ctx, std::uint32_t packed) {
  return Entry<lumora_value_new_time>(lumora_api_value_new_time)(ctx, packed);
}
inline lumora_value value_new_uint64(void* ctx, std::uint64_t value) {
  return Entry<lumora_value_new_uint64>(lumora_api_value_new_uint64)(ctx, value);
}

inline bool value_is_null(lumora_value value) {
  return Entry<lumora_value_is_null>(lumora_api_value_is_null)(value) != 0;
}
inline lumora_value_kind value_kind(lumora_value value) {
  return Entry<lumora_value_get_kind>(lumora_api_value_kind)(value);
}
inline std::int64_t array_count(lumora_value value) {
  return Entry<lumora_array_count>(lumora_api_array_count)(value);
}
inline lumora_value array_item(lumora_value value, std::int64_t index) {
  return Entry<lumora_array_item>(lumora_api_array_item)(value, index);
}
inline std::int64_t value_get_int64(lumora_value value) {
  return Entry<lumora_value_get_int64>(lumora_api_value_get_int64)(value);
}
inline std::uint64_t value_get_uint64(lumora_value value) {
  return Entry<lumora_value_get_uint64>(lumora_api_value_get_uint64)(value);
}
inline char const* value_get_text(void* ctx, lumora_value value, std::uint64_t& length) {
  return Entry<lumora_value_get_text>(lumora_api_value_get_text)(ctx, value, &length);
}

}  // namespace host_api
}  // namespace lumora::procedures
