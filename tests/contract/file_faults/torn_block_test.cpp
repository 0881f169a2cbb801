// A kill in the middle of a write: what DuckDB's own C calls make of it, and what this library
// says.
#include <gmock/gmock.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <utility>

#include "duckdb_c/Handles.h"
#include "support/DatabaseTest.h"
#include "support/FileCalls.h"
#include "support/Forked.h"
#include "support/Killing.h"

namespace {

namespace fs = std::filesystem;
using namespace lumora::test;
using namespace lumora::duckdb_c;
using Setting = std::pair<char const*, char const*>;

constexpr std::size_t kPage = 4096;

// One instance of DuckDB's, by its C calls alone.
struct RawDatabase {
  DatabaseHandle mDatabase;
  ConnectionHandle mConnection;
  std::string mError;

  explicit RawDatabase(std::string const& inPath, Setting const& inSetting = {}) {
    ConfigHandle config;
    duckdb_create_config(config.out());
    if (inSetting.first) duckdb_set_config(config.get(), inSetting.first, inSetting.second);
    TextHandle error;
    duckdb_open_ext(inPath.c_str(), mDatabase.out(), config.get(), error.out());
    mError = TextOr(error.get(), "");
    if (mDatabase) duckdb_connect(mDatabase.get(), mConnection.out());
  }
  std::int64_t Run(char const* inSql) {
    ResultHandle result;
    if (duckdb_query(mConnection.get(), inSql, result.out()) != DuckDBSuccess) return -1;
    ChunkHandle const chunk(duckdb_fetch_chunk(result.get()));
    if (!chunk || duckdb_data_chunk_get_size(chunk.get()) == 0) return 0;
    duckdb_vector const column = duckdb_data_chunk_get_vector(chunk.get(), 0);
    return *static_cast<std::int64_t const*>(duckdb_vector_get_data(column));
  }
};

class TornBlock : public DatabaseTest {
 protected:
  // A database that was written out three times, so that there is place in its blocks.
  void MakeDatabase(Setting const& inSetting) const {
    for (std::string const& name : mFolder.Names()) fs::remove(mFolder.At(name));
    auto const made = RunForked([&] {
      FaultyFiles const none(mFolder.get_Path(), {});
      RawDatabase database(mFolder.At("a.db"), inSetting);
      database.Run("CREATE TABLE t (a BIGINT)");
      for (int i = 0; i < 3; ++i) {
        database.Run("INSERT INTO t VALUES (1)");
        database.Run("CHECKPOINT");
      }
    });
    EXPECT_EQ(made.mSignal, 0);
  }

  // Commits and writes out in a process that dies when the first page of the write is done. False
  // when there are fewer writes.
  bool TearWrite(int inWrite, Setting const& inSetting) const {
    auto const torn = RunForked([&] {
      RawDatabase database(mFolder.At("a.db"), inSetting);
      FaultyFiles const faulty(mFolder.get_Path(), {kWriteCall, Fate::kTear, inWrite, 0, kPage});
      database.Run("INSERT INTO t VALUES (1)");
      TellParent("committed");
      database.Run("CHECKPOINT");
      TellParent("written out");
      _exit(0);
    });
    return torn.mSignal == SIGKILL && torn.mLines == std::vector<std::string>{"committed"};
  }

  // What DuckDB says; "4" when it opens and has all rows.
  std::string RawOpened() const {
    auto const opened = RunForked([&] {
      RawDatabase database(mFolder.At("a.db"));
      TellParent(database.mDatabase ? std::to_string(database.Run("SELECT count(*) FROM t"))
                                    : database.mError);
      _exit(0);
    });
    return opened.mLines.empty() ? "died" : opened.mLines.front();
  }

  // What this library says; "4" when it opens and has all rows.
  std::string Opened() const {
    LoadedExtension::Instance();
    auto const opened = RunForked([&] {
      Database const database = At("a.db");
      database->Open();
      TellParent(std::to_string(Number(database, "SELECT count(*) FROM t")));
    });
    return opened.mLines.empty() ? "died" : opened.mLines.front();
  }

  // The writes that leave a file which DuckDB refuses.
  std::vector<std::string> TearEveryWrite(Setting const& inSetting) {
    std::vector<std::string> refusals;
    for (int write = 1;; ++write) {  // 0 is the commit
      MakeDatabase(inSetting);
      if (!TearWrite(write, inSetting)) return refusals;
      std::string said = RawOpened();
      if (said != "4") refusals.push_back(std::move(said));
    }
  }
};

TEST_F(TornBlock, IsRefusedByDuckDbAndByUsWithItsTextAndHasEveryCommitOnceMended) {
  MakeDatabase({});
  int refused = 0;
  for (int write = 1; TearWrite(write, {}); ++write, MakeDatabase({})) {
    std::string const said = RawOpened();
    if (said == "4") continue;
    ++refused;
    auto const block = FindTornBlock(said);
    ASSERT_TRUE(block) << said;
    std::string const file = mFolder.Read("a.db");
    std::string const log = mFolder.Read("a.db.wal");
    EXPECT_THAT(Opened(), testing::HasSubstr(said));
    EXPECT_EQ(mFolder.Read("a.db"), file);
    EXPECT_EQ(mFolder.Read("a.db.wal"), log);
    MendTornBlock(mFolder.At("a.db"), *block);
    EXPECT_EQ(Opened(), "4");
  }
  EXPECT_EQ(refused, 1);
}

// When one of these does, open every database with it, and Killing.h is no longer needed.
TEST_F(TornBlock, IsAvoidedByNoSettingOfDuckDbs) {
  constexpr std::array<Setting, 8> settings = {{
      {"default_block_size", "16384"},
      {"storage_compatibility_version", "latest"},
      {"experimental_metadata_reuse", "false"},
      {"force_column_metadata_reuse", "true"},
      {"checkpoint_threshold", "1GB"},
      {"auto_checkpoint_skip_wal_threshold", "0"},
      {"debug_verify_blocks", "true"},
      {"threads", "1"},
  }};
  for (Setting const& setting : settings) {
    auto const refusals = TearEveryWrite(setting);
    EXPECT_THAT(refusals, testing::ElementsAre(testing::HasSubstr("Corrupt database file")))
        << setting.first;
  }
}

}  // namespace
