#include <new>
#include <stdexcept>

#include "support/DuckDBCalls.h"
#include "support/ProcedureCalls.h"

namespace lumora::test {
namespace {

struct Live {
  HandleCounts mHandles = get_LiveHandles();
  std::int64_t mChunks = get_LiveChunks();

  friend bool operator==(Live const&, Live const&) = default;
  friend std::ostream& operator<<(std::ostream& ioStream, Live const& inLive) {
    return ioStream << inLive.mHandles << ", chunks " << inLive.mChunks;
  }
};

// Every test ends with as many handles of DuckDB as it began with.
class Release : public Procedures {
 protected:
  Release() {
    mParquet = MakeParquet("o.parquet", "SELECT range AS id, 'x' || range AS t FROM range(5000)");
    mDatabase = MakeDatabase("o.duckdb", "CREATE TABLE t AS SELECT range AS id FROM range(5000)");
    mBefore = Live();
  }
  void TearDown() override { EXPECT_EQ(Live(), mBefore); }

  struct Case {
    std::string mName;
    Args mArgs;
  };
  std::vector<Case> EveryProcedure() const {
    return {{"fetch_parquet", {Text(mParquet)}},
            {"parquet_schema", {Text(mParquet)}},
            {"parquet_metadata", {Text(mParquet)}},
            {"parquet_count", {Text(mParquet)}},
            {"fetch_duckdb", {Text(mDatabase), Text("t")}}};
  }

  std::string mParquet;
  std::string mDatabase;
  Live mBefore;
};

TEST_F(Release, FollowsARefusalOfTheCursorByTheHost) {
  for (auto const& [name, args] : EveryProcedure()) {
    HostContext context;
    context.mCursorAnswer = -3;
    auto const outcome = CallProcedure(context, LoadedProcedures::Instance().Find(name), args);
    EXPECT_EQ(outcome.mCursor, nullptr) << name;
    EXPECT_EQ(outcome.mErrors, Texts{name == "parquet_schema" ? "Unable to create cursor."
                                                              : "Unable to create DuckDB cursor."});
    EXPECT_EQ(Live(), mBefore) << name;
  }
}

TEST_F(Release, FollowsADatabaseThatCannotBeOpened) {
  for (auto const& [name, args] : EveryProcedure()) {
    FailingCall const failing(Call::kOpen);
    EXPECT_EQ(ErrorOf(name, args), name == "fetch_duckdb"
                                       ? "Unable to open DuckDB database."
                                       : "Unable to open in-memory DuckDB database.");
  }
}

TEST_F(Release, FollowsAConnectionThatFails) {
  for (auto const& [name, args] : EveryProcedure()) {
    FailingCall const failing(Call::kConnect);
    EXPECT_EQ(ErrorOf(name, args), name == "fetch_duckdb"
                                       ? "Unable to connect to DuckDB database."
                                       : "Unable to connect to in-memory DuckDB database.");
  }
}

TEST_F(Release, FollowsAQueryThatFailsWithoutAText) {
  for (auto const& [name, args] : EveryProcedure()) {
    FailingCall const failing(Call::kQuery);
    EXPECT_EQ(ErrorOf(name, args), "DuckDB query failed.");
  }
  for (auto const& [name, args] : EveryProcedure()) {
    if (name == "parquet_schema") continue;  // has no second query
    FailingCall const failing(Call::kQuery, 1);
    EXPECT_EQ(ErrorOf(name, args), "DuckDB query failed.");
  }
}

TEST_F(Release, FollowsAChunkThatIsNotThereWhileIndexing) {
  FailingCall const failing(Call::kGetChunk, 1);
  EXPECT_EQ(ErrorOf("fetch_parquet", {Text(mParquet)}), "Unable to access DuckDB result chunk.");
}

TEST_F(Release, FollowsAHostThatThrowsInTheMiddleOfSchemaRows) {
  HostContext context;
  int values = 0;
  context.mBeforeValue = [&] {
    if (++values == 8) throw std::bad_alloc();
  };
  auto const outcome =
      CallProcedure(context, LoadedProcedures::Instance().Find("parquet_schema"), {Text(mParquet)});
  EXPECT_EQ(outcome.mCursor, nullptr);
  EXPECT_EQ(outcome.mErrors, Texts{std::bad_alloc().what()});
}

TEST_F(Release, FollowsTheFixedTextForWhatIsNoStandardException) {
  std::pair<char const*, char const*> const texts[] = {
      {"fetch_parquet", "Unexpected error while reading parquet file."},
      {"fetch_duckdb", "Unexpected error while reading DuckDB table or view."},
      {"parquet_count", "Unexpected error while counting parquet rows."},
  };
  for (auto const& [name, text] : texts) {
    HostContext context;
    context.mBeforeArgCount = [] { throw 42; };
    auto const outcome = CallProcedure(context, LoadedProcedures::Instance().Find(name),
                                       {Text(mParquet), Text("t")});
    EXPECT_EQ(outcome.mErrors, Texts{text});
  }
  HostContext context;
  context.mBeforeValue = [] { throw 42; };
  auto const outcome =
      CallProcedure(context, LoadedProcedures::Instance().Find("parquet_schema"), {Text(mParquet)});
  EXPECT_EQ(outcome.mErrors, Texts{"Unexpected error while reading parquet schema."});
  context.mBeforeValue = nullptr;
  context.mBeforeText = [] { throw 42; };
  auto const metadata = CallProcedure(
      context, LoadedProcedures::Instance().Find("parquet_metadata"), {Text(mParquet)});
  EXPECT_EQ(metadata.mErrors, Texts{"Unexpected error while reading parquet metadata."});
}

TEST_F(Release, ComesWithTheCursorsEndAndNotBefore) {
  for (auto const& [name, args] : EveryProcedure()) {
    auto cursor = Open(name, args);
    bool const holds = name != "parquet_schema";
    EXPECT_EQ(get_LiveHandles().mDatabases, mBefore.mHandles.mDatabases + (holds ? 1 : 0)) << name;
    EXPECT_EQ(get_LiveChunks(), mBefore.mChunks) << name;
    EXPECT_TRUE(cursor->Next());
    EXPECT_EQ(get_LiveChunks(), mBefore.mChunks + (holds ? 1 : 0)) << name;
    cursor.reset();
    EXPECT_EQ(Live(), mBefore) << name;
  }
}

TEST_F(Release, OfTheChunkInHandComesWithTheNextOne) {
  auto const cursor = Open("fetch_parquet", {Text(mParquet)});
  while (cursor->Next()) EXPECT_EQ(get_LiveChunks(), mBefore.mChunks + 1);
}

TEST_F(Release, FollowsColumnsWithoutAName) {
  auto const query = "SELECT range AS \"Column1\", 7 AS \"Column2\" FROM range(3)";
  auto const path = MakeParquet("c.parquet", query);
  mBefore = Live();
  FailingCall const failing(Call::kColumnName);
  auto const cursor = Open("fetch_parquet", {Text(path)});
  EXPECT_EQ(cursor->get_Names(), (Texts{"Column1", "Column2"}));
  EXPECT_EQ(cursor->get_RowCount(), 3);
  auto const schema = Open("parquet_schema", {Text(path)});
  ASSERT_TRUE(schema->Next());
  EXPECT_EQ(schema->Get(1)->mText, "");
}

}  // namespace
}  // namespace lumora::test
