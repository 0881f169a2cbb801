#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ExtensionLibrary.h"
#include "Formats.h"
#include "Options.h"
#include "Results.h"
#include "tarn/lsql/I_DuckDBDatabase.h"
#include "tarn/lsql/I_DuckDBExtension.h"
#include "tarn/lsql/I_DuckDBStatement.h"
#include "tarn/smart_ptr.h"

namespace lumora::shell {

using DatabasePtr = tarn::smart_ptr<tarn::lsql::I_DuckDBDatabase>;
using StatementPtr = tarn::smart_ptr<tarn::lsql::I_DuckDBStatement>;

// What a user works with: the extension, one database, and how results look. One thread. All errors
// are StatementError.
class Session {
 public:
  Session(ExtensionLibrary const& inExtension, Options const& inOptions, Results& outResults);
  ~Session();
  Session(Session const&) = delete;
  Session& operator=(Session const&) = delete;

  ProcedureRegistry const& get_Procedures() const { return mExtension.get_Procedures(); }
  // The object that the extension gave the host.
  tarn::smart_ptr<tarn::lsql::I_DuckDBExtension> RequireExtension() const;

  // The open database; the first use opens one in memory.
  tarn::lsql::I_DuckDBDatabase& RequireDatabase();
  // The same without opening one; null when none is open.
  DatabasePtr get_Database() const { return mDatabase; }

  // Each replaces the database at hand, once the new one is there.
  void Open(std::string const& inPath, bool inReadOnly);
  void Create(std::string const& inPath);
  void Restore(std::string const& inBackupPath, std::string const& inPath);
  void Close();
  void Drop();
  // Returns the folder of the new backup.
  std::string Backup(std::string const& inFolder);

  // A statement that .next walks through.
  void Prepare(std::string const& inSql);
  StatementPtr get_Statement() const { return mStatement; }

  Results& get_Results() { return mResults; }
  DisplayLimits get_Limits() const;

  Mode mMode;
  std::uint32_t mCursorKind;
  std::optional<std::size_t> mMaxRows;
  std::vector<std::string> mParameters;
  bool mHasTimer = false;
  bool mHasQuit = false;
  int mReadDepth = 0;
  std::vector<Column> mLastColumns;

 private:
  DatabasePtr NewDatabase(std::string const& inPath, bool inReadOnly) const;
  void Use(DatabasePtr inDatabase);

  ExtensionLibrary const& mExtension;
  OpenOptions mOpen;
  Results& mResults;
  DatabasePtr mDatabase;
  StatementPtr mStatement;
};

// A line for the user that is no result, on standard error.
void TellUser(std::string const& inLine);

}  // namespace lumora::shell
