#include <utility>
#include <vector>

#include "support/DatabaseTest.h"
#include "support/TestValue.h"

// The schema changes between preparing and executing.
namespace {

using namespace lumora::test;
using testing::HasSubstr;

class Schema : public DatabaseTest {
 protected:
  void SetUp() override {
    mDatabase = Created("s.db");
    Run(mDatabase, "CREATE TABLE t(a INTEGER, b VARCHAR)");
    mStatement = mDatabase->CreateStatement(Wide("INSERT INTO t VALUES (?, ?)"));
    mStatement->PrepareNext();
    mStatement->BindParameters(MakeRow({MakeLLong(5), MakeText("x")}));
  }
  Thrown Execute() {
    return ThrownBy([&] { mStatement->Execute(); });
  }
  std::string Text(std::string const& inSql) {
    auto const cursor = mDatabase->ExecuteQuery(Wide(inSql), 1, nullptr);
    EXPECT_TRUE(cursor->NextRecord());
    return Utf8(cursor->get_Value(0)->get_String());
  }

  Database mDatabase;
  tarn::smart_ptr<tarn::lsql::I_DuckDBStatement> mStatement;
};

TEST_F(Schema, AColumnOfAnotherTypeTakesTheValueByItsOwnRules) {
  for (auto const& [type, text] :
       std::vector<std::pair<std::string, std::string>>{{"BIGINT", "5"},
                                                        {"VARCHAR", "5"},
                                                        {"DOUBLE", "5.0"},
                                                        {"TINYINT", "5"},
                                                        {"DECIMAL(10,2)", "5.00"},
                                                        {"HUGEINT", "5"},
                                                        {"UBIGINT", "5"},
                                                        {"BOOLEAN", "true"}}) {
    Run(mDatabase, "DELETE FROM t; ALTER TABLE t ALTER a TYPE " + type);
    EXPECT_EQ(Execute(), Thrown()) << type;
    EXPECT_EQ(Text("SELECT CAST(a AS VARCHAR) FROM t"), text) << type;
  }
}

TEST_F(Schema, ANullStaysANullWhateverTheColumnBecomes) {
  mStatement->BindParameters(MakeRow({MakeNullValue(), nullptr}));
  for (char const* const type : {"VARCHAR", "DATE", "BLOB", "INTEGER[]"}) {
    Run(mDatabase,
        std::string("DELETE FROM t; ALTER TABLE t ALTER a TYPE ") + type + " USING NULL");
    EXPECT_EQ(Execute(), Thrown()) << type;
    EXPECT_EQ(Number(mDatabase, "SELECT count(*) FROM t WHERE a IS NULL AND b IS NULL"), 1);
  }
}

TEST_F(Schema, AValueThatFitsNoLongerIsRefused) {
  mStatement->BindParameters(MakeRow({MakeLLong(300), MakeText("x")}));
  Run(mDatabase, "ALTER TABLE t ALTER a TYPE TINYINT");
  EXPECT_THAT(Execute().mText2, HasSubstr("out of range"));
  Run(mDatabase, "ALTER TABLE t ALTER a TYPE DATE USING NULL");
  EXPECT_NE(Execute(), Thrown());
  EXPECT_EQ(Number(mDatabase, "SELECT count(*) FROM t"), 0);
}

TEST_F(Schema, AColumnMoreOrLessIsAClearError) {
  Run(mDatabase, "ALTER TABLE t ADD COLUMN c INTEGER");
  EXPECT_THAT(Execute().mText2, HasSubstr("has 3 columns but 2 values were supplied"));
  Run(mDatabase, "ALTER TABLE t DROP c; ALTER TABLE t DROP b");
  EXPECT_THAT(Execute().mText2, HasSubstr("has 1 columns but 2 values were supplied"));
  EXPECT_EQ(Number(mDatabase, "SELECT count(*) FROM t"), 0);
}

TEST_F(Schema, ADroppedTableIsAClearErrorUntilItIsBack) {
  Run(mDatabase, "DROP TABLE t");
  EXPECT_THAT(Execute().mText2, HasSubstr("t does not exist"));
  Run(mDatabase, "CREATE TABLE t(b VARCHAR, a INTEGER)");
  // By position now: 5 becomes text, and 'x' is no number.
  EXPECT_THAT(Execute().mText2, HasSubstr("Could not convert string 'x' to INT32"));
  Run(mDatabase, "DROP TABLE t; CREATE TABLE t(c VARCHAR, d VARCHAR)");
  EXPECT_EQ(Execute(), Thrown());
  EXPECT_EQ(Text("SELECT c || d FROM t"), "5x");
}

TEST_F(Schema, AQuerySeesTheNewSchema) {
  Run(mDatabase, "INSERT INTO t VALUES (1, 'one')");
  auto const query = mDatabase->CreateStatement(Wide("SELECT * FROM t"));
  query->PrepareNext();
  EXPECT_EQ(query->ExecuteCursor(1)->get_ColumnCount(), 2U);
  Run(mDatabase, "ALTER TABLE t ADD COLUMN c DATE DEFAULT DATE '2000-01-02'");
  auto const cursor = query->ExecuteCursor(1);
  ASSERT_EQ(cursor->get_ColumnCount(), 3U);
  EXPECT_EQ(Utf8(cursor->get_ColumnTypeName(2)), "DATE");
  ASSERT_TRUE(cursor->NextRecord());
  EXPECT_EQ(Utf8(cursor->get_Value(2)->get_String()), "2000-01-02");
  Run(mDatabase, "ALTER TABLE t DROP a");
  EXPECT_EQ(query->ExecuteCursor(2)->get_ColumnCount(), 2U);
}

TEST_F(Schema, ARolledBackChangeIsAsIfItHadNotBeen) {
  Run(mDatabase, "BEGIN; ALTER TABLE t ALTER a TYPE VARCHAR; ROLLBACK");
  EXPECT_EQ(Execute(), Thrown());
  EXPECT_EQ(Text("SELECT typeof(a) FROM t"), "INTEGER");
}

TEST_F(Schema, AnotherConnectionsChangeIsSeenToo) {
  Database const other = Opened("s.db");
  Run(other, "ALTER TABLE t ALTER a TYPE VARCHAR");
  EXPECT_EQ(Execute(), Thrown());
  EXPECT_EQ(Text("SELECT typeof(a) || a FROM t"), "VARCHAR5");
}

}  // namespace
