// The five procedures and the callbacks of their cursors.
#include <fmt/format.h>

#include "FaultTest.h"
#include "support/ProcedureCalls.h"

namespace {

using namespace lumora::test;

class AProcedure : public FaultTest {
 protected:
  void SetUp() override {
    // Loaded again under the same name it is the same library, whose table is from now on this one.
    static_cast<void>(LoadedExtension::Instance());
    static_cast<void>(LoadedProcedures::Instance());
    mParquet = mFolder.At("a file with a name that is long.parquet");
    mFile = mFolder.At("a database with a name that is long.db");
    Oracle().Run(
        "COPY (SELECT i AS number, 'a text that is long enough ' || i AS text, "
        "i::DECIMAL(9,2) AS decimal FROM range(3) r(i)) TO " +
        Quoted(mParquet) + " (FORMAT parquet)");
    Oracle(mFile).Run(
        "CREATE TABLE t AS SELECT i, 'a text that is long enough ' || i AS s, "
        "DATE '2026-11-21' AS d FROM range(3) r(i)");
  }

  // The rows, or the one error that the host was told.
  static std::string TextOfOutcome(CallOutcome const& inOutcome) {
    EXPECT_EQ(inOutcome.mErrors.size(), inOutcome.mCursor ? 0U : 1U);
    if (!inOutcome.mCursor) return "error: " + inOutcome.mErrors.at(0);
    std::string text;
    for (auto const& row : inOutcome.mCursor->ReadAll()) {
      for (auto const& cell : row) text += lumora::test::TextOf(cell) + ";";
    }
    return text;
  }

  static Attempt Calling(std::string const& inName,
                         std::vector<lumora::test::ValuePtr> const& inArgs) {
    Attempt attempt;
    attempt.mSamples = 8;
    attempt.mRun = [inName, inArgs] {
      return TextOfOutcome(CallProcedure(LoadedProcedures::Instance().Find(inName), inArgs));
    };
    attempt.mAccepts = [](std::string const& answer) { return answer == "error: std::bad_alloc"; };
    return attempt;
  }
  // A call of DuckDB's that fails is told. But a chunk that cannot be had is no row for the host's
  // table, and a column without a name gets one.
  static void CheckProcedure(std::string const& inName,
                             std::vector<lumora::test::ValuePtr> const& inArgs) {
    Attempt attempt = Calling(inName, inArgs);
    CheckEveryAllocation(attempt);
    attempt.mAccepts = [](std::string const& answer) {
      return answer.starts_with("error: ") || answer.empty();
    };
    CheckEveryCall(attempt);
  }

  std::string mParquet;
  std::string mFile;
};

TEST_F(AProcedure, FetchParquetAnswersOrTellsOneError) {
  CheckProcedure("fetch_parquet", {Text(mParquet), Text("number, text, decimal"),
                                   Text("number < 100 and text <> 'nothing'"), Int(2)});
  CheckEveryAllocation(
      Calling("fetch_parquet", {Text(mParquet), Array({Text("number"), Text("text")})}));
}

TEST_F(AProcedure, ParquetSchemaAnswersOrTellsOneError) {
  CheckEveryAllocation(Calling("parquet_schema", {Text(mParquet)}));
}

TEST_F(AProcedure, ParquetMetadataAnswersOrTellsOneError) {
  CheckEveryAllocation(Calling("parquet_metadata", {Text(mParquet)}));
}

TEST_F(AProcedure, ParquetCountAnswersOrTellsOneError) {
  CheckEveryAllocation(
      Calling("parquet_count", {Text(mParquet), Text("number > 0 and number < 1000000000")}));
}

TEST_F(AProcedure, FetchDuckDBAnswersOrTellsOneError) {
  CheckProcedure("fetch_duckdb", {Text(mFile), Text("main.\"t\""), Text("2")});
}

TEST_F(AProcedure, TellsARefusalOrThatMemoryRanOut) {
  for (auto const& args : std::vector<std::vector<lumora::test::ValuePtr>>{
           {Text(mFile), Text("a_table_that_is_not_there_at_all")},
           {Text(mFolder.At("a file that is not there at all.db")), Text("t")},
           {Text(mFile), Text("t"), Text("a limit that is no number")}}) {
    CheckEveryAllocation(Calling("fetch_duckdb", args));
  }
}

TEST_F(AProcedure, OfAnOpenDatabaseSharesItOrTellsOneError) {
  Database const database = LoadedExtension::Instance().Database(mFile);
  database->Open();
  CheckProcedure("fetch_duckdb", {Text(mFile), Text("t")});
  EXPECT_EQ(database->get_ConnectionCount(), 1U);
  EXPECT_EQ(Number(database, "SELECT count(*) FROM t"), 3);
}

}  // namespace
