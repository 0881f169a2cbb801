#include "cursor/ValueConversion.h"

#include <gtest/gtest.h>

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

TEST(ConvertVariantValue, OfACodeWithoutANameIsAnEnvelopeOfUnknown) {
  ValueHandle const child(duckdb_create_int32(7));
  for (std::uint32_t const code : {34U, 60U, 0xFFFFFFFFU}) {
    EXPECT_EQ(lumora::test::ToUTF8(ConvertVariantValue(child.get(), code)->get_String()),
              R"({"duckdb_variant":true,"variant_type":"UNKNOWN","value":"7"})");
  }
}

}  // namespace
