#include <fmt/format.h>

#include <optional>
#include <string>

#include "duckdb_c/DuckDBText.h"
#include "duckdb_c/PrivateDatabase.h"
#include "duckdb_c/TypeText.h"
#include "duckdb_c/Types.h"
#include "duckdb_c/Values.h"
#include "duckdb_c/duckdb_completion.h"

namespace lumora::duckdb_c {
namespace {

std::string GetAlias(duckdb_logical_type inType) {
  return TextOr(TextHandle(duckdb_logical_type_get_alias(inType)).get(), "");
}

// Hazard: DuckDB knows its JSON type by this alias in capital letters only, and takes a text with
// any other alias for plain text. Remedy: whatever the case, it is JSON.
bool IsJson(duckdb_logical_type inType) {
  if (GetTypeId(inType) != DUCKDB_TYPE_VARCHAR) return false;
  std::string alias = GetAlias(inType);
  for (char& current : alias) current = static_cast<char>(current & ~0x20);
  return alias == "JSON";
}

LogicalTypeHandle MakeJsonType() {
  LogicalTypeHandle type(duckdb_create_logical_type(DUCKDB_TYPE_VARCHAR));
  duckdb_logical_type_set_alias(type.get(), "JSON");
  return type;
}

// How SQL names the type, when it has neither children nor a name of its own: such a cast needs one
// value and one short statement.
std::optional<std::string> GetSqlName(duckdb_logical_type inType) {
  if (IsJson(inType)) return "JSON";
  if (!GetAlias(inType).empty()) return std::nullopt;
  switch (GetTypeId(inType)) {
    case DUCKDB_TYPE_INVALID:
    case DUCKDB_TYPE_ENUM:
    case DUCKDB_TYPE_LIST:
    case DUCKDB_TYPE_STRUCT:
    case DUCKDB_TYPE_MAP:
    case DUCKDB_TYPE_ARRAY:
    case DUCKDB_TYPE_UNION:
    case DUCKDB_TYPE_ANY:
    case DUCKDB_TYPE_SQLNULL:
    case DUCKDB_TYPE_STRING_LITERAL:
    case DUCKDB_TYPE_INTEGER_LITERAL:
    case kTypeGeometry:
      return std::nullopt;
    default:
      return GetTypeText(inType);
  }
}

struct Cast {
  duckdb_value mValue = nullptr;
  std::optional<std::string> mSqlName;  // of the target
  ValueHandle mTyped;                   // otherwise: a NULL of the target type
};

bool RunCast(PrivateConnection& ioConnection, Cast const& inCast, ValueHandle& outValue,
             std::string& outError) {
  std::string const& capture = ioConnection.get_CaptureName();
  const duckdb_value values[] = {inCast.mValue, inCast.mTyped.get()};
  const std::string sql =
      inCast.mSqlName ? fmt::format("SELECT * FROM {}(CAST($1 AS {}))", capture, *inCast.mSqlName)
                      : fmt::format("SELECT * FROM {}(cast_to_type($1, $2))", capture);
  const duckdb_prepared_statement statement = ioConnection.Prepare(sql, outError);
  if (!statement) return false;
  ResultHandle result;
  const std::span<duckdb_value const> bound(values, inCast.mSqlName ? 1 : 2);
  if (!ioConnection.Execute(statement, bound, result, outError)) return false;
  outValue = ioConnection.TakeCaptured();
  return static_cast<bool>(outValue);
}

ValueHandle CastValue(duckdb_value inValue, duckdb_logical_type inType, std::string& outError) {
  Cast cast;
  cast.mSqlName = GetSqlName(inType);
  if (!cast.mSqlName) {
    cast.mTyped = MakeTypedNull(inType);
    if (GetValueTypeId(cast.mTyped.get()) != GetTypeId(inType)) {
      outError = "The type to cast to is not complete";
      return {};
    }
  }
  // The value's type belongs to the value.
  ValueHandle json;
  if (IsJson(duckdb_get_value_type(inValue))) {
    json = RetypeValue(MakeJsonType().get(), inValue);
  }
  cast.mValue = json ? json.get() : inValue;

  ValueHandle value;
  const bool is_done = WithPrivateConnection([&](PrivateConnection& ioConnection) {
    outError.clear();
    return RunCast(ioConnection, cast, value, outError);
  });
  if (!is_done && outError.empty()) outError = "DuckDB could not be opened for the cast";
  return is_done ? std::move(value) : ValueHandle();
}

}  // namespace
}  // namespace lumora::duckdb_c

duckdb_value duckdb_cast_value(duckdb_value value, duckdb_logical_type type, char** out_error) {
  using namespace lumora::duckdb_c;
  if (out_error) *out_error = nullptr;
  std::string error;
  ValueHandle cast;
  try {
    if (!value) {
      error = "There is no value to cast";
    } else if (!type) {
      error = "There is no type to cast to";
    } else {
      cast = CastValue(value, type, error);
    }
  } catch (std::exception const& caught) {
    error = caught.what();
  } catch (...) {
    error = "The cast failed";
  }
  if (!cast && out_error) *out_error = CopyToDuckDB(error);
  return cast.release();
}
