#include "duckdb_c/TypeText.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <unordered_map>

#include "duckdb_c/DuckDBText.h"
#include "duckdb_c/Handles.h"
#include "duckdb_c/Keywords.h"
#include "duckdb_c/PrivateDatabase.h"
#include "duckdb_c/Types.h"
#include "duckdb_c/duckdb_completion.h"

namespace lumora::duckdb_c {
namespace {

using OptionalText = std::optional<std::string>;

std::string Doubled(std::string_view inText, char inQuote) {
  std::string quoted(1, inQuote);
  for (const char current : inText) {
    if (current == inQuote) quoted += inQuote;
    quoted += current;
  }
  quoted += inQuote;
  return quoted;
}

bool IsPlainName(std::string_view inName) {
  const auto is_plain = [](char inChar) {
    return (inChar >= 'a' && inChar <= 'z') || (inChar >= 'A' && inChar <= 'Z') ||
           (inChar >= '0' && inChar <= '9') || inChar == '_';
  };
  const bool starts_with_digit = !inName.empty() && inName[0] >= '0' && inName[0] <= '9';
  return !starts_with_digit && std::all_of(inName.begin(), inName.end(), is_plain);
}

// The type of no column, or one that the C API does not know: DuckDB itself is asked.
OptionalText AskTypeText(duckdb_logical_type inType) {
  OptionalText text;
  WithPrivateConnection([&](PrivateConnection& ioConnection) {
    ioConnection.put_Source({nullptr, 0, std::nullopt, inType});
    ResultHandle result;
    std::string error;
    if (!ioConnection.Query(
            fmt::format("SELECT typeof((SELECT x FROM {}()))", ioConnection.get_EmitName()), result,
            error)) {
      return false;
    }
    const ChunkHandle chunk(duckdb_fetch_chunk(result.get()));
    if (!chunk || duckdb_data_chunk_get_size(chunk.get()) != 1) return false;
    text = TextOf(*static_cast<duckdb_string_t*>(
        duckdb_vector_get_data(duckdb_data_chunk_get_vector(chunk.get(), 0))));
    return true;
  });
  return text;
}

OptionalText WriteDecimal(duckdb_logical_type inType) {
  return fmt::format("DECIMAL({},{})", duckdb_decimal_width(inType), duckdb_decimal_scale(inType));
}

OptionalText WriteEnum(duckdb_logical_type inType) {
  std::string text = "ENUM(";
  const std::uint32_t size = duckdb_enum_dictionary_size(inType);
  for (std::uint32_t index = 0; index < size; ++index) {
    const TextHandle value(duckdb_enum_dictionary_value(inType, index));
    if (index != 0) text += ", ";
    text += Doubled(TextOr(value.get(), ""), '\'');
  }
  return text + ")";
}

OptionalText WithSuffix(LogicalTypeHandle const& inChild, std::string_view inSuffix) {
  OptionalText text = GetTypeText(inChild.get());
  if (text) *text += inSuffix;
  return text;
}

OptionalText WriteList(duckdb_logical_type inType) {
  return WithSuffix(LogicalTypeHandle(duckdb_list_type_child_type(inType)), "[]");
}

OptionalText WriteArray(duckdb_logical_type inType) {
  return WithSuffix(LogicalTypeHandle(duckdb_array_type_child_type(inType)),
                    fmt::format("[{}]", duckdb_array_type_array_size(inType)));
}

OptionalText WriteMap(duckdb_logical_type inType) {
  const LogicalTypeHandle key(duckdb_map_type_key_type(inType));
  const LogicalTypeHandle value(duckdb_map_type_value_type(inType));
  const OptionalText key_text = GetTypeText(key.get());
  const OptionalText value_text = GetTypeText(value.get());
  if (!key_text || !value_text) return std::nullopt;
  return fmt::format("MAP({}, {})", *key_text, *value_text);
}

using GetName = char* (*)(duckdb_logical_type, idx_t);
using GetMember = duckdb_logical_type (*)(duckdb_logical_type, idx_t);

OptionalText WriteMembers(char const* inKind, duckdb_logical_type inType, idx_t inCount,
                          GetName inGetName, GetMember inGetMember) {
  std::string text = fmt::format("{}(", inKind);
  bool is_named = true;
  for (idx_t index = 0; index < inCount; ++index) {
    const TextHandle name(inGetName(inType, index));
    const LogicalTypeHandle member(inGetMember(inType, index));
    const OptionalText member_text = GetTypeText(member.get());
    if (!member_text) return std::nullopt;
    // The members of a row without names: the first name tells.
    if (index == 0) is_named = name && *name.get() != '\0';
    if (index != 0) text += ", ";
    if (is_named) text += QuoteNameInType(TextOr(name.get(), "")) + " ";
    text += *member_text;
  }
  return text + ")";
}

OptionalText WriteStruct(duckdb_logical_type inType) {
  return WriteMembers("STRUCT", inType, duckdb_struct_type_child_count(inType),
                      duckdb_struct_type_child_name, duckdb_struct_type_child_type);
}

OptionalText WriteUnion(duckdb_logical_type inType) {
  return WriteMembers("UNION", inType, duckdb_union_type_member_count(inType),
                      duckdb_union_type_member_name, duckdb_union_type_member_type);
}

using Writer = OptionalText (*)(duckdb_logical_type);

// Types with parameters. GEOMETRY may have a coordinate system that the C API does not tell.
std::unordered_map<TypeId, Writer> const& GetWriters() {
  static const std::unordered_map<TypeId, Writer> writers = {
      {DUCKDB_TYPE_DECIMAL, WriteDecimal}, {DUCKDB_TYPE_ENUM, WriteEnum},
      {DUCKDB_TYPE_LIST, WriteList},       {DUCKDB_TYPE_ARRAY, WriteArray},
      {DUCKDB_TYPE_MAP, WriteMap},         {DUCKDB_TYPE_STRUCT, WriteStruct},
      {DUCKDB_TYPE_UNION, WriteUnion},     {kTypeGeometry, AskTypeText},
  };
  return writers;
}

std::unordered_map<TypeId, char const*> const& GetNames() {
  static const std::unordered_map<TypeId, char const*> names = {
      {DUCKDB_TYPE_BOOLEAN, "BOOLEAN"},
      {DUCKDB_TYPE_TINYINT, "TINYINT"},
      {DUCKDB_TYPE_SMALLINT, "SMALLINT"},
      {DUCKDB_TYPE_INTEGER, "INTEGER"},
      {DUCKDB_TYPE_BIGINT, "BIGINT"},
      {DUCKDB_TYPE_UTINYINT, "UTINYINT"},
      {DUCKDB_TYPE_USMALLINT, "USMALLINT"},
      {DUCKDB_TYPE_UINTEGER, "UINTEGER"},
      {DUCKDB_TYPE_UBIGINT, "UBIGINT"},
      {DUCKDB_TYPE_FLOAT, "FLOAT"},
      {DUCKDB_TYPE_DOUBLE, "DOUBLE"},
      {DUCKDB_TYPE_TIMESTAMP, "TIMESTAMP"},
      {DUCKDB_TYPE_DATE, "DATE"},
      {DUCKDB_TYPE_TIME, "TIME"},
      {DUCKDB_TYPE_INTERVAL, "INTERVAL"},
      {DUCKDB_TYPE_HUGEINT, "HUGEINT"},
      {DUCKDB_TYPE_UHUGEINT, "UHUGEINT"},
      {DUCKDB_TYPE_VARCHAR, "VARCHAR"},
      {DUCKDB_TYPE_BLOB, "BLOB"},
      {DUCKDB_TYPE_TIMESTAMP_S, "TIMESTAMP_S"},
      {DUCKDB_TYPE_TIMESTAMP_MS, "TIMESTAMP_MS"},
      {DUCKDB_TYPE_TIMESTAMP_NS, "TIMESTAMP_NS"},
      {DUCKDB_TYPE_UUID, "UUID"},
      {DUCKDB_TYPE_BIT, "BIT"},
      {DUCKDB_TYPE_TIME_TZ, "TIME WITH TIME ZONE"},
      {DUCKDB_TYPE_TIMESTAMP_TZ, "TIMESTAMP WITH TIME ZONE"},
      {DUCKDB_TYPE_BIGNUM, "BIGNUM"},
      {DUCKDB_TYPE_SQLNULL, "\"NULL\""},
      {DUCKDB_TYPE_TIME_NS, "TIME_NS"},
      {kTypeVariant, "VARIANT"},
  };
  return names;
}

}  // namespace

std::string QuoteNameInType(std::string_view inName) {
  if (IsPlainName(inName) && !IsKeyword(inName)) return std::string(inName);
  return Doubled(inName, '"');
}

OptionalText GetTypeText(duckdb_logical_type inType) {
  if (!inType) return std::nullopt;
  const TextHandle alias(duckdb_logical_type_get_alias(inType));
  if (alias && *alias.get() != '\0') return std::string(alias.get());
  const TypeId id = GetTypeId(inType);
  if (const auto name = GetNames().find(id); name != GetNames().end()) return name->second;
  if (const auto writer = GetWriters().find(id); writer != GetWriters().end()) {
    return writer->second(inType);
  }
  return AskTypeText(inType);
}

}  // namespace lumora::duckdb_c

char* duckdb_logical_type_to_string(duckdb_logical_type type) {
  try {
    const std::optional<std::string> text = lumora::duckdb_c::GetTypeText(type);
    return text ? lumora::duckdb_c::CopyToDuckDB(*text) : nullptr;
  } catch (...) {
    return nullptr;
  }
}
