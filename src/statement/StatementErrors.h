#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "cursor/I_DatabaseLink.h"
#include "tarn/Exceptions.h"

// The codes and the fixed texts of statements, results, bindings and scripts. docs/errors.md tells
// the cause and the cure of each.
namespace lumora {

inline constexpr std::uint32_t kDuckDBErrorCode = 0x72501;
inline constexpr std::uint32_t kUnexpectedErrorCode = 0x72000;
inline constexpr std::uint32_t kFeatureErrorCode = 0xA000;

namespace statement_text {
inline constexpr char kUnknown[] = "unknown";
inline constexpr char kVariant[] = "variant";
inline constexpr char kDatabaseInvalid[] = "DuckDBDatabase is invalid";
inline constexpr char kDatabaseNotOpen[] = "DuckDBDatabase is not open";
inline constexpr char kNulInSql[] = "The SQL text holds a NUL character";
inline constexpr char kPrepare[] = "Failed to prepare statement";
inline constexpr char kPrepareExtracted[] = "Failed to prepare extracted statement";
inline constexpr char kExtract[] = "Failed to extract statements";
inline constexpr char kExecute[] = "Failed to execute statement";
inline constexpr char kExecutePrepared[] = "Failed to execute prepared statement";
inline constexpr char kExecuteUnknown[] = "Unknown execute error";
inline constexpr char kClearBindings[] = "Failed to clear statement bindings";
inline constexpr char kBindParameter[] = "Failed to bind statement parameter";
inline constexpr char kNoSingleResult[] = "Query doesn't return a single result";
inline constexpr char kNoResult[] = "Query doesn't return a result";
inline constexpr char kMultiRowCursor[] = "lDuckDB - multi-row binding for SqlSelect";
inline constexpr char kUnexpected[] = "Unexpected DuckDB error";
inline constexpr char kMalformedEnvelope[] =
    "Malformed DuckDB variant envelope: missing 'variant_type' or 'value' field";
inline constexpr char kUnsupportedEnvelope[] = "Unsupported DuckDB variant type in envelope: ";
inline constexpr char kNoInteger[] = "invalid stoi argument";
inline constexpr char kIntegerOutOfRange[] = "stoi argument out of range";
inline constexpr char kNestedTooDeeply[] = "Wrapped values are nested too deeply";
inline constexpr char kDateOutOfRange[] = "A date part is out of range";
inline constexpr char kDateTimeOutOfRange[] = "A date or time part is out of range";
}  // namespace statement_text

// The path that the database reports, empty without a database.
tarn::String PathOf(I_DatabaseLink* inDatabase);

// xDuckDBError 0x72501. A path that is empty is told as "unknown". The message is UTF-8.
[[noreturn]] void ThrowError(tarn::String const& inPath, std::string const& inMessage);
[[noreturn]] void ThrowError(I_DatabaseLink* inDatabase, std::string const& inMessage);

// ("unknown", "DuckDBDatabase is invalid")
[[noreturn]] void ThrowDatabaseInvalid();

// DuckDB takes its SQL as C strings and would silently run what stands before a NUL.
void RefuseNul(I_DatabaseLink* inDatabase, std::string const& inSql);

}  // namespace lumora
