#pragma once

#include <string>

#include "support/DatabaseTest.h"
#include "tarn/lsql/Backup.h"

namespace lumora::test {

// Backups and restores in a folder of the test's own. The host's hooks are put back afterwards.
class BackupTest : public DatabaseTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  tarn::smart_ptr<tarn::I_Location> LocationAt(std::string const& inName) const;
  // A backup of an open database in the folder "backups" (made when it is not there); its path.
  std::string BackUp(Database const& inDatabase);
  Database Restore(std::string const& inTarget, std::string const& inBackupPath);

  // A script with everything that DuckDB can hold, for a database of storage version v1.5.0.
  static std::string EverythingSql();
  // The whole catalog and the checksum of every table, for comparing.
  static std::string Fingerprint(Database const& inDatabase);

 private:
  tarn::smart_ptr<tarn::I_Location> (*mServerHook)() = nullptr;
  tarn::smart_ptr<tarn::I_Location> (*mCreateHook)(tarn::smart_ptr<tarn::I_Location>) = nullptr;
};

}  // namespace lumora::test
