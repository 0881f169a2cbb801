#include <filesystem>
#include <functional>

#include "support/BackupTest.h"
#include "support/DuckDBCalls.h"

// The export of a backup: its options, and what is left when it fails.
namespace {

namespace fs = std::filesystem;
using namespace lumora::test;
using tarn::I_Location;
using tarn::smart_ptr;

class BackupExport : public BackupTest {
 protected:
  void SetUp() override {
    BackupTest::SetUp();
    fs::create_directory(mFolder.At("backups"));
  }

  std::string OnlyBackup() const {
    return fs::directory_iterator(mFolder.At("backups"))->path().string();
  }

  // Backs up again and again while one query after the other fails, then one chunk after the other,
  // until none is left to fail. How many there were.
  int WithEachQuestionUnanswered(Database const& inDatabase,
                                 std::function<void(Thrown const&)> const& inThen) {
    int asked = 0;
    for (Call const call : {Call::kQuery, Call::kFetchChunk}) {
      for (int i = 0;; ++i) {
        fs::remove_all(mFolder.At("backups"));
        fs::create_directory(mFolder.At("backups"));
        smart_ptr<I_Location> folder = LocationAt("backups");
        std::uint64_t const before = get_CallCount(call);
        Thrown thrown;
        {
          FailingCall const failing(call, i, 1);
          thrown = ThrownBy([&] { inDatabase->Backup(folder); });
        }
        if (get_CallCount(call) - before <= static_cast<std::uint64_t>(i)) break;
        SCOPED_TRACE("call " + std::to_string(static_cast<int>(call)) + " " + std::to_string(i));
        inThen(thrown);
        ++asked;
      }
    }
    return asked;
  }

  // Row groups, compression and encodings of a Parquet file.
  std::string Layout(Database const& inDatabase, std::string const& inPath) {
    auto const cursor = inDatabase->ExecuteQuery(
        Wide("SELECT string_agg(concat_ws(' ', row_group_num_rows, compression, encodings), ', ' "
             "ORDER BY row_group_id, column_id) FROM parquet_metadata('" +
             inPath + "')"),
        1, nullptr);
    cursor->NextRecord();
    return Utf8(cursor->get_Value(0)->get_String());
  }
};

TEST_F(BackupExport, HasTheRowGroupsAndTheVersionOfItsOptions) {
  Database const database = Created("a.db");
  Run(database,
      "SET threads = 1; CREATE TABLE t AS SELECT range AS a, 'text ' || range AS b FROM "
      "range(250000)");
  std::string const options = "ROW_GROUP_SIZE 100_000, PARQUET_VERSION V2";
  auto const copied = [&](std::string const& inName, std::string const& inOptions) {
    std::string const path = mFolder.At(inName);
    Run(database, "COPY t TO '" + path + "' (FORMAT PARQUET, " + inOptions + ")");
    return Layout(database, path);
  };
  std::string const layout = Layout(database, BackUp(database) + "/t.parquet");
  EXPECT_EQ(layout,
            copied("same.parquet", "COMPRESSION ZSTD, ROW_GROUP_SIZE 100_000, PARQUET_VERSION V2"));
  EXPECT_NE(layout, copied("v1.parquet", "COMPRESSION ZSTD, ROW_GROUP_SIZE 100_000"));
  EXPECT_NE(layout, copied("rows.parquet", "COMPRESSION ZSTD, PARQUET_VERSION V2"));
  EXPECT_NE(layout, copied("snappy.parquet", options));
}

// DuckDB's own log tells what it was given.
TEST_F(BackupExport, IsOneStatementThatHoldsThePathAndTheFixedOptions) {
  Database const database = Created("a.db");
  tarn::lsql::gCreateBackupLocation = [](smart_ptr<I_Location> inFolder) {
    return tarn::PrepareFolder(std::move(inFolder), "it's one/");
  };
  Run(database, "CALL enable_logging('QueryLog')");
  smart_ptr<I_Location> folder = LocationAt("backups");
  database->Backup(folder);
  auto const cursor = database->ExecuteQuery(
      Wide("SELECT message FROM duckdb_logs WHERE type = 'QueryLog' AND message LIKE 'EXPORT%'"), 1,
      nullptr);
  ASSERT_TRUE(cursor->NextRecord());
  EXPECT_EQ(Utf8(cursor->get_Value(0)->get_String()),
            "EXPORT DATABASE '" + mFolder.At("backups") +
                "/it''s one' ( FORMAT PARQUET, COMPRESSION ZSTD, ROW_GROUP_SIZE 100_000, "
                "PARQUET_VERSION V2 )");
  EXPECT_FALSE(cursor->NextRecord());
}

TEST_F(BackupExport, ThatFailsWithoutATextSaysSoAndLeavesTheMarker) {
  MakeFile("a.db");
  Database const database = Opened("a.db");
  smart_ptr<I_Location> folder = LocationAt("backups");
  Thrown thrown;
  {
    FailingCall const failing(Call::kQuery);
    thrown = ThrownBy([&] { database->Backup(folder); });
  }
  EXPECT_EQ(thrown, DuckDBError("a.db", "Unknown DuckDB backup error"));
  EXPECT_TRUE(fs::exists(OnlyBackup() + "/a.db." + std::string(tarn::glDuckDB_backup_sfx)));
  EXPECT_EQ(Number(database, "SELECT sum(a) FROM t"), 1);
}

// DuckDB is asked many things about the source and the copy: an answer that is missing must never
// pass for "nothing is lost". A table that refers to itself cannot be exported.
TEST_F(BackupExport, IsNoSuccessForALossThatAnUnansweredQuestionHides) {
  Database const database = Created("a.db");
  Run(database, "CREATE TABLE s(k INTEGER PRIMARY KEY, p INTEGER REFERENCES s(k))");
  int const asked = WithEachQuestionUnanswered(
      database, [](Thrown const& thrown) { EXPECT_EQ(thrown.mClass, "xDuckDBError"); });
  EXPECT_GT(asked, 5);
}

TEST_F(BackupExport, ThatSucceedsIsWholeThoughAQuestionWasUnanswered) {
  Database const database = Created("a.db");
  Run(database,
      "CREATE TYPE mood AS ENUM ('it''s'); CREATE TABLE p(i INTEGER PRIMARY KEY, m mood); CREATE "
      "TABLE c(i INTEGER REFERENCES p(i), h INTERVAL); CREATE MACRO m(x) AS x; COMMENT ON TABLE c "
      "IS 'remark'; COMMENT ON MACRO m IS 'remark'; INSERT INTO p VALUES (1, 'it''s'); INSERT INTO "
      "c VALUES (1, INTERVAL '1 day')");
  std::string const print = Fingerprint(database);
  int const asked = WithEachQuestionUnanswered(database, [&](Thrown const& thrown) {
    if (thrown != Thrown{}) return;
    Database const restored = Restore("b.db", OnlyBackup());
    restored->Open();
    EXPECT_EQ(Fingerprint(restored), print);
  });
  EXPECT_GT(asked, 10);
}

TEST_F(BackupExport, AHookThatThrowsLeavesTheCallersFolderToHim) {
  MakeFile("a.db");
  Database const database = Opened("a.db");
  smart_ptr<I_Location> const wished = LocationAt("backups");
  smart_ptr<I_Location> folder = wished;
  tarn::lsql::gServerBackupLocation = []() -> smart_ptr<I_Location> {
    throw tarn::xException(7, "no server");
  };
  EXPECT_EQ(ThrownBy([&] { database->Backup(folder); }).mCode, 7U);
  EXPECT_EQ(folder, wished);
  EXPECT_EQ(Number(database, "SELECT sum(a) FROM t"), 1);
}

}  // namespace
