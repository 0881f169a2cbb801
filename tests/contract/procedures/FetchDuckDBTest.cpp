#include <filesystem>

#include "support/FileLock.h"
#include "support/ProcedureCalls.h"

namespace lumora::test {
namespace {

namespace fs = std::filesystem;

class FetchDuckDB : public Procedures {
 protected:
  std::vector<Texts> Fetch(std::string const& inPath, std::string const& inTable) {
    return TextsOf(*Open("fetch_duckdb", {Text(inPath), Text(inTable)}));
  }
  std::string Error(std::string const& inPath, std::string const& inTable) {
    return ErrorOf("fetch_duckdb", {Text(inPath), Text(inTable)});
  }
};

char const kCannotOpen[] = "Unable to open DuckDB database.";
using Rows = std::vector<std::vector<std::string>>;

// --- failures first ---

TEST_F(FetchDuckDB, ChecksItsArguments) {
  std::string const count = "fetch_duckdb requires database URI and DuckDB table or view name.";
  EXPECT_EQ(ErrorOf("fetch_duckdb", {}), count);
  EXPECT_EQ(ErrorOf("fetch_duckdb", {Text("x")}), count);
  std::string const text = "fetch_duckdb requires a text argument.";
  EXPECT_EQ(ErrorOf("fetch_duckdb", {Null(), Text("t")}), text);
  EXPECT_EQ(ErrorOf("fetch_duckdb", {Text("x"), nullptr}), text);
  EXPECT_EQ(Error("x", " \t "), "fetch_duckdb requires DuckDB table or view name.");
  for (char const* const name : {"a..b", ".t", "t.", "\"t", "a.\"b"}) {
    EXPECT_EQ(Error("x", name), "Invalid DuckDB table or view name.") << name;
  }
  EXPECT_EQ(ErrorOf("fetch_duckdb", {Text("x"), Text("t"), Int(-1)}), "limit must not be negative");
}

TEST_F(FetchDuckDB, OnWhatIsNoDatabaseFailsAndMakesNothing) {
  auto const database = MakeDatabase("o.duckdb", "CREATE TABLE t(i INT)");
  auto const whole = mFolder.Read("o.duckdb");
  fs::create_directory(mFolder.At("folder"));
  auto newer = whole;
  newer[12] = static_cast<char>(newer[12] + 50);  // the storage version
  auto const names = [&] { return mFolder.Names(); };
  std::string const paths[] = {
      mFolder.At("missing.duckdb"),
      mFolder.At("missing/folder.duckdb"),
      mFolder.At("folder"),
      mFolder.Write("empty.duckdb", ""),
      mFolder.Write("text.txt", "This is a text file and nothing else."),
      mFolder.Write("truncated.duckdb", whole.substr(0, 5000)),
      mFolder.Write("header.duckdb", whole.substr(0, 20)),
      mFolder.Write("newer.duckdb", newer),
      "/dev/null",
      "/dev/zero",
      "nope://host/o.duckdb",
      " ",
      " " + database,
  };
  auto const before = names();
  for (auto const& path : paths) EXPECT_EQ(Error(path, "t"), kCannotOpen) << path;
  EXPECT_EQ(names(), before);
  EXPECT_EQ(mFolder.Read("empty.duckdb"), "");
}

// DuckDB itself takes such files for databases of one view.
TEST_F(FetchDuckDB, OnAParquetFileMakesNothing) {
  auto const path = MakeParquet("o.parquet", "SELECT 1 AS i");
  EXPECT_NE(Error(path, "t"), "");
  EXPECT_EQ(mFolder.Names(), std::set<std::string>{"o.parquet"});
}

TEST_F(FetchDuckDB, ReportsATableThatIsNotThere) {
  auto const path = MakeDatabase("o.duckdb", "CREATE TABLE t(i INT)");
  EXPECT_NE(Error(path, "nope").find("nope"), std::string::npos);
  EXPECT_NE(Error(path, "nope.t").find("nope"), std::string::npos);
  EXPECT_NE(Error(path, "\"main.t\"").find("main.t"), std::string::npos);
  EXPECT_NE(Error(path, "t; SELECT 1").find("t; SELECT 1"), std::string::npos);
  EXPECT_NE(Error(path, "\"\""), "");
  EXPECT_NE(Error(":memory:", "nope").find("nope"), std::string::npos);
}

TEST_F(FetchDuckDB, OnAFileThatAnotherProcessHasOpenFails) {
  auto const path = MakeDatabase("o.duckdb", "CREATE TABLE t AS SELECT 7 AS i");
  {
    ForeignLock const lock(path, true);
    EXPECT_EQ(Error(path, "t"), kCannotOpen);
  }
  EXPECT_EQ(Fetch(path, "t"), (Rows{{"7"}}));
}

// --- rows ---

TEST_F(FetchDuckDB, ReadsTablesAndViewsUnderTheirNames) {
  auto const path =
      MakeDatabase("o.duckdb",
                   "CREATE TABLE Orders AS SELECT range AS id FROM range(3);"
                   "CREATE VIEW \"say \"\"hi\"\".x\" AS SELECT max(id) AS m FROM Orders;"
                   "CREATE SCHEMA \"s.1\"; CREATE TABLE \"s.1\".t AS SELECT 's' AS v;");
  EXPECT_EQ(Fetch(path, "main.Orders"), (Rows{{"0"}, {"1"}, {"2"}}));
  EXPECT_EQ(Fetch(path, " Orders "), (Rows{{"0"}, {"1"}, {"2"}}));
  EXPECT_EQ(Fetch(path, "o . main . \"Orders\""), (Rows{{"0"}, {"1"}, {"2"}}));
  EXPECT_EQ(Fetch(path, "\"say \"\"hi\"\".x\""), (Rows{{"2"}}));
  EXPECT_EQ(Fetch(path, "\"s.1\".t"), (Rows{{"s"}}));
}

TEST_F(FetchDuckDB, LimitsRows) {
  auto const path = MakeDatabase("o.duckdb", "CREATE TABLE t AS SELECT range FROM range(5000)");
  auto const count = [&](ValuePtr const& inLimit) {
    return Open("fetch_duckdb", {Text(path), Text("t"), inLimit})->get_RowCount();
  };
  EXPECT_EQ(count(Int(0)), 0);
  EXPECT_EQ(count(Text("7")), 7);
  EXPECT_EQ(count(Uint(2049)), 2049);
  EXPECT_EQ(count(Null()), 5000);
  EXPECT_EQ(count(nullptr), 5000);
}

TEST_F(FetchDuckDB, ReadsAFileWhosePathHasQuotes) {
  auto const path = MakeDatabase("O'Brien \"x\".duckdb", "CREATE TABLE t AS SELECT 1 AS i");
  EXPECT_EQ(Fetch(path, "t"), (Rows{{"1"}}));
}

// --- one file, one instance ---

class OneInstance : public FetchDuckDB {
 protected:
  OneInstance()
      : mPath(MakeDatabase("o.duckdb", "CREATE TABLE t AS SELECT range AS i FROM range(5000)")) {
    fs::create_symlink(mPath, mFolder.At("symlink.duckdb"));
    fs::create_hard_link(mPath, mFolder.At("hardlink.duckdb"));
    fs::create_directory(mFolder.At("sub"));
    fs::create_directory_symlink(mFolder.At(""), mFolder.At("sub/up"));
    auto const spellings = {mPath,
                            fs::relative(mPath).string(),
                            mFolder.At("./sub/../o.duckdb"),
                            mFolder.At("symlink.duckdb"),
                            mFolder.At("hardlink.duckdb"),
                            mFolder.At("sub/up/hardlink.duckdb")};
    for (auto const& spelling : spellings) {
      mPairs.emplace_back(mPath, spelling);
      if (spelling != mPath) mPairs.emplace_back(spelling, mPath);
    }
    mPairs.emplace_back(mFolder.At("symlink.duckdb"), mFolder.At("hardlink.duckdb"));
  }
  std::unique_ptr<HostCursor> OpenTable(std::string const& inPath) {
    return Open("fetch_duckdb", {Text(inPath), Text("t")});
  }

  std::string mPath;
  std::vector<std::pair<std::string, std::string>> mPairs;
};

TEST_F(OneInstance, TwoCursorsReadOneFileAtOnceUnderAllItsNames) {
  for (auto const& [first, second] : mPairs) {
    auto const one = OpenTable(first);
    auto const two = OpenTable(second);
    for (std::int64_t row = 0; row < 5000; row += 7) {
      ASSERT_TRUE(one->Seek(row));
      ASSERT_TRUE(two->Seek(4999 - row));
      ASSERT_EQ(one->Get(0)->mInt + two->Get(0)->mInt, 4999) << first << " " << second;
    }
  }
}

TEST_F(OneInstance, AnotherProcessIsLockedOutUntilTheLastCursorIsGone) {
  for (auto const& [first, second] : mPairs) {
    SCOPED_TRACE(first + " and " + second);
    auto one = OpenTable(first);
    auto two = OpenTable(second);
    EXPECT_FALSE(AnotherProcessCanWrite(mPath));
    one.reset();
    EXPECT_FALSE(AnotherProcessCanWrite(mPath));
    ASSERT_TRUE(two->Seek(4999));
    EXPECT_EQ(two->Get(0)->mInt, 4999);
    two.reset();
    EXPECT_TRUE(AnotherProcessCanWrite(mPath));
  }
}

TEST_F(OneInstance, AFailedCallBesideACursorLeavesItsLockAlone) {
  auto const cursor = OpenTable(mPath);
  for (auto const& [path, other] : mPairs) {
    EXPECT_NE(Error(path, "nope"), "") << other;
    EXPECT_FALSE(AnotherProcessCanWrite(mPath)) << path;
  }
  EXPECT_EQ(TextsOf(*cursor).size(), 5000U);
}

TEST_F(OneInstance, AMissingNameBesideAnOpenFileIsStillMissing) {
  auto const cursor = OpenTable(mPath);
  auto const before = mFolder.Names();
  EXPECT_EQ(Error(mFolder.At("p.duckdb"), "t"), kCannotOpen);
  EXPECT_EQ(mFolder.Names(), before);
}

}  // namespace
}  // namespace lumora::test
