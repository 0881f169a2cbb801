// Opening and closing many times leaves nothing behind.
#include "support/DatabaseTest.h"
#include "support/ProcessCounts.h"
#include "support/Rounds.h"

namespace {

using namespace lumora::test;
using tarn::lsql::DuckDBSettings;

constexpr std::size_t kMegabyte = 1U << 20U;
// What allocators may keep for themselves; a sanitizer keeps freed memory on purpose.
constexpr std::size_t kSlack = (kIsSanitized ? 512 : 32) * kMegabyte;

struct Counts {
  std::size_t mDescriptors = CountDescriptors();
  std::size_t mThreads = CountThreads();
};

class Resources : public DatabaseTest {
 protected:
  // The first rounds fill the pools; what the others add is a leak.
  template <typename TRound>
  static void ExpectFlat(int inRounds, TRound inRound) {
    int const rounds = Rounds(inRounds, inRounds / 20);
    for (int i = 0; i < rounds / 10; ++i) inRound();
    Counts const before;
    std::size_t const bytes = get_ResidentBytes();
    for (int i = 0; i < rounds; ++i) inRound();
    Counts const after;
    EXPECT_EQ(after.mDescriptors, before.mDescriptors);
    EXPECT_EQ(after.mThreads, before.mThreads);
    EXPECT_LT(get_ResidentBytes(), bytes + kSlack);
  }
};

TEST_F(Resources, StayFlatWhenAFileIsOpenedAndClosedAgainAndAgain) {
  MakeFile("a.db");
  Database const database = At("a.db");
  int opened = 0;
  ExpectFlat(10000, [&] {
    database->Open();
    opened += database->get_IsOpen();
    database->Close();
  });
  EXPECT_GT(opened, 50);
}

TEST_F(Resources, StayFlatWhenASharedFileIsOpenedReadOnlyAndReadWrite) {
  MakeFile("a.db");
  Database const keeper = Opened("a.db");
  int opened = 0;
  ExpectFlat(1000, [&] {
    Database const database = Opened("a.db");
    opened += database->get_ConnectionCount() == 2;
  });
  EXPECT_GT(opened, 50);
}

TEST_F(Resources, StayFlatWhenOneReadOnlyObjectLivesAndOthersComeAndGo) {
  MakeFile("a.db");
  DuckDBSettings settings;
  settings.mWritable = 0;
  settings.mThreads = 1;
  auto const open = [&] {
    Database database = At("a.db");
    database->put_Settings(settings);
    database->Open();
    return database;
  };
  Database const keeper = open();
  int opened = 0;
  ExpectFlat(1000, [&] { opened += open()->get_IsReadOnly(); });
  EXPECT_GT(opened, 50);
}

TEST_F(Resources, StayFlatWhenOpeningFails) {
  mFolder.Write("a.db", std::string(100, 'x'));
  int failed = 0;
  ExpectFlat(1000, [&] {
    Database const database = At("a.db");
    failed += ThrownBy([&] { database->Open(); }).mCode == 0x99000;
  });
  EXPECT_GT(failed, 50);
}

}  // namespace
