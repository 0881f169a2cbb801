// The variant envelope both ways. Written: a JSON reader finds every byte again. Read: any JSON
// text, and any text under each type name, gives the value that DuckDB's own cast gives, or the
// errors that are promised.
#include <array>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "cursor/VariantEnvelope.h"
#include "duckdb_c/ValueText.h"
#include "statement/ParameterValue.h"
#include "statement/VariantReading.h"
#include "support/Input.h"
#include "support/Sql.h"
#include "tarn/Converter.h"
#include "tarn/Exceptions.h"

namespace {

using lumora::duckdb_c::PreparedHandle;
using lumora::duckdb_c::ResultHandle;
using lumora::duckdb_c::ValueHandle;
using lumora::fuzz::Input;
using lumora::fuzz::Require;
using lumora::fuzz::Sql;
using ValuePtr = tarn::smart_ptr<tarn::I_Value>;
using JsonView = tarn::smart_ptr<tarn::I_ValueJSON>;

// The bytes of a text whose characters stand for one byte each.
std::string Narrow(tarn::String const& inText) {
  std::string bytes;
  for (tarn::WChar const unit : inText.view()) {
    Require(unit < 0x100, "a character for a byte");
    bytes += static_cast<char>(unit);
  }
  return bytes;
}

void CheckWriting(std::string const& inType, std::string const& inText) {
  std::string const escaped = lumora::EscapeJsonString(inText);
  auto const read = nlohmann::json::parse('"' + escaped + '"').get<std::string>();
  auto const wide = tarn::StToUTF16(read.data(), static_cast<std::int64_t>(read.size()), nullptr);
  Require(Narrow(wide) == inText, "an escaped text read back");

  ValuePtr const envelope = lumora::MakeVariantEnvelope(inType, inText);
  auto const object =
      tarn::query_interface<tarn::I_ValueJSON>(envelope.get(), tarn::kIID_ValueJSON);
  Require(object && lumora::IsVariantEnvelope(*object), "an envelope is known again");
  Require(Narrow(object->get_Member("variant_type")) == inType, "its type name");
  Require(Narrow(object->get_Member("value")) == inText, "its text");
}

struct Rule {
  char const* mName;
  char const* mSql;  // the cast that it stands for
};
constexpr std::array kRules = {
    Rule{"INT128", "CAST($1 AS HUGEINT)"},
    Rule{"UUID", "CAST($1 AS UUID)"},
    Rule{"TIME_MICROS", "CAST($1 AS TIME)"},
    Rule{"TIME_NANOS", "CAST($1 AS TIME_NS)"},
    Rule{"TIME_MICROS_TZ", "CAST($1 AS TIMETZ)"},
    Rule{"TIMESTAMP_SEC", "CAST($1 AS TIMESTAMP_S)"},
    Rule{"TIMESTAMP_MILIS", "CAST($1 AS TIMESTAMP_MS)"},
    Rule{"TIMESTAMP_MICROS", "CAST($1 AS TIMESTAMP)"},
    Rule{"TIMESTAMP_NANOS", "CAST($1 AS TIMESTAMP_NS)"},
    Rule{"TIMESTAMP_MICROS_TZ", "CAST($1 AS TIMESTAMPTZ)"},
    Rule{"INTERVAL", "CAST($1 AS INTERVAL)"},
    Rule{"BITSTRING", "CAST($1 AS BIT)"},
    Rule{"BIGNUM", "CAST($1 AS BIGNUM)"},
    Rule{"UINT128", "CAST($1 AS UHUGEINT)"},
    Rule{"ARRAY", "CAST(CAST($1 AS JSON) AS VARIANT)"},
    Rule{"OBJECT", "CAST(CAST($1 AS JSON) AS VARIANT)"},
    Rule{"GEOMETRY", "CAST($1 AS GEOMETRY)"},
};

// What SQL sees of a value: its text, or "<refused>" when DuckDB does not take it.
std::string SeenBySql(std::string const& inExpression, ValueHandle const& inValue) {
  PreparedHandle prepared;
  std::string const sql =
      "SELECT CAST(x AS VARCHAR) || ' ' || typeof(x) FROM (SELECT " + inExpression + " AS x)";
  Sql const& database = Sql::Instance();
  bool const isPrepared =
      duckdb_prepare(database.get(), sql.c_str(), prepared.out()) == DuckDBSuccess;
  Require(isPrepared, "the comparing statement");
  ResultHandle result;
  if (!database.Execute(prepared.get(), result, inValue)) return "<refused>";
  return lumora::fuzz::FirstText(result.get());
}

ValueHandle Text(std::string const& inText) {
  return ValueHandle(duckdb_create_varchar_length(inText.data(), inText.size()));
}

void CheckRule(Rule const& inRule, std::string const& inText) {
  ValueHandle const text = Text(inText);
  std::string const expected = text ? SeenBySql(inRule.mSql, text) : "<refused>";
  try {
    ValueHandle const value = lumora::ReadVariant(inRule.mName, inText);
    Require(static_cast<bool>(value), "a value or an error");
    std::string const seen = SeenBySql("$1", value);
    Require(seen == expected, seen + " is not DuckDB's " + expected);
  } catch (tarn::lsql::xDuckDBError const& error) {
    Require(error.get_Code() == 0x72501 && !error.get_Text(1).isEmpty(), "the promised error");
    Require(expected == "<refused>", "an error where DuckDB casts to " + expected);
  }
}

void CheckInt8(std::string const& inText) {
  std::string expected;
  try {
    expected = std::to_string(static_cast<std::int8_t>(std::stoi(std::string(inText.c_str()))));
  } catch (std::logic_error const&) {
    // None, or out of range.
  }
  try {
    ValueHandle const value = lumora::ReadVariant("INT8", inText);
    Require(std::to_string(duckdb_get_int8(value.get())) == expected, "a small number");
  } catch (std::invalid_argument const&) {
    Require(expected.empty(), "no number only where there is none");
  } catch (std::out_of_range const&) {
    Require(expected.empty(), "out of range only where it is");
  }
}

void CheckDecimal(std::string const& inText) {
  try {
    ValueHandle const value = lumora::ReadVariant("DECIMAL", inText);
    std::string const seen = SeenBySql("$1", value);
    Require(seen.find(" DECIMAL(") != std::string::npos, "a decimal");
  } catch (tarn::lsql::xDuckDBError const& error) {
    Require(!error.get_Text(1).isEmpty(), "why it is no decimal");
  }
}

// Any text in a JSON value of the host.
void CheckReading(std::string const& inText) {
  ValuePtr const value(tarn::CreateValueJSON(false, nullptr, nullptr));
  value->put_String(tarn::StToUTF16(inText.data(), static_cast<std::int64_t>(inText.size()),
                                    tarn::GetConverter_UTF8()));
  auto const object = tarn::query_interface<tarn::I_ValueJSON>(value.get(), tarn::kIID_ValueJSON);
  // The host keeps characters: bytes that are none have become U+FFFD.
  std::string const text = tarn::StFromUTF16(value->get_String(), nullptr);
  auto const report = nlohmann::json::parse(text, nullptr, false);
  bool const isEnvelope = lumora::IsVariantEnvelope(*object);
  Require(isEnvelope == (report.is_object() && report.contains("duckdb_variant")),
          "the mark of an envelope");
  try {
    ValueHandle const bound = lumora::MakeDuckDBValue(value.get());
    Require(static_cast<bool>(bound), "a value is bound");
    if (isEnvelope) return;
    Require(lumora::duckdb_c::GetValueText(bound.get()) == text, "other JSON is its text");
  } catch (tarn::lsql::xDuckDBError const& error) {
    Require(isEnvelope && error.get_Code() == 0x72501, "only an envelope can be wrong");
  } catch (std::logic_error const&) {
    Require(isEnvelope, "only an envelope holds an INT8");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* inData, std::size_t inSize) {
  Input input(inData, inSize);
  std::size_t const what = input.TakeBelow(kRules.size() + 3);
  std::string const text = input.TakeRest();
  CheckWriting(text.substr(0, 20), text);
  if (what < kRules.size()) {
    CheckRule(kRules[what], text);
  } else if (what == kRules.size()) {
    CheckInt8(text);
  } else if (what == kRules.size() + 1) {
    CheckDecimal(text);
  } else {
    CheckReading(text);
  }
  return 0;
}
