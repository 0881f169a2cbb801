// What opens a database that the extension keeps for itself, and fails in the middle of that.
#include <fmt/format.h>

#include <filesystem>

#include "FirstOpening.h"
#include "StatementFaultTest.h"
#include "support/DuckDBCalls.h"
#include "support/ProcedureCalls.h"

namespace {

using namespace lumora::test;
using tarn::lsql::kCursorClient;
using tarn::lsql::kCursorServer;

class AFirstOpening : public StatementFaultTest {
 protected:
  using Operation = std::function<std::string()>;

  void SetUp() override {
    static_cast<void>(LoadedExtension::Instance());
    StatementFaultTest::SetUp();
  }

  // Each time the operation finds the extension's own databases closed. Whatever came of it, the
  // next one works.
  static Attempt Opening(Operation const& inRun) {
    CloseOwnDatabases();
    std::int64_t const before = get_LiveHandles().mDatabases;
    std::string right = inRun();
    EXPECT_EQ(get_LiveHandles().mDatabases, before + 1) << "nothing was opened";
    CloseOwnDatabases();
    Attempt attempt;
    attempt.mSamples = 12;
    attempt.mIsSplit = true;
    attempt.mPrepare = CloseOwnDatabases;
    attempt.mRun = inRun;
    attempt.mCheck = [inRun, right = std::move(right)] {
      EXPECT_EQ(inRun(), right) << "the next use";
      CloseOwnDatabases();
    };
    return attempt;
  }

  std::string BindAndSelect(std::string const& inType, std::string const& inText) {
    auto const statement = mDatabase->CreateStatement(Wide("SELECT $1"));
    statement->PrepareNext();
    statement->BindParameters(MakeRow({MakeJSON(MakeEnvelope(inType, inText))}));
    return TextOf(statement->ExecuteCursor(kCursorServer));
  }

  // The same while another such conversion is in the middle of its query, and has the connection.
  std::string BindWhileAnotherDoes() {
    std::string inner = "not asked";
    std::exception_ptr thrown;
    std::string outer;
    {
      BeforeCall const before(lumora::test::Call::kExecutePrepared, 0, [&] {
        try {
          inner = BindAndSelect("DECIMAL", "123.45");
        } catch (...) {
          thrown = std::current_exception();
        }
      });
      outer = BindAndSelect("OBJECT", R"({"a": [1, 2, "x"]})");
    }
    if (thrown) std::rethrow_exception(thrown);
    return outer + inner;
  }
};

TEST_F(AFirstOpening, ByAnEnvelopeIsToldOrDone) {
  for (auto const& [type, text] :
       {std::pair("DECIMAL", "123.45"), std::pair("OBJECT", R"({"a": [1, 2, "x"]})")}) {
    CheckEveryFault(
        Opening([this, type = type, text = text] { return BindAndSelect(type, text); }));
  }
}

TEST_F(AFirstOpening, ByACellIsToldOrDone) {
  for (auto const kind : {kCursorClient, kCursorServer}) {
    CheckEveryFault(Opening([this, kind] {
      return TextOf(mDatabase->ExecuteQuery(
          Wide("SELECT {'a': [1, 2], 'b': 'a text that does not stand inside a String'}::VARIANT "
               "FROM range(3)"),
          kind, nullptr));
    }));
  }
}

TEST_F(AFirstOpening, ByABackupIsToldOrDone) {
  Run(mDatabase, "CREATE VIEW b_view AS SELECT i FROM t; CREATE VIEW a_view AS FROM b_view");
  std::string const folder = mFolder.At("backups");
  Attempt attempt = Opening([&] {
    std::filesystem::remove_all(folder);
    std::filesystem::create_directory(folder);
    auto location = tarn::CreateLocation(Wide(folder));
    mDatabase->Backup(location);
    return std::string("written");
  });
  attempt.mSamples = 6;
  CheckEveryAllocation(attempt);
}

// One connection is lent at a time, and whoever comes meanwhile gets a new one.
TEST_F(AFirstOpening, OfAConnectionMoreIsToldOrDone) {
  Attempt attempt = Opening([this] { return BindWhileAnotherDoes(); });
  auto const close = attempt.mPrepare;
  attempt.mPrepare = [this, close] {
    close();
    static_cast<void>(BindAndSelect("DECIMAL", "1.5"));
  };
  CheckEveryFault(attempt);
}

}  // namespace
