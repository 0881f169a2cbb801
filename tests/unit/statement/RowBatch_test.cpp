#include "statement/RowBatch.h"

#include <gtest/gtest.h>

#include "duckdb_c/DuckDBText.h"

namespace lumora {
namespace {

ParameterCell Number(std::int32_t inNumber) {
  ParameterCell cell;
  cell.Set(DUCKDB_TYPE_INTEGER, inNumber);
  return cell;
}
ParameterCell Text(std::string inText) {
  ParameterCell cell;
  cell.SetText(DUCKDB_TYPE_VARCHAR, std::move(inText));
  return cell;
}
ParameterCell Null() { return {}; }

bool Put(RowBatch& ioBatch, std::uint32_t inColumn, ParameterCell inCell) {
  return ioBatch.Put(inColumn, inCell);
}

std::string Seen(RowBatch const& inBatch, std::uint32_t inColumn, std::uint32_t inRow) {
  ParameterCell cell;
  inBatch.Get(inColumn, inRow, cell);
  if (cell.mType == ParameterCell::kNull) return "NULL";
  if (cell.mType == DUCKDB_TYPE_INTEGER) return std::to_string(cell.get<std::int32_t>());
  return "'" + cell.mText + "'";
}

TEST(RowBatch, TakesOneTypeAColumn) {
  RowBatch batch(1);
  EXPECT_TRUE(Put(batch, 0, Number(1)));
  batch.FinishRow();
  EXPECT_FALSE(Put(batch, 0, Text("x")));
  EXPECT_TRUE(Put(batch, 0, Null()));
  EXPECT_EQ(batch.get_Type(0), static_cast<duckdb_c::TypeId>(DUCKDB_TYPE_INTEGER));
}

TEST(RowBatch, TakesNoMadeValueAndNothingForAColumnThatItLacks) {
  RowBatch batch(1);
  ParameterCell made;
  made.SetValue(duckdb_c::ValueHandle(duckdb_create_int32(1)));
  EXPECT_FALSE(batch.Put(0, made));
  EXPECT_TRUE(made.mValue);
  EXPECT_FALSE(Put(batch, 1, Number(1)));
}

TEST(RowBatch, TakesNoTextThatDuckDBMakesNoValueOf) {
  RowBatch batch(1);
  EXPECT_FALSE(Put(batch, 0, Text("a\xFF")));
  EXPECT_FALSE(Put(batch, 0, Text(std::string((16 << 20) + 1, 'x'))));
  EXPECT_TRUE(Put(batch, 0, Text("\xC3\xA4")));
}

TEST(RowBatch, GivesBackWhatItTookAlsoBeforeTheColumnHadAType) {
  RowBatch batch(2);
  char const* const texts[] = {"", "one", "a text that is longer than twelve bytes"};
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(Put(batch, 0, i == 0 ? Null() : Number(i)));
    ASSERT_TRUE(Put(batch, 1, i == 1 ? Null() : Text(texts[i])));
    batch.FinishRow();
  }
  EXPECT_EQ(batch.get_Rows(), 3U);
  EXPECT_TRUE(batch.get_HasNull(0));
  EXPECT_EQ(Seen(batch, 0, 0), "NULL");
  EXPECT_EQ(Seen(batch, 0, 2), "2");
  EXPECT_EQ(Seen(batch, 1, 0), "''");
  EXPECT_EQ(Seen(batch, 1, 1), "NULL");
  EXPECT_EQ(Seen(batch, 1, 2), "'a text that is longer than twelve bytes'");
}

TEST(RowBatch, DropsAnUnfinishedRow) {
  RowBatch batch(3);
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(Put(batch, 0, Number(i)));
    ASSERT_TRUE(Put(batch, 1, Text("text " + std::to_string(i))));
    if (i == 1) break;
    ASSERT_TRUE(Put(batch, 2, Null()));
    batch.FinishRow();
  }
  EXPECT_EQ(Seen(batch, 1, 1), "'text 1'");
  batch.DropUnfinished();
  EXPECT_EQ(batch.get_Rows(), 1U);
  ASSERT_TRUE(Put(batch, 0, Null()));
  ASSERT_TRUE(Put(batch, 1, Text("other")));
  EXPECT_EQ(Seen(batch, 0, 1), "NULL");
  EXPECT_EQ(Seen(batch, 1, 0), "'text 0'");
  EXPECT_EQ(Seen(batch, 1, 1), "'other'");
}

TEST(RowBatch, StartsAnewWhenItIsCleared) {
  RowBatch batch(1);
  ASSERT_TRUE(Put(batch, 0, Text("x")));
  batch.FinishRow();
  EXPECT_EQ(batch.get_Bytes(), 1U);
  batch.Clear();
  EXPECT_EQ(batch.get_Rows(), 0U);
  EXPECT_EQ(batch.get_Bytes(), 0U);
  EXPECT_TRUE(Put(batch, 0, Number(5)));
  EXPECT_EQ(Seen(batch, 0, 0), "5");
  EXPECT_FALSE(batch.get_HasNull(0));
}

TEST(RowBatch, FillsAnyPartOfItselfIntoAChunk) {
  RowBatch batch(2);
  for (int i = 0; i < 10; ++i) {
    ASSERT_TRUE(Put(batch, 0, i % 3 == 0 ? Null() : Number(i)));
    ASSERT_TRUE(Put(batch, 1, i % 4 == 0 ? Null() : Text("text number " + std::to_string(i))));
    batch.FinishRow();
  }
  duckdb_c::LogicalTypeHandle const number(duckdb_create_logical_type(DUCKDB_TYPE_INTEGER));
  duckdb_c::LogicalTypeHandle const text(duckdb_create_logical_type(DUCKDB_TYPE_VARCHAR));
  duckdb_logical_type types[] = {number.get(), text.get()};
  duckdb_c::ChunkHandle const chunk(duckdb_create_data_chunk(types, 2));
  // The second time over what the first left.
  for (std::uint32_t const first : {0U, 3U}) {
    batch.Fill(chunk.get(), first, 6);
    ASSERT_EQ(duckdb_data_chunk_get_size(chunk.get()), 6U);
    duckdb_vector const numbers = duckdb_data_chunk_get_vector(chunk.get(), 0);
    duckdb_vector const texts = duckdb_data_chunk_get_vector(chunk.get(), 1);
    for (std::uint32_t i = 0; i < 6; ++i) {
      std::uint32_t const row = first + i;
      bool const isNumber = duckdb_validity_row_is_valid(duckdb_vector_get_validity(numbers), i);
      bool const isText = duckdb_validity_row_is_valid(duckdb_vector_get_validity(texts), i);
      EXPECT_EQ(isNumber, row % 3 != 0) << row;
      EXPECT_EQ(isText, row % 4 != 0) << row;
      if (isNumber) {
        EXPECT_EQ(static_cast<std::int32_t*>(duckdb_vector_get_data(numbers))[i],
                  static_cast<std::int32_t>(row));
      }
      if (isText) {
        auto const* const strings = static_cast<duckdb_string_t*>(duckdb_vector_get_data(texts));
        EXPECT_EQ(duckdb_c::TextOf(strings[i]), "text number " + std::to_string(row));
      }
    }
  }
}

}  // namespace
}  // namespace lumora
