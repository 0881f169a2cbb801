// Every DuckDB call of Create and Open fails once.
#include <filesystem>

#include "support/DatabaseTest.h"
#include "support/DuckDBCalls.h"
#include "support/FileLock.h"
#include "support/ProcessCounts.h"

namespace {

using namespace lumora::test;
using tarn::lsql::DuckDBSettings;
using testing::IsEmpty;

Thrown const kNothing{};
Thrown const kNoConfig{"runtime_error", 0, "Failed to create DuckDB config", ""};

Thrown OpenError(std::string const& inMessage) { return {"xException", 0x99000, inMessage, ""}; }

class FailingCalls : public DatabaseTest {
 protected:
  FailingCalls() {
    // The library keeps some handles and threads of its own from the first use on, and on Windows
    // the framework a thread from the first trace on.
    SCOPED_TRACE("first use");
    Database const database = InMemory();
    database->put_Settings({});
    database->Create();
    database->Close();
    mHandles = get_LiveHandles();
    mDescriptors = CountDescriptors();
    mThreads = CountThreads();
  }

  Database WithSettings(std::string const& inName, bool inStorageOptions) const {
    Database database = At(inName);
    DuckDBSettings settings;
    settings.mThreads = 2;
    settings.mMaxMemory = 500;
    settings.mTempDirectory = Wide(mFolder.At("spill"));
    database->put_Settings(settings);
    if (inStorageOptions) database->put_BlockSize(16384);
    return database;
  }

  void ExpectClosedAndClean(Database const& inDatabase) const {
    EXPECT_FALSE(inDatabase->get_IsOpen());
    EXPECT_FALSE(inDatabase->get_IsReadOnly());
    EXPECT_EQ(inDatabase->get_ConnectionCount(), 0U);
    EXPECT_EQ(get_LiveHandles(), mHandles);
    EXPECT_EQ(CountDescriptors(), mDescriptors);
    EXPECT_EQ(CountThreads(), mThreads);
  }

  // Fails one call of that kind after another, until none is left to fail. Returns how many there
  // were. inExpected is asked with the number of the failing call.
  int CreateWithFailing(Call inCall, bool inStorageOptions,
                        std::function<Thrown(int)> const& inExpected) const {
    for (int i = 0;; ++i) {
      Database const database = WithSettings("a.db", inStorageOptions);
      std::uint64_t const calls = get_CallCount(inCall);
      Thrown thrown;
      {
        FailingCall const failing(inCall, i, 1);
        thrown = ThrownBy([&] { database->Create(); });
      }
      bool const failed = get_CallCount(inCall) - calls > static_cast<std::uint64_t>(i);
      SCOPED_TRACE("call " + std::to_string(i));
      EXPECT_EQ(thrown, failed ? inExpected(i) : kNothing);
      if (thrown == kNothing) {
        EXPECT_TRUE(database->get_IsOpen());
        database->Drop();
      } else {
        ExpectClosedAndClean(database);
      }
      EXPECT_THAT(mFolder.Names(), IsEmpty());
      if (!failed) return i;
    }
  }

  int OpenWithFailing(Call inCall, std::function<Thrown(int)> const& inExpected) const {
    MakeFile("a.db");
    for (int i = 0;; ++i) {
      Database const database = WithSettings("a.db", false);
      std::uint64_t const calls = get_CallCount(inCall);
      Thrown thrown;
      {
        FailingCall const failing(inCall, i, 1);
        thrown = ThrownBy([&] { database->Open(); });
      }
      bool const failed = get_CallCount(inCall) - calls > static_cast<std::uint64_t>(i);
      SCOPED_TRACE("call " + std::to_string(i));
      EXPECT_EQ(thrown, failed ? inExpected(i) : kNothing);
      if (thrown == kNothing) {
        EXPECT_EQ(Number(database, "SELECT count(*) FROM t"), 1);
        database->Close();
      }
      ExpectClosedAndClean(database);
      EXPECT_TRUE(AnotherProcessCanWrite(mFolder.At("a.db")));
      if (!failed) return i;
    }
  }

  HandleCounts mHandles;
  std::size_t mDescriptors = 0;
  std::size_t mThreads = 0;
};

TEST_F(FailingCalls, OfCreateAreTheErrorsOfItsTable) {
  auto const error = [&](std::string const& inMessage) {
    return [this, inMessage](int) { return DuckDBError("a.db", inMessage); };
  };
  for (bool const options : {false, true}) {
    SCOPED_TRACE(options);
    EXPECT_GE(CreateWithFailing(Call::kCreateConfig, options, [](int) { return kNoConfig; }), 1);
    EXPECT_GE(CreateWithFailing(Call::kOpen, options, error("Unknown DuckDB database open error")),
              2);
    EXPECT_GE(
        CreateWithFailing(Call::kConnect, options, error("Failed to create DuckDB connection")),
        options ? 2 : 1);
  }
}

TEST_F(FailingCalls, ARefusedSettingIsAnErrorThatNamesIt) {
  std::vector<std::string> const names = {"threads", "max_memory", "temp_directory",
                                          "enable_external_access", "access_mode"};
  auto const text = [&](int inCall) {
    return "DuckDB refuses the value of the setting \"" +
           names.at(static_cast<std::size_t>(inCall)) + "\"";
  };
  EXPECT_EQ(CreateWithFailing(Call::kSetConfig, false,
                              [&](int call) { return DuckDBError("a.db", text(call)); }),
            5);
}

TEST_F(FailingCalls, AFailingAttachIsAnErrorOfCreate) {
  Database const database = WithSettings("a.db", true);
  FailingCall const failing(Call::kQuery, 0, 1);
  EXPECT_EQ(ThrownBy([&] { database->Create(); }),
            DuckDBError("a.db", "Unknown DuckDB database open error"));
  ExpectClosedAndClean(database);
  EXPECT_THAT(mFolder.Names(), IsEmpty());
}

TEST_F(FailingCalls, TheOutcomeOfTheJsonSettingIsIgnored) {
  Database const database = At("a.db");
  FailingCall const failing(Call::kQuery, 0, 1);
  database->Create();
  EXPECT_TRUE(database->get_IsOpen());
}

TEST_F(FailingCalls, OfOpenAreTheErrorsOfItsTable) {
  EXPECT_GE(OpenWithFailing(Call::kCreateConfig, [](int) { return kNoConfig; }), 1);
  EXPECT_GE(OpenWithFailing(Call::kConnect,
                            [](int) { return OpenError("Failed to create DuckDB connection"); }),
            1);
}

TEST_F(FailingCalls, AnOpenThatIsRefusedReadWriteIsTriedReadOnly) {
  MakeFile("a.db");
  Database const database = At("a.db");
  {
    FailingCall const failing(Call::kOpen, 0, 1);
    database->Open();
  }
  EXPECT_TRUE(database->get_IsReadOnly());
  EXPECT_EQ(Number(database, "SELECT count(*) FROM t"), 1);
  database->Close();
  {
    FailingCall const failing(Call::kOpen, 0, 2);
    EXPECT_EQ(ThrownBy([&] { database->Open(); }), OpenError("Failed to open DuckDB database"));
  }
  ExpectClosedAndClean(database);
  DuckDBSettings settings;
  settings.mWritable = 0;
  database->put_Settings(settings);
  {
    FailingCall const failing(Call::kOpen, 0, 1);
    EXPECT_EQ(ThrownBy([&] { database->Open(); }), OpenError("Failed to open DuckDB database"));
  }
  ExpectClosedAndClean(database);
}

TEST_F(FailingCalls, ASettingThatIsRefusedAtOpenIsTriedReadOnlyAndThenTold) {
  MakeFile("a.db");
  Database const database = WithSettings("a.db", false);
  FailingCall const failing(Call::kSetConfig, 0);
  EXPECT_EQ(ThrownBy([&] { database->Open(); }),
            OpenError("DuckDB refuses the value of the setting \"threads\""));
  ExpectClosedAndClean(database);
}

TEST_F(FailingCalls, AFailingConnectOfASharedFileLeavesTheOthersAlone) {
  std::string const path = MakeFile("a.db");
  Database const first = Opened("a.db");
  {
    FailingCall const failing(Call::kConnect, 0, 1);
    EXPECT_NE(ThrownBy([&] { Opened("a.db"); }), kNothing);
  }
  EXPECT_EQ(first->get_ConnectionCount(), 1U);
  EXPECT_FALSE(AnotherProcessCanRead(path));
  Run(first, "INSERT INTO t VALUES (2)");
  first->Close();
  EXPECT_TRUE(AnotherProcessCanWrite(path));
}

}  // namespace
