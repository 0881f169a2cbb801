// A process that commits through the interface is killed at random moments: everything that was
// acknowledged is there, and nothing by halves.
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <set>
#include <string>

#include "support/DatabaseTest.h"
#include "support/Killing.h"
#include "support/Rounds.h"
#include "support/Seed.h"

namespace {

namespace fs = std::filesystem;
using namespace lumora::test;
using Database = tarn::smart_ptr<tarn::lsql::I_DuckDBDatabase>;

void Execute(Database const& inDatabase, std::string const& inSql) {
  inDatabase->ExecuteSQL(Wide(inSql), nullptr);
}

// Tells the parent. What was told has happened.
void Tell(std::string const& inLine) {
  std::string const line = inLine + "\n";
  (void)!write(STDOUT_FILENO, line.data(), line.size());
}

// Every transaction writes its number twice, by two statements.
void Commit(Database const& inDatabase, int inNumber) {
  std::string const insert = "INSERT INTO t VALUES (" + std::to_string(inNumber) + ");";
  Execute(inDatabase, "BEGIN;" + insert + insert + "COMMIT;");
  Tell(std::to_string(inNumber));
}

// PATH FIRST-NUMBER COMMITS: commits until it is killed, and closes and opens after so many
// commits.
int CommitJob(Arguments const& inArguments) {
  int number = std::stoi(inArguments.at(1));
  int const commits = std::stoi(inArguments.at(2));
  Database const database = LoadedExtension::Instance().Database(inArguments.at(0));
  for (;;) {
    database->Open();
    for (int i = 0; i < commits; ++i) Commit(database, number++);
    if (number % 3 == 0) Execute(database, "CHECKPOINT");
    database->Close();
  }
}

// PATH: creates, commits, closes and drops until it is killed.
int CreateAndDropJob(Arguments const& inArguments) {
  Database const database = LoadedExtension::Instance().Database(inArguments.at(0));
  for (int i = 0;; ++i) {
    database->put_BlockSize(i % 2 == 0 ? 16384 : 0);
    Tell("create");
    database->Create();
    Execute(database, "CREATE TABLE t (a INTEGER)");
    Commit(database, 1);
    if (i % 3 == 0) database->Close();
    Tell("drop");
    database->Drop();
    Tell("dropped");
  }
}

ChildJob const gCommitJob("commit", CommitJob);
ChildJob const gCreateAndDropJob("create-and-drop", CreateAndDropJob);

class DatabaseCrash : public DatabaseTest {
 protected:
  // Lets the child work for a random while, kills it, and returns the lines that it told.
  std::vector<std::string> KillSomewhere(std::string const& inJob, Arguments const& inArguments) {
    ChildProcess child(inJob, inArguments);
    std::vector<std::string> lines = {child.ReadLine()};
    int const more = static_cast<int>(mRandom() % 12);
    for (int i = 0; i < more; ++i) lines.push_back(child.ReadLine());
    usleep(static_cast<useconds_t>(mRandom() % 4000));
    KillAtSomeMoment(child);
    ChildResult const result = child.Wait();
    EXPECT_NE(result.mSignal, 0) << result.mOutput;
    std::string line;
    for (char const unit : result.mOutput) {
      if (unit != '\n') {
        line += unit;
      } else {
        lines.push_back(line);
        line.clear();
      }
    }
    return lines;
  }

  void TearDown() override { std::printf("%d torn blocks\n", mTornBlocks); }

  std::mt19937_64 mRandom{get_Seed("DatabaseCrash")};
  int mTornBlocks = 0;
};

TEST_F(DatabaseCrash, LosesNoAcknowledgedCommitAndLeavesNoneByHalves) {
  Run(Created("a.db"), "CREATE TABLE t (a INTEGER)");
  std::set<int> acknowledged;
  int number = 1;
  int const kills = Rounds(130, 20);
  for (int kill = 0; kill < kills; ++kill) {
    int const commits = kill % 3 == 0 ? 1 : 5;
    for (std::string const& line : KillSomewhere(
             "commit", {mFolder.At("a.db"), std::to_string(number), std::to_string(commits)})) {
      if (!line.empty()) acknowledged.insert(std::stoi(line));
    }
    Database const database = OpenAfterKill(mFolder.At("a.db"), mTornBlocks);
    ASSERT_FALSE(database->get_IsReadOnly());
    ASSERT_EQ(Number(database, "SELECT count(*) FROM (FROM t GROUP BY a HAVING count(*) <> 2)"), 0);
    std::string wanted;
    for (int const one : acknowledged)
      wanted += (wanted.empty() ? "(" : ",(") + std::to_string(one) + ")";
    ASSERT_EQ(Number(database, "SELECT count(*) FROM (VALUES " + wanted +
                                   ") w(a) WHERE a NOT IN (SELECT a FROM t)"),
              0);
    number = static_cast<int>(Number(database, "SELECT max(a) FROM t")) + 1;
  }
  EXPECT_GE(acknowledged.size(), static_cast<std::size_t>(kills));
}

// After Create and Drop the database is there as a whole or not at all, and stands in the way of
// nothing.
TEST_F(DatabaseCrash, InCreateOrDropLeavesAWholeDatabaseOrNone) {
  int const kills = Rounds(70, 12);
  int whole = 0;
  int none = 0;
  for (int kill = 0; kill < kills; ++kill) {
    std::string const last = KillSomewhere("create-and-drop", {mFolder.At("b.db")}).back();
    Database database = At("b.db");
    if (!database->get_Exists()) {
      ++none;
      EXPECT_NE(last, "1") << "the commit was acknowledged";
    } else {
      ++whole;
      database = OpenAfterKill(mFolder.At("b.db"), mTornBlocks);
      std::int64_t const tables = Number(database, "SELECT count(*) FROM duckdb_tables()");
      if (last == "1" || last == "drop") {
        ASSERT_EQ(tables, 1);
        EXPECT_EQ(Number(database, "SELECT count(*) FROM t"), 2);
      }
    }
    if (kill % 2 == 0) {
      database->Create();
      EXPECT_EQ(Number(database, "SELECT count(*) FROM duckdb_tables()"), 0);
    }
    database->Drop();
    EXPECT_THAT(mFolder.Names(), testing::IsEmpty());
  }
  EXPECT_EQ(whole + none, kills);
}

}  // namespace
