// The file calls of the five procedures fail, one after another: the rows that the file has, or one
// error and no cursor (of a pattern, the rows of whole files); nothing stays open, and the next
// call works.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <random>

#include "support/FileCalls.h"
#include "support/Forked.h"
#include "support/LoadedExtension.h"
#include "support/OpenFiles.h"
#include "support/ProcedureCalls.h"
#include "support/Rounds.h"
#include "support/Seed.h"

namespace {

namespace fs = std::filesystem;
using namespace lumora::test;

struct Kind {
  char const* mName;
  std::uint32_t mCalls;
  std::vector<int> mErrors;
};
std::vector<Kind> const kKinds = {
    {"open", kOpenCall, {EACCES, EIO, ENOMEM}},
    {"read", kReadCall, {EIO, ENOMEM, EACCES}},
    {"look", kLookCall, {EACCES, EIO, ENOMEM}},
    {"list", kListCall, {EACCES, EIO}},
    {"lock", kLockCall, {ENOLCK, EACCES}},
    {"close", kCloseCall, {EIO}},
    {"write", kWriteCall, {EIO, ENOSPC}},
    {"sync", kSyncCall, {EIO}},
    {"resize", kResizeCall, {EIO}},
    {"rename", kRenameCall, {EACCES}},
    {"remove", kRemoveCall, {EACCES}},
};

struct Procedure {
  char const* mTitle;
  char const* mName;
  char const* mFile;
  std::vector<std::string> mRest;  // of the arguments

  friend std::ostream& operator<<(std::ostream& ioStream, Procedure const& inProcedure) {
    return ioStream << inProcedure.mTitle;
  }
};
std::vector<Procedure> const kProcedures = {
    {"FetchParquet", "fetch_parquet", "a.parquet", {}},
    {"FetchParquetOfSomeColumnsAndRows", "fetch_parquet", "a.parquet", {"i", "i > 100", "9000"}},
    {"FetchParquetOfManyFiles", "fetch_parquet", "*.parquet", {"i, s", "i % 7 = 0"}},
    {"ParquetSchema", "parquet_schema", "a.parquet", {}},
    {"ParquetMetadata", "parquet_metadata", "a.parquet", {}},
    {"ParquetCount", "parquet_count", "a.parquet", {}},
    {"ParquetCountOfSomeRows", "parquet_count", "a.parquet", {"i > 4321"}},
    {"FetchDuckDB", "fetch_duckdb", "a.db", {"t"}},
    {"FetchDuckDBWithALimit", "fetch_duckdb", "a.db", {"t", "9000"}},
};

class ProcedureFaults : public Procedures, public testing::WithParamInterface<Procedure> {
 protected:
  void SetUp() override {
    static_cast<void>(LoadedExtension::Instance());
    static_cast<void>(LoadedProcedures::Instance());
    fs::create_directory(mTemplate);
    ForkedResult const made = RunForked([&] { MakeFiles(); });
    ASSERT_THAT(made.mLines, testing::IsEmpty());
    if (std::string_view(GetParam().mFile).find('*') == std::string_view::npos) return;
    FreshFiles();
    ForkedResult const one = RunForked([&] { TellParent(AnswerOf("a.parquet")); });
    ASSERT_EQ(one.mLines.size(), 1U);
    mOneFile = one.mLines[0];
  }

  // The last rows of the database are in its log alone.
  void MakeFiles() const {
    for (char const* const name : {"a", "b"}) {
      Oracle().Run("COPY (SELECT range AS i, 'text ' || range AS s FROM range(12000)) TO " +
                   Quoted(mTemplate + "/" + name + ".parquet") +
                   " (FORMAT parquet, ROW_GROUP_SIZE 4096)");
    }
    Oracle(mTemplate + "/a.db")
        .Run("CREATE TABLE t AS SELECT range AS i, 'text ' || range AS s FROM range(12000)");
    auto* const open = new Oracle(mTemplate + "/a.db");
    open->Run("INSERT INTO t SELECT range, 'late' FROM range(20000, 20003)");
  }

  void FreshFiles() const {
    fs::remove_all(mWorld);
    fs::copy(mTemplate, mWorld, fs::copy_options::recursive);
  }

  // The answer as a text of its own: rows, or the error.
  std::string Answer() const { return AnswerOf(GetParam().mFile); }
  std::string AnswerOf(std::string const& inFile) const {
    Args args = {Text(mWorld + "/" + inFile)};
    for (std::string const& text : GetParam().mRest) args.push_back(Text(text));
    CallOutcome const outcome =
        CallProcedure(LoadedProcedures::Instance().Find(GetParam().mName), args);
    if (!outcome.mCursor) {
      return outcome.mErrors.size() == 1 && !outcome.mErrors[0].empty()
                 ? "error: " + outcome.mErrors[0]
                 : fmt::format("{} errors", outcome.mErrors.size());
    }
    if (!outcome.mErrors.empty()) return "a cursor and errors";
    std::vector<std::string> rows;
    for (auto const& row : TextsOf(*outcome.mCursor))
      rows.push_back(fmt::format("{}", fmt::join(row, ";")));
    // Threads of DuckDB's may change the order of files.
    std::sort(rows.begin(), rows.end());
    return fmt::format("{} rows {}", rows.size(),
                       std::hash<std::string>()(fmt::format("{}", fmt::join(rows, "|"))));
  }

  // Returns the number of such calls.
  int RunWith(FileFault const& inFault, std::string const& inWhat) {
    SCOPED_TRACE(inWhat);
    FreshFiles();
    ForkedResult const result = RunForked([&] {
      {
        FaultyFiles const faulty(mWorld, inFault);
        TellParent("answer " + Answer());
        TellParent(fmt::format("calls {}", faulty.get_Calls()));
      }
      for (std::string const& file : OpenFilesIn(mWorld)) TellParent("still open: " + file);
      TellParent("next " + Answer());
    });
    ++mRuns;
    EXPECT_EQ(result.mSignal, 0);
    if (result.mLines.size() != 3) {
      ADD_FAILURE() << testing::PrintToString(result.mLines);
      return -1;
    }
    std::string const answer = result.mLines[0].substr(7);
    if (mRight.empty()) mRight = answer;
    // Where DuckDB cannot list a folder to its end, it takes the files that it has seen.
    EXPECT_TRUE(answer == mRight || answer == mOneFile || answer.starts_with("error: ")) << answer;
    EXPECT_EQ(result.mLines[2], "next " + mRight);
    if (answer != mRight) ++mErrors;
    return std::stoi(result.mLines[1].substr(6));
  }

  std::vector<int> Places(int inCalls) {
    std::vector<int> places(static_cast<std::size_t>(std::max(inCalls, 0)));
    for (int i = 0; i < inCalls; ++i) places[static_cast<std::size_t>(i)] = i;
    std::shuffle(places.begin(), places.end(), mRandom);
    places.resize(std::min(places.size(), static_cast<std::size_t>(Rounds(3, 1))));
    return places;
  }

  std::string const mTemplate = mFolder.At("template");
  std::string const mWorld = mFolder.At("world");
  std::mt19937_64 mRandom{get_Seed("ProcedureFaults")};
  std::string mRight;
  std::string mOneFile;  // of a pattern: what each of its files gives, and never less
  int mRuns = 0;
  int mErrors = 0;
};

TEST_P(ProcedureFaults, AreOneErrorOrHarmlessAndNeverFewerRows) {
  for (Kind const& kind : kKinds) {
    int const calls = RunWith({kind.mCalls}, "no fault");
    ASSERT_TRUE(mRight.find(" rows ") != std::string::npos) << mRight;
    for (Fate const fate : {Fate::kFailOnce, Fate::kFailForGood}) {
      for (int const place : Places(calls)) {
        int const error = kind.mErrors[static_cast<std::size_t>(place) % kind.mErrors.size()];
        RunWith({kind.mCalls, fate, place, error},
                fmt::format("{} {} of {} {}: {}", kind.mName, place, calls,
                            fate == Fate::kFailOnce ? "once" : "for good", std::strerror(error)));
      }
    }
  }
  std::printf("%d runs, %d errors\n", mRuns, mErrors);
  EXPECT_GT(mErrors, 2);
}

INSTANTIATE_TEST_SUITE_P(Of, ProcedureFaults, testing::ValuesIn(kProcedures),
                         [](auto const& procedure) { return procedure.param.mTitle; });

}  // namespace
