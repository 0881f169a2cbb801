#include "support/ProcedureCalls.h"

namespace lumora::test {
namespace {

class ParquetMetadata : public Procedures {};
class ParquetCount : public Procedures {
 protected:
  std::vector<Texts> Count(Args const& inArgs) { return TextsOf(*Open("parquet_count", inArgs)); }
};

TEST_F(ParquetMetadata, ReportsWhatIsNoParquetFile) {
  EXPECT_EQ(ErrorOf("parquet_metadata", {Null()}), "parquet_metadata requires a text argument.");
  EXPECT_NE(ErrorOf("parquet_metadata", {Text(mFolder.At("none"))}), "");
  EXPECT_NE(ErrorOf("parquet_metadata", {Text(mFolder.Write("t.txt", "some text, no parquet"))})
                .find("t.txt"),
            std::string::npos);
}

TEST_F(ParquetMetadata, GivesTheColumnsOfDuckDBsFunctionAndTheTrueCellsOfPlainTypes) {
  std::string const path =
      MakeParquet("o'x.parquet", "SELECT range AS id, 'text ' || range AS name FROM range(300000)");
  std::string const query = "SELECT * FROM parquet_metadata(" + Quoted(path) + ")";
  auto const cursor = Open("parquet_metadata", {Text(path)});
  auto const description = Oracle().Texts("DESCRIBE " + query);
  auto const expected = Oracle().Texts(query);
  auto const rows = TextsOf(*cursor);
  ASSERT_EQ(rows.size(), expected.size());
  ASSERT_GT(rows.size(), 2U);
  ASSERT_EQ(cursor->get_Names().size(), description.size());
  int compared = 0;
  for (std::size_t i = 0; i < description.size(); ++i) {
    EXPECT_EQ(cursor->get_Names()[i], description[i][0]);
    if (description[i][1] != "VARCHAR" && description[i][1] != "BIGINT") continue;
    ++compared;
    for (std::size_t row = 0; row < rows.size(); ++row) EXPECT_EQ(rows[row][i], expected[row][i]);
  }
  EXPECT_GT(compared, 15);
}

TEST_F(ParquetCount, ReportsBadArguments) {
  auto const path = Text(MakeParquet("o.parquet", "SELECT 1 AS qty"));
  EXPECT_EQ(ErrorOf("parquet_count", {Text("")}), "parquet_count requires a text argument.");
  EXPECT_NE(ErrorOf("parquet_count", {Text(mFolder.At("none"))}), "");
  EXPECT_NE(ErrorOf("parquet_count", {path, Text("nope = 1")}).find("nope"), std::string::npos);
  EXPECT_NE(ErrorOf("parquet_count", {path, Text("qty > 0) x")}).find("Parser Error"),
            std::string::npos);
}

TEST_F(ParquetCount, IsOneRowWithOneInteger) {
  auto const cursor =
      Open("parquet_count", {Text(MakeParquet("o.parquet", "SELECT * FROM range(12345)"))});
  EXPECT_EQ(cursor->get_Names(), Texts{"count"});
  EXPECT_EQ(cursor->get_Kinds(), std::vector<std::int32_t>{kInt64});
  EXPECT_EQ(TextsOf(*cursor), (std::vector<Texts>{{"12345"}}));
}

TEST_F(ParquetCount, CountsAllRowsWithoutAFilterAndTheMatchingOnesWithOne) {
  auto const path = Text(MakeParquet("o.parquet", "SELECT range AS qty FROM range(100)"));
  std::vector<Texts> const all = {{"100"}};
  EXPECT_EQ(Count({path}), all);
  EXPECT_EQ(Count({path, nullptr}), all);
  EXPECT_EQ(Count({path, Null()}), all);
  EXPECT_EQ(Count({path, Text("")}), all);
  EXPECT_EQ(Count({path, Text(" \n ")}), all);
  EXPECT_EQ(Count({path, WithoutText(kText)}), all);
  EXPECT_EQ(Count({path, Text(" qty >= 90 ")}), (std::vector<Texts>{{"10"}}));
  EXPECT_EQ(Count({path, Text("false")}), (std::vector<Texts>{{"0"}}));
}

}  // namespace
}  // namespace lumora::test
