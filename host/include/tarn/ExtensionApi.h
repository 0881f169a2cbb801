#pragma once

#include <cstddef>
#include <cstdint>

// The host function table that an extension is bound to with lumora_extension_bind_api: an array of
// function pointers, addressed by index. Only the entries named here are the extension's to use.
// Handles are the host's; a null value handle is SQL NULL. All texts are UTF-8.
extern "C" {

using lumora_value = void*;   // a host value
using lumora_cursor = void*;  // a host cursor

typedef void (*lumora_extension_function)();
typedef lumora_extension_function const* lumora_extension_api;

typedef enum lumora_value_kind : std::int32_t {
  lumora_kind_array = 1,
  lumora_kind_bool = 2,
  lumora_kind_binary = 3,
  lumora_kind_date = 4,
  lumora_kind_datetime = 5,
  lumora_kind_double = 6,
  lumora_kind_int64 = 7,
  lumora_kind_money = 8,
  lumora_kind_null = 9,
  lumora_kind_text = 10,
  lumora_kind_time = 11,
  lumora_kind_uint64 = 12,
  lumora_kind_variant = 13
} lumora_value_kind;

// Returns the new cursor, or null after it has reported an error. inArgs holds as many handles as
// the table's argument count says; an entry may be null. Never lets an exception out.
typedef lumora_cursor (*lumora_procedure_handler)(void* inContext, lumora_value const* inArgs);

// A table procedure. The host copies what it needs before register_procedure returns; the texts
// live as long as the extension.
typedef struct lumora_procedure_def {
  char const* name;
  std::uint32_t min_args;
  std::uint32_t max_args;
  char const* signature;    // argument synopsis for users
  char const* description;  // one line
  void* reserved1;          // always null
  void* reserved2;          // always null
  lumora_procedure_handler handler;
} lumora_procedure_def;

// A cursor that the host pulls through callbacks, in any order, one call at a time. The host copies
// the record; what it points at lives until destroy, which the host calls exactly once.
typedef struct lumora_cursor_def {
  void* user_data;         // passed back to every callback as inState
  std::uint64_t reserved;  // always 0
  std::uint32_t column_count;
  char const* const* column_names;
  lumora_value_kind const* column_kinds;
  void (*destroy)(void* inContext, void* inState);
  // A new host value, or null for SQL NULL and for no such cell. inColumn is 0-based.
  lumora_value (*get_value)(void* inContext, void* inState, std::int32_t inColumn);
  // Moves to an absolute 0-based row: 0, or -1 without a move when there is no such row.
  std::int32_t (*seek)(void* inContext, void* inState, std::int64_t inRow);
  std::int32_t (*next)(void* inContext, void* inState);  // 0, or -1 past the last row
  std::int64_t (*row_count)(void* inContext, void* inState);
} lumora_cursor_def;

// Indexes into the table, with each entry's type. ctx is the context of the call at hand.
enum lumora_api_index {
  lumora_api_register_procedure = 2,
  lumora_api_arg_count = 6,
  lumora_api_report_error = 10,
  lumora_api_create_row_cursor = 15,
  lumora_api_create_callback_cursor = 17,
  lumora_api_value_new_binary = 20,
  lumora_api_value_new_bool = 21,
  lumora_api_value_new_date = 22,
  lumora_api_value_new_datetime = 23,
  lumora_api_value_new_double = 24,
  lumora_api_value_new_int64 = 25,
  lumora_api_value_new_text = 28,
  lumora_api_value_new_time = 30,
  lumora_api_value_new_uint64 = 31,
  lumora_api_value_is_null = 33,
  lumora_api_value_kind = 34,
  lumora_api_array_count = 35,
  lumora_api_array_item = 36,
  lumora_api_value_get_int64 = 42,
  lumora_api_value_get_uint64 = 44,
  lumora_api_value_get_text = 45,
  lumora_api_size = 46  // a table has at least this many entries
};

// 0 = registered.
typedef std::int32_t (*lumora_register_procedure)(void* ctx, lumora_procedure_def const* def);
typedef std::int32_t (*lumora_arg_count)(void* ctx);
// Sets the error message of the call; the length counts, no terminator is needed.
typedef void (*lumora_report_error)(void* ctx, char const* text, std::uint64_t length);
// A cursor over rows that are all there: one array of column_count handles for each row, whose
// handles it takes over. 0 = success.
typedef std::int32_t (*lumora_create_row_cursor)(void* ctx, std::uint64_t column_count,
                                                 std::uint64_t row_count,
                                                 char const* const* column_names,
                                                 lumora_value* const* rows, lumora_cursor* out);
typedef std::int32_t (*lumora_create_callback_cursor)(void* ctx, lumora_cursor_def const* def,
                                                      lumora_cursor* out);
typedef lumora_value (*lumora_value_new_binary)(void* ctx, void const* bytes, std::uint64_t length,
                                                std::uint64_t zero);
typedef lumora_value (*lumora_value_new_bool)(void* ctx, std::uint8_t value);
// Packed date: day in bits 0-4, month in 5-8, the low 23 bits of the year in 9-31.
typedef lumora_value (*lumora_value_new_date)(void* ctx, std::uint32_t packed);
// Packed date in the high 32 bits, packed time in the low 32 bits.
typedef lumora_value (*lumora_value_new_datetime)(void* ctx, std::uint64_t packed);
typedef lumora_value (*lumora_value_new_double)(void* ctx, double value);
typedef lumora_value (*lumora_value_new_int64)(void* ctx, std::int64_t value);
typedef lumora_value (*lumora_value_new_text)(void* ctx, char const* text, std::uint64_t length,
                                              std::uint64_t zero);
// Packed time: milliseconds in bits 0-14, seconds in 15-20, minutes in 21-26, hours in 27-31.
typedef lumora_value (*lumora_value_new_time)(void* ctx, std::uint32_t packed);
typedef lumora_value (*lumora_value_new_uint64)(void* ctx, std::uint64_t value);
typedef std::uint8_t (*lumora_value_is_null)(lumora_value value);
typedef lumora_value_kind (*lumora_value_get_kind)(lumora_value value);
typedef std::int64_t (*lumora_array_count)(lumora_value value);
typedef lumora_value (*lumora_array_item)(lumora_value value, std::int64_t index);
typedef std::int64_t (*lumora_value_get_int64)(lumora_value value);
typedef std::uint64_t (*lumora_value_get_uint64)(lumora_value value);
// The value as text, valid until the call ends; null when there is none.
typedef char const* (*lumora_value_get_text)(void* ctx, lumora_value value, std::uint64_t* length);

// The two functions that an extension library exports, called in this order at load time.
typedef void (*lumora_extension_bind_api_function)(lumora_extension_api api);
typedef void (*lumora_extension_init_function)(void* inRegistrationContext);

}  // extern "C"
