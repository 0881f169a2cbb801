#include "support/DuckDBCalls.h"

#include <duckdb.h>

#include <array>
#include <atomic>
#include <limits>
#include <utility>

#include "support/NextFunction.h"

namespace {

using lumora::test::Call;

constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

struct CallState {
  std::atomic<std::uint64_t> mCount{0};
  std::atomic<std::int64_t> mSuccessesLeft{kNever};
  std::atomic<std::int64_t> mFailures{0};
};

std::array<CallState, static_cast<std::size_t>(Call::kCount)> gCalls;
std::atomic<std::int64_t> gConfigs{0};
std::atomic<std::int64_t> gDatabases{0};
std::atomic<std::int64_t> gConnections{0};
std::atomic<std::int64_t> gPrepared{0};
std::atomic<std::int64_t> gExtracted{0};
std::atomic<std::int64_t> gResults{0};
std::atomic<std::int64_t> gChunks{0};
std::atomic<std::int64_t> gLateCloses{0};

// Of a thread that has opened a database.
thread_local bool tIsOver = false;
struct EndOfThread {
  EndOfThread() = default;
  EndOfThread(EndOfThread const&) = delete;
  EndOfThread& operator=(EndOfThread const&) = delete;
  ~EndOfThread() { tIsOver = true; }
};

// Of BeforeCall.
struct Interposed {
  std::atomic<int> mCall{-1};
  std::atomic<std::int64_t> mSuccessesLeft{0};
  std::function<void()> mAct;
};
Interposed gInterposed;

CallState& StateOf(Call inCall) { return gCalls[static_cast<std::size_t>(inCall)]; }

void ActBefore(Call inCall) {
  if (gInterposed.mCall.load() != static_cast<int>(inCall)) return;
  if (gInterposed.mSuccessesLeft.fetch_sub(1) == 0) gInterposed.mAct();
}

// Counts the call. True when it is to fail.
bool Fails(Call inCall) {
  ActBefore(inCall);
  CallState& state = StateOf(inCall);
  ++state.mCount;
  if (state.mSuccessesLeft.load() == kNever) return false;
  std::int64_t const left = state.mSuccessesLeft.fetch_sub(1);
  return left <= 0 && left > -state.mFailures.load();
}

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

duckdb_data_chunk CountChunk(duckdb_data_chunk inChunk) {
  if (inChunk) ++gChunks;
  return inChunk;
}

}  // namespace

extern "C" {

duckdb_state LUMORA_STAND_IN(duckdb_create_config)(duckdb_config* out_config) {
  if (Fails(Call::kCreateConfig)) return DuckDBError;
  duckdb_state const state = LUMORA_NEXT(duckdb_create_config)(out_config);
  if (state == DuckDBSuccess) ++gConfigs;
  return state;
}
duckdb_state LUMORA_STAND_IN(duckdb_set_config)(duckdb_config config, const char* name,
                                                const char* option) {
  if (Fails(Call::kSetConfig)) return DuckDBError;
  return LUMORA_NEXT(duckdb_set_config)(config, name, option);
}
void LUMORA_STAND_IN(duckdb_destroy_config)(duckdb_config* config) {
  Forget(gConfigs, config);
  LUMORA_NEXT(duckdb_destroy_config)(config);
}

duckdb_state LUMORA_STAND_IN(duckdb_open_ext)(const char* path, duckdb_database* out_database,
                                              duckdb_config config, char** out_error) {
  if (Fails(Call::kOpen)) return DuckDBError;
  static thread_local EndOfThread const end;
  duckdb_state const state = LUMORA_NEXT(duckdb_open_ext)(path, out_database, config, out_error);
  if (state == DuckDBSuccess) ++gDatabases;
  return state;
}
void LUMORA_STAND_IN(duckdb_close)(duckdb_database* database) {
  if (tIsOver) ++gLateCloses;
  Forget(gDatabases, database);
  LUMORA_NEXT(duckdb_close)(database);
}

duckdb_state LUMORA_STAND_IN(duckdb_connect)(duckdb_database database,
                                             duckdb_connection* out_connection) {
  if (Fails(Call::kConnect)) return DuckDBError;
  duckdb_state const state = LUMORA_NEXT(duckdb_connect)(database, out_connection);
  if (state == DuckDBSuccess) ++gConnections;
  return state;
}
void LUMORA_STAND_IN(duckdb_disconnect)(duckdb_connection* connection) {
  Forget(gConnections, connection);
  LUMORA_NEXT(duckdb_disconnect)(connection);
}

duckdb_state LUMORA_STAND_IN(duckdb_query)(duckdb_connection connection, const char* query,
                                           duckdb_result* out_result) {
  if (Fails(Call::kQuery)) return DuckDBError;
  return CountResult(LUMORA_NEXT(duckdb_query)(connection, query, out_result), out_result);
}
duckdb_state LUMORA_STAND_IN(duckdb_execute_prepared)(duckdb_prepared_statement prepared,
                                                      duckdb_result* out_result) {
  if (Fails(Call::kExecutePrepared)) return DuckDBError;
  return CountResult(LUMORA_NEXT(duckdb_execute_prepared)(prepared, out_result), out_result);
}
void LUMORA_STAND_IN(duckdb_destroy_result)(duckdb_result* result) {
  if (result && result->internal_data) --gResults;
  LUMORA_NEXT(duckdb_destroy_result)(result);
}

duckdb_data_chunk LUMORA_STAND_IN(duckdb_result_get_chunk)(duckdb_result result,
                                                           idx_t chunk_index) {
  if (Fails(Call::kGetChunk)) return nullptr;
  return CountChunk(LUMORA_NEXT(duckdb_result_get_chunk)(result, chunk_index));
}
duckdb_data_chunk LUMORA_STAND_IN(duckdb_fetch_chunk)(duckdb_result result) {
  if (Fails(Call::kFetchChunk)) return nullptr;
  return CountChunk(LUMORA_NEXT(duckdb_fetch_chunk)(result));
}
duckdb_data_chunk LUMORA_STAND_IN(duckdb_stream_fetch_chunk)(duckdb_result result) {
  return CountChunk(LUMORA_NEXT(duckdb_stream_fetch_chunk)(result));
}
duckdb_data_chunk LUMORA_STAND_IN(duckdb_create_data_chunk)(duckdb_logical_type* types,
                                                            idx_t column_count) {
  if (Fails(Call::kCreateChunk)) return nullptr;
  return CountChunk(LUMORA_NEXT(duckdb_create_data_chunk)(types, column_count));
}
void LUMORA_STAND_IN(duckdb_destroy_data_chunk)(duckdb_data_chunk* chunk) {
  Forget(gChunks, chunk);
  LUMORA_NEXT(duckdb_destroy_data_chunk)(chunk);
}
duckdb_state LUMORA_STAND_IN(duckdb_appender_create_query)(
    duckdb_connection connection, const char* query, idx_t column_count, duckdb_logical_type* types,
    const char* table_name, const char** column_names, duckdb_appender* out_appender) {
  if (Fails(Call::kMakeAppender)) return DuckDBError;
  return LUMORA_NEXT(duckdb_appender_create_query)(connection, query, column_count, types,
                                                   table_name, column_names, out_appender);
}
duckdb_state LUMORA_STAND_IN(duckdb_append_data_chunk)(duckdb_appender appender,
                                                       duckdb_data_chunk chunk) {
  if (Fails(Call::kAppendChunk)) return DuckDBError;
  return LUMORA_NEXT(duckdb_append_data_chunk)(appender, chunk);
}
duckdb_state LUMORA_STAND_IN(duckdb_appender_flush)(duckdb_appender appender) {
  if (Fails(Call::kFlushAppender)) return DuckDBError;
  return LUMORA_NEXT(duckdb_appender_flush)(appender);
}
const char* LUMORA_STAND_IN(duckdb_column_name)(duckdb_result* result, idx_t column) {
  if (Fails(Call::kColumnName)) return nullptr;
  return LUMORA_NEXT(duckdb_column_name)(result, column);
}

duckdb_state LUMORA_STAND_IN(duckdb_prepare)(duckdb_connection connection, const char* query,
                                             duckdb_prepared_statement* out_prepared) {
  if (Fails(Call::kPrepare)) return DuckDBError;
  return CountPrepared(LUMORA_NEXT(duckdb_prepare)(connection, query, out_prepared), out_prepared);
}
duckdb_state LUMORA_STAND_IN(duckdb_prepare_extracted_statement)(
    duckdb_connection connection, duckdb_extracted_statements extracted, idx_t index,
    duckdb_prepared_statement* out_prepared) {
  if (Fails(Call::kPrepareExtracted)) return DuckDBError;
  return CountPrepared(
      LUMORA_NEXT(duckdb_prepare_extracted_statement)(connection, extracted, index, out_prepared),
      out_prepared);
}
void LUMORA_STAND_IN(duckdb_destroy_prepare)(duckdb_prepared_statement* prepared) {
  Forget(gPrepared, prepared);
  LUMORA_NEXT(duckdb_destroy_prepare)(prepared);
}

idx_t LUMORA_STAND_IN(duckdb_extract_statements)(duckdb_connection connection, const char* query,
                                                 duckdb_extracted_statements* out_extracted) {
  if (Fails(Call::kExtract)) return 0;
  idx_t const count = LUMORA_NEXT(duckdb_extract_statements)(connection, query, out_extracted);
  if (out_extracted && *out_extracted) ++gExtracted;
  return count;
}
void LUMORA_STAND_IN(duckdb_destroy_extracted)(duckdb_extracted_statements* extracted) {
  Forget(gExtracted, extracted);
  LUMORA_NEXT(duckdb_destroy_extracted)(extracted);
}

duckdb_state LUMORA_STAND_IN(duckdb_clear_bindings)(duckdb_prepared_statement prepared) {
  if (Fails(Call::kClearBindings)) return DuckDBError;
  return LUMORA_NEXT(duckdb_clear_bindings)(prepared);
}
duckdb_state LUMORA_STAND_IN(duckdb_bind_value)(duckdb_prepared_statement prepared, idx_t index,
                                                duckdb_value value) {
  if (Fails(Call::kBindValue)) return DuckDBError;
  return LUMORA_NEXT(duckdb_bind_value)(prepared, index, value);
}

}  // extern "C"

#if defined(_WIN32)
namespace {
// The executable's own imports, before anything is called.
[[maybe_unused]] bool const gUsesStandIns = [] {
  lumora::test::UseStandIns(GetModuleHandleW(nullptr));
  return true;
}();
}  // namespace
#endif

namespace lumora::test {

HandleCounts get_LiveHandles() {
  return {gConfigs.load(),  gDatabases.load(), gConnections.load(),
          gPrepared.load(), gExtracted.load(), gResults.load()};
}

std::int64_t get_LiveChunks() { return gChunks.load(); }

std::int64_t get_LateCloses() { return gLateCloses.load(); }

std::uint64_t get_CallCount(Call inCall) { return StateOf(inCall).mCount.load(); }

FailingCall::FailingCall(Call inCall, std::int64_t inSuccesses, std::int64_t inFailures)
    : mCall(inCall) {
  StateOf(inCall).mFailures = inFailures;
  StateOf(inCall).mSuccessesLeft = inSuccesses;
}
FailingCall::~FailingCall() { StateOf(mCall).mSuccessesLeft = kNever; }

BeforeCall::BeforeCall(Call inCall, std::int64_t inSuccesses, std::function<void()> inAct) {
  gInterposed.mAct = std::move(inAct);
  gInterposed.mSuccessesLeft = inSuccesses;
  gInterposed.mCall = static_cast<int>(inCall);
}
BeforeCall::~BeforeCall() { gInterposed.mCall = -1; }
bool BeforeCall::WasMade() const { return gInterposed.mSuccessesLeft.load() < 0; }

}  // namespace lumora::test
