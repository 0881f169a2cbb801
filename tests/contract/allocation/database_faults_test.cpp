// The operations of a database but those that run SQL.
#include <fmt/format.h>

#include <filesystem>

#include "FaultTest.h"
#include "support/FileLock.h"

namespace {

using namespace lumora::test;
using tarn::lsql::DuckDBSettings;

class ADatabase : public FaultTest {
 protected:
  static DuckDBSettings Settings() {
    DuckDBSettings settings;
    settings.mThreads = 1;
    settings.mMaxMemory = 500;
    settings.mTempDirectory = Wide(Long("/tmp/spill"));
    return settings;
  }
  Database With(std::string const& inName, DuckDBSettings const& inSettings) const {
    Database database = At(inName);
    database->put_Settings(inSettings);
    return database;
  }
  // The object can be closed, and is then as if it had never been open.
  void ExpectClosable() {
    mDatabase->Close();
    EXPECT_FALSE(mDatabase->get_IsOpen());
    EXPECT_EQ(mDatabase->get_ConnectionCount(), 0U);
    EXPECT_EQ(mDatabase->get_RefsCount(), 1U);
    mDatabase.reset();
  }
  // What inMake makes is created whole, or nothing is left that keeps it from being dropped.
  void CheckCreation(std::function<void()> inMake) {
    Attempt attempt;
    attempt.mSamples = 12;
    attempt.mPrepare = std::move(inMake);
    attempt.mRun = [&] {
      mDatabase->Create();
      return "created";
    };
    attempt.mCheck = [&] {
      // Without memory to remove it a whole, empty file may be left.
      EXPECT_LE(mFolder.Names().size(), 1U);
      mDatabase->Drop();
      EXPECT_THAT(mFolder.Names(), testing::IsEmpty());
      ExpectClosable();
    };
    CheckEveryAllocation(attempt);
  }
  // A database file with the table t that holds 1.
  std::string const& File() {
    if (mFile.empty()) mFile = MakeFile("a database with a name that is long.db");
    return mFile;
  }
  // What stood in the file is there, and nobody holds it.
  void ExpectWhole() {
    EXPECT_TRUE(AnotherProcessCanWrite(mFile));
    Database const database = LoadedExtension::Instance().Database(mFile);
    database->put_Settings(Settings());
    database->Open();
    EXPECT_EQ(Number(database, "SELECT sum(a) FROM t"), 1);
    database->Close();
  }
  void MakeClosed() {
    mDatabase = LoadedExtension::Instance().Database(File());
    mDatabase->put_Settings(Settings());
  }

  Database mDatabase;

 private:
  std::string mFile;
};

TEST_F(ADatabase, ThatCannotBeCreatedLeavesNothing) {
  CheckCreation([&] { mDatabase = With("created.db", Settings()); });
}

TEST_F(ADatabase, ThatCannotBeCreatedWithStorageOptionsLeavesNothing) {
  CheckCreation([&] {
    mDatabase = With("created.db", Settings());
    mDatabase->put_BlockSize(16384);
    mDatabase->put_StorageVersion(Wide("v1.2.0"));
  });
}

TEST_F(ADatabase, InMemoryIsCreatedOrNot) {
  Attempt attempt;
  attempt.mSamples = 30;
  attempt.mPrepare = [&] {
    mDatabase = InMemory();
    mDatabase->put_Settings(Settings());
  };
  attempt.mRun = [&] {
    mDatabase->Create();
    return "created";
  };
  attempt.mCheck = [&] { ExpectClosable(); };
  CheckEveryFault(attempt);
}

TEST_F(ADatabase, ThatCannotBeOpenedIsClosedAndWhole) {
  Attempt attempt;
  attempt.mSamples = 12;
  attempt.mPrepare = [&] { MakeClosed(); };
  attempt.mRun = [&] {
    mDatabase->Open();
    return "open";
  };
  attempt.mCheck = [&] {
    ExpectClosable();
    ExpectWhole();
  };
  CheckEveryAllocation(attempt);
}

TEST_F(ADatabase, ThatCannotBeOpenedReadOnlyIsClosedAndWhole) {
  Attempt attempt;
  attempt.mSamples = 10;
  attempt.mPrepare = [&] {
    MakeClosed();
    DuckDBSettings settings = Settings();
    settings.mWritable = 0;
    mDatabase->put_Settings(settings);
  };
  attempt.mRun = [&] {
    mDatabase->Open();
    return "open";
  };
  attempt.mCheck = [&] {
    ExpectClosable();
    ExpectWhole();
  };
  CheckEveryAllocation(attempt);
}

// The lock of the one that is open is kept whatever becomes of the second.
TEST_F(ADatabase, ThatCannotBeOpenedReadOnlyTwiceLeavesTheFirstItsLock) {
  DuckDBSettings settings = Settings();
  settings.mWritable = 0;
  MakeClosed();
  Database const first = mDatabase;
  first->put_Settings(settings);
  first->Open();
  Attempt attempt;
  attempt.mSamples = 12;
  attempt.mPrepare = [&] {
    MakeClosed();
    mDatabase->put_Settings(settings);
  };
  attempt.mRun = [&] {
    mDatabase->Open();
    return "open";
  };
  attempt.mCheck = [&] {
    EXPECT_FALSE(AnotherProcessCanWrite(File()));
    mDatabase->Close();
    mDatabase.reset();
    EXPECT_FALSE(AnotherProcessCanWrite(File()));
    EXPECT_EQ(Number(first, "SELECT sum(a) FROM t"), 1);
  };
  CheckEveryAllocation(attempt);
  first->Close();
  EXPECT_TRUE(AnotherProcessCanWrite(File()));
}

TEST_F(ADatabase, ThatSharesAFileIsOpenOrNot) {
  MakeClosed();
  Database const first = mDatabase;
  first->Open();
  Attempt attempt;
  attempt.mPrepare = [&] { MakeClosed(); };
  attempt.mRun = [&] {
    mDatabase->Open();
    return "open";
  };
  attempt.mCheck = [&] {
    mDatabase->Close();
    EXPECT_EQ(first->get_ConnectionCount(), 1U);
    EXPECT_EQ(Number(first, "SELECT sum(a) FROM t"), 1);
    mDatabase.reset();
  };
  CheckEveryFault(attempt);
}

TEST_F(ADatabase, WithoutAFileIsRefusedOrThrows) {
  Attempt attempt;
  attempt.mPrepare = [&] { mDatabase = With("a name of nothing that is there.db", Settings()); };
  attempt.mRun = [&] {
    mDatabase->Open();
    return "open";
  };
  attempt.mCheck = [&] { ExpectClosable(); };
  CheckEveryFault(attempt);
}

// A file that was replaced while an opening failed is no reason to refuse the next one.
TEST_F(ADatabase, WhoseOpeningFailedOpensAReplacedFile) {
  Attempt attempt;
  attempt.mSamples = 5;
  attempt.mPrepare = [&] {
    MakeFile("replaced.db");
    mDatabase = With("replaced.db", Settings());
  };
  attempt.mRun = [&] {
    mDatabase->Open();
    return "open";
  };
  attempt.mCheck = [&] {
    mDatabase->Close();
    std::filesystem::remove(mFolder.At("replaced.db"));
    MakeFile("replaced.db");
    EXPECT_EQ(Number(Opened("replaced.db"), "SELECT sum(a) FROM t"), 1);
    mDatabase->Drop();
    ExpectClosable();
  };
  CheckEveryAllocation(attempt);
}

TEST_F(ADatabase, ClosesWithItsChildrenWithoutMemory) {
  tarn::smart_ptr<tarn::lsql::I_DuckDBStatement> statement;
  tarn::smart_ptr<tarn::lsql::I_DuckDBQueryResult> result;
  tarn::smart_ptr<tarn::lsql::I_DuckDBCursor> cursor;
  Attempt attempt;
  attempt.mSamples = 12;
  attempt.mPrepare = [&] {
    MakeClosed();
    mDatabase->Open();
    statement = mDatabase->CreateStatement(Wide("SELECT 1; SELECT 2"));
    statement->ExecuteNext();
    result = mDatabase->Execute(Wide("SELECT 3; SELECT 4"), 2, nullptr);
    cursor = mDatabase->ExecuteQuery(Wide("SELECT 5"), 2, nullptr);
  };
  attempt.mRun = [&] {
    mDatabase->Close();
    return "closed";
  };
  attempt.mCheck = [&] {
    EXPECT_FALSE(mDatabase->get_IsOpen());
    EXPECT_EQ(ThrownBy([&] { statement->PrepareNext(); }).mText2, "DuckDBDatabase is invalid");
    EXPECT_EQ(ThrownBy([&] { cursor->NextRecord(); }).mText2, "DuckDBCursor is invalid");
    statement.reset();
    result.reset();
    cursor.reset();
    ExpectClosable();
    ExpectWhole();
  };
  CheckEveryAllocation(attempt);
}

TEST_F(ADatabase, DiesOpenWithoutMemory) {
  Attempt attempt;
  attempt.mPrepare = [&] {
    MakeClosed();
    mDatabase->Open();
  };
  attempt.mRun = [&] {
    mDatabase.reset();
    return "gone";
  };
  attempt.mCheck = [&] { ExpectWhole(); };
  CheckEveryAllocation(attempt);
}

TEST_F(ADatabase, IsDroppedOrStillThere) {
  Attempt attempt;
  attempt.mSamples = 60;
  attempt.mPrepare = [&] {
    mFolder.Write("dropped.db", "");
    mFolder.Write("dropped.db.wal", "");
    mDatabase = At("dropped.db");
  };
  attempt.mRun = [&] {
    mDatabase->Drop();
    return "dropped";
  };
  attempt.mCheck = [&] {
    mDatabase->Drop();
    EXPECT_THAT(mFolder.Names(), testing::IsEmpty());
    ExpectClosable();
  };
  CheckEveryAllocation(attempt);
}

TEST_F(ADatabase, TellsAboutItselfOrThrows) {
  MakeClosed();
  mDatabase->Open();
  Attempt attempt;
  attempt.mRun = [&] {
    return fmt::format("{} {} {} {} {} {}", mDatabase->get_ConnectionCount(),
                       mDatabase->get_Exists(), mDatabase->get_IsOpen(),
                       mDatabase->get_IsReadOnly(), Utf8(mDatabase->get_Path()),
                       Utf8(mDatabase->get_Key()));
  };
  CheckEveryAllocation(attempt);
  ExpectClosable();
}

TEST_F(ADatabase, TakesItsSettingsOrThrows) {
  Attempt attempt;
  tarn::String const text = Wide(Long("a text"));
  DuckDBSettings const settings = Settings();
  attempt.mPrepare = [&] { MakeClosed(); };
  attempt.mRun = [&] {
    mDatabase->put_StorageVersion(text);
    mDatabase->put_BlockSize(16384);
    mDatabase->SetRemoteAccess(text, text);
    mDatabase->put_Settings(settings);
    return "set";
  };
  attempt.mCheck = [&] { ExpectClosable(); };
  CheckEveryAllocation(attempt);
}

TEST_F(ADatabase, ThatIsClosedRefusesOrThrows) {
  Attempt attempt;
  attempt.mPrepare = [&] { MakeClosed(); };
  attempt.mRun = [&] {
    (void)mDatabase->CreateStatement(Wide("SELECT 1"));
    return "made";
  };
  attempt.mCheck = [&] { ExpectClosable(); };
  CheckEveryAllocation(attempt);
}

}  // namespace
