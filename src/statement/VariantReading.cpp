#include "statement/VariantReading.h"

#include <array>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <stdexcept>

#include "duckdb_c/Types.h"
#include "duckdb_c/duckdb_completion.h"
#include "statement/StatementErrors.h"
#include "tarn/Converter.h"

namespace lumora {
namespace {

using duckdb_c::LogicalTypeHandle;
using duckdb_c::TypeId;
using duckdb_c::ValueHandle;

[[noreturn]] void ThrowVariantError(std::string const& inMessage) {
  ThrowError(tarn::String(statement_text::kVariant), inMessage);
}

ValueHandle Cast(ValueHandle const& inValue, LogicalTypeHandle const& inType,
                 std::string const& inTypeName, std::string const& inText) {
  duckdb_c::TextHandle error;
  ValueHandle value(duckdb_cast_value(inValue.get(), inType.get(), error.out()));
  if (value) return value;
  ThrowVariantError(duckdb_c::TextOr(
      error.get(), ("Cannot parse " + inTypeName + " variant value: " + inText).c_str()));
}

ValueHandle MakeText(std::string const& inText) {
  return ValueHandle(duckdb_create_varchar_length(inText.data(), inText.size()));
}

// How the names that are not a plain cast to one type are rebuilt.

// The rules of std::stoi, whose texts are spelled out because they differ between standard
// libraries.
ValueHandle ReadInt8(std::string const&, std::string const& inText, TypeId) {
  char* end = nullptr;
  errno = 0;
  long const number = std::strtol(inText.c_str(), &end, 10);
  if (end == inText.c_str()) throw std::invalid_argument(statement_text::kNoInteger);
  if (errno == ERANGE || number < INT_MIN || number > INT_MAX) {
    throw std::out_of_range(statement_text::kIntegerOutOfRange);
  }
  return ValueHandle(duckdb_create_int8(static_cast<std::int8_t>(number)));
}

ValueHandle ReadPlain(std::string const& inTypeName, std::string const& inText, TypeId inType) {
  return Cast(MakeText(inText), duckdb_c::MakeLogicalType(inType), inTypeName, inText);
}

// The width and scale that the text is written with. The width is counted in 8 bits and not held
// to DuckDB's greatest one: the cast refuses what is too wide.
LogicalTypeHandle MakeDecimalType(std::string const& inText) {
  std::uint8_t width = 0;
  for (char const c : inText) {
    if (c >= '0' && c <= '9') ++width;
  }
  if (width == 0) width = 1;
  auto const point = inText.find('.');
  auto const scale = point == std::string::npos ? 0 : inText.size() - point - 1;
  return LogicalTypeHandle(duckdb_create_decimal_type(width, static_cast<std::uint8_t>(scale)));
}

ValueHandle ReadDecimal(std::string const& inTypeName, std::string const& inText, TypeId) {
  return Cast(MakeText(inText), MakeDecimalType(inText), inTypeName, inText);
}

ValueHandle ReadNested(std::string const& inTypeName, std::string const& inText, TypeId inType) {
  LogicalTypeHandle json(duckdb_create_logical_type(DUCKDB_TYPE_VARCHAR));
  duckdb_logical_type_set_alias(json.get(), "json");
  ValueHandle const object = Cast(MakeText(inText), json, inTypeName, inText);
  return Cast(object, duckdb_c::MakeLogicalType(inType), inTypeName, inText);
}

struct Rule {
  char const* mTypeName;
  ValueHandle (*mRead)(std::string const& inTypeName, std::string const& inText, TypeId inType);
  TypeId mType = 0;
};

constexpr TypeId kTypeBignum = 35;
constexpr TypeId kTypeTimeNs = 39;

constexpr std::array kRules = {
    Rule{"INT8", ReadInt8},
    Rule{"INT128", ReadPlain, DUCKDB_TYPE_HUGEINT},
    Rule{"UUID", ReadPlain, DUCKDB_TYPE_UUID},
    Rule{"TIME_MICROS", ReadPlain, DUCKDB_TYPE_TIME},
    Rule{"TIME_NANOS", ReadPlain, kTypeTimeNs},
    Rule{"TIME_MICROS_TZ", ReadPlain, DUCKDB_TYPE_TIME_TZ},
    Rule{"TIMESTAMP_SEC", ReadPlain, DUCKDB_TYPE_TIMESTAMP_S},
    Rule{"TIMESTAMP_MILIS", ReadPlain, DUCKDB_TYPE_TIMESTAMP_MS},
    Rule{"TIMESTAMP_MICROS", ReadPlain, DUCKDB_TYPE_TIMESTAMP},
    Rule{"TIMESTAMP_NANOS", ReadPlain, DUCKDB_TYPE_TIMESTAMP_NS},
    Rule{"TIMESTAMP_MICROS_TZ", ReadPlain, DUCKDB_TYPE_TIMESTAMP_TZ},
    Rule{"INTERVAL", ReadPlain, DUCKDB_TYPE_INTERVAL},
    Rule{"BITSTRING", ReadPlain, DUCKDB_TYPE_BIT},
    Rule{"BIGNUM", ReadPlain, kTypeBignum},
    Rule{"UINT128", ReadPlain, DUCKDB_TYPE_UHUGEINT},
    Rule{"DECIMAL", ReadDecimal},
    Rule{"ARRAY", ReadNested, duckdb_c::kTypeVariant},
    Rule{"OBJECT", ReadNested, duckdb_c::kTypeVariant},
    Rule{"GEOMETRY", ReadPlain, duckdb_c::kTypeGeometry},
};

// Names of the envelope's members, made once: a short String stands inside the object, these do
// not.
struct MemberNames {
  tarn::String const mMark{"duckdb_variant"};
  tarn::String const mType{"variant_type"};
  tarn::String const mValue{"value"};
};

MemberNames const& Names() {
  static MemberNames const names;
  return names;
}

std::string ReadMember(tarn::I_ValueJSON const& inObject, tarn::String const& inName) {
  return tarn::StFromUTF16(inObject.get_Member(inName), tarn::GetConverter_UTF8());
}

}  // namespace

bool IsVariantEnvelope(tarn::I_ValueJSON const& inObject) {
  return inObject.HasMember(Names().mMark);
}

ValueHandle ReadVariantEnvelope(tarn::I_ValueJSON const& inObject) {
  if (!inObject.HasMember(Names().mType) || !inObject.HasMember(Names().mValue)) {
    ThrowVariantError(statement_text::kMalformedEnvelope);
  }
  return ReadVariant(ReadMember(inObject, Names().mType), ReadMember(inObject, Names().mValue));
}

ValueHandle ReadVariant(std::string const& inTypeName, std::string const& inText) {
  for (Rule const& rule : kRules) {
    if (inTypeName == rule.mTypeName) return rule.mRead(inTypeName, inText, rule.mType);
  }
  ThrowVariantError(statement_text::kUnsupportedEnvelope + inTypeName);
}

}  // namespace lumora
