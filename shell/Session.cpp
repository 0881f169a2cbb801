#include "Session.h"

#include <cstdio>
#include <utility>

#include "DatabaseErrors.h"
#include "Elapsed.h"
#include "HostText.h"
#include "Platform.h"
#include "Text.h"
#include "tarn/Location.h"
#include "tarn/lsql/Backup.h"

namespace lumora::shell {

namespace {

using LocationPtr = tarn::smart_ptr<tarn::I_Location>;

LocationPtr LocationOf(std::string const& inPath) {
  return tarn::CreateLocation(ToHostText(inPath));
}

// DuckDB's messages do not always say which file they are about.
void OpenNamed(tarn::lsql::I_DuckDBDatabase& ioDatabase, std::string const& inPath) {
  try {
    ioDatabase.Open();
  } catch (tarn::xException const& error) {
    StatementError const told = ToStatementError(error);
    bool const isNamed = std::string_view(told.what()).find(inPath) != std::string_view::npos;
    throw StatementError(isNamed ? told.what() : inPath + ": " + told.what(), told.mType);
  }
}

// What stands there is somebody's data: only .drop removes it.
void RefuseExisting(LocationPtr const& inLocation, std::string const& inPath) {
  if (inLocation->get_Exists()) {
    throw StatementError(inPath + " is there already; open it and .drop it first");
  }
}

// The database tells the folder of all backups; which one inside it is the new one is known to the
// host that makes it. One at a time.
class BackupWatch {
 public:
  BackupWatch() : mMake(tarn::lsql::gCreateBackupLocation) {
    sWatch = this;
    tarn::lsql::gCreateBackupLocation = &Make;
  }
  ~BackupWatch() {
    tarn::lsql::gCreateBackupLocation = mMake;
    sWatch = nullptr;
  }
  BackupWatch(BackupWatch const&) = delete;
  BackupWatch& operator=(BackupWatch const&) = delete;

  std::string get_Path() const { return mBackup ? ToUtf8(mBackup->get_Path()) : std::string(); }

 private:
  static LocationPtr Make(LocationPtr inFolder) {
    sWatch->mBackup = sWatch->mMake(std::move(inFolder));
    return sWatch->mBackup;
  }
  static BackupWatch* sWatch;

  LocationPtr (*mMake)(LocationPtr);
  LocationPtr mBackup;
};

BackupWatch* BackupWatch::sWatch = nullptr;

}  // namespace

void TellUser(std::string const& inLine) {
  std::fputs((PrintableLines(inLine) + "\n").c_str(), stderr);
}

Session::Session(ExtensionLibrary const& inExtension, Options const& inOptions, Results& outResults)
    : mMode(inOptions.mMode),
      mCursorKind(inOptions.mCursorKind),
      mMaxRows(inOptions.mMaxRows),
      mParameters(inOptions.mParameters),
      mExtension(inExtension),
      mOpen(inOptions.mOpen),
      mResults(outResults) {}

Session::~Session() {
  try {
    Close();
  } catch (StatementError const& error) {
    TellUser(std::string("closing the database: ") + error.what());
  }
}

tarn::smart_ptr<tarn::lsql::I_DuckDBExtension> Session::RequireExtension() const {
  auto extension = tarn::lsql::GetDuckDBExtension();
  if (!extension) throw StatementError("the extension offers procedures only, no databases");
  return extension;
}

DatabasePtr Session::NewDatabase(std::string const& inPath, bool inReadOnly) const {
  DatabasePtr const database = RequireExtension()->CreateDatabase(LocationOf(inPath));
  tarn::lsql::DuckDBSettings settings;
  settings.mWritable = inReadOnly ? 0 : 1;
  settings.mThreads = mOpen.mThreads;
  settings.mMaxMemory = mOpen.mMaxMemory;
  settings.mTempDirectory = ToHostText(mOpen.mTempFolder);
  settings.mExternalAccess = mOpen.mExternalAccess;
  database->put_Settings(settings);
  database->put_StorageVersion(ToHostText(mOpen.mStorageVersion));
  database->put_BlockSize(mOpen.mBlockSize);
  if (!mOpen.mToken.empty() || !mOpen.mUserAgent.empty()) {
    database->SetRemoteAccess(ToHostText(mOpen.mToken), ToHostText(mOpen.mUserAgent));
  }
  return database;
}

void Session::Use(DatabasePtr inDatabase) {
  Close();
  mDatabase = std::move(inDatabase);
}

tarn::lsql::I_DuckDBDatabase& Session::RequireDatabase() {
  if (!mDatabase) Open(":memory:", false);
  return *mDatabase;
}

void Session::Open(std::string const& inPath, bool inReadOnly) {
  bool const isReadOnly = inReadOnly || mOpen.mReadOnly;
  WithDatabaseErrors([&] {
    // A file is opened once: what is open must be closed when it is the same one.
    DatabasePtr const database = NewDatabase(inPath, isReadOnly);
    if (mDatabase && ToUtf8(mDatabase->get_Key()) == ToUtf8(database->get_Key())) Close();
    ElapsedDisplay const elapsed("opening");
    OpenNamed(*database, inPath);
    Use(database);
    if (database->get_IsReadOnly() && !isReadOnly) {
      TellUser(inPath + " cannot be written; it is open for reading only");
    }
  });
}

void Session::Create(std::string const& inPath) {
  WithDatabaseErrors([&] {
    RefuseExisting(LocationOf(inPath), inPath);
    DatabasePtr const database = NewDatabase(inPath, false);
    database->Create();
    Use(database);
  });
}

void Session::Restore(std::string const& inBackupPath, std::string const& inPath) {
  WithDatabaseErrors([&] {
    LocationPtr const backup = LocationOf(inBackupPath);
    if (!backup->get_Exists()) throw StatementError("there is no folder " + inBackupPath);
    RefuseExisting(LocationOf(inPath), inPath);
    ElapsedDisplay elapsed("restoring");
    DatabasePtr const database = RequireExtension()->RestoreDatabase(LocationOf(inPath), backup);
    elapsed.Stop();
    database->Open();
    Use(database);
  });
}

void Session::Close() {
  mStatement.reset();
  DatabasePtr const database = std::move(mDatabase);
  mDatabase.reset();
  if (database) WithDatabaseErrors([&] { database->Close(); });
}

void Session::Drop() {
  if (!mDatabase) throw StatementError("no database is open");
  WithDatabaseErrors([&] {
    mStatement.reset();
    DatabasePtr const database = mDatabase;
    database->Drop();
    mDatabase.reset();
  });
}

std::string Session::Backup(std::string const& inFolder) {
  return WithDatabaseErrors([&] {
    LocationPtr folder = inFolder.empty() ? LocationPtr() : LocationOf(inFolder);
    if (auto const made = tarn::query_interface<tarn::I_Folder>(folder.get(), tarn::kIID_Folder)) {
      made->Create();
    }
    BackupWatch const watch;
    ElapsedDisplay const elapsed("backup");
    RequireDatabase().Backup(folder);
    return watch.get_Path();
  });
}

void Session::Prepare(std::string const& inSql) {
  WithDatabaseErrors([&] { mStatement = RequireDatabase().CreateStatement(ToHostText(inSql)); });
}

DisplayLimits Session::get_Limits() const {
  constexpr std::size_t kScrolledRows = 1000;
  DisplayLimits limits;
  if (mResults.get_Pages()) limits.mMaxRows = kScrolledRows;
  limits.mMaxRows = mMaxRows.value_or(limits.mMaxRows);
  if (mResults.get_IsTerminal()) limits.mScreenWidth = get_ScreenSize().mColumns;
  limits.mColor = mResults.get_HasColor();
  return limits;
}

}  // namespace lumora::shell
