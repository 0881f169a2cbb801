#include "statement/TableFacts.h"

#include <gtest/gtest.h>

namespace lumora {
namespace {

// Two columns a and b, into both of which an INTEGER goes.
struct Case {
  TableFacts mTable{{{"a", "INTEGER", "", false}, {"b", "INTEGER", "", false}}, {}, false, false};
  ParameterInsert mInsert{"INSERT INTO t", {"t"}, {}, {0, 1}};
  RowBatch mRows{2};

  Case() { Put(0, DUCKDB_TYPE_INTEGER); }
  void Put(std::uint32_t inColumn, duckdb_c::TypeId inType) {
    ParameterCell cell;
    if (inType != 0) cell.Set(inType, std::int64_t{1});
    EXPECT_TRUE(mRows.Put(inColumn, cell));
  }
  bool IsSame() const { return IsSameInOneStatement(mTable, mInsert, mRows); }
  bool CannotFail() const { return lumora::CannotFail(mTable, mInsert, mRows); }
};

TEST(TableFacts, OfAPlainTableAllowEverything) {
  Case const plain;
  EXPECT_TRUE(plain.IsSame());
  EXPECT_TRUE(plain.CannotFail());
}

TEST(TableFacts, ADefaultMattersOnlyInAColumnThatIsLeftOutAndIsNoConstant) {
  for (char const* const constant :
       {"", "NULL", "7", "-1.5", "'text'", "''", "CAST('t' AS BOOLEAN)"}) {
    Case one;
    one.mTable.mColumns[1].mDefault = constant;
    one.mInsert.mColumns = {"A"};
    one.mInsert.mParameters = {0};
    EXPECT_TRUE(one.IsSame()) << constant;
  }
  for (char const* const call :
       {"nextval('s')", "now()", "current_date", "(1 + 1)", "- 1", ".", "'a' || 'b'", "-"}) {
    Case one;
    one.mTable.mColumns[1].mDefault = call;
    EXPECT_TRUE(one.IsSame()) << call;
    one.mInsert.mColumns = {"b", "a"};
    EXPECT_TRUE(one.IsSame()) << call;
    one.mInsert.mColumns = {"a"};
    one.mInsert.mParameters = {0};
    EXPECT_FALSE(one.IsSame()) << call;
  }
}

TEST(TableFacts, ACheckMayCallNoFunction) {
  for (char const* const plain : {"(a > 0)", "((a > 0) AND (b IN (1, 2)))", "(a IS NOT NULL)"}) {
    Case one;
    one.mTable.mChecks = {plain};
    EXPECT_TRUE(one.IsSame()) << plain;
    EXPECT_FALSE(one.CannotFail()) << plain;
  }
  for (char const* const call :
       {"(a > random())", "(nextval('s') > a)", "\"f\"(a)", "(a > \xC3\xA4(b))", "x1(2)"}) {
    Case one;
    one.mTable.mChecks = {"(a > 0)", call};
    EXPECT_FALSE(one.IsSame()) << call;
  }
}

TEST(TableFacts, ANullGoesOnlyWhereItStaysOne) {
  for (char const* const type :
       {"UNION(n INTEGER, s VARCHAR)", "VARIANT", "INTEGER[]", "STRUCT(a INTEGER)", "mine"}) {
    Case one;
    one.mTable.mColumns[0].mType = type;
    EXPECT_TRUE(one.IsSame()) << type;
    one.Put(0, 0);
    EXPECT_FALSE(one.IsSame()) << type;
  }
  Case other;
  other.mTable.mColumns[1].mType = "VARIANT";
  other.Put(0, 0);
  EXPECT_TRUE(other.IsSame());
  other.mInsert.mParameters = {1, 0};
  EXPECT_FALSE(other.IsSame());
}

TEST(TableFacts, AGeneratedColumnLeavesUnknownWhichColumnIsWhich) {
  Case one;
  one.mTable.mColumns.push_back({"g", "INTEGER", "(a + 1)", false});
  EXPECT_TRUE(one.IsSame());
  EXPECT_FALSE(one.CannotFail());
  one.mTable.mColumns[1].mType = "VARIANT";
  EXPECT_FALSE(one.IsSame());
}

TEST(TableFacts, KeysAndIndexesCanFail) {
  Case keyed;
  keyed.mTable.mHasKey = true;
  EXPECT_FALSE(keyed.CannotFail());
  EXPECT_TRUE(keyed.IsSame());
  Case indexed;
  indexed.mTable.mHasIndex = true;
  EXPECT_FALSE(indexed.CannotFail());
  EXPECT_TRUE(indexed.IsSame());
}

TEST(TableFacts, ANullCanFailWhereNoneMayBe) {
  Case one;
  one.mTable.mColumns[0].mIsNotNull = true;
  EXPECT_TRUE(one.CannotFail());
  one.Put(1, 0);
  EXPECT_TRUE(one.CannotFail());
  one.mTable.mColumns[1].mIsNotNull = true;
  EXPECT_FALSE(one.CannotFail());
}

TEST(TableFacts, AConversionCanFailUnlessEveryValueHasAPlaceInTheColumn) {
  struct TypeCase {
    duckdb_type mFrom;
    char const* mTo;
    bool mIsSafe;
  };
  for (TypeCase const& types : std::vector<TypeCase>{
           {DUCKDB_TYPE_INTEGER, "INTEGER", true},
           {DUCKDB_TYPE_INTEGER, "VARCHAR", true},
           {DUCKDB_TYPE_BIGINT, "HUGEINT", true},
           {DUCKDB_TYPE_BIGINT, "DOUBLE", true},
           {DUCKDB_TYPE_FLOAT, "DOUBLE", true},
           {DUCKDB_TYPE_BIGINT, "INTEGER", false},
           {DUCKDB_TYPE_INTEGER, "DECIMAL(9,2)", false},
           {DUCKDB_TYPE_DOUBLE, "FLOAT", false},
           {DUCKDB_TYPE_DATE, "TIMESTAMP", false},
           {DUCKDB_TYPE_INTEGER, "mine", false},
       }) {
    Case one;
    one.mRows.Clear();
    one.Put(0, types.mFrom);
    one.mTable.mColumns[0].mType = types.mTo;
    EXPECT_EQ(one.CannotFail(), types.mIsSafe) << types.mFrom << " " << types.mTo;
  }
  Case nothing;
  nothing.mRows.Clear();
  nothing.Put(0, 0);
  nothing.mTable.mColumns[0].mType = "DATE";
  EXPECT_TRUE(nothing.CannotFail());
}

}  // namespace
}  // namespace lumora
