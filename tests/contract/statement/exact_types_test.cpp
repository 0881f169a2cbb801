#include <random>
#include <vector>

#include "support/DatabaseTest.h"
#include "support/Seed.h"
#include "support/TestValue.h"

// A plain INSERT binds whole numbers and NULLs in the type of their column, any other text in their
// own. Nothing of that may be seen: the same rows through a text that is not recognised (it holds a
// comment) give the same table and the same errors.
namespace {

using namespace lumora::test;

constexpr int kCases = kIsSlow ? 60 : 400;

constexpr char const* kTypes[] = {
    "TINYINT",
    "SMALLINT",
    "INTEGER",
    "BIGINT",
    "HUGEINT",
    "UTINYINT",
    "USMALLINT",
    "UINTEGER",
    "UBIGINT",
    "UHUGEINT",
    "FLOAT",
    "DOUBLE",
    "DECIMAL(9,2)",
    "BOOLEAN",
    "VARCHAR",
    "DATE",
    "TIMESTAMP",
    "TIMESTAMP_MS",
    "TIMESTAMP_S",
    "TIMESTAMP_NS",
    "TIMESTAMPTZ",
    "BLOB",
    "INTEGER[]",
    "STRUCT(a INTEGER)",
    "VARIANT",
    "JSON",
    "UNION(n TINYINT, m BIGINT, s VARCHAR)",
    "ENUM ('1', '5')",
    "INTEGER NOT NULL",
    "INTEGER CHECK (c < 100)",
};

class ExactTypes : public DatabaseTest {
 protected:
  using ValuePtr = tarn::smart_ptr<tarn::I_Value>;

  std::int64_t Roll(std::int64_t inBelow) {
    return static_cast<std::int64_t>(mRandom() % static_cast<std::uint64_t>(inBelow));
  }

  std::int64_t MakeNumber() {
    constexpr std::int64_t kEdges[] = {
        0,     1,          -1,         5,          127,        128,       -128,
        -129,  255,        256,        32767,      32768,      -32768,    65535,
        65536, 2147483647, 2147483648, 4294967295, 4294967296, INT64_MAX, INT64_MIN};
    return kEdges[Roll(std::size(kEdges))];
  }

  ValuePtr MakeValue() {
    tarn::smart_ptr<TestValue> const value(new TestValue(static_cast<std::uint32_t>(Roll(20))));
    value->mIsNull = Roll(6) == 0;
    value->mNumber = MakeNumber();
    value->mUnsigned = static_cast<std::uint64_t>(value->mNumber);
    value->mReal = static_cast<double>(value->mNumber) / (Roll(2) == 0 ? 1 : 8);
    value->mText = tarn::String(std::to_string(value->mNumber).c_str());
    value->mHasDate = value->mCode == 16;
    value->mHasDateTime = value->mCode == 18;
    value->mParts = {static_cast<std::int32_t>(1900 + Roll(200)), 2, 28, 23, 59, 59,
                     static_cast<std::int16_t>(Roll(1000))};
    value->mHasBytes = Roll(30) == 0;
    return Roll(30) == 0 ? ValuePtr() : ValuePtr(value);
  }

  // What the rows do to a new table: the failures row by row, and what stands in the table then.
  std::vector<std::string> Outcome(std::string const& inType, std::string const& inSql,
                                   std::vector<tarn::smart_ptr<tarn::ValueRow>> const& inRows) {
    Run(mDatabase, "CREATE OR REPLACE TABLE t(c " + inType + ")");
    auto const statement = mDatabase->CreateStatement(Wide(inSql));
    statement->PrepareNext();
    std::vector<std::string> outcome;
    for (auto const& row : inRows) {
      outcome.push_back(ThrownBy([&] {
                          statement->BindParameters(row);
                          statement->Execute();
                        }).mText2);
    }
    outcome.push_back(Utf8(TableAsJson(inType)));
    return outcome;
  }

  tarn::String TableAsJson(std::string const& inType) {
    std::string const inner = inType == "VARIANT" ? "variant_typeof(c)" : "typeof(c)";
    std::string const tag = inType.rfind("UNION", 0) == 0 ? ", union_tag(c)::VARCHAR" : "";
    auto const query = mDatabase->CreateStatement(
        Wide("SELECT rowid, CAST(c AS VARCHAR) AS c, " + inner + tag + " FROM t ORDER BY rowid"));
    query->PrepareNext();
    return query->ExecuteToJSON();
  }

  std::mt19937_64 mRandom;
  Database mDatabase;
};

TEST_F(ExactTypes, CannotBeToldFromDuckDBsOwnConversion) {
  mRandom.seed(get_Seed("exact types"));
  mDatabase = InMemory();
  mDatabase->Create();
  for (int i = 0; i < kCases && !HasFailure(); ++i) {
    std::string const type = kTypes[Roll(std::size(kTypes))];
    std::vector<tarn::smart_ptr<tarn::ValueRow>> rows;
    for (auto count = Roll(12) + 1; count > 0; --count) rows.push_back(MakeRow({MakeValue()}));
    EXPECT_EQ(Outcome(type, "INSERT INTO t VALUES (?)", rows),
              Outcome(type, "INSERT INTO t VALUES (? /* by DuckDB */)", rows))
        << type;
  }
}

TEST_F(ExactTypes, AreNotUsedWhereTheTypeOfAParameterCanBeSeen) {
  mDatabase = InMemory();
  mDatabase->Create();
  Run(mDatabase, "CREATE TABLE t(i TINYINT, s VARCHAR)");
  for (char const* const sql :
       {"INSERT INTO t VALUES ($1, typeof($1))", "INSERT INTO t SELECT $1, typeof($1)",
        "INSERT INTO t SELECT v, typeof(v) FROM (VALUES ($1)) x(v)"}) {
    Run(mDatabase, "DELETE FROM t");
    auto const statement = mDatabase->CreateStatement(Wide(sql));
    statement->BindParameters(MakeRow({MakeLLong(5)}));
    statement->ExecuteNext();
    auto const cursor = mDatabase->ExecuteQuery(Wide("SELECT s FROM t"), 1, nullptr);
    ASSERT_TRUE(cursor->NextRecord());
    EXPECT_EQ(Utf8(cursor->get_Value(0)->get_String()), "BIGINT") << sql;
  }
}

}  // namespace
