#include "cursor/ColumnReader.h"

#include <array>
#include <utility>

#include "cursor/ValueConversion.h"
#include "duckdb_c/ValueText.h"
#include "tarn/Converter.h"

namespace lumora {

namespace {

template <typename T>
T const& Cell(ColumnData const& inColumn, idx_t inRow) {
  return static_cast<T const*>(inColumn.mValues)[inRow];
}

template <typename TStored, typename THost, auto TMake>
NewValue ReadScalar(ColumnData& ioColumn, idx_t inRow) {
  return TMake(static_cast<THost>(Cell<TStored>(ioColumn, inRow)));
}

NewValue ReadNull(ColumnData&, idx_t) { return tarn::NewValueNull(); }

NewValue ReadBlob(ColumnData& ioColumn, idx_t inRow) {
  auto text = Cell<duckdb_string_t>(ioColumn, inRow);
  return MakeBlobValue(duckdb_string_t_data(&text), duckdb_string_t_length(text)).detach();
}

// DuckDB divides by the power of ten where the digits fit into a double, and converts whole part
// and fraction apart where they do not.
template <typename T>
double DecimalToDouble(T inDigits, std::uint8_t inScale) {
  static constexpr std::int64_t kPowers[] = {1,
                                             10,
                                             100,
                                             1000,
                                             10000,
                                             100000,
                                             1000000,
                                             10000000,
                                             100000000,
                                             1000000000,
                                             10000000000,
                                             100000000000,
                                             1000000000000,
                                             10000000000000,
                                             100000000000000,
                                             1000000000000000,
                                             10000000000000000,
                                             100000000000000000,
                                             1000000000000000000};
  std::int64_t const power = kPowers[inScale];
  std::int64_t const digits = inDigits;
  constexpr std::int64_t kExact = std::int64_t{1} << 53;
  if (inScale == 0 || (digits >= -kExact && digits <= kExact)) {
    return static_cast<double>(digits) / static_cast<double>(power);
  }
  // NOLINTNEXTLINE(bugprone-integer-division): the whole part, the rest follows
  return static_cast<double>(digits / power) +
         static_cast<double>(digits % power) / static_cast<double>(power);
}

template <typename T>
NewValue ReadDecimal(ColumnData& ioColumn, idx_t inRow) {
  return tarn::NewValueDouble(DecimalToDouble(Cell<T>(ioColumn, inRow), ioColumn.mScale));
}

NewValue ReadRendered(ColumnData& ioColumn, idx_t inRow) {
  if (!Render(ioColumn, duckdb_c::Rendering::kText, inRow))
    return ReadByDefinition(ioColumn, inRow);
  return NewText(ioColumn.mText.get_Text(inRow));
}

constexpr auto kReaders = [] {
  std::array<ReadFunction, duckdb_c::kTypeVariant + 1> table{};
  table[DUCKDB_TYPE_BOOLEAN] = ReadScalar<bool, bool, tarn::NewValueBoolean>;
  table[DUCKDB_TYPE_TINYINT] = ReadScalar<std::int8_t, std::int16_t, tarn::NewValueShort>;
  table[DUCKDB_TYPE_SMALLINT] = ReadScalar<std::int16_t, std::int16_t, tarn::NewValueShort>;
  table[DUCKDB_TYPE_INTEGER] = ReadScalar<std::int32_t, std::int32_t, tarn::NewValueLong>;
  table[DUCKDB_TYPE_BIGINT] = ReadScalar<std::int64_t, std::int64_t, tarn::NewValueLLong>;
  table[DUCKDB_TYPE_UTINYINT] = ReadScalar<std::uint8_t, std::uint8_t, tarn::NewValueByte>;
  table[DUCKDB_TYPE_USMALLINT] = ReadScalar<std::uint16_t, std::uint16_t, tarn::NewValueUShort>;
  table[DUCKDB_TYPE_UINTEGER] = ReadScalar<std::uint32_t, std::uint32_t, tarn::NewValueULong>;
  table[DUCKDB_TYPE_UBIGINT] = ReadScalar<std::uint64_t, std::uint64_t, tarn::NewValueULLong>;
  table[DUCKDB_TYPE_FLOAT] = ReadScalar<float, float, tarn::NewValueFloat>;
  table[DUCKDB_TYPE_DOUBLE] = ReadScalar<double, double, tarn::NewValueDouble>;
  table[DUCKDB_TYPE_BLOB] = ReadBlob;
  table[DUCKDB_TYPE_SQLNULL] = ReadNull;
  table[duckdb_c::kTypeVariant] = ReadVariant;
  return table;
}();

ReadFunction FindDecimalReader(duckdb_logical_type inType) {
  switch (duckdb_decimal_internal_type(inType)) {
    case DUCKDB_TYPE_SMALLINT:
      return ReadDecimal<std::int16_t>;
    case DUCKDB_TYPE_INTEGER:
      return ReadDecimal<std::int32_t>;
    case DUCKDB_TYPE_BIGINT:
      return ReadDecimal<std::int64_t>;
    default:
      return ReadByDefinition;
  }
}

template <typename T>
NewValue ReadEnum(ColumnData& ioColumn, idx_t inRow) {
  idx_t const index = Cell<T>(ioColumn, inRow);
  if (index >= ioColumn.mLabels.size()) return ReadByDefinition(ioColumn, inRow);
  std::optional<tarn::String>& label = ioColumn.mLabels[index];
  if (!label) {
    // Not duckdb_enum_dictionary_value, whose text ends at a NUL character.
    duckdb_c::ValueHandle const value(duckdb_create_enum_value(ioColumn.mEnum.get(), index));
    auto const text = duckdb_c::GetValueText(value.get());
    if (!value || !text) return ReadByDefinition(ioColumn, inRow);
    label.emplace(tarn::StToUTF16(text->data(), static_cast<std::int64_t>(text->size()),
                                  tarn::GetConverter_UTF8()));
  }
  return MakeStringValue(tarn::String(*label)).detach();
}

ReadFunction FindEnumReader(duckdb_logical_type inType) {
  switch (duckdb_enum_internal_type(inType)) {
    case DUCKDB_TYPE_UTINYINT:
      return ReadEnum<std::uint8_t>;
    case DUCKDB_TYPE_USMALLINT:
      return ReadEnum<std::uint16_t>;
    case DUCKDB_TYPE_UINTEGER:
      return ReadEnum<std::uint32_t>;
    default:
      return ReadRendered;
  }
}

ReadFunction FindReader(duckdb_c::TypeId inTypeId, duckdb_logical_type inType) {
  if (inTypeId == DUCKDB_TYPE_DECIMAL) return FindDecimalReader(inType);
  if (inTypeId == DUCKDB_TYPE_ENUM) return FindEnumReader(inType);
  if (inTypeId < kReaders.size() && kReaders[inTypeId]) return kReaders[inTypeId];
  if (ReadFunction const read = FindTextReader(inTypeId)) return read;
  return ReadRendered;
}

}  // namespace

ColumnReader::ColumnReader(duckdb_c::LogicalTypeHandle&& ioType, idx_t inColumn) {
  duckdb_logical_type const type = ioType.get();
  mData.mColumn = inColumn;
  mData.mType = duckdb_c::GetTypeId(type);
  mRead = FindReader(mData.mType, type);
  if (mData.mType == DUCKDB_TYPE_DECIMAL) mData.mScale = duckdb_decimal_scale(type);
  if (mData.mType == DUCKDB_TYPE_ENUM) {
    mData.mLabels.resize(duckdb_enum_dictionary_size(type));
    mData.mEnum = std::move(ioType);
  }
}

void ColumnReader::put_Chunk(duckdb_data_chunk inChunk) {
  mData.mChunk = inChunk;
  mData.mVector = inChunk ? duckdb_data_chunk_get_vector(inChunk, mData.mColumn) : nullptr;
  mData.mValues = mData.mVector ? duckdb_vector_get_data(mData.mVector) : nullptr;
  mData.mValidity = mData.mVector ? duckdb_vector_get_validity(mData.mVector) : nullptr;
  if (mData.mIsRendered) mData.mText = {};
  mData.mIsRendered = false;
  if (mData.mType == duckdb_c::kTypeVariant) {
    idx_t const size = inChunk ? duckdb_data_chunk_get_size(inChunk) : 0;
    mData.mVariant = duckdb_c::VariantReader(mData.mVector, size);
  }
}

NewValue ReadByDefinition(ColumnData& ioColumn, idx_t inRow) {
  return ConvertCell(ioColumn.mChunk, ioColumn.mColumn, inRow, ioColumn.mType).detach();
}

bool Render(ColumnData& ioColumn, duckdb_c::Rendering inRendering, idx_t inRow) {
  if (!ioColumn.mIsRendered) {
    idx_t const size = duckdb_data_chunk_get_size(ioColumn.mChunk);
    ioColumn.mText = duckdb_c::RenderColumn(ioColumn.mVector, size, inRendering);
    ioColumn.mIsRendered = true;
  }
  return ioColumn.mText && !ioColumn.mText.IsNull(inRow);
}

}  // namespace lumora
