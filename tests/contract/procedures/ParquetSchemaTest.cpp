#include "support/ProcedureCalls.h"

namespace lumora::test {
namespace {

class ParquetSchema : public Procedures {
 protected:
  std::vector<Texts> Schema(std::string const& inPath) {
    return TextsOf(*Open("parquet_schema", {Text(inPath)}));
  }
};

TEST_F(ParquetSchema, ReportsMissingPathsAndFiles) {
  std::string const message = "parquet_schema requires a text argument.";
  EXPECT_EQ(ErrorOf("parquet_schema", {nullptr}), message);
  EXPECT_EQ(ErrorOf("parquet_schema", {Null()}), message);
  EXPECT_EQ(ErrorOf("parquet_schema", {Text("")}), message);
  EXPECT_NE(ErrorOf("parquet_schema", {Text(mFolder.At("none.parquet"))}).find("none.parquet"),
            std::string::npos);
  EXPECT_NE(ErrorOf("parquet_schema", {Text(mFolder.Write("t.txt", "not parquet at all"))}), "");
  EXPECT_EQ(mFolder.Names(), std::set<std::string>{"t.txt"});
}

TEST_F(ParquetSchema, SaysWhenTheHostRefusesTheCursor) {
  std::string const path = MakeParquet("o.parquet", "SELECT 1 AS id");
  HostContext context;
  context.mCursorAnswer = 5;
  auto const outcome =
      CallProcedure(context, LoadedProcedures::Instance().Find("parquet_schema"), {Text(path)});
  EXPECT_EQ(outcome.mCursor, nullptr);
  EXPECT_EQ(outcome.mErrors, Texts{"Unable to create cursor."});
}

TEST_F(ParquetSchema, HasSixColumnsOfHostValues) {
  auto const cursor = Open("parquet_schema", {Text(MakeParquet("o.parquet", "SELECT 1 AS id"))});
  EXPECT_TRUE(cursor->get_IsRowCursor());
  EXPECT_EQ(cursor->get_Names(), (Texts{"ordinal", "name", "duckdb_type", "runtime_type",
                                        "lumora_type", "lumora_type_name"}));
  ASSERT_TRUE(cursor->Next());
  Kind const kinds[] = {kInt64, kText, kText, kText, kInt64, kText};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(cursor->Get(i)->mKind, kinds[i]) << i;
}

TEST_F(ParquetSchema, TellsHowEachColumnWillBeRead) {
  std::string const path = MakeParquet(
      "o.parquet",
      "SELECT 1::DECIMAL(18,3) AS d, '2020-01-01'::TIMESTAMP_NS AS ns, '12:00:00+02'::TIMETZ AS "
      "tz, [1] AS l, {'a': 1} AS s, gen_random_uuid() AS u, '\\x00'::BLOB AS b, 1::UBIGINT AS u8, "
      "1::FLOAT AS f, 'x' AS \"na\"\"me\"");
  EXPECT_EQ(Schema(path), (std::vector<Texts>{
                              {"1", "d", "DECIMAL", "DOUBLE", "6", "double"},
                              {"2", "ns", "TIMESTAMP_NS", "TIMESTAMP", "5", "datetime"},
                              {"3", "tz", "TIME_TZ", "TIME", "11", "time"},
                              {"4", "l", "LIST", "VARCHAR", "10", "text"},
                              {"5", "s", "STRUCT", "VARCHAR", "10", "text"},
                              {"6", "u", "UUID", "VARCHAR", "10", "text"},
                              {"7", "b", "BLOB", "BLOB", "3", "binary"},
                              {"8", "u8", "UBIGINT", "UBIGINT", "12", "uint64"},
                              {"9", "f", "FLOAT", "FLOAT", "6", "double"},
                              {"10", "na\"me", "VARCHAR", "VARCHAR", "10", "text"},
                          }));
}

TEST_F(ParquetSchema, AgreesWithTheKindsOfFetchParquet) {
  std::string const path =
      MakeParquet("o.parquet",
                  "SELECT * EXCLUDE (fixed_nested_int_array, fixed_nested_varchar_array, "
                  "fixed_array_of_int_list, list_of_fixed_int_array, fixed_int_array, "
                  "fixed_varchar_array, fixed_struct_array, struct_of_fixed_array, \"union\") "
                  "FROM test_all_types()");
  auto const schema = Schema(path);
  auto const kinds = Open("fetch_parquet", {Text(path)})->get_Kinds();
  ASSERT_EQ(schema.size(), kinds.size());
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    EXPECT_EQ(schema[i][4], std::to_string(kinds[i])) << schema[i][1];
  }
}

}  // namespace
}  // namespace lumora::test
