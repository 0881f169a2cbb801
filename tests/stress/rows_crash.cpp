// A process that inserts many parameter rows outside a transaction is killed at random moments:
// what is there are whole rows, each once, in their order and without a gap, and all of the runs
// that were told to be done.
#include <unistd.h>

#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/DatabaseTest.h"
#include "support/Rounds.h"
#include "support/Seed.h"
#include "support/TestValue.h"

namespace {

using namespace lumora::test;

constexpr int kRowsARun = 3000;

std::string TextOf(int inNumber) { return "the text of row " + std::to_string(inNumber); }

// PATH FIRST-NUMBER: inserts runs of rows until it is killed, and tells the number after each run.
int InsertJob(Arguments const& inArguments) {
  int number = std::stoi(inArguments.at(1));
  auto const database = LoadedExtension::Instance().Database(inArguments.at(0));
  database->Open();
  auto const statement = database->CreateStatement(Wide("INSERT INTO t VALUES (?, ?)"));
  statement->PrepareNext();
  for (;;) {
    std::vector<tarn::smart_ptr<tarn::ValueRow>> rows;
    for (int i = 0; i < kRowsARun; ++i, ++number) {
      rows.push_back(MakeRow({MakeLong(number), MakeText(TextOf(number))}));
    }
    statement->BindParameterRows(MakeRows(std::move(rows)));
    statement->Execute();
    std::string const line = std::to_string(number) + "\n";
    if (write(STDOUT_FILENO, line.data(), line.size()) < 0) return 1;
  }
}

ChildJob const gInsertJob("insert-rows", InsertJob);

class RowsCrash : public DatabaseTest {
 protected:
  // Lets a child insert from that number on for a random while; what it told last.
  int KillSomewhere(int inFirst) {
    ChildProcess child("insert-rows", {mFolder.At("a.db"), std::to_string(inFirst)});
    int told = inFirst;
    for (auto runs = mRandom() % 3; runs > 0; --runs) told = std::stoi(child.ReadLine());
    usleep(static_cast<useconds_t>(mRandom() % 60000));
    child.KillBetweenCalls();
    std::string const rest = child.Wait().mOutput;
    std::size_t const end = rest.rfind('\n');
    if (end == std::string::npos || end == 0) return told;
    std::size_t const before = rest.rfind('\n', end - 1);
    return std::stoi(rest.substr(before == std::string::npos ? 0 : before + 1));
  }

  std::mt19937_64 mRandom{get_Seed("RowsCrash")};
};

TEST_F(RowsCrash, LeavesWholeRowsEachOnce) {
  Run(Created("a.db"), "CREATE TABLE t(a INTEGER, s VARCHAR)");
  int rows = 0;
  int inside = 0;
  int const kills = Rounds(60, 10);
  for (int kill = 0; kill < kills && !HasFailure(); ++kill) {
    int const told = KillSomewhere(rows);
    Database const database = Opened("a.db");
    int const before = rows;
    rows = static_cast<int>(Number(database, "SELECT count(*) FROM t"));
    EXPECT_GE(rows, told);
    EXPECT_EQ(Number(database, "SELECT count(*) FROM t WHERE a <> rowid"), 0);
    EXPECT_EQ(
        Number(database, "SELECT count(*) FROM t WHERE s IS DISTINCT FROM 'the text of row ' || a"),
        0);
    if ((rows - before) % kRowsARun != 0) ++inside;
  }
  EXPECT_GT(rows, 0);
  std::cout << kills << " kills, " << inside << " of them inside a run, " << rows << " rows\n";
}

}  // namespace
