#include "cursor/ColumnReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "SqlOracle.h"
#include "cursor/ValueConversion.h"
#include "support/FakeDatabase.h"
#include "support/HostValueText.h"
#include "support/Seed.h"

// The reader against the definition and against SQL, value by value.
namespace {

using lumora::ColumnReader;
using lumora::ValuePtr;
using lumora::test::AskSql;
using lumora::test::Describe;
using lumora::test::DescribeFully;
using lumora::test::FakeDatabase;
using lumora::test::SqlAnswers;
namespace duckdb_c = lumora::duckdb_c;

bool HoldsVariant(std::string const& inType) { return inType.find("VARIANT") != inType.npos; }

struct Column {
  duckdb_data_chunk mChunk;
  idx_t mIndex;
  idx_t mFirstRow;  // of the chunk in the result
  SqlAnswers const* mAnswers;
};

// The first disagreement, or success. SQL has no text for what a VARIANT becomes.
testing::AssertionResult CompareCells(Column const& inColumn, duckdb_c::LogicalTypeHandle ioType) {
  duckdb_c::TypeId const type = duckdb_c::GetTypeId(ioType.get());
  ColumnReader reader(std::move(ioType), inColumn.mIndex);
  reader.put_Chunk(inColumn.mChunk);
  idx_t const rows = duckdb_data_chunk_get_size(inColumn.mChunk);
  for (idx_t r = 0; r < rows; ++r) {
    ValuePtr const value = reader.Read(r);
    std::string const defined =
        DescribeFully(lumora::ConvertCell(inColumn.mChunk, inColumn.mIndex, r, type));
    if (DescribeFully(value) != defined) {
      return testing::AssertionFailure() << "row " << inColumn.mFirstRow + r << " reads as "
                                         << DescribeFully(value) << ", is defined as " << defined;
    }
    SqlAnswers const* const answers = inColumn.mAnswers;
    if (!answers || HoldsVariant(answers->mColumnTypes[inColumn.mIndex])) continue;
    std::string const& said = answers->mExpected[inColumn.mIndex][inColumn.mFirstRow + r];
    if (Describe(value) != said) {
      return testing::AssertionFailure() << "row " << inColumn.mFirstRow + r << " reads as "
                                         << Describe(value) << ", SQL says " << said;
    }
  }
  return testing::AssertionSuccess();
}

testing::AssertionResult Agrees(FakeDatabase& ioDatabase, std::string const& inQuery,
                                bool inAsksSql = true) {
  SqlAnswers answers;
  if (inAsksSql) answers = AskSql(ioDatabase, inQuery);
  duckdb_c::ResultHandle result = ioDatabase.Query(inQuery);
  idx_t row = 0;
  while (duckdb_c::ChunkHandle const chunk{duckdb_fetch_chunk(result.get())}) {
    for (idx_t c = 0; c < duckdb_column_count(result.ptr()); ++c) {
      duckdb_c::LogicalTypeHandle type(duckdb_column_logical_type(result.ptr(), c));
      testing::AssertionResult agrees =
          CompareCells({chunk.get(), c, row, inAsksSql ? &answers : nullptr}, std::move(type));
      if (!agrees) {
        return agrees << "\nin " << duckdb_column_name(result.ptr(), c) << " of " << inQuery;
      }
    }
    row += duckdb_data_chunk_get_size(chunk.get());
  }
  if (row == 0) return testing::AssertionFailure() << "no rows: " << inQuery;
  return testing::AssertionSuccess();
}

unsigned Seed() {
  static unsigned const sSeed = static_cast<unsigned>(lumora::test::get_Seed("ColumnReader"));
  return sSeed;
}

// Random cells as SQL over a column i; {} is a salt of its own for each use. Numbers have all
// magnitudes and both signs.
constexpr char kMacros[] = R"(
CREATE MACRO bits(i, s) AS (hash(i, s) >> (hash(i, s + 1) % 64));
CREATE MACRO signed(i, s) AS
  (CASE WHEN hash(i, s + 2) % 2 = 0 THEN 1 ELSE -1 END * (bits(i, s) >> 1)::BIGINT);
CREATE MACRO within(i, s, n) AS (signed(i, s) % n);
CREATE TYPE small AS ENUM ('', 'b', 'é', 'a longer label than fits');
)";

std::vector<std::string> const kLeaves = {
    "hash(i, @) % 2 = 0",
    "within(i, @, 128)::TINYINT",
    "within(i, @, 32768)::SMALLINT",
    "within(i, @, 2147483648)::INTEGER",
    "signed(i, @)",
    "(bits(i, @) % 256)::UTINYINT",
    "(bits(i, @) % 65536)::USMALLINT",
    "(bits(i, @) % 4294967296)::UINTEGER",
    "bits(i, @)",
    "signed(i, @)::HUGEINT * signed(i, @ + 5)",
    "bits(i, @)::UHUGEINT * bits(i, @ + 5)",
    "(signed(i, @) / 1000)::FLOAT",
    "signed(i, @)::DOUBLE / bits(i, @ + 5)",
    "(within(i, @, 10000)::HUGEINT / 100)::DECIMAL(4, 2)",
    "(within(i, @, 100000000)::DECIMAL(9, 0) / 1000)::DECIMAL(9, 3)",
    "(signed(i, @) / 10)::DECIMAL(18, 0)",
    "CAST(within(i, @, 10000000000) || '.' || (bits(i, @ + 5) % 100000000) AS DECIMAL(18, 8))",
    "CAST(within(i, @, 1000000000000000) || '.' || bits(i, @ + 5) AS DECIMAL(38, 20))",
    "'epoch'::DATE + within(i, @, 2000000000)::INTEGER",
    "make_timestamp(within(i, @, 9200000000000000000))",
    "make_timestamp(within(i, @, 9200000000000000000))::TIMESTAMP_S",
    "make_timestamp(within(i, @, 9200000000000000000))::TIMESTAMP_MS",
    "make_timestamp_ns(signed(i, @))",
    "make_timestamp(within(i, @, 9200000000000000000))::TIMESTAMPTZ",
    "make_timestamp(signed(i, @))::TIME",
    "make_timestamp_ns(signed(i, @))::TIME_NS",
    "CAST(make_timestamp(signed(i, @))::TIME || printf('%s%02d:%02d:%02d', "
    "CASE WHEN hash(i, @ + 6) % 2 = 0 THEN '+' ELSE '-' END, hash(i, @ + 7) % 15, "
    "hash(i, @ + 8) % 60 * (hash(i, @ + 10) % 2), hash(i, @ + 9) % 60 * (hash(i, @ + 11) % 2)) "
    "AS TIMETZ)",
    "to_months(within(i, @, 2000000000)::INTEGER) + to_days(within(i, @ + 5, "
    "2000000000)::INTEGER) + to_microseconds(signed(i, @ + 10))",
    "to_months((within(i, @, 3))::INTEGER) + to_days((within(i, @ + 5, 3))::INTEGER) + "
    "to_microseconds(within(i, @ + 10, 3))",
    "md5((i + @)::VARCHAR)::UUID",
    "substr(md5((i + @)::VARCHAR), 1, (bits(i, @) % 33)::INTEGER)",
    "repeat(chr((bits(i, @) % 50000 + 1)::INTEGER), (hash(i, @ + 5) % 30)::INTEGER)",
    "repeat('\xf0\x9f\x98\x80' || chr(0), (hash(i, @) % 5)::INTEGER)",
    "unhex(substr(md5((i + @)::VARCHAR), 1, (hash(i, @) % 17 * 2)::INTEGER))",
    "bin(bits(i, @))::BIT",
    "enum_range(NULL::small)[(hash(i, @) % 4)::INTEGER + 1]::small",
    "signed(i, @)::BIGNUM",
    "NULL",
};

class ColumnReaderTest : public testing::Test {
 protected:
  ColumnReaderTest() : mRandom(Seed()) { mDatabase.Query(kMacros); }

  // One random cell of a leaf type, often NULL.
  std::string Leaf(std::string const& inLeaf) {
    std::string sql = inLeaf;
    for (auto at = sql.find('@'); at != sql.npos; at = sql.find('@')) {
      sql.replace(at, 1, std::to_string(mSalt));
    }
    mSalt += 100;
    return "CASE WHEN hash(i, " + std::to_string(mSalt) + ") % 7 = 0 THEN NULL ELSE " + sql +
           " END";
  }

  // A random type over the leaves, as a function of the salt: each use gives other cells.
  std::string Nested(int inDepth, std::string const& inLeaf) {
    if (inDepth == 0) return Leaf(inLeaf);
    auto const inner = [&] { return Nested(inDepth - 1, inLeaf); };
    auto const state = mRandom;
    auto const same = [&] {  // the same shape once more
      mRandom = state;
      mRandom();
      return inner();
    };
    switch (mRandom() % 6) {
      case 0:
        return "[" + same() + ", " + same() + ", NULL]";
      case 1:
        return "{'a': " + inner() + ", 'b b': " + inner() + "}";
      case 2:
        return "map([1, 2], [" + same() + ", " + same() + "])";
      case 3:
        return "array_value(" + same() + ", " + same() + ")";
      case 4:
        return "union_value(u := " + inner() + ")";
      default:
        return "CASE WHEN hash(i, " + std::to_string(mSalt) + ") % 5 = 0 THEN [] ELSE [" + same() +
               "] END";
    }
  }

  std::string Over(std::string const& inCell, int inRows) {
    return "SELECT " + inCell + " AS cell FROM range(" + std::to_string(inRows) + ") r(i)";
  }

  FakeDatabase mDatabase;
  std::mt19937 mRandom;
  unsigned mSalt = Seed() % 1000000;
};

TEST_F(ColumnReaderTest, AgreesOnAllTypesThatDuckDBKnows) {
  EXPECT_TRUE(Agrees(mDatabase, "SELECT * FROM test_all_types()"));
}

TEST_F(ColumnReaderTest, AgreesOnRandomCellsOfEveryLeafType) {
  for (std::string const& leaf : kLeaves) {
    std::string const query = Over(Leaf(leaf), 3000);
    ASSERT_TRUE(Agrees(mDatabase, query));
  }
}

TEST_F(ColumnReaderTest, AgreesOnVariantsOfEveryLeafType) {
  for (std::string const& leaf : kLeaves) {
    std::string const query =
        Over("(" + Leaf(leaf) + ")::VARIANT", lumora::test::kIsSlow ? 60 : 500);
    ASSERT_TRUE(Agrees(mDatabase, query, false));
  }
}

TEST_F(ColumnReaderTest, AgreesOnRandomNestedTypes) {
  for (int round = 0; round < 40; ++round) {
    std::string const& leaf = kLeaves[mRandom() % (kLeaves.size() - 1)];
    std::string const query = Over(Nested(1 + static_cast<int>(mRandom() % 3), leaf), 100);
    ASSERT_TRUE(Agrees(mDatabase, query));
  }
}

TEST_F(ColumnReaderTest, AgreesOnVariantsOfRandomNestedTypes) {
  for (int round = 0; round < 20; ++round) {
    std::string const& leaf = kLeaves[mRandom() % (kLeaves.size() - 1)];
    std::string const nested = Nested(static_cast<int>(mRandom() % 3), leaf);
    std::string const query = Over("(" + nested + ")::VARIANT", 100);
    ASSERT_TRUE(Agrees(mDatabase, query, false));
  }
}

TEST_F(ColumnReaderTest, AgreesOnInfinities) {
  for (std::string const type : {"DATE", "TIMESTAMP", "TIMESTAMP_S", "TIMESTAMP_MS", "TIMESTAMP_NS",
                                 "TIMESTAMP WITH TIME ZONE"}) {
    EXPECT_TRUE(Agrees(mDatabase, "SELECT unnest(['infinity', '-infinity'])::" + type));
  }
}

TEST_F(ColumnReaderTest, AgreesOnDatesAroundTheFirstYear) {
  EXPECT_TRUE(Agrees(mDatabase,
                     "SELECT DATE '0001-03-01' - i::INTEGER, "
                     "(DATE '0001-03-01' - i::INTEGER)::TIMESTAMP FROM range(900) r(i)"));
}

// DuckDB cannot take the infinities apart.
TEST_F(ColumnReaderTest, AgreesOnVariantsOfMillisecondsFarFrom1970) {
  for (std::string const millis : {"4503599627370496", "4503599627370497", "-4503599627370497",
                                   "9223372036854775", "-9223372022400000"}) {
    EXPECT_TRUE(Agrees(mDatabase, "SELECT epoch_ms(" + millis + ")::TIMESTAMP_MS::VARIANT", false));
  }
  EXPECT_TRUE(
      Agrees(mDatabase, "SELECT unnest(['infinity', '-infinity'])::TIMESTAMP_MS::VARIANT", false));
}

// Not NULL, and yet nothing is in it.
TEST_F(ColumnReaderTest, AgreesOnVariantsOfUnionsInUnionsThatHoldNull) {
  std::string const query =
      "SELECT union_value(u := union_value(u := NULL::INTEGER))::VARIANT AS v FROM range(2)";
  EXPECT_EQ(mDatabase.QueryText("SELECT list(variant_typeof(v)) FROM (" + query + ")"),
            "[VARIANT_NULL, VARIANT_NULL]");
  EXPECT_TRUE(Agrees(mDatabase, query, false));
}

TEST_F(ColumnReaderTest, AgreesOnVariantsInsideOtherTypes) {
  EXPECT_TRUE(Agrees(mDatabase,
                     "SELECT [1::VARIANT, 'a'::VARIANT, NULL], {'v': {'a': 1}::VARIANT}, "
                     "map([1], ['x'::VARIANT])",
                     false));
}

TEST_F(ColumnReaderTest, AgreesOnEnumsOfEverySize) {
  for (int const labels : {1, 255, 256, 257, 65535, 65536, 70000}) {
    std::string const count = std::to_string(labels);
    mDatabase.Query("CREATE OR REPLACE TYPE sized AS ENUM (SELECT 'label ' || range FROM range(" +
                    count + "))");
    // The range is a list of texts.
    ASSERT_TRUE(Agrees(mDatabase, "SELECT enum_range(NULL::sized)[(i * 7919) % " + count +
                                      " + 1]::sized FROM range(300) r(i)"));
  }
}

TEST_F(ColumnReaderTest, AgreesOnEnumsWhoseLabelsHoldNulCharacters) {
  mDatabase.Query(
      "CREATE TYPE cut AS ENUM (SELECT unnest(['a' || chr(0) || 'b', 'a', chr(0), '', 'a' || "
      "chr(0)]))");
  EXPECT_TRUE(Agrees(mDatabase, "SELECT unnest(enum_range(NULL::cut))::cut"));
}

TEST_F(ColumnReaderTest, AgreesAcrossChunksWithAndWithoutNulls) {
  EXPECT_TRUE(Agrees(mDatabase,
                     "SELECT CASE WHEN i < 2048 OR i % 3 = 0 THEN i END, [i], CASE WHEN i >= 4096 "
                     "THEN 'text ' || i END FROM range(5000) r(i)"));
}

}  // namespace
