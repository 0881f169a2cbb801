// What DuckDB does after a failed flush, and how one gets on from there.
#include <gmock/gmock.h>

#include <cerrno>
#include <functional>

#include "support/DatabaseTest.h"
#include "support/FileCalls.h"
#include "support/Forked.h"

namespace {

using namespace lumora::test;
using testing::HasSubstr;
using testing::SizeIs;

class StoppedInstance : public DatabaseTest {
 protected:
  static void Tell(std::function<void()> const& inOperation) {
    Thrown const thrown = ThrownBy(inOperation);
    TellParent(thrown == Thrown{} ? "done" : thrown.mText2);
  }
  static void InsertWithFailingFlush(Database const& inDatabase, std::string const& inFolder) {
    FaultyFiles const faulty(inFolder, {kSyncCall, Fate::kFailOnce, 0, EIO});
    Tell([&] { Run(inDatabase, "INSERT INTO t VALUES (2)"); });
  }
};

TEST_F(StoppedInstance, TellsEveryObjectOfTheFileUntilAllHaveClosed) {
  LoadedExtension::Instance();
  auto const result = RunForked([&] {
    MakeFile("a.db");
    Database const first = Opened("a.db");
    Database const second = Opened("a.db");
    InsertWithFailingFlush(first, mFolder.get_Path());
    Tell([&] { Number(first, "SELECT count(*) FROM t"); });
    Tell([&] { Number(second, "SELECT count(*) FROM t"); });
    first->Close();
    Tell([&] { first->Open(); });
    Tell([&] { Number(first, "SELECT count(*) FROM t"); });
    first->Close();
    second->Close();
    second->Open();
    Tell([&] { Run(second, "INSERT INTO t VALUES (3)"); });
    TellParent(std::to_string(Number(second, "SELECT count(*) FROM t WHERE a IN (1, 3)")));
    Tell([&] { second->Drop(); });
  });
  ASSERT_EQ(result.mSignal, 0);
  ASSERT_THAT(result.mLines, SizeIs(8));
  EXPECT_THAT(result.mLines[0], HasSubstr("fsync failed"));
  for (std::size_t const line : {1U, 2U, 4U}) {
    EXPECT_THAT(result.mLines[line], HasSubstr("database has been invalidated")) << line;
  }
  EXPECT_EQ(result.mLines[3], "done");
  EXPECT_EQ(result.mLines[5], "done");
  EXPECT_EQ(result.mLines[6], "2");
  EXPECT_EQ(result.mLines[7], "done");
}

}  // namespace
