#include "duckdb_c/CellValues.h"

#include <cstdint>
#include <utility>
#include <vector>

#include "duckdb_c/PrivateDatabase.h"
#include "duckdb_c/ScalarCells.h"
#include "duckdb_c/Types.h"
#include "duckdb_c/Values.h"
#include "duckdb_c/duckdb_completion.h"

namespace lumora::duckdb_c {
namespace {

// Values and the bare handles that DuckDB's makers want.
class ValueList {
 public:
  // False, and nothing added, for a null value.
  bool Add(ValueHandle inValue) {
    if (!inValue) return false;
    mBare.push_back(inValue.get());
    mOwned.push_back(std::move(inValue));
    return true;
  }
  // Never null: DuckDB refuses a null list even where it is empty.
  duckdb_value* data() noexcept { return mBare.empty() ? &mNone : mBare.data(); }
  idx_t size() const noexcept { return mBare.size(); }

 private:
  std::vector<ValueHandle> mOwned;
  std::vector<duckdb_value> mBare;
  duckdb_value mNone = nullptr;
};

ValueHandle RebuildCell(duckdb_vector inVector, idx_t inRow);

bool RebuildRange(duckdb_vector inVector, idx_t inOffset, idx_t inCount, ValueList& outValues) {
  for (idx_t index = 0; index < inCount; ++index) {
    if (!outValues.Add(RebuildCell(inVector, inOffset + index))) return false;
  }
  return true;
}

ValueHandle RebuildList(duckdb_logical_type inType, duckdb_vector inVector, idx_t inRow) {
  const auto& entry =
      static_cast<duckdb_list_entry const*>(duckdb_vector_get_data(inVector))[inRow];
  const duckdb_vector child = duckdb_list_vector_get_child(inVector);
  const LogicalTypeHandle child_type(duckdb_list_type_child_type(inType));
  ValueList values;
  if (!RebuildRange(child, entry.offset, entry.length, values)) return {};
  return ValueHandle(duckdb_create_list_value(child_type.get(), values.data(), values.size()));
}

ValueHandle RebuildArray(duckdb_logical_type inType, duckdb_vector inVector, idx_t inRow) {
  const idx_t length = duckdb_array_type_array_size(inType);
  const duckdb_vector child = duckdb_array_vector_get_child(inVector);
  const LogicalTypeHandle child_type(duckdb_array_type_child_type(inType));
  ValueList values;
  if (!RebuildRange(child, inRow * length, length, values)) return {};
  return ValueHandle(duckdb_create_array_value(child_type.get(), values.data(), values.size()));
}

ValueHandle RebuildStruct(duckdb_logical_type inType, duckdb_vector inVector, idx_t inRow) {
  const idx_t count = duckdb_struct_type_child_count(inType);
  ValueList values;
  for (idx_t index = 0; index < count; ++index) {
    if (!values.Add(RebuildCell(duckdb_struct_vector_get_child(inVector, index), inRow))) return {};
  }
  return ValueHandle(duckdb_create_struct_value(inType, values.data()));
}

// A map is a list of structs of key and value.
ValueHandle RebuildMap(duckdb_logical_type inType, duckdb_vector inVector, idx_t inRow) {
  const auto& entry =
      static_cast<duckdb_list_entry const*>(duckdb_vector_get_data(inVector))[inRow];
  const duckdb_vector pairs = duckdb_list_vector_get_child(inVector);
  ValueList keys;
  ValueList values;
  if (!RebuildRange(duckdb_struct_vector_get_child(pairs, 0), entry.offset, entry.length, keys) ||
      !RebuildRange(duckdb_struct_vector_get_child(pairs, 1), entry.offset, entry.length, values)) {
    return {};
  }
  return ValueHandle(duckdb_create_map_value(inType, keys.data(), values.data(), keys.size()));
}

// A union is a struct of the tag and one child for each member.
ValueHandle RebuildUnion(duckdb_logical_type inType, duckdb_vector inVector, idx_t inRow) {
  const auto* const tags = static_cast<std::uint8_t const*>(
      duckdb_vector_get_data(duckdb_struct_vector_get_child(inVector, 0)));
  const idx_t tag = tags[inRow];
  if (tag >= duckdb_union_type_member_count(inType)) return {};
  const ValueHandle member = RebuildCell(duckdb_struct_vector_get_child(inVector, tag + 1), inRow);
  return member ? ValueHandle(duckdb_create_union_value(inType, tag, member.get())) : ValueHandle();
}

using Rebuild = ValueHandle (*)(duckdb_logical_type, duckdb_vector, idx_t);

Rebuild FindRebuild(TypeId inType) noexcept {
  switch (inType) {
    case DUCKDB_TYPE_LIST:
      return RebuildList;
    case DUCKDB_TYPE_ARRAY:
      return RebuildArray;
    case DUCKDB_TYPE_STRUCT:
      return RebuildStruct;
    case DUCKDB_TYPE_MAP:
      return RebuildMap;
    case DUCKDB_TYPE_UNION:
      return RebuildUnion;
    default:
      return nullptr;
  }
}

bool HasAlias(duckdb_logical_type inType) {
  return static_cast<bool>(TextHandle(duckdb_logical_type_get_alias(inType)));
}

ValueHandle RebuildPresent(duckdb_logical_type inType, duckdb_vector inVector, idx_t inRow) {
  const TypeId id = GetTypeId(inType);
  if (id == DUCKDB_TYPE_SQLNULL) return ValueHandle(duckdb_create_null_value());
  if (const Rebuild rebuild = FindRebuild(id)) return rebuild(inType, inVector, inRow);
  const MakeScalar make = FindScalarMaker(id);
  return make ? make(inType, duckdb_vector_get_data(inVector), inRow) : ValueHandle();
}

ValueHandle RebuildCell(duckdb_vector inVector, idx_t inRow) {
  if (!inVector) return {};
  const LogicalTypeHandle type(duckdb_vector_get_column_type(inVector));
  if (!duckdb_validity_row_is_valid(duckdb_vector_get_validity(inVector), inRow)) {
    return MakeTypedNull(type.get());
  }
  ValueHandle value = RebuildPresent(type.get(), inVector, inRow);
  return HasAlias(type.get()) ? RetypeValue(type.get(), value.get()) : std::move(value);
}

bool IsRebuildable(duckdb_logical_type inType);

bool AreMembersRebuildable(duckdb_logical_type inType, idx_t inCount,
                           duckdb_logical_type (*inGetMember)(duckdb_logical_type, idx_t)) {
  for (idx_t index = 0; index < inCount; ++index) {
    if (!IsRebuildable(LogicalTypeHandle(inGetMember(inType, index)).get())) return false;
  }
  return true;
}

// Whether everything in it, at any depth, can be built with the C API.
bool IsRebuildable(duckdb_logical_type inType) {
  switch (const TypeId id = GetTypeId(inType)) {
    case DUCKDB_TYPE_LIST:
      return IsRebuildable(LogicalTypeHandle(duckdb_list_type_child_type(inType)).get());
    case DUCKDB_TYPE_ARRAY:
      return IsRebuildable(LogicalTypeHandle(duckdb_array_type_child_type(inType)).get());
    case DUCKDB_TYPE_MAP:
      return IsRebuildable(LogicalTypeHandle(duckdb_map_type_key_type(inType)).get()) &&
             IsRebuildable(LogicalTypeHandle(duckdb_map_type_value_type(inType)).get());
    case DUCKDB_TYPE_STRUCT:
      return AreMembersRebuildable(inType, duckdb_struct_type_child_count(inType),
                                   duckdb_struct_type_child_type);
    case DUCKDB_TYPE_UNION:
      return AreMembersRebuildable(inType, duckdb_union_type_member_count(inType),
                                   duckdb_union_type_member_type);
    default:
      return id == DUCKDB_TYPE_SQLNULL || FindScalarMaker(id) != nullptr;
  }
}

}  // namespace

ValueHandle MakeCellValue(duckdb_vector inVector, idx_t inSize, idx_t inRow) {
  const LogicalTypeHandle type(duckdb_vector_get_column_type(inVector));
  const bool is_valid = duckdb_validity_row_is_valid(duckdb_vector_get_validity(inVector), inRow);
  if (is_valid && !IsRebuildable(type.get())) return CaptureCell(inVector, inSize, inRow);
  return RebuildCell(inVector, inRow);
}

ValueHandle GetCellValue(duckdb_data_chunk inChunk, idx_t inColumn, idx_t inRow) {
  if (!inChunk || inColumn >= duckdb_data_chunk_get_column_count(inChunk)) return {};
  const idx_t size = duckdb_data_chunk_get_size(inChunk);
  if (inRow >= size) return {};
  return MakeCellValue(duckdb_data_chunk_get_vector(inChunk, inColumn), size, inRow);
}

}  // namespace lumora::duckdb_c

duckdb_value duckdb_data_chunk_get_value(duckdb_data_chunk chunk, idx_t column, idx_t row) {
  try {
    return lumora::duckdb_c::GetCellValue(chunk, column, row).release();
  } catch (...) {
    return nullptr;
  }
}
