#include "support/DuckDBCalls.h"

#include <dlfcn.h>
#include <duckdb.h>

#include <array>
#include <atomic>
#include <limits>

namespace {

using lumora::test::Call;

constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

struct CallState {
  std::atomic<std::uint64_t> mCount{0};
  std::atomic<std::int64_t> mSuccessesLeft{kNever};
};

std::array<CallState, static_cast<std::size_t>(Call::kCount)> gCalls;
std::atomic<std::int64_t> gConnections{0};
std::atomic<std::int64_t> gPrepared{0};
std::atomic<std::int64_t> gExtracted{0};
std::atomic<std::int64_t> gResults{0};

CallState& StateOf(Call inCall) { return gCalls[static_cast<std::size_t>(inCall)]; }

// Counts the call. True when it is to fail.
bool Fails(Call inCall) {
  CallState& state = StateOf(inCall);
  ++state.mCount;
  if (state.mSuccessesLeft.load() == kNever) return false;
  return state.mSuccessesLeft.fetch_sub(1) <= 0;
}

template <typename TFunction>
TFunction* Next(TFunction*, char const* inName) {
  return reinterpret_cast<TFunction*>(dlsym(RTLD_NEXT, inName));
}

// The library's own function of that name.
#define LUMORA_NEXT(name)                                                         \
  [] {                                                                            \
    static auto* const next = Next(static_cast<decltype(name)*>(nullptr), #name); \
    return next;                                                                  \
  }()

template <typename THandle>
void Forget(std::atomic<std::int64_t>& ioCount, THandle* inHandle) {
  if (inHandle && *inHandle) --ioCount;
}

duckdb_state CountResult(duckdb_state inState, duckdb_result const* inResult) {
  if (inResult && inResult->internal_data) ++gResults;
  return inState;
}

duckdb_state CountPrepared(duckdb_state inState, duckdb_prepared_statement const* inPrepared) {
  if (inPrepared && *inPrepared) ++gPrepared;
  return inState;
}

}  // namespace

extern "C" {

duckdb_state duckdb_connect(duckdb_database database, duckdb_connection* out_connection) {
  duckdb_state const state = LUMORA_NEXT(duckdb_connect)(database, out_connection);
  if (state == DuckDBSuccess) ++gConnections;
  return state;
}
void duckdb_disconnect(duckdb_connection* connection) {
  Forget(gConnections, connection);
  LUMORA_NEXT(duckdb_disconnect)(connection);
}

duckdb_state duckdb_query(duckdb_connection connection, const char* query,
                          duckdb_result* out_result) {
  return CountResult(LUMORA_NEXT(duckdb_query)(connection, query, out_result), out_result);
}
duckdb_state duckdb_execute_prepared(duckdb_prepared_statement prepared,
                                     duckdb_result* out_result) {
  if (Fails(Call::kExecutePrepared)) return DuckDBError;
  return CountResult(LUMORA_NEXT(duckdb_execute_prepared)(prepared, out_result), out_result);
}
void duckdb_destroy_result(duckdb_result* result) {
  if (result && result->internal_data) --gResults;
  LUMORA_NEXT(duckdb_destroy_result)(result);
}

duckdb_state duckdb_prepare(duckdb_connection connection, const char* query,
                            duckdb_prepared_statement* out_prepared) {
  if (Fails(Call::kPrepare)) return DuckDBError;
  return CountPrepared(LUMORA_NEXT(duckdb_prepare)(connection, query, out_prepared), out_prepared);
}
duckdb_state duckdb_prepare_extracted_statement(duckdb_connection connection,
                                                duckdb_extracted_statements extracted, idx_t index,
                                                duckdb_prepared_statement* out_prepared) {
  if (Fails(Call::kPrepareExtracted)) return DuckDBError;
  return CountPrepared(
      LUMORA_NEXT(duckdb_prepare_extracted_statement)(connection, extracted, index, out_prepared),
      out_prepared);
}
void duckdb_destroy_prepare(duckdb_prepared_statement* prepared) {
  Forget(gPrepared, prepared);
  LUMORA_NEXT(duckdb_destroy_prepare)(prepared);
}

idx_t duckdb_extract_statements(duckdb_connection connection, const char* query,
                                duckdb_extracted_statements* out_extracted) {
  if (Fails(Call::kExtract)) return 0;
  idx_t const count = LUMORA_NEXT(duckdb_extract_statements)(connection, query, out_extracted);
  if (out_extracted && *out_extracted) ++gExtracted;
  return count;
}
void duckdb_destroy_extracted(duckdb_extracted_statements* extracted) {
  Forget(gExtracted, extracted);
  LUMORA_NEXT(duckdb_destroy_extracted)(extracted);
}

duckdb_state duckdb_clear_bindings(duckdb_prepared_statement prepared) {
  if (Fails(Call::kClearBindings)) return DuckDBError;
  return LUMORA_NEXT(duckdb_clear_bindings)(prepared);
}
duckdb_state duckdb_bind_value(duckdb_prepared_statement prepared, idx_t index,
                               duckdb_value value) {
  if (Fails(Call::kBindValue)) return DuckDBError;
  return LUMORA_NEXT(duckdb_bind_value)(prepared, index, value);
}

}  // extern "C"

namespace lumora::test {

HandleCounts get_LiveHandles() {
  return {gConnections.load(), gPrepared.load(), gExtracted.load(), gResults.load()};
}

std::uint64_t get_CallCount(Call inCall) { return StateOf(inCall).mCount.load(); }

FailingCall::FailingCall(Call inCall, std::int64_t inSuccesses) : mCall(inCall) {
  StateOf(inCall).mSuccessesLeft = inSuccesses;
}
FailingCall::~FailingCall() { StateOf(mCall).mSuccessesLeft = kNever; }

}  // namespace lumora::test
