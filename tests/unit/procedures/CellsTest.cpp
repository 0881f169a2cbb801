#include "procedures/Cells.h"

#include <cstring>

#include "ProcedureFixture.h"
#include "duckdb_c/Handles.h"

namespace lumora::procedures {
namespace {

using test::HostValue;

// --- pure ---

TEST(CellStorage, OfTypesWithoutDataOfTheirOwnIsEmpty) {
  for (TypeId const type : {0U, 25U, 28U, 33U, 34U, 36U, 37U, 38U, 41U, 60U, UINT32_MAX}) {
    EXPECT_EQ(StorageOf(type, 0).mWidth, 0U) << type;
    EXPECT_FALSE(StorageOf(type, 0).mHasRecords) << type;
  }
}

TEST(CellStorage, OfDecimalAndEnumIsThatOfTheirInternalType) {
  for (TypeId const type : {19U, 23U}) {
    EXPECT_EQ(StorageOf(type, DUCKDB_TYPE_INVALID).mWidth, 0U);
    EXPECT_EQ(StorageOf(type, DUCKDB_TYPE_UTINYINT).mWidth, 1U);
    EXPECT_EQ(StorageOf(type, DUCKDB_TYPE_SMALLINT).mWidth, 2U);
    EXPECT_EQ(StorageOf(type, DUCKDB_TYPE_UINTEGER).mWidth, 4U);
    EXPECT_EQ(StorageOf(type, DUCKDB_TYPE_BIGINT).mWidth, 8U);
    EXPECT_EQ(StorageOf(type, DUCKDB_TYPE_HUGEINT).mWidth, 16U);
    EXPECT_FALSE(StorageOf(type, DUCKDB_TYPE_HUGEINT).mHasRecords);
  }
}

TEST(CellStorage, OnlyTextsAndBytesHaveStringRecords) {
  for (TypeId type = 0; type < 70; ++type) {
    bool const expected = type == 17 || type == 18 || type == 29 || type == 35 || type == 40;
    EXPECT_EQ(StorageOf(type, 0).mHasRecords, expected) << type;
    if (expected) EXPECT_EQ(StorageOf(type, 0).mWidth, 16U) << type;
  }
}

TEST(ReadableRows, EndWhereACellWouldLeaveTheStoredRows) {
  EXPECT_EQ(CountReadableRows(0, 8, 8), 0U);
  EXPECT_EQ(CountReadableRows(5, 0, 8), 0U);
  EXPECT_EQ(CountReadableRows(2048, 8, 8), 2048U);
  EXPECT_EQ(CountReadableRows(2048, 16, 8), 2048U);
  EXPECT_EQ(CountReadableRows(2048, 2, 8), 512U);
  EXPECT_EQ(CountReadableRows(3, 2, 8), 0U);
  EXPECT_EQ(CountReadableRows(4, 2, 8), 1U);
  EXPECT_EQ(CountReadableRows(7, 2, 8), 1U);
  EXPECT_EQ(CountReadableRows(16, 1, 16), 1U);
  EXPECT_EQ(CountReadableRows(15, 1, 16), 0U);
}

// --- over DuckDB's vectors ---

class Cells : public ProcedureTest {
 protected:
  // The cells of the first chunk of a one-column query, as the runner would read them.
  void Query(std::string const& inSql) {
    ASSERT_EQ(duckdb_open(nullptr, mDatabase.out()), DuckDBSuccess);
    ASSERT_EQ(duckdb_connect(mDatabase.get(), mConnection.out()), DuckDBSuccess);
    ASSERT_EQ(duckdb_query(mConnection.get(), inSql.c_str(), mResult.out()), DuckDBSuccess)
        << duckdb_result_error(mResult.ptr());
    mChunk = duckdb_c::ChunkHandle(duckdb_result_get_chunk(mResult.get(), 0));
    mRows = duckdb_data_chunk_get_size(mChunk.get());
    auto const type = runtime_type_of(duckdb_c::GetColumnTypeId(mResult.ptr(), 0));
    mColumn = MakeCellColumn(duckdb_data_chunk_get_vector(mChunk.get(), 0), mRows, type);
  }

  HostValue const* Read(idx_t inRow) {
    return static_cast<HostValue const*>(ReadCell(&mContext, mColumn, inRow));
  }
  // The stored bytes at an offset, as the type.
  template <typename T>
  T Stored(idx_t inOffset) {
    T value;
    std::memcpy(&value, mColumn.mData + inOffset, sizeof(T));
    return value;
  }

  duckdb_c::DatabaseHandle mDatabase;
  duckdb_c::ConnectionHandle mConnection;
  duckdb_c::ResultHandle mResult;
  duckdb_c::ChunkHandle mChunk;
  idx_t mRows = 0;
  CellColumn mColumn;
};

TEST_F(Cells, PastTheChunkAreNull) {
  Query("SELECT range FROM range(3)");
  EXPECT_EQ(Read(3), nullptr);
  EXPECT_EQ(Read(UINT64_MAX), nullptr);
  ASSERT_NE(Read(2), nullptr);
  EXPECT_EQ(Read(2)->mInt, 2);
}

TEST_F(Cells, ThatAreNullGiveNoValue) {
  Query("SELECT CASE WHEN range % 3 = 0 THEN NULL ELSE range END FROM range(200)");
  for (idx_t row = 0; row < 200; ++row) EXPECT_EQ(Read(row) == nullptr, row % 3 == 0) << row;
}

TEST_F(Cells, OfAVectorWithoutDataAreNull) {
  for (char const* const value :
       {"{'a': 1}", "[1, 2]::INTEGER[2]", "union_value(a := 1)", "CAST('1'::JSON AS VARIANT)"}) {
    Query(std::string("SELECT ") + value);
    EXPECT_EQ(Read(0), nullptr) << value;
  }
}

TEST_F(Cells, OfNarrowDecimalsAreTheirNeighboursBitsUntilTheRowsEnd) {
  Query("SELECT CAST(range AS DECIMAL(4,1)) FROM range(11)");
  EXPECT_EQ(mColumn.mReadableRows, 2U);
  for (idx_t row = 0; row < 2; ++row) {
    ASSERT_NE(Read(row), nullptr);
    EXPECT_EQ(Read(row)->mKind, test::kDouble);
    EXPECT_EQ(Read(row)->mDouble, Stored<double>(row * 8)) << row;
  }
  for (idx_t row = 2; row < 11; ++row) EXPECT_EQ(Read(row), nullptr) << row;
}

TEST_F(Cells, OfDecimalsOf18DigitsAreTheIntegersBitsAsADouble) {
  Query("SELECT CAST(x AS DECIMAL(18,2)) FROM (VALUES (1.25), (-99999999999999.99)) t(x)");
  for (idx_t row = 0; row < 2; ++row) {
    std::int64_t const stored = row == 0 ? 125 : -9999999999999999;
    double expected;
    std::memcpy(&expected, &stored, sizeof expected);
    ASSERT_NE(Read(row), nullptr);
    EXPECT_EQ(std::memcmp(&Read(row)->mDouble, &expected, sizeof expected), 0) << row;
  }
}

TEST_F(Cells, OfWideDecimalsAreEightBytesARow) {
  Query("SELECT CAST(range + 1 AS DECIMAL(38,0)) FROM range(4)");
  for (idx_t row = 0; row < 4; ++row) {
    ASSERT_NE(Read(row), nullptr);
    double const expected = Stored<double>(row * 8);
    EXPECT_EQ(std::memcmp(&Read(row)->mDouble, &expected, sizeof expected), 0) << row;
  }
}

TEST_F(Cells, OfEnumsAreRecordsOfTheirNumbersUntilTheRowsEnd) {
  // Sixteen one-byte numbers make one record: length 1, then one byte of text.
  Query("SELECT CAST(CASE WHEN range = 0 THEN 'b' ELSE 'a' END AS ENUM('a', 'b')) FROM range(20)");
  EXPECT_EQ(mColumn.mReadableRows, 1U);
  ASSERT_NE(Read(0), nullptr);
  EXPECT_EQ(Read(0)->mText, std::string(1, '\0'));
  EXPECT_EQ(Read(1), nullptr);
}

TEST_F(Cells, ThatOnlyLookLikeARecordAreNeverFollowed) {
  Query("SELECT CAST(x AS HUGEINT) FROM (VALUES (13), (12), (0), (4294967295)) t(x)");
  EXPECT_EQ(Read(0), nullptr);
  ASSERT_NE(Read(1), nullptr);
  EXPECT_EQ(Read(1)->mText, std::string(12, '\0'));
  ASSERT_NE(Read(2), nullptr);
  EXPECT_EQ(Read(2)->mText, "");
  EXPECT_EQ(Read(3), nullptr);
}

TEST_F(Cells, OfStringRecordsHaveAnyLength) {
  Query("SELECT repeat('x', range) FROM range(30)");
  for (idx_t row = 0; row < 30; ++row) {
    ASSERT_NE(Read(row), nullptr);
    EXPECT_EQ(Read(row)->mText, std::string(row, 'x'));
    EXPECT_EQ(Read(row)->mKind, test::kText);
  }
}

TEST_F(Cells, OfBlobsAreBinary) {
  Query("SELECT '\\x00\\xFF'::BLOB");
  ASSERT_NE(Read(0), nullptr);
  EXPECT_EQ(Read(0)->mKind, test::kBinary);
  EXPECT_EQ(Read(0)->mText, std::string("\0\xFF", 2));
}

TEST_F(Cells, ThatAreInfiniteTimestampsAreNullAndInfiniteDatesAreNot) {
  Query("SELECT x::TIMESTAMP FROM (VALUES ('infinity'), ('-infinity')) t(x)");
  EXPECT_EQ(Read(0), nullptr);
  EXPECT_EQ(Read(1), nullptr);
  Query("SELECT 'infinity'::DATE");
  EXPECT_NE(Read(0), nullptr);
}

// DuckDB makes them and cannot take them apart.
TEST_F(Cells, ThatAreTimestampsBeforeDuckDBsFirstDayAreNull) {
  Query(
      "SELECT make_timestamp(x) FROM (VALUES (-9223372036854775806), (-9223372022400000001), "
      "(-9223372022400000000), (9223372036854775806)) t(x)");
  EXPECT_EQ(Read(0), nullptr);
  EXPECT_EQ(Read(1), nullptr);
  ASSERT_NE(Read(2), nullptr);
  EXPECT_EQ(Read(2)->mBits >> 32, (static_cast<std::uint32_t>(-290308) << 9) | 12U << 5 | 22U);
  ASSERT_NE(Read(3), nullptr);
  EXPECT_EQ(Read(3)->mBits >> 32, 294247U << 9 | 1U << 5 | 10U);
}

}  // namespace
}  // namespace lumora::procedures
