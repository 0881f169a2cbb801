#include <filesystem>

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
  auto const backup = fs::directory_iterator(mFolder.At("backups"))->path();
  EXPECT_TRUE(fs::exists(backup / ("a.db." + std::string(tarn::glDuckDB_backup_sfx))));
  EXPECT_EQ(Number(database, "SELECT sum(a) FROM t"), 1);
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
