// Host values of every kind and content on their way into a statement: a value or one of the
// promised errors; in the parameter's own type it is what DuckDB's cast to that type gives.
#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "duckdb_c/ValueText.h"
#include "statement/ParameterValue.h"
#include "support/HostValues.h"
#include "support/Input.h"
#include "support/Sql.h"
#include "tarn/Exceptions.h"

namespace {

using lumora::duckdb_c::PreparedHandle;
using lumora::duckdb_c::ResultHandle;
using lumora::duckdb_c::ValueHandle;
using lumora::fuzz::Input;
using lumora::fuzz::Require;
using lumora::fuzz::Sql;
using lumora::fuzz::ValuePtr;

struct Target {
  duckdb_type mType;
  char const* mName;
};
constexpr std::array kTargets = {
    Target{DUCKDB_TYPE_BOOLEAN, "BOOLEAN"},     Target{DUCKDB_TYPE_TINYINT, "TINYINT"},
    Target{DUCKDB_TYPE_SMALLINT, "SMALLINT"},   Target{DUCKDB_TYPE_INTEGER, "INTEGER"},
    Target{DUCKDB_TYPE_BIGINT, "BIGINT"},       Target{DUCKDB_TYPE_UTINYINT, "UTINYINT"},
    Target{DUCKDB_TYPE_USMALLINT, "USMALLINT"}, Target{DUCKDB_TYPE_UINTEGER, "UINTEGER"},
    Target{DUCKDB_TYPE_UBIGINT, "UBIGINT"},     Target{DUCKDB_TYPE_FLOAT, "FLOAT"},
    Target{DUCKDB_TYPE_DOUBLE, "DOUBLE"},       Target{DUCKDB_TYPE_VARCHAR, "VARCHAR"},
    Target{DUCKDB_TYPE_HUGEINT, "HUGEINT"},     Target{DUCKDB_TYPE_TIMESTAMP, "TIMESTAMP"},
    Target{DUCKDB_TYPE_DATE, "DATE"},           Target{DUCKDB_TYPE_TIMESTAMP_MS, "TIMESTAMP_MS"},
};

// What arrives in a column of the type; "<refused>" when DuckDB does not take it.
std::string Arrives(ValueHandle const& inValue, Target const& inTarget) {
  PreparedHandle prepared;
  std::string const sql = std::string("SELECT CAST(CAST($1 AS ") + inTarget.mName + ") AS VARCHAR)";
  Sql const& database = Sql::Instance();
  bool const isPrepared =
      duckdb_prepare(database.get(), sql.c_str(), prepared.out()) == DuckDBSuccess;
  Require(isPrepared, "the comparing statement");
  ResultHandle result;
  if (!database.Execute(prepared.get(), result, inValue)) return "<refused>";
  return lumora::fuzz::FirstText(result.get());
}

// Empty when the value is refused as promised.
ValueHandle Make(ValuePtr const& inValue, duckdb_type inTarget, std::string& outWhy) {
  try {
    ValueHandle value =
        lumora::MakeDuckDBValue(inValue.get(), static_cast<lumora::duckdb_c::TypeId>(inTarget));
    Require(static_cast<bool>(value), "a value or an error");
    return value;
  } catch (lumora::ValueError const& error) {
    outWhy = error.what();
  } catch (tarn::lsql::xDuckDBError const& error) {
    Require(error.get_Code() == 0x72501, "the promised code");
    outWhy = lumora::fuzz::Narrow(error.get_Text(1));
  } catch (std::logic_error const& error) {
    outWhy = error.what();
  }
  Require(!outWhy.empty(), "an error has a text");
  return {};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* inData, std::size_t inSize) {
  Input input(inData, inSize);
  Target const& target = kTargets[input.TakeBelow(kTargets.size())];
  ValuePtr const value = lumora::fuzz::TakeValue(input);
  std::string why;
  std::string exactWhy;
  ValueHandle const plain = Make(value, DUCKDB_TYPE_INVALID, why);
  ValueHandle const exact = Make(value, target.mType, exactWhy);
  Require(why == exactWhy, "one error whatever the parameter's type");
  if (!plain || !exact) return 0;
  bool const isWrapped = value && value->get_Type() == tarn::ValueType::kWrapped;
  bool const isNull = duckdb_is_null_value(plain.get());
  Require(isWrapped || isNull == (!value || value->get_IsNull()), "NULL for what is null alone");
  std::string const first = Arrives(plain, target);
  std::string const second = Arrives(exact, target);
  Require(first == second, first + " is not " + second);
  return 0;
}
