#pragma once

#include <duckdb.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <utility>

// In the library since 1.5, and not in older headers. Drops what was appended and not flushed.
extern "C" DUCKDB_C_API duckdb_state duckdb_appender_clear(duckdb_appender appender);

// One owner for every DuckDB handle. No other file of src/ or shell/ calls a DuckDB release
// function.
namespace lumora::duckdb_c {

// Owns one handle, or none (the zeroed handle). The release functions accept the zeroed handle.
template <typename T, void (*TRelease)(T*)>
class Handle {
 public:
  Handle() noexcept = default;
  explicit Handle(T inHandle) noexcept : mHandle(inHandle) {}
  Handle(Handle&& ioOther) noexcept : mHandle(std::exchange(ioOther.mHandle, T{})) {}
  Handle& operator=(Handle&& ioOther) noexcept {
    if (this != &ioOther) {
      reset();
      mHandle = std::exchange(ioOther.mHandle, T{});
    }
    return *this;
  }
  Handle(Handle const&) = delete;
  Handle& operator=(Handle const&) = delete;
  ~Handle() { reset(); }

  // For an out-parameter: releases what is held, and hands the empty handle's address to the call
  // that fills it.
  T* out() noexcept {
    reset();
    return &mHandle;
  }
  T get() const noexcept { return mHandle; }
  explicit operator bool() const noexcept { return mHandle != T{}; }

  // Hands the handle to the caller, who releases it.
  T release() noexcept { return std::exchange(mHandle, T{}); }
  void reset() noexcept {
    if (mHandle != T{}) TRelease(&mHandle);
    mHandle = T{};
  }

 private:
  T mHandle{};
};

// A duckdb_result is a record, not a pointer, and holds an error text after a failed query too:
// it is destroyed whatever the query said.
class ResultHandle {
 public:
  ResultHandle() noexcept = default;
  // Takes over a result; the caller's record must not be destroyed any more.
  explicit ResultHandle(duckdb_result const& inResult) noexcept : mResult(inResult) {}
  ResultHandle(ResultHandle&& ioOther) noexcept : mResult(ioOther.release()) {}
  ResultHandle& operator=(ResultHandle&& ioOther) noexcept {
    if (this != &ioOther) {
      reset();
      mResult = ioOther.release();
    }
    return *this;
  }
  ResultHandle(ResultHandle const&) = delete;
  ResultHandle& operator=(ResultHandle const&) = delete;
  ~ResultHandle() { reset(); }

  duckdb_result* out() noexcept {
    reset();
    return &mResult;
  }
  duckdb_result* ptr() noexcept { return &mResult; }
  duckdb_result const& get() const noexcept { return mResult; }
  // False before a query filled it, and after release or reset.
  explicit operator bool() const noexcept { return mResult.internal_data != nullptr; }

  duckdb_result release() noexcept { return std::exchange(mResult, duckdb_result{}); }
  void reset() noexcept {
    if (mResult.internal_data) duckdb_destroy_result(&mResult);
    mResult = duckdb_result{};
  }

 private:
  duckdb_result mResult{};
};

namespace detail {
// Told of every set of extracted statements before it is released, so that what is remembered
// beside the handle goes with it. Null as long as nothing is.
inline std::atomic<void (*)(duckdb_extracted_statements) noexcept> gOnExtractedReleased{nullptr};

// Hazard: once released, the same address may come back from another thread's extraction; hence the
// order.
inline void ReleaseExtracted(duckdb_extracted_statements* ioStatements) noexcept {
  if (auto* const forget = gOnExtractedReleased.load()) forget(*ioStatements);
  duckdb_destroy_extracted(ioStatements);
}

// Hazard: DuckDB keeps something of each thread, and closing a database goes by it. Where a host's
// object dies with its static or thread-local objects, that something is gone already, and DuckDB
// frees it twice. Remedy: a new thread closes. Not on Windows: there no thread starts while the
// process unloads its libraries, and who waits for one waits for good.
inline void CloseDatabase(duckdb_database* ioDatabase) noexcept {
#if !defined(_WIN32)
  try {
    std::thread([ioDatabase] { duckdb_close(ioDatabase); }).join();
    return;
  } catch (...) {
    // No thread is to be had.
  }
#endif
  duckdb_close(ioDatabase);
}

inline void FreeText(char** ioText) noexcept { duckdb_free(*ioText); }
inline void FreeBytes(void** ioBytes) noexcept { duckdb_free(*ioBytes); }
inline void FreeSelection(duckdb_selection_vector* ioSelection) noexcept {
  duckdb_destroy_selection_vector(*ioSelection);
}
// Hazard: an appender that is destroyed inserts what was not flushed, and once more what could not
// be. Remedy: it has nothing any more.
inline void DestroyAppender(duckdb_appender* ioAppender) noexcept {
  (void)duckdb_appender_clear(*ioAppender);
  duckdb_appender_destroy(ioAppender);
}
}  // namespace detail

using DatabaseHandle = Handle<duckdb_database, detail::CloseDatabase>;
using ConnectionHandle = Handle<duckdb_connection, duckdb_disconnect>;
using ConfigHandle = Handle<duckdb_config, duckdb_destroy_config>;
using PreparedHandle = Handle<duckdb_prepared_statement, duckdb_destroy_prepare>;
using ExtractedHandle = Handle<duckdb_extracted_statements, detail::ReleaseExtracted>;
using ChunkHandle = Handle<duckdb_data_chunk, duckdb_destroy_data_chunk>;
using ValueHandle = Handle<duckdb_value, duckdb_destroy_value>;
using LogicalTypeHandle = Handle<duckdb_logical_type, duckdb_destroy_logical_type>;
using PendingHandle = Handle<duckdb_pending_result, duckdb_destroy_pending>;
using VectorHandle = Handle<duckdb_vector, duckdb_destroy_vector>;
using SelectionHandle = Handle<duckdb_selection_vector, detail::FreeSelection>;
using TableFunctionHandle = Handle<duckdb_table_function, duckdb_destroy_table_function>;
using AppenderHandle = Handle<duckdb_appender, detail::DestroyAppender>;
using ClientContextHandle = Handle<duckdb_client_context, duckdb_destroy_client_context>;
using ErrorDataHandle = Handle<duckdb_error_data, duckdb_destroy_error_data>;
using TextHandle = Handle<char*, detail::FreeText>;    // a text that DuckDB allocated
using BytesHandle = Handle<void*, detail::FreeBytes>;  // bytes that DuckDB allocated

// DuckDB's text, or the other one when DuckDB gives none or an empty one.
inline std::string TextOr(char const* inText, char const* inOtherwise) {
  return inText && *inText ? inText : inOtherwise;
}

}  // namespace lumora::duckdb_c
