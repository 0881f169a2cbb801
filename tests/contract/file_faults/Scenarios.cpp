#include "Scenarios.h"

#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>

#include "support/DatabaseTest.h"
#include "support/Forked.h"
#include "support/LoadedExtension.h"
#include "tarn/lsql/Backup.h"

namespace lumora::test {

namespace fs = std::filesystem;

namespace {

std::set<int> const kOld = {1, 2, 3};
std::set<int> const kBackedUp = {11, 12};
std::string const kDamage(9000, 'x');

DatabasePtr MakeObject(std::string const& inPath) {
  DatabasePtr database = LoadedExtension::Instance().Database(inPath);
  // One thread: the calls come in the same order every time.
  tarn::lsql::DuckDBSettings settings;
  settings.mThreads = 1;
  database->put_Settings(settings);
  return database;
}

DatabasePtr Open(std::string const& inPath) {
  DatabasePtr database = MakeObject(inPath);
  database->Open();
  return database;
}

void Run(DatabasePtr const& inDatabase, std::string const& inSql) {
  inDatabase->ExecuteSQL(Wide(inSql), nullptr);
}

void InsertTwice(DatabasePtr const& inDatabase, int inNumber) {
  std::string const insert = fmt::format("INSERT INTO t VALUES ({});", inNumber);
  Run(inDatabase, "BEGIN;" + insert + insert + "COMMIT;");
}

// Tells what comes out of an operation: "done", an error of the host's kinds, or something wrong.
template <typename TOperation>
bool Try(TOperation const& inOperation) {
  Thrown thrown;
  try {
    thrown = ThrownBy(inOperation);
  } catch (std::exception const& error) {
    thrown = {"std::exception", 0, error.what(), ""};
  }
  if (thrown == Thrown{}) return true;
  // The one code that is clear without a text.
  static Thrown const noBackup{"xDBError", 0x66000, "", ""};
  bool const ours = thrown == noBackup || (thrown.mClass.starts_with('x') && thrown.mCode != 0 &&
                                           !(thrown.mText1 + thrown.mText2).empty());
  TellParent(fmt::format("{}: {} {:#x} {} | {}", ours ? "failed" : "wrong", thrown.mClass,
                         thrown.mCode, thrown.mText1, thrown.mText2));
  return false;
}

template <typename TOperation>
void TryAll(TOperation const& inOperation) {
  if (Try(inOperation)) TellParent("done");
}

bool TryCommit(World const& inWorld, int inNumber) {
  TellParent(fmt::format("try {}", inNumber));
  bool const done = Try([&] { InsertTwice(inWorld.mDatabase, inNumber); });
  if (done) TellParent(fmt::format("committed {}", inNumber));
  return done;
}

void Expect(bool inHolds, std::string const& inWhat) {
  if (!inHolds) throw std::runtime_error(inWhat);
}

// Every transaction that is there is there as a whole.
std::set<int> Transactions(DatabasePtr const& inDatabase) {
  std::set<int> found;
  auto const cursor = inDatabase->ExecuteQuery(
      Wide("SELECT a, count(*)::INTEGER FROM t GROUP BY a ORDER BY a"), 1, nullptr);
  while (cursor->NextRecord()) {
    auto const number = static_cast<int>(cursor->get_Value(0)->get_LLong());
    Expect(cursor->get_Value(1)->get_LLong() == 2, fmt::format("half of {} is there", number));
    found.insert(number);
  }
  return found;
}

std::set<int> TransactionsIn(std::string const& inPath) {
  DatabasePtr const database = Open(inPath);
  Expect(!database->get_IsReadOnly(), "the file opens read-only");
  return Transactions(database);
}

bool Includes(std::set<int> const& inAll, std::set<int> const& inSome) {
  for (int const one : inSome) {
    if (!inAll.contains(one)) return false;
  }
  return true;
}

// All that was acknowledged is there, and nothing that nobody wrote.
void CheckCommits(std::string const& inPath, Told const& inTold, std::set<int> const& inBefore) {
  std::set<int> wanted = inBefore;
  wanted.insert(inTold.mCommitted.begin(), inTold.mCommitted.end());
  std::set<int> possible = inBefore;
  possible.insert(inTold.mTried.begin(), inTold.mTried.end());
  std::set<int> const found = TransactionsIn(inPath);
  Expect(Includes(found, wanted), "an acknowledged transaction is lost");
  Expect(Includes(possible, found), "a transaction that nobody wrote");
}

void CheckNothingIsLeft(World const& inWorld, std::string const& inName) {
  for (auto const& entry : fs::directory_iterator(inWorld.mFolder)) {
    std::string const name = entry.path().filename().string();
    Expect(!name.starts_with(inName), name + " is left after Drop");
  }
}

// Nothing stands in the way of a new database, nor is left of it when it is dropped.
void CheckCreates(World const& inWorld, std::string const& inName) {
  DatabasePtr const database = MakeObject(inWorld.At(inName));
  database->Create();
  Run(database, "CREATE TABLE t (a INTEGER)");
  Expect(Transactions(database).empty(), "the new database is not empty");
  database->Drop();
  CheckNothingIsLeft(inWorld, inName);
}

// --- the operations ------------------------------------------------------------------------------

void ActCreate(World& ioWorld) {
  ioWorld.mDatabase = MakeObject(ioWorld.At("new.db"));
  if (!Try([&] { ioWorld.mDatabase->Create(); })) return;
  TellParent("done");
  if (Try([&] { Run(ioWorld.mDatabase, "CREATE TABLE t (a INTEGER)"); })) TryCommit(ioWorld, 1);
}
void ActCreateWithOptions(World& ioWorld) {
  ioWorld.mDatabase = MakeObject(ioWorld.At("new.db"));
  ioWorld.mDatabase->put_BlockSize(16384);
  TryAll([&] { ioWorld.mDatabase->Create(); });
}
void CheckCreated(World const& inWorld, Told const& inTold) {
  bool const there = MakeObject(inWorld.At("new.db"))->get_Exists();
  Expect(there || !inTold.mIsDone, "the created database is not there");
  if (there && inTold.mTried.empty()) Open(inWorld.At("new.db"));
  if (!inTold.mTried.empty()) CheckCommits(inWorld.At("new.db"), inTold, {});
  CheckCreates(inWorld, "new.db");
}

// The old database goes first, as Drop would have it.
void ActCreateAgain(World& ioWorld) {
  ioWorld.mDatabase = MakeObject(ioWorld.At("a.db"));
  TryAll([&] { ioWorld.mDatabase->Create(); });
}
void CheckCreatedAgain(World const& inWorld, Told const& inTold) {
  bool const there = MakeObject(inWorld.At("a.db"))->get_Exists();
  Expect(there || !inTold.mIsDone, "the created database is not there");
  if (there) {
    DatabasePtr const database = Open(inWorld.At("a.db"));
    bool const old =
        !inTold.mIsDone && ThrownBy([&] { Run(database, "FROM t LIMIT 0"); }) == Thrown{};
    Expect(!old || Transactions(database) == kOld, "the old database is not whole");
  }
  CheckCreates(inWorld, "a.db");
}

void ActOpen(World& ioWorld) {
  ioWorld.mDatabase = MakeObject(ioWorld.At("a.db"));
  if (!Try([&] { ioWorld.mDatabase->Open(); })) return;
  TellParent("done");
  (void)Try([&] {
    if (Transactions(ioWorld.mDatabase) != kOld)
      TellParent("wrong: an opened file lacks something");
  });
}
void CheckOld(World const& inWorld, Told const& inTold) {
  CheckCommits(inWorld.At("a.db"), inTold, kOld);
  CheckCreates(inWorld, "a.db");
}

void PrepareOpen(World& ioWorld) { ioWorld.mDatabase = Open(ioWorld.At("a.db")); }
void PrepareCommit(World& ioWorld) {
  PrepareOpen(ioWorld);
  TryCommit(ioWorld, 4);
}

void ActCommit(World& ioWorld) {
  for (int number = 4; number < 8; ++number) TryCommit(ioWorld, number);
  TellParent("done");
}
void ActCheckpoint(World& ioWorld) {
  TryAll([&] { Run(ioWorld.mDatabase, "CHECKPOINT"); });
  TryCommit(ioWorld, 5);
  (void)Try([&] { Run(ioWorld.mDatabase, "CHECKPOINT"); });
}
void ActClose(World& ioWorld) {
  TryAll([&] { ioWorld.mDatabase->Close(); });
}

void ActDrop(World& ioWorld) {
  ioWorld.mDatabase = MakeObject(ioWorld.At("a.db"));
  TryAll([&] { ioWorld.mDatabase->Drop(); });
}
void CheckDropped(World const& inWorld, Told const& inTold) {
  bool const there = MakeObject(inWorld.At("a.db"))->get_Exists();
  Expect(!there || !inTold.mIsDone, "the dropped database is there");
  if (inTold.mIsDone) CheckNothingIsLeft(inWorld, "a.db");
  if (there) Expect(TransactionsIn(inWorld.At("a.db")) == kOld, "the database is not whole");
  CheckCreates(inWorld, "a.db");
}

void PrepareBackup(World& ioWorld) {
  PrepareCommit(ioWorld);
  fs::create_directory(ioWorld.At("backups"));
}
void ActBackup(World& ioWorld) {
  auto folder = tarn::CreateLocation(Wide(ioWorld.At("backups")));
  TryAll([&] { ioWorld.mDatabase->Backup(folder); });
}
DatabasePtr Restore(World const& inWorld, std::string const& inName, std::string const& inFolder) {
  return LoadedExtension::Instance()->RestoreDatabase(
      tarn::CreateLocation(Wide(inWorld.At(inName))), tarn::CreateLocation(Wide(inFolder)));
}
// A backup is whole, or it is refused and nothing is lost by trying.
void CheckBackedUp(World const& inWorld, Told const& inTold) {
  std::set<int> const all = TransactionsIn(inWorld.At("a.db"));
  Expect(all == std::set<int>({1, 2, 3, 4}), "the database is not what it was");
  fs::copy_file(inWorld.At("a.db"), inWorld.At("b.db"));
  fs::directory_iterator entry(inWorld.At("backups"));
  bool const there = entry != fs::directory_iterator();
  Expect(there || !inTold.mIsDone, "there is no backup");
  if (there) {
    Run(Open(inWorld.At("b.db")), "DELETE FROM t");
    Thrown const thrown = ThrownBy([&] { (void)Restore(inWorld, "b.db", entry->path().string()); });
    Expect(thrown == Thrown{} || !inTold.mIsDone, "a backup cannot be restored: " + thrown.mText2);
    Expect(TransactionsIn(inWorld.At("b.db")) == (thrown == Thrown{} ? all : std::set<int>()),
           "a backup lost something without a word");
  }
  CheckCreates(inWorld, "b.db");
}

void ActRestore(World& ioWorld) {
  TryAll([&] { ioWorld.mDatabase = Restore(ioWorld, "a.db", ioWorld.At("backup")); });
}
void CheckRestored(World const& inWorld, Told const& inTold) {
  std::set<int> const found = TransactionsIn(inWorld.At("a.db"));
  Expect(found == kBackedUp || (found == kOld && !inTold.mIsDone),
         "neither the old database nor the new one");
  Restore(inWorld, "a.db", inWorld.At("backup"));
  Expect(TransactionsIn(inWorld.At("a.db")) == kBackedUp, "a second restore fails");
  CheckCreates(inWorld, "a.db");
}

// What DuckDB cannot open keeps its log: both are set aside for a moment.
void PrepareDamage(World& ioWorld) {
  std::fstream file(ioWorld.At("a.db"), std::ios::in | std::ios::out | std::ios::binary);
  file << kDamage;
}
void CheckRestoredOverDamage(World const& inWorld, Told const& inTold) {
  bool const opens = ThrownBy([&] { Open(inWorld.At("a.db")); }) == Thrown{};
  if (opens) {
    Expect(TransactionsIn(inWorld.At("a.db")) == kBackedUp, "neither the old file nor the new one");
  } else {
    Expect(!inTold.mIsDone, "the restored database does not open");
    std::string start(kDamage.size(), ' ');
    std::ifstream(inWorld.At("a.db"), std::ios::binary)
        .read(start.data(), static_cast<std::streamsize>(start.size()));
    Expect(start == kDamage, "the old file is gone");
    Expect(fs::exists(inWorld.At("a.db.wal")), "the old log is gone");
  }
  Restore(inWorld, "a.db", inWorld.At("backup"));
  Expect(TransactionsIn(inWorld.At("a.db")) == kBackedUp, "a second restore fails");
  CheckCreates(inWorld, "a.db");
}

void ActRestoreNew(World& ioWorld) {
  TryAll([&] { ioWorld.mDatabase = Restore(ioWorld, "new.db", ioWorld.At("backup")); });
}
void CheckRestoredNew(World const& inWorld, Told const& inTold) {
  bool const there = MakeObject(inWorld.At("new.db"))->get_Exists();
  Expect(there || !inTold.mIsDone, "the restored database is not there");
  if (there) Expect(TransactionsIn(inWorld.At("new.db")) == kBackedUp, "it is not whole");
  Restore(inWorld, "new.db", inWorld.At("backup"));
  CheckCreates(inWorld, "new.db");
}

}  // namespace

Told::Told(std::vector<std::string> const& inLines) {
  for (std::string const& line : inLines) {
    if (line.starts_with("try ")) mTried.insert(std::stoi(line.substr(4)));
    if (line.starts_with("committed ")) mCommitted.insert(std::stoi(line.substr(10)));
    if (line == "done") mIsDone = true;
    if (line.starts_with("failed: ") && mError.empty()) mError = line.substr(8);
    if (line.starts_with("wrong: ") || line.starts_with("exception: ")) mWrong.push_back(line);
  }
}

void MakeTemplate(std::string const& inFolder) {
  World const world{inFolder};
  fs::create_directory(world.At("backup"));
  tarn::lsql::gCreateBackupLocation = [](tarn::smart_ptr<tarn::I_Location> inFolderOfAll) {
    return inFolderOfAll;
  };
  DatabasePtr const source = MakeObject(world.At("source.db"));
  source->Create();
  Run(source, "CREATE TABLE t (a INTEGER); CREATE TABLE u AS SELECT range AS a FROM range(3000)");
  for (int const number : kBackedUp) InsertTwice(source, number);
  auto folder = tarn::CreateLocation(Wide(world.At("backup")));
  source->Backup(folder);
  source->Drop();
  DatabasePtr const database = MakeObject(world.At("a.db"));
  database->Create();
  Run(database, "CREATE TABLE t (a INTEGER); CREATE TABLE u AS SELECT range AS a FROM range(3000)");
  InsertTwice(database, 1);
  InsertTwice(database, 2);
  database->Close();
  database->Open();
  InsertTwice(database, 3);  // the process ends without closing: this stays in the log
  database.get()->AddRef();
}

std::vector<Scenario> const& get_Scenarios() {
  static std::vector<Scenario> const scenarios = {
      {"Create", nullptr, ActCreate, CheckCreated},
      {"CreateWithOptions", nullptr, ActCreateWithOptions, CheckCreated},
      {"CreateAgain", nullptr, ActCreateAgain, CheckCreatedAgain},
      {"Open", nullptr, ActOpen, CheckOld},
      {"Commit", PrepareOpen, ActCommit, CheckOld},
      {"Checkpoint", PrepareCommit, ActCheckpoint, CheckOld},
      {"Close", PrepareCommit, ActClose, CheckOld},
      {"Drop", nullptr, ActDrop, CheckDropped},
      {"Backup", PrepareBackup, ActBackup, CheckBackedUp},
      {"Restore", nullptr, ActRestore, CheckRestored},
      {"RestoreOverDamage", PrepareDamage, ActRestore, CheckRestoredOverDamage},
      {"RestoreNew", nullptr, ActRestoreNew, CheckRestoredNew},
  };
  return scenarios;
}

}  // namespace lumora::test
