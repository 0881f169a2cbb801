#include "duckdb_c/PrivateDatabase.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestConnection.h"
#include "duckdb_c/Types.h"
#include "duckdb_c/ValueText.h"
#include "duckdb_c/duckdb_completion.h"
#include "support/DuckDBCalls.h"

namespace lumora::duckdb_c::test {
namespace {

bool CastsTo(std::string const& inText, TypeId inType) {
  const ValueHandle value(duckdb_create_varchar(inText.c_str()));
  const LogicalTypeHandle type = MakeLogicalType(inType);
  const ValueHandle cast(duckdb_cast_value(value.get(), type.get(), nullptr));
  return cast && GetValueText(cast.get()) == inText;
}

std::string Setting(PrivateConnection& ioConnection, char const* inName) {
  ResultHandle result;
  std::string error;
  EXPECT_TRUE(ioConnection.Query(
      fmt::format("SELECT CAST(current_setting('{}') AS VARCHAR)", inName), result, error))
      << error;
  const ChunkHandle chunk(duckdb_fetch_chunk(result.get()));
  return CellText(chunk.get(), 0, 0);
}

TEST(PrivateDatabase, IsSmallClosedToFilesAndInUtc) {
  const PrivateLease lease = BorrowPrivateConnection();
  ASSERT_TRUE(lease);
  EXPECT_EQ(Setting(*lease, "threads"), "1");
  EXPECT_EQ(Setting(*lease, "enable_external_access"), "false");
  EXPECT_EQ(Setting(*lease, "TimeZone"), "UTC");
  EXPECT_EQ(Setting(*lease, "max_temp_directory_size"), "0 bytes");
}

TEST(PrivateDatabase, AConnectionGivenBackIsLentAgain) {
  std::string first;
  {
    const PrivateLease lease = BorrowPrivateConnection();
    first = lease->get_CaptureName();
  }
  const PrivateLease again = BorrowPrivateConnection();
  EXPECT_EQ(again->get_CaptureName(), first);
  const PrivateLease other = BorrowPrivateConnection();
  EXPECT_NE(other->get_CaptureName(), first);
}

TEST(PrivateDatabase, AnErrorIsDuckDBsMessageAlone) {
  const PrivateLease lease = BorrowPrivateConnection();
  ResultHandle result;
  std::string error;
  EXPECT_FALSE(lease->Query("SELECT * FROM nowhere", result, error));
  EXPECT_EQ(error.substr(0, 33), "Table with name nowhere does not ");
  EXPECT_EQ(lease->Prepare("SELECT missing", error), nullptr);
  EXPECT_NE(error.find("missing"), std::string::npos);
  EXPECT_EQ(error.find("exception_type"), std::string::npos);
  EXPECT_FALSE(lease->IsBroken());
}

TEST(PrivateDatabase, EmittingWithoutASourceIsAnError) {
  const PrivateLease lease = BorrowPrivateConnection();
  ResultHandle result;
  std::string error;
  EXPECT_FALSE(
      lease->Query(fmt::format("SELECT * FROM {}()", lease->get_EmitName()), result, error));
  EXPECT_NE(error.find("no source"), std::string::npos) << error;
}

TEST(PrivateDatabase, AnErrorSaysWhetherTheDatabaseIsLost) {
  struct Case {
    char const* mText;
    char const* mMessage;
    bool mIsFatal;
  };
  const Case cases[] = {
      {R"({"exception_type":"Conversion","exception_message":"no number"})", "no number", false},
      {R"({"exception_type":"FATAL","exception_message":"gone"})", "gone", true},
      {R"({"exception_type":"INTERNAL","exception_message":"broken"})", "broken", true},
      {R"({"exception_type":"INTERNAL"})", R"({"exception_type":"INTERNAL"})", true},
      {R"({"exception_type":1,"exception_message":2})",
       R"({"exception_type":1,"exception_message":2})", false},
      {"no JSON at all", "no JSON at all", false},
      {"[1]", "[1]", false},
      {"", "", false},
      {nullptr, "", false},
  };
  for (Case const& item : cases) {
    const PrivateError error = DecodePrivateError(item.mText);
    EXPECT_EQ(error.mMessage, item.mMessage);
    EXPECT_EQ(error.mIsFatal, item.mIsFatal) << item.mMessage;
  }
}

TEST(PrivateDatabase, InTheKindsThatDuckDBWrites) {
  const PrivateLease lease = BorrowPrivateConnection();
  ResultHandle result;
  std::string error;
  EXPECT_FALSE(lease->Query("SELECT CAST('x' AS INTEGER)", result, error));
  EXPECT_EQ(error, "Could not convert string 'x' to INT32");
  EXPECT_FALSE(lease->IsBroken());
}

TEST(PrivateDatabase, OnceAbandonedTheNextUseOpensANewOne) {
  ASSERT_TRUE(CastsTo("1", DUCKDB_TYPE_HUGEINT));
  std::shared_ptr<PrivateInstance> abandoned;
  {
    const PrivateLease other = BorrowPrivateConnection();
    const PrivateLease lease = BorrowPrivateConnection();
    abandoned = lease->get_Instance();
    lease->Abandon();
    EXPECT_TRUE(other->IsBroken());
  }
  EXPECT_TRUE(CastsTo("2", DUCKDB_TYPE_HUGEINT));
  const PrivateLease lease = BorrowPrivateConnection();
  EXPECT_NE(lease->get_Instance(), abandoned);
}

// Another thread's fatal error takes the database away under a caller.
TEST(PrivateDatabase, WorkThatLosesItsDatabaseRunsOnceMore) {
  int runs = 0;
  EXPECT_TRUE(WithPrivateConnection([&](PrivateConnection& ioConnection) {
    if (++runs == 1) ioConnection.Abandon();
    return runs == 2;
  }));
  EXPECT_EQ(runs, 2);
  EXPECT_FALSE(WithPrivateConnection([&](PrivateConnection& ioConnection) {
    ++runs;
    ioConnection.Abandon();
    return false;
  }));
  EXPECT_EQ(runs, 4);
}

TEST(PrivateDatabase, WhenDuckDBRefusesTheCallsFailAndLaterWork) {
  // Whatever is pooled must be lent, or the refusal would not be met.
  std::vector<PrivateLease> all;
  const std::shared_ptr<PrivateInstance> instance = BorrowPrivateConnection()->get_Instance();
  {
    const lumora::test::FailingCall refuse(lumora::test::Call::kConnect);
    while (PrivateLease lease = BorrowPrivateConnection()) all.push_back(std::move(lease));
    EXPECT_FALSE(CastsTo("1", DUCKDB_TYPE_HUGEINT));
    EXPECT_FALSE(MakeLogicalType(kTypeVariant));
    const ValueHandle value(duckdb_create_varchar("1"));
    const LogicalTypeHandle type = MakeLogicalType(DUCKDB_TYPE_HUGEINT);
    TextHandle error;
    EXPECT_EQ(duckdb_cast_value(value.get(), type.get(), error.out()), nullptr);
    EXPECT_STREQ(error.get(), "DuckDB could not be opened for the cast");
  }
  all.clear();
  EXPECT_TRUE(CastsTo("1", DUCKDB_TYPE_HUGEINT));
}

}  // namespace
}  // namespace lumora::duckdb_c::test
