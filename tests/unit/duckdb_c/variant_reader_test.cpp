#include "duckdb_c/VariantReader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestConnection.h"

namespace lumora::duckdb_c::test {
namespace {

// A VARIANT vector of one row, put together by hand. Everything lies in vectors of exactly the size
// that is told, so that a sanitizer sees a read outside.
struct Row {
  std::vector<duckdb_list_entry> mValues = {{0, 1}};
  std::vector<std::uint8_t> mTypeIds = {0};
  std::vector<std::uint32_t> mOffsets = {0};
  std::vector<duckdb_list_entry> mChildren = {{0, 0}};
  std::size_t mChildEntries = 0;
  std::vector<char> mBytes;
  std::vector<std::uint64_t> mValidity;

  Row() = default;
  Row(std::uint8_t inCode, std::string_view inBytes)
      : mTypeIds{inCode}, mBytes(inBytes.begin(), inBytes.end()) {}

  std::optional<VariantCell> Read(idx_t inRow = 0) {
    duckdb_string_t text{};
    text.value.inlined.length = static_cast<std::uint32_t>(mBytes.size());
    if (mBytes.size() <= sizeof(text.value.inlined.inlined)) {
      std::copy(mBytes.begin(), mBytes.end(), text.value.inlined.inlined);
    } else {
      text.value.pointer.ptr = mBytes.data();
    }
    mData = {text};
    VariantColumns columns;
    columns.mValidity = mValidity;
    columns.mValues = mValues;
    columns.mTypeIds = mTypeIds;
    columns.mByteOffsets = mOffsets;
    columns.mChildren = mChildren;
    columns.mChildEntryCount = mChildEntries;
    columns.mData = mData;
    return VariantReader(columns).Read(inRow);
  }

 private:
  std::vector<duckdb_string_t> mData;
};

TEST(VariantReader, WithoutAVectorThereAreNoRows) {
  const VariantReader reader(nullptr, 10);
  EXPECT_EQ(reader.get_RowCount(), 0U);
  EXPECT_TRUE(reader.IsNull(0));
  EXPECT_FALSE(reader.Read(0));
  EXPECT_FALSE(VariantReader().Read(0));
}

TEST(VariantReader, AVectorOfAnotherTypeHasNoRows) {
  ResultHandle result =
      SharedConnection().Query("SELECT 1, {'a': 1, 'b': 2, 'c': 3, 'd': 4}, [1], 'x'");
  const ChunkHandle chunk(duckdb_fetch_chunk(result.get()));
  for (idx_t column = 0; column < 4; ++column) {
    const VariantReader reader(duckdb_data_chunk_get_vector(chunk.get(), column), 1);
    EXPECT_EQ(reader.get_RowCount(), 0U) << column;
  }
}

TEST(VariantReader, ARowPastTheEndHasNoValue) {
  Row row(1, "");
  EXPECT_TRUE(row.Read(0));
  EXPECT_FALSE(row.Read(1));
  EXPECT_FALSE(row.Read(UINT64_MAX));
}

TEST(VariantReader, ANullRowHasNoValue) {
  Row row(1, "");
  row.mValidity = {~std::uint64_t{1}};
  EXPECT_FALSE(row.Read());
  row.mValidity = {1};
  EXPECT_TRUE(row.Read());
}

TEST(VariantReader, AnUnknownCodeHasNoValue) {
  for (unsigned code = kVariantCodeCount; code < 256; ++code) {
    EXPECT_FALSE(Row(static_cast<std::uint8_t>(code), std::string(100, '\1')).Read()) << code;
  }
}

// Bytes that hold one value of the code and nothing more.
std::string WholePayload(unsigned inCode) {
  static const std::size_t fixed[] = {0, 0,  0, 1, 2, 4, 8, 16, 1, 2, 4, 8,  16, 4, 8, 0, 0,
                                      0, 16, 4, 8, 8, 8, 8, 8,  8, 8, 8, 16, 0,  0, 0, 0, 0};
  if (inCode == 15) return std::string("\x12\x02", 2) + std::string(8, '\5');
  if (inCode == 16 || inCode == 17 || inCode >= 31) return "\x82\x01" + std::string(130, 'x');
  if (inCode == 29 || inCode == 30) return std::string(1, '\0');
  return std::string(fixed[inCode], '\7');
}

TEST(VariantReader, EveryCodeIsReadWholeAndNeverCut) {
  for (unsigned code = 0; code < kVariantCodeCount; ++code) {
    const std::string whole = WholePayload(code);
    const auto cell = Row(static_cast<std::uint8_t>(code), whole).Read();
    ASSERT_TRUE(cell) << code;
    EXPECT_EQ(static_cast<unsigned>(cell->mCode), code);
    for (std::size_t length = 0; length < whole.size(); ++length) {
      EXPECT_FALSE(Row(static_cast<std::uint8_t>(code), whole.substr(0, length)).Read())
          << code << " cut to " << length;
    }
  }
}

TEST(VariantReader, AnOffsetOutsideOfTheBytesHasNoValue) {
  for (const std::uint32_t offset : {2U, 5U, UINT32_MAX}) {
    Row row(5, "1234");
    row.mOffsets = {offset};
    EXPECT_FALSE(row.Read()) << offset;
  }
}

TEST(VariantReader, EntriesOutsideOfTheirListHaveNoValue) {
  const duckdb_list_entry entries[] = {{1, 1}, {0, 2}, {UINT64_MAX, 1}, {1, UINT64_MAX}};
  for (duckdb_list_entry const& entry : entries) {
    Row row(1, "");
    row.mValues = {entry};
    EXPECT_FALSE(row.Read()) << entry.offset << " " << entry.length;
  }
  Row uneven(1, "");
  uneven.mOffsets.clear();
  EXPECT_FALSE(uneven.Read());
}

TEST(VariantReader, ARowWithoutEntriesIsVariantNull) {
  Row row(1, "");
  row.mValues = {{0, 0}};
  auto const cell = row.Read();
  ASSERT_TRUE(cell);
  EXPECT_EQ(cell->mCode, VariantCode::kNull);
}

TEST(VariantReader, LengthsThatDoNotAddUpHaveNoValue) {
  EXPECT_FALSE(Row(16,
                   "\x05"
                   "abcd")
                   .Read());
  EXPECT_FALSE(Row(16, "\xFF\xFF\xFF\xFF\x0F").Read());
  EXPECT_FALSE(Row(16,
                   "\xFF\xFF\xFF\xFF\x1F"
                   "abc")
                   .Read())
      << "more than 32 bits";
  EXPECT_FALSE(Row(16, "\x80\x80\x80\x80\x80\x80\x00").Read()) << "too many bytes";
  EXPECT_FALSE(Row(16, "\x80").Read());
}

TEST(VariantReader, ADecimalOutsideOfItsRangeHasNoValue) {
  const std::string digits(16, '\1');
  EXPECT_FALSE(Row(15, std::string("\0\0", 2) + digits).Read());
  EXPECT_FALSE(Row(15, "\x27\x01" + digits).Read());
  EXPECT_FALSE(Row(15, "\x04\x05" + digits).Read());
  EXPECT_TRUE(Row(15, std::string("\x26\x26", 2) + digits).Read());
}

TEST(VariantReader, DecimalsOfEverySizeKeepTheirSign) {
  for (char const* const width : {"\x04", "\x09", "\x12", "\x26"}) {
    Row row(15, std::string(width) + "\x01" + std::string(16, '\xFF'));
    const auto cell = row.Read();
    ASSERT_TRUE(cell);
    const duckdb_hugeint value = GetVariantDecimal(*cell);
    EXPECT_EQ(value.lower, UINT64_MAX);
    EXPECT_EQ(value.upper, -1);
  }
}

TEST(VariantReader, ChildrenOutsideOfTheirListHaveNoValue) {
  Row row(30, "\x02\x01");
  row.mChildren = {{0, 3}};
  row.mChildEntries = 3;
  const auto cell = row.Read();
  ASSERT_TRUE(cell);
  EXPECT_EQ(cell->mChildCount, 2U);
  row.mChildren = {{0, 2}};
  EXPECT_FALSE(row.Read());
  row.mChildren = {{2, 3}};
  EXPECT_FALSE(row.Read());
  row.mChildren.clear();
  EXPECT_FALSE(row.Read());
}

}  // namespace
}  // namespace lumora::duckdb_c::test
