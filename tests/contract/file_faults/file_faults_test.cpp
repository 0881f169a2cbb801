// The file calls of an operation fail, one after another: a clear error, nothing left open, and all
// that was acknowledged is there. So is it when the process dies instead of the call.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <random>

#include "Scenarios.h"
#include "support/FileCalls.h"
#include "support/Forked.h"
#include "support/LoadedExtension.h"
#include "support/OpenFiles.h"
#include "support/Rounds.h"
#include "support/Seed.h"
#include "support/TempFolder.h"

namespace {

namespace fs = std::filesystem;
using namespace lumora::test;

struct Kind {
  char const* mName;
  std::uint32_t mCalls;
  std::vector<int> mErrors;
};
std::vector<Kind> const kKinds = {
    {"open", kOpenCall, {EACCES, EIO, ENOSPC}}, {"read", kReadCall, {EIO}},
    {"write", kWriteCall, {ENOSPC, EIO}},       {"sync", kSyncCall, {EIO, ENOSPC}},
    {"resize", kResizeCall, {EIO, ENOSPC}},     {"rename", kRenameCall, {EACCES, EIO, ENOSPC}},
    {"remove", kRemoveCall, {EACCES, EIO}},     {"look", kLookCall, {EACCES, EIO}},
    {"list", kListCall, {EACCES, EIO}},         {"lock", kLockCall, {ENOLCK, EACCES}},
    {"close", kCloseCall, {EIO, ENOSPC}},
};

class FileFaults : public testing::TestWithParam<Scenario> {
 protected:
  void SetUp() override {
    LoadedExtension::Instance();
    fs::create_directory(mFolder.At("template"));
    auto const made = RunForked([&] {
      FaultyFiles const none(mFolder.At("template"), {});
      MakeTemplate(mFolder.At("template"));
    });
    ASSERT_THAT(made.mLines, testing::IsEmpty());
  }

  World FreshWorld() const {
    fs::remove_all(mFolder.At("world"));
    fs::copy(mFolder.At("template"), mFolder.At("world"), fs::copy_options::recursive);
    return World{mFolder.At("world")};
  }

  // Closes, and tells what is left of the operation in this process.
  static void TellLeftovers(World& ioWorld) {
    if (ioWorld.mDatabase) {
      ioWorld.mDatabase->Close();
      if (ioWorld.mDatabase->get_ConnectionCount() != 0)
        TellParent("wrong: it is still registered");
    }
    ioWorld.mDatabase.reset();
    for (std::string const& file : OpenFilesIn(ioWorld.mFolder)) {
      TellParent("wrong: still open: " + file);
    }
  }

  // The operation with its fault, and what this process has to say afterwards.
  void Operate(World& ioWorld, FileFault const& inFault, bool inCheckHere) const {
    Scenario const& scenario = GetParam();
    if (scenario.mPrepare) {
      FaultyFiles const none(ioWorld.mFolder, {});
      scenario.mPrepare(ioWorld);
    }
    {
      FaultyFiles const faulty(ioWorld.mFolder + mFaultyPath, inFault);
      scenario.mAct(ioWorld);
      TellParent(fmt::format("calls {}", faulty.get_Calls()));
    }
    FaultyFiles const none(ioWorld.mFolder, {});
    TellLeftovers(ioWorld);
    if (inCheckHere) CheckHere(ioWorld, Told(get_ToldLines()));
  }

  static void CheckHere(World const& inWorld, Told const& inTold) {
    FaultyFiles const none(inWorld.mFolder, {});
    GetParam().mCheck(inWorld, inTold);
    TellParent("checked");
  }

  // Returns how many calls of that kind there were up to the operation's end; -1: it did not end.
  int RunWith(FileFault const& inFault, std::string const& inWhat, bool inCheckHere) {
    SCOPED_TRACE(fmt::format("{}: {}", GetParam().mName, inWhat));
    World world = FreshWorld();
    ForkedResult result = RunForked([&] { Operate(world, inFault, inCheckHere); });
    Told const told(result.mLines);
    bool const mayDie = inFault.mFate == Fate::kDie;
    EXPECT_TRUE(result.mSignal == 0 || (mayDie && result.mSignal == SIGKILL)) << result.mSignal;
    EXPECT_THAT(told.mWrong, testing::IsEmpty());
    if (!inCheckHere || result.mSignal != 0) {
      ForkedResult const checked = RunForked([&] { CheckHere(world, told); });
      result.mLines.insert(result.mLines.end(), checked.mLines.begin(), checked.mLines.end());
    }
    EXPECT_EQ(result.mLines.empty() ? "" : result.mLines.back(), "checked")
        << testing::PrintToString(result.mLines);
    ++mRuns;
    if (!told.mError.empty()) ++mErrors[told.mError];
    for (std::string const& line : result.mLines) {
      if (line.starts_with("calls ")) return std::stoi(line.substr(6));
    }
    return -1;
  }

  // Which of so many calls get the fault: all of them, or some spread over them.
  std::vector<int> Places(int inCalls) {
    int const most = Rounds(5, 1);
    std::vector<int> places;
    for (int i = 0; i < inCalls; ++i) places.push_back(i);
    std::shuffle(places.begin(), places.end(), mRandom);
    if (inCalls > most) places.resize(static_cast<std::size_t>(most));
    std::sort(places.begin(), places.end());
    return places;
  }

  // One of them, or all when there is time.
  static std::vector<int> ErrorsAt(Kind const& inKind, int inPlace) {
    if (Rounds(1, 1) > 1) return inKind.mErrors;
    return {inKind.mErrors[static_cast<std::size_t>(inPlace) % inKind.mErrors.size()]};
  }

  TempFolder mFolder;
  std::string mFaultyPath;  // below the world's folder; empty: all of it
  std::mt19937_64 mRandom{get_Seed("FileFaults")};
  int mRuns = 0;
  std::map<std::string, int> mErrors;
};

TEST_P(FileFaults, AreAClearErrorAndLoseNothing) {
  for (Kind const& kind : kKinds) {
    int const calls = RunWith({kind.mCalls}, kind.mName, false);
    ASSERT_GE(calls, 0);
    for (Fate const fate : {Fate::kFailOnce, Fate::kFailForGood}) {
      for (int const place : Places(calls)) {
        for (int const error : ErrorsAt(kind, place)) {
          RunWith({kind.mCalls, fate, place, error},
                  fmt::format("{} {} of {} {}: {}", kind.mName, place, calls,
                              fate == Fate::kFailOnce ? "once" : "for good", std::strerror(error)),
                  place % 2 == 0);
        }
      }
    }
  }
  std::printf("%d runs\n", mRuns);
  if (std::getenv("LUMORA_TEST_VERBOSE")) {
    for (auto const& [text, count] : mErrors) std::printf("%5d %s\n", count, text.c_str());
  }
}

TEST_P(FileFaults, OrTheDeathOfTheProcessThereLoseNothing) {
  int const calls = RunWith({kChangingCalls}, "no fault", false);
  ASSERT_GT(calls, 0);
  for (int const place : Places(calls)) {
    RunWith({kChangingCalls, Fate::kDie, place}, fmt::format("dies at {} of {}", place, calls),
            false);
  }
  std::printf("%d runs\n", mRuns);
}

INSTANTIATE_TEST_SUITE_P(Of, FileFaults, testing::ValuesIn(get_Scenarios()),
                         [](auto const& scenario) { return scenario.param.mName; });

// DuckDB by itself takes such a log for one that is not there, and removes it later.
class UnseenLogs : public FileFaults {};

TEST_P(UnseenLogs, AreAClearErrorAndLoseNothing) {
  for (int const error : {EACCES, EIO}) {
    mFaultyPath = "/a.db.wal";
    FileFault const fault{kLookCall | kDuckDBLookCall, Fate::kFailForGood, 0, error};
    EXPECT_GT(RunWith(fault, std::strerror(error), false), 0);
  }
}

std::vector<Scenario> Openings() {
  std::vector<Scenario> found;
  for (Scenario const& scenario : get_Scenarios()) {
    for (char const* const name : {"CreateAgain", "Open", "Drop", "Restore"}) {
      if (scenario.mName == std::string(name)) found.push_back(scenario);
    }
  }
  return found;
}

INSTANTIATE_TEST_SUITE_P(Of, UnseenLogs, testing::ValuesIn(Openings()),
                         [](auto const& scenario) { return scenario.param.mName; });

}  // namespace
