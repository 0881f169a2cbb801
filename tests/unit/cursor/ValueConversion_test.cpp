#include "cursor/ValueConversion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cursor/ColumnReader.h"
#include "duckdb_c/duckdb_completion.h"
#include "support/FakeDatabase.h"
#include "support/HostValueText.h"

// What the definition makes of values that no cursor meets; the rest is compared with SQL by the
// tests of ColumnReader and of the cursors.
namespace {

using lumora::ConvertDuckDBValue;
using lumora::ConvertVariantValue;
using lumora::duckdb_c::ValueHandle;
using lumora::test::Describe;

ValueHandle FirstCell(lumora::test::FakeDatabase& inDatabase, std::string const& inSql) {
  lumora::duckdb_c::ResultHandle const result = inDatabase.Query(inSql);
  lumora::duckdb_c::ChunkHandle const chunk(duckdb_fetch_chunk(result.get()));
  return ValueHandle(duckdb_data_chunk_get_value(chunk.get(), 0, 0));
}

TEST(ConvertDuckDBValue, OfNoValueIsNullWhateverTheCode) {
  std::uint32_t const code = 5;
  EXPECT_EQ(Describe(ConvertDuckDBValue(nullptr, nullptr)), "Boolean NULL");
  EXPECT_EQ(Describe(ConvertDuckDBValue(nullptr, &code)), "Boolean NULL");
  ValueHandle const null(duckdb_create_null_value());
  EXPECT_EQ(Describe(ConvertDuckDBValue(null.get(), nullptr)), "Boolean NULL");
  for (std::uint32_t const any : {0U, 1U, 2U, 3U, 29U, 34U, 0xFFFFFFFFU}) {
    EXPECT_EQ(Describe(ConvertVariantValue(nullptr, any)), "Boolean NULL");
    EXPECT_EQ(Describe(ConvertVariantValue(null.get(), any)), "Boolean NULL");
  }
}

// A code from 34 on is not given.
TEST(ConvertDuckDBValue, OfAVariantWithoutACodeIsTheTextOfTheWhole) {
  lumora::test::FakeDatabase database;
  for (std::string const sql : {"5::VARIANT", "'a b'::VARIANT", "DATE '2024-01-15'::VARIANT"}) {
    ValueHandle const value = FirstCell(database, "SELECT " + sql);
    EXPECT_EQ(Describe(ConvertDuckDBValue(value.get(), nullptr)),
              "String '" + database.QueryText("SELECT " + sql) + "'");
  }
}

struct Declared {
  char const* mSql;
  char const* mKind;
  bool mIsNullable;
  std::uint32_t mMaxLength;
};

TEST(ConvertDuckDBValue, DeclaresEachKindAsAgreedWithTheHost) {
  lumora::test::FakeDatabase database;
  for (Declared const& declared : {
           Declared{"NULL::INTEGER", "Boolean", true, 0},
           Declared{"true", "Boolean", false, 0},
           Declared{"1::UTINYINT", "Byte", false, 0},
           Declared{"1::TINYINT", "Short", false, 0},
           Declared{"1::SMALLINT", "Short", false, 0},
           Declared{"1::USMALLINT", "UShort", false, 0},
           Declared{"1::INTEGER", "Long", false, 0},
           Declared{"1::UINTEGER", "ULong", false, 0},
           Declared{"1::BIGINT", "LLong", false, 0},
           Declared{"1::UBIGINT", "ULLong", false, 0},
           Declared{"1::FLOAT", "Float", false, 0},
           Declared{"1::DOUBLE", "Double", false, 0},
           Declared{"1::DECIMAL(4,1)", "Double", false, 0},
           Declared{"1::DECIMAL(38,0)", "Double", false, 0},
           Declared{"''", "String", false, 2},
           Declared{"'é😀'", "String", false, 8},
           Declared{"DATE '2024-01-15'", "String", false, 22},
           Declared{"[1]", "String", false, 8},
           Declared{"''::BLOB", "FixedBinary", true, 0},
           Declared{"'\\x00\\x01\\x02'::BLOB", "FixedBinary", true, 3},
           Declared{"'a'::VARIANT", "String", false, 4},
           Declared{"'\\x00'::BLOB::VARIANT", "FixedBinary", true, 1},
           Declared{"DATE '2024-01-15'::VARIANT", "Date", true, 0},
           Declared{"'2024-01-15'::TIMESTAMP_MS::VARIANT", "DateTime", false, 0},
           Declared{"1::TINYINT::VARIANT", "JSON", false, 0},
       }) {
    lumora::duckdb_c::ResultHandle result = database.Query(std::string("SELECT ") + declared.mSql);
    lumora::duckdb_c::ChunkHandle const chunk(duckdb_fetch_chunk(result.get()));
    lumora::duckdb_c::LogicalTypeHandle type(duckdb_column_logical_type(result.ptr(), 0));
    lumora::duckdb_c::TypeId const id = lumora::duckdb_c::GetTypeId(type.get());
    lumora::ColumnReader reader(std::move(type), 0);
    reader.put_Chunk(chunk.get());
    for (lumora::ValuePtr const& value :
         {lumora::ConvertCell(chunk.get(), 0, 0, id), reader.Read(0)}) {
      EXPECT_THAT(Describe(value), testing::StartsWith(std::string(declared.mKind) + ' '));
      EXPECT_EQ(value->get_IsNullable(), declared.mIsNullable) << declared.mSql;
      EXPECT_EQ(value->get_MaxLength(), declared.mMaxLength) << declared.mSql;
      EXPECT_EQ(value->get_RefsCount(), 1U) << declared.mSql;
    }
  }
}

TEST(ConvertVariantValue, OfACodeWithoutANameIsAnEnvelopeOfUnknown) {
  ValueHandle const child(duckdb_create_int32(7));
  for (std::uint32_t const code : {34U, 60U, 0xFFFFFFFFU}) {
    EXPECT_EQ(lumora::test::ToUTF8(ConvertVariantValue(child.get(), code)->get_String()),
              R"({"duckdb_variant":true,"variant_type":"UNKNOWN","value":"7"})");
  }
}

}  // namespace
