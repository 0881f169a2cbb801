#include "ValueCalls.h"

#include <duckdb.h>

#include <array>
#include <atomic>
#include <limits>

#include "support/NextFunction.h"

namespace {

using lumora::test::ValueCall;

constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

struct CallState {
  std::atomic<std::uint64_t> mCount{0};
  std::atomic<std::int64_t> mSuccessesLeft{kNever};
  std::atomic<std::int64_t> mFailures{0};
};
std::array<CallState, static_cast<std::size_t>(ValueCall::kCount)> gCalls;
std::atomic<std::int64_t> gValues{0};

CallState& StateOf(ValueCall inCall) { return gCalls[static_cast<std::size_t>(inCall)]; }

// Counts the call. True when it is to fail.
bool Fails(ValueCall inCall) {
  CallState& state = StateOf(inCall);
  ++state.mCount;
  if (state.mSuccessesLeft.load() == kNever) return false;
  std::int64_t const left = state.mSuccessesLeft.fetch_sub(1);
  return left <= 0 && left > -state.mFailures.load();
}

duckdb_value Counted(duckdb_value inValue) {
  if (inValue) ++gValues;
  return inValue;
}
template <typename T>
T* Counted(T* inOther) {
  return inOther;
}

}  // namespace

// Stands in for a function that answers a pointer.
#define LUMORA_POINTER_CALL(kind, result, name, parameters, arguments)        \
  result name parameters {                                                    \
    static auto* const next =                                                 \
        lumora::test::FindNext(static_cast<decltype(name)*>(nullptr), #name); \
    if (Fails(ValueCall::kind)) return nullptr;                               \
    return Counted(next arguments);                                           \
  }
#define LUMORA_VALUE_OF(name, type) \
  LUMORA_POINTER_CALL(kMakeValue, duckdb_value, duckdb_create_##name, (type input), (input))
#define LUMORA_TYPE_OF(name) \
  LUMORA_POINTER_CALL(kAskType, duckdb_logical_type, name, (duckdb_logical_type type), (type))
#define LUMORA_TYPE_AT(name)                                                                     \
  LUMORA_POINTER_CALL(kAskType, duckdb_logical_type, name, (duckdb_logical_type type, idx_t at), \
                      (type, at))

extern "C" {

LUMORA_VALUE_OF(bool, bool)
LUMORA_VALUE_OF(int8, std::int8_t)
LUMORA_VALUE_OF(uint8, std::uint8_t)
LUMORA_VALUE_OF(int16, std::int16_t)
LUMORA_VALUE_OF(uint16, std::uint16_t)
LUMORA_VALUE_OF(int32, std::int32_t)
LUMORA_VALUE_OF(uint32, std::uint32_t)
LUMORA_VALUE_OF(int64, std::int64_t)
LUMORA_VALUE_OF(uint64, std::uint64_t)
LUMORA_VALUE_OF(hugeint, duckdb_hugeint)
LUMORA_VALUE_OF(uhugeint, duckdb_uhugeint)
LUMORA_VALUE_OF(bignum, duckdb_bignum)
LUMORA_VALUE_OF(decimal, duckdb_decimal)
LUMORA_VALUE_OF(float, float)
LUMORA_VALUE_OF(double, double)
LUMORA_VALUE_OF(date, duckdb_date)
LUMORA_VALUE_OF(time, duckdb_time)
LUMORA_VALUE_OF(time_ns, duckdb_time_ns)
LUMORA_VALUE_OF(time_tz_value, duckdb_time_tz)
LUMORA_VALUE_OF(timestamp, duckdb_timestamp)
LUMORA_VALUE_OF(timestamp_tz, duckdb_timestamp)
LUMORA_VALUE_OF(timestamp_s, duckdb_timestamp_s)
LUMORA_VALUE_OF(timestamp_ms, duckdb_timestamp_ms)
LUMORA_VALUE_OF(timestamp_ns, duckdb_timestamp_ns)
LUMORA_VALUE_OF(interval, duckdb_interval)
LUMORA_VALUE_OF(bit, duckdb_bit)
LUMORA_VALUE_OF(uuid, duckdb_uhugeint)
LUMORA_POINTER_CALL(kMakeValue, duckdb_value, duckdb_create_varchar_length,
                    (char const* text, idx_t length), (text, length))
LUMORA_POINTER_CALL(kMakeValue, duckdb_value, duckdb_create_blob,
                    (std::uint8_t const* data, idx_t length), (data, length))
LUMORA_POINTER_CALL(kMakeValue, duckdb_value, duckdb_create_null_value, (), ())

LUMORA_POINTER_CALL(kMakeNested, duckdb_value, duckdb_create_struct_value,
                    (duckdb_logical_type type, duckdb_value* values), (type, values))
LUMORA_POINTER_CALL(kMakeNested, duckdb_value, duckdb_create_list_value,
                    (duckdb_logical_type type, duckdb_value* values, idx_t count),
                    (type, values, count))
LUMORA_POINTER_CALL(kMakeNested, duckdb_value, duckdb_create_array_value,
                    (duckdb_logical_type type, duckdb_value* values, idx_t count),
                    (type, values, count))
LUMORA_POINTER_CALL(kMakeNested, duckdb_value, duckdb_create_map_value,
                    (duckdb_logical_type type, duckdb_value* keys, duckdb_value* values,
                     idx_t count),
                    (type, keys, values, count))
LUMORA_POINTER_CALL(kMakeNested, duckdb_value, duckdb_create_union_value,
                    (duckdb_logical_type type, idx_t tag, duckdb_value value), (type, tag, value))
LUMORA_POINTER_CALL(kMakeNested, duckdb_value, duckdb_create_enum_value,
                    (duckdb_logical_type type, std::uint64_t value), (type, value))
LUMORA_POINTER_CALL(kMakeNested, duckdb_value, duckdb_get_list_child,
                    (duckdb_value value, idx_t at), (value, at))

LUMORA_POINTER_CALL(kMakeType, duckdb_logical_type, duckdb_create_logical_type, (duckdb_type type),
                    (type))
LUMORA_POINTER_CALL(kMakeType, duckdb_logical_type, duckdb_create_list_type,
                    (duckdb_logical_type type), (type))
LUMORA_POINTER_CALL(kMakeType, duckdb_logical_type, duckdb_create_decimal_type,
                    (std::uint8_t width, std::uint8_t scale), (width, scale))

LUMORA_POINTER_CALL(kAskType, duckdb_logical_type, duckdb_column_logical_type,
                    (duckdb_result * result, idx_t column), (result, column))
LUMORA_POINTER_CALL(kAskType, duckdb_logical_type, duckdb_param_logical_type,
                    (duckdb_prepared_statement prepared, idx_t at), (prepared, at))
LUMORA_POINTER_CALL(kAskType, duckdb_logical_type, duckdb_vector_get_column_type,
                    (duckdb_vector vector), (vector))
LUMORA_TYPE_OF(duckdb_list_type_child_type)
LUMORA_TYPE_OF(duckdb_array_type_child_type)
LUMORA_TYPE_OF(duckdb_map_type_key_type)
LUMORA_TYPE_OF(duckdb_map_type_value_type)
LUMORA_TYPE_AT(duckdb_struct_type_child_type)
LUMORA_TYPE_AT(duckdb_union_type_member_type)

LUMORA_POINTER_CALL(kText, char*, duckdb_get_varchar, (duckdb_value value), (value))
LUMORA_POINTER_CALL(kMemory, void*, duckdb_malloc, (std::size_t size), (size))
LUMORA_POINTER_CALL(kMakeVector, duckdb_vector, duckdb_create_vector,
                    (duckdb_logical_type type, idx_t capacity), (type, capacity))
LUMORA_POINTER_CALL(kMakeVector, duckdb_selection_vector, duckdb_create_selection_vector,
                    (idx_t size), (size))
LUMORA_POINTER_CALL(kMakeFunction, duckdb_table_function, duckdb_create_table_function, (), ())

duckdb_state duckdb_register_table_function(duckdb_connection connection,
                                            duckdb_table_function function) {
  static auto* const next =
      lumora::test::FindNext(static_cast<decltype(duckdb_register_table_function)*>(nullptr),
                             "duckdb_register_table_function");
  return Fails(ValueCall::kRegister) ? DuckDBError : next(connection, function);
}

void duckdb_destroy_value(duckdb_value* value) {
  static auto* const next = lumora::test::FindNext(
      static_cast<decltype(duckdb_destroy_value)*>(nullptr), "duckdb_destroy_value");
  if (value && *value) --gValues;
  next(value);
}

}  // extern "C"

namespace lumora::test {

std::uint64_t get_CallCount(ValueCall inCall) { return StateOf(inCall).mCount.load(); }
std::int64_t get_LiveValues() { return gValues.load(); }

FailingValueCall::FailingValueCall(ValueCall inCall, std::int64_t inSuccesses,
                                   std::int64_t inFailures)
    : mCall(inCall) {
  StateOf(inCall).mFailures = inFailures;
  StateOf(inCall).mSuccessesLeft = inSuccesses;
}
FailingValueCall::~FailingValueCall() { StateOf(mCall).mSuccessesLeft = kNever; }

}  // namespace lumora::test
