#pragma once

#include <cstdint>

// The errors that cursors raise: one code, and the texts.
namespace lumora::cursor_errors {

inline constexpr std::uint32_t kCode = 0x72501;
inline constexpr char const* kUnknownDatabase = "unknown";

inline constexpr char const* kInvalid = "DuckDBCursor is invalid";
inline constexpr char const* kColumnIndex = "inColumnIndex is out of bounds";
inline constexpr char const* kNoCurrentRecord = "No current record.";
inline constexpr char const* kNoData = "Data is not available. Use NextRecord() to fetch data.";
inline constexpr char const* kPosition = "Current position is out of bounds";
inline constexpr char const* kCutShort = "The result ended before its last record";
inline constexpr char const* kUnreadable = "DuckDB cannot give the value";

inline constexpr char const* kNoRecordCount =
    "get_RecordCount() is not supported for server-side cursors";
inline constexpr char const* kNoGetCurrentRecord =
    "get_CurrentRecord() is not supported for server-side cursors";
inline constexpr char const* kNoPutCurrentRecord =
    "put_CurrentRecord() is not supported for server-side cursors";
inline constexpr char const* kNoFirstRecord =
    "FirstRecord() is not supported for server-side cursors";
inline constexpr char const* kNoLastRecord =
    "LastRecord() is not supported for server-side cursors";
inline constexpr char const* kNoPrevRecord =
    "PrevRecord() is not supported for server-side cursors";

}  // namespace lumora::cursor_errors
