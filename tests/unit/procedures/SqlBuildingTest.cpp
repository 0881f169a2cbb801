#include "procedures/SqlBuilding.h"

#include <stdexcept>

#include "ProcedureFixture.h"

namespace lumora::procedures {
namespace {

using test::Array;
using test::Int;
using test::Null;
using test::Text;
using test::ValuePtr;
using test::WithoutText;
using Names = std::vector<std::string>;

class SqlBuilding : public ProcedureTest {
 protected:
  lumora_value const* Args(std::vector<ValuePtr> inArgs) {
    mOwned = std::move(inArgs);
    mContext.mArgs.clear();
    for (auto const& arg : mOwned) mContext.mArgs.push_back(arg.get());
    return mContext.mArgs.data();
  }
  std::string FetchParquet(std::vector<ValuePtr> inArgs) {
    return build_fetch_parquet_sql(&mContext, Args(std::move(inArgs))).mSql;
  }
  std::string Count(std::vector<ValuePtr> inArgs) {
    return build_parquet_count_sql(&mContext, Args(std::move(inArgs))).mSql;
  }

 private:
  std::vector<ValuePtr> mOwned;
};

TEST(Quoting, DoublesItsOwnQuoteAndNothingElse) {
  EXPECT_EQ(quote_literal(""), "''");
  EXPECT_EQ(quote_literal("O'Brien.parquet"), "'O''Brien.parquet'");
  EXPECT_EQ(quote_literal("''"), "''''''");
  EXPECT_EQ(quote_literal("a\"b\\\xC3\xA9\n"), "'a\"b\\\xC3\xA9\n'");
  EXPECT_EQ(quote_identifier(""), "\"\"");
  EXPECT_EQ(quote_identifier("a\"b"), "\"a\"\"b\"");
  EXPECT_EQ(quote_identifier("O'Brien\\"), "\"O'Brien\\\"");
}

TEST_F(SqlBuilding, FetchParquetWithoutArgumentsIsRefused) {
  EXPECT_EQ(MessageOf<std::invalid_argument>([&] { FetchParquet({}); }),
            "fetch_parquet requires parquet file path.");
  EXPECT_EQ(MessageOf<std::invalid_argument>([&] { FetchParquet({Text("")}); }),
            "fetch_parquet requires a text argument.");
}

TEST_F(SqlBuilding, FetchParquetPutsTheArgumentsTogether) {
  auto const query = build_fetch_parquet_sql(
      &mContext, Args({Text("/data/o.parquet"), Text("id, name"), Text("id > 5"), Int(10)}));
  EXPECT_EQ(query.mSql,
            "SELECT \"id\", \"name\" FROM read_parquet('/data/o.parquet') WHERE id > 5");
  EXPECT_EQ(query.mLimit, "10");
}

TEST_F(SqlBuilding, FetchParquetLeavesOutWhatIsNotGiven) {
  std::string const all = "SELECT * FROM read_parquet(' p ')";
  EXPECT_EQ(FetchParquet({Text(" p ")}), all);
  EXPECT_EQ(FetchParquet({Text(" p "), nullptr}), all);
  EXPECT_EQ(FetchParquet({Text(" p "), Text(" * "), Null()}), all);
  EXPECT_EQ(FetchParquet({Text(" p "), Array({Null()}), nullptr, Null()}), all);
  EXPECT_EQ(FetchParquet({Text(" p "), Text(""), Text(" \n ")}), all);
  EXPECT_EQ(FetchParquet({Text(" p "), Text(""), WithoutText(test::kText)}), all);
}

TEST_F(SqlBuilding, FilterIsTrimmedAtItsEndsAndOtherwiseTheCallersOwn) {
  EXPECT_EQ(FetchParquet({Text("p"), Null(), Text("\t a  =  'x; y' -- z \n")}),
            "SELECT * FROM read_parquet('p') WHERE a  =  'x; y' -- z");
}

TEST_F(SqlBuilding, LimitIsLookedAtAfterEverythingElse) {
  EXPECT_EQ(MessageOf([&] {
              FetchParquet({Text(""), Null(), Null(), Text("abc")});
            }),
            "fetch_parquet requires a text argument.");
  EXPECT_EQ(MessageOf([&] {
              FetchParquet({Text("p"), Null(), Null(), Text("abc")});
            }),
            "invalid stoll argument");
}

TEST_F(SqlBuilding, CountTakesAnOptionalFilter) {
  std::string const all = "SELECT count(*) AS count FROM read_parquet('/data/o.parquet')";
  EXPECT_EQ(Count({Text("/data/o.parquet")}), all);
  EXPECT_EQ(Count({Text("/data/o.parquet"), nullptr}), all);
  EXPECT_EQ(Count({Text("/data/o.parquet"), Null()}), all);
  EXPECT_EQ(Count({Text("/data/o.parquet"), Text("  ")}), all);
  EXPECT_EQ(Count({Text("/data/o.parquet"), WithoutText(test::kDate)}), all);
  EXPECT_EQ(Count({Text("/data/o.parquet"), Text(" qty > 0 ")}), all + " WHERE qty > 0");
  EXPECT_EQ(MessageOf([&] { Count({Null()}); }), "parquet_count requires a text argument.");
}

TEST_F(SqlBuilding, FetchDuckDBChecksItsArgumentsInOrder) {
  auto const message = [&](std::vector<ValuePtr> inArgs) {
    std::string uri;
    return MessageOf([&] { build_fetch_duckdb_sql(&mContext, Args(std::move(inArgs)), uri); });
  };
  std::string const count = "fetch_duckdb requires database URI and DuckDB table or view name.";
  std::string const text = "fetch_duckdb requires a text argument.";
  EXPECT_EQ(message({}), count);
  EXPECT_EQ(message({Text("f")}), count);
  EXPECT_EQ(message({Null(), Text("t")}), text);
  EXPECT_EQ(message({Text("f"), Text("")}), text);
  EXPECT_EQ(message({Text("f"), Text("  ")}), "fetch_duckdb requires DuckDB table or view name.");
  EXPECT_EQ(message({Text("f"), Text("a..b"), Text("x")}), "Invalid DuckDB table or view name.");
  EXPECT_EQ(message({Text("f"), Text("a"), Text("x")}), "invalid stoll argument");
}

TEST_F(SqlBuilding, FetchDuckDBQuotesEveryPartOfTheName) {
  std::string uri;
  auto const query = build_fetch_duckdb_sql(
      &mContext, Args({Text(" /d/x.duckdb"), Text("main . \"Or\"\"ders.x\""), Text(" 007 ")}), uri);
  EXPECT_EQ(query.mSql, "SELECT * FROM \"main\".\"Or\"\"ders.x\"");
  EXPECT_EQ(query.mLimit, "7");
  EXPECT_EQ(uri, " /d/x.duckdb");
}

TEST(FixedQueries, HaveTheirOneArgumentQuoted) {
  EXPECT_EQ(ParquetSchemaSql("a'b"), "SELECT * FROM read_parquet('a''b') LIMIT 0");
  EXPECT_EQ(ParquetMetadataSql("a'b"), "SELECT * FROM parquet_metadata('a''b')");
}

// --- projections and wrappers ---

std::string Projection(TypeId inType) { return build_projection({"a\"b", inType, {}}); }

TEST(Projections, OfRuntimeTypesAreTheBareName) {
  for (TypeId type = 1; type <= 14; ++type) EXPECT_EQ(Projection(type), "\"a\"\"b\"") << type;
  EXPECT_EQ(Projection(17), "\"a\"\"b\"");
  EXPECT_EQ(Projection(18), "\"a\"\"b\"");
}

TEST(Projections, OfAllOtherTypesAreCasts) {
  EXPECT_EQ(Projection(19), "CAST(\"a\"\"b\" AS DOUBLE) AS \"a\"\"b\"");
  for (TypeId const type : {20U, 21U, 22U, 31U}) {
    EXPECT_EQ(Projection(type), "CAST(\"a\"\"b\" AS TIMESTAMP) AS \"a\"\"b\"") << type;
  }
  for (TypeId const type : {30U, 39U}) {
    EXPECT_EQ(Projection(type), "CAST(\"a\"\"b\" AS TIME) AS \"a\"\"b\"") << type;
  }
  for (TypeId const type : {0U,  15U, 16U, 23U, 24U, 25U, 26U, 27U, 28U, 29U,        32U,
                            33U, 34U, 35U, 36U, 37U, 38U, 40U, 41U, 60U, 4000000000U}) {
    EXPECT_EQ(Projection(type), "CAST(\"a\"\"b\" AS VARCHAR) AS \"a\"\"b\"") << type;
  }
}

TEST(Wrappers, ProbeYieldsNoRows) {
  EXPECT_EQ(build_probe_sql("SELECT 1"), "SELECT * FROM (SELECT 1) AS parquet_source LIMIT 0");
}

TEST(Wrappers, OuterQueryListsTheColumnsAndLimits) {
  std::vector<ColumnRecord> const columns = {{"price", 11, lumora_kind_double},
                                             {"name", 17, lumora_kind_text}};
  EXPECT_EQ(build_outer_sql("SELECT 1", columns, "5"),
            "SELECT \"price\", \"name\" FROM (SELECT 1) AS parquet_source LIMIT 5");
  EXPECT_EQ(build_outer_sql("SELECT 1", columns, "0"),
            "SELECT \"price\", \"name\" FROM (SELECT 1) AS parquet_source LIMIT 0");
  EXPECT_EQ(build_outer_sql("SELECT 1", columns, ""),
            "SELECT \"price\", \"name\" FROM (SELECT 1) AS parquet_source");
}

}  // namespace
}  // namespace lumora::procedures
