#include "duckdb_c/ValueText.h"

#include "duckdb_c/ColumnText.h"
#include "duckdb_c/DuckDBText.h"
#include "duckdb_c/Handles.h"
#include "duckdb_c/Types.h"
#include "duckdb_c/Values.h"

namespace lumora::duckdb_c {
namespace {

bool HasNamedType(duckdb_logical_type inType);

bool AnyMemberHasNamedType(duckdb_logical_type inType, idx_t inCount,
                           duckdb_logical_type (*inGetMember)(duckdb_logical_type, idx_t)) {
  for (idx_t index = 0; index < inCount; ++index) {
    if (HasNamedType(LogicalTypeHandle(inGetMember(inType, index)).get())) return true;
  }
  return false;
}

// Whether a nested type has a type with an alias inside, at any depth.
bool HasNamedTypeInside(duckdb_logical_type inType) {
  switch (GetTypeId(inType)) {
    case DUCKDB_TYPE_LIST:
      return HasNamedType(LogicalTypeHandle(duckdb_list_type_child_type(inType)).get());
    case DUCKDB_TYPE_ARRAY:
      return HasNamedType(LogicalTypeHandle(duckdb_array_type_child_type(inType)).get());
    case DUCKDB_TYPE_MAP:
      return HasNamedType(LogicalTypeHandle(duckdb_map_type_key_type(inType)).get()) ||
             HasNamedType(LogicalTypeHandle(duckdb_map_type_value_type(inType)).get());
    case DUCKDB_TYPE_STRUCT:
      return AnyMemberHasNamedType(inType, duckdb_struct_type_child_count(inType),
                                   duckdb_struct_type_child_type);
    case DUCKDB_TYPE_UNION:
      return AnyMemberHasNamedType(inType, duckdb_union_type_member_count(inType),
                                   duckdb_union_type_member_type);
    default:
      return false;
  }
}

bool HasNamedType(duckdb_logical_type inType) {
  return TextHandle(duckdb_logical_type_get_alias(inType)) || HasNamedTypeInside(inType);
}

using OptionalText = std::optional<std::string>;

OptionalText TextBySql(duckdb_value inValue) {
  const VectorHandle vector = MakeVectorOf(inValue);
  const ColumnText text = RenderColumn(vector.get(), 1, Rendering::kText);
  if (!text || text.IsNull(0)) return std::nullopt;
  return std::string(text.get_Text(0));
}

// The bytes of a VARCHAR value, whatever its alias.
OptionalText BytesOfText(duckdb_value inText) {
  const VectorHandle vector = MakeVectorOf(inText);
  if (!vector) return std::nullopt;
  const auto* const data = static_cast<duckdb_string_t*>(duckdb_vector_get_data(vector.get()));
  if (!data) return std::nullopt;
  return std::string(TextOf(*data));
}

OptionalText Varchar(duckdb_value inValue) {
  const TextHandle text(duckdb_get_varchar(inValue));
  if (!text) return std::nullopt;
  return std::string(text.get());
}

// Whether a text of such a type may hold what is inside some text, and so a NUL byte.
bool MayHoldText(TypeId inType) {
  switch (inType) {
    case DUCKDB_TYPE_ENUM:
    case DUCKDB_TYPE_LIST:
    case DUCKDB_TYPE_ARRAY:
    case DUCKDB_TYPE_MAP:
    case DUCKDB_TYPE_STRUCT:
    case DUCKDB_TYPE_UNION:
    case kTypeVariant:
    case DUCKDB_TYPE_INVALID:
      return true;
    default:
      return false;
  }
}

}  // namespace

std::optional<std::string> GetValueText(duckdb_value inValue) {
  if (!inValue || duckdb_is_null_value(inValue)) return std::string();
  // The type belongs to the value.
  const duckdb_logical_type type = duckdb_get_value_type(inValue);
  const TypeId id = GetTypeId(type);
  if (id == DUCKDB_TYPE_VARCHAR) return BytesOfText(inValue);
  if (!MayHoldText(id)) return Varchar(inValue);
  if (HasNamedTypeInside(type)) return TextBySql(inValue);
  const LogicalTypeHandle text_type(duckdb_create_logical_type(DUCKDB_TYPE_VARCHAR));
  return BytesOfText(RetypeValue(text_type.get(), inValue).get());
}

}  // namespace lumora::duckdb_c
