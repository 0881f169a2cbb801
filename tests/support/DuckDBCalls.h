#pragma once

#include <cstdint>
#include <functional>
#include <ostream>

// Watches the calls of the whole process into DuckDB by standing in for some of its functions: an
// executable that uses anything of this header has these functions itself, and they take precedence
// over the library's, for a loaded extension too. Each forwards to the library.
namespace lumora::test {

// How many handles DuckDB gave out that were not given back.
struct HandleCounts {
  std::int64_t mConfigs = 0;
  std::int64_t mDatabases = 0;
  std::int64_t mConnections = 0;
  std::int64_t mPrepared = 0;
  std::int64_t mExtracted = 0;
  std::int64_t mResults = 0;

  friend bool operator==(HandleCounts const&, HandleCounts const&) = default;
  friend std::ostream& operator<<(std::ostream& ioStream, HandleCounts const& inCounts) {
    return ioStream << "{configs " << inCounts.mConfigs << ", databases " << inCounts.mDatabases
                    << ", connections " << inCounts.mConnections << ", prepared "
                    << inCounts.mPrepared << ", extracted " << inCounts.mExtracted << ", results "
                    << inCounts.mResults << "}";
  }
};
HandleCounts get_LiveHandles();
// The same of data chunks.
std::int64_t get_LiveChunks();

// How many databases were closed by a thread that had opened one and whose thread-local objects are
// gone: DuckDB's own among them, which it then frees twice.
std::int64_t get_LateCloses();

enum class Call {
  kCreateConfig,
  kSetConfig,
  kOpen,
  kConnect,
  kQuery,
  kPrepare,
  kPrepareExtracted,
  kExtract,
  kExecutePrepared,
  kClearBindings,
  kBindValue,
  kGetChunk,  // duckdb_result_get_chunk
  kColumnName,
  kFetchChunk,
  kMakeAppender,  // duckdb_appender_create_query
  kCreateChunk,
  kAppendChunk,
  kFlushAppender,
  kCount,
};

// How often DuckDB was asked so far.
std::uint64_t get_CallCount(Call inCall);

// While it lives, that call fails without reaching DuckDB, and gives no text.
class FailingCall {
 public:
  static constexpr std::int64_t kAll = std::int64_t{1} << 40;
  // The first inSuccesses calls succeed, and those after inFailures failures.
  explicit FailingCall(Call inCall, std::int64_t inSuccesses = 0, std::int64_t inFailures = kAll);
  ~FailingCall();
  FailingCall(FailingCall const&) = delete;
  FailingCall& operator=(FailingCall const&) = delete;

 private:
  Call mCall;
};

// While it lives, one such call, after inSuccesses others, does something before it reaches DuckDB.
// One at a time. What is done may call DuckDB itself.
class BeforeCall {
 public:
  BeforeCall(Call inCall, std::int64_t inSuccesses, std::function<void()> inAct);
  ~BeforeCall();
  BeforeCall(BeforeCall const&) = delete;
  BeforeCall& operator=(BeforeCall const&) = delete;

  bool WasMade() const;
};

}  // namespace lumora::test
