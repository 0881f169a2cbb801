#include "statement/ErrorDecoding.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "support/FakeDatabase.h"
#include "support/TestValue.h"

namespace lumora {
namespace {

using test::ToUTF8;

struct Case {
  char const* mName;
  char const* mText;
  char const* mMessage;
  char const* mType;
  std::int64_t mPosition;
};

class ErrorDecoding : public testing::TestWithParam<Case> {};

TEST_P(ErrorDecoding, GivesMessageTypeAndPosition) {
  DecodedError const error = DecodeError(GetParam().mText);
  EXPECT_EQ(ToUTF8(error.mMessage), GetParam().mMessage);
  EXPECT_EQ(ToUTF8(error.mType), GetParam().mType);
  EXPECT_EQ(error.mPosition, GetParam().mPosition);
}

constexpr Case kCases[] = {
    {"AllMembers", R"({"exception_message":"no table","exception_type":"Catalog","position":"14"})",
     "no table", "Catalog", 14},
    {"PositionAsNumber", R"({"exception_message":"m","exception_type":"T","position":3})", "m", "T",
     3},
    {"PositionBeyondInt32", R"({"exception_message":"m","position":"5000000000"})", "m", "",
     5000000000},
    {"PositionIsNoNumber", R"({"exception_message":"m","position":"here"})", "m", "", 0},
    {"PositionEmpty", R"({"exception_message":"m","position":""})", "m", "", -1},
    {"NoPosition", R"({"exception_message":"m","exception_type":"T"})", "m", "T", -1},
    {"NoType", R"({"exception_message":"m"})", "m", "", -1},
    {"JsonWithoutMessage", R"({"exception_type":"T","position":"1"})", "", "T", 1},
    {"EmptyMessage", R"({"exception_message":"","exception_type":"T"})", "", "T", -1},
    {"EmptyObject", "{}", "", "", -1},
    {"JsonThatIsNoObject", "[1]", "", "", -1},
    {"PlainText", "Parser Error: syntax", "Parser Error: syntax", "", -1},
    {"TextBeforeJson", R"(Parser Error: {"exception_message":"m"})",
     R"(Parser Error: {"exception_message":"m"})", "", -1},
    {"CutJson", R"({"exception_message":"m")", R"({"exception_message":"m")", "", -1},
    {"EscapedText", R"({"exception_message":"a \"b\"\nc é \u00e9"})", "a \"b\"\nc é é", "", -1},
    {"PlainUnicode", "Fehler: ungültig", "Fehler: ungültig", "", -1},
};

INSTANTIATE_TEST_SUITE_P(Texts, ErrorDecoding, testing::ValuesIn(kCases),
                         [](auto const& inInfo) { return inInfo.param.mName; });

// Texts as DuckDB itself makes them.
struct FailingSql {
  char const* mName;
  char const* mSql;
  char const* mType;
  std::int64_t mPosition;
};

class DuckDBErrors : public testing::TestWithParam<FailingSql> {};

TEST_P(DuckDBErrors, DecodeToTheTypeAndPlaceThatDuckDBGives) {
  test::FakeDatabase database;
  database.Query("SET errors_as_json = true");
  database.Query("CREATE TABLE t(i INTEGER PRIMARY KEY, CHECK (i < 100))");
  database.Query("INSERT INTO t VALUES (1)");
  duckdb_c::ResultHandle result;
  ASSERT_EQ(duckdb_query(database.get_Connection()->get(), GetParam().mSql, result.out()),
            DuckDBError);
  DecodedError const error = DecodeError(duckdb_result_error(result.ptr()));
  EXPECT_EQ(ToUTF8(error.mType), GetParam().mType);
  EXPECT_EQ(error.mPosition, GetParam().mPosition);
  EXPECT_FALSE(error.mMessage.isEmpty());
  EXPECT_NE(ToUTF8(error.mMessage).front(), '{');
}

constexpr FailingSql kFailing[] = {
    {"Binder", "SELECT missing FROM t", "Binder", 7},
    {"Catalog", "SELECT * FROM missing", "Catalog", 14},
    {"Conversion", "SELECT CAST('x' AS INTEGER)", "Conversion", 7},
    {"Constraint", "INSERT INTO t VALUES (1)", "Constraint", -1},
    {"Check", "INSERT INTO t VALUES (200)", "Constraint", -1},
    {"OutOfRange", "SELECT 9223372036854775807 + 1::BIGINT", "Out of Range", -1},
    {"InputOutput", "SELECT * FROM read_csv('/nowhere/at/all.csv')", "IO", 14},
};

INSTANTIATE_TEST_SUITE_P(Classes, DuckDBErrors, testing::ValuesIn(kFailing),
                         [](auto const& inInfo) { return inInfo.param.mName; });

class RunningQuery : public testing::Test {
 protected:
  void SetUp() override { mDatabase.Query("SET errors_as_json = true"); }
  DecodedError Failure(char const* inSql) {
    duckdb_c::ResultHandle result;
    EXPECT_EQ(duckdb_query(mDatabase.get_Connection()->get(), inSql, result.out()), DuckDBError);
    return DecodeError(duckdb_result_error(result.ptr()));
  }
  test::FakeDatabase mDatabase;
};

TEST_F(RunningQuery, ThatIsNoSqlIsTheParsersTextWhole) {
  DecodedError const error = Failure("SELEKT 1");
  EXPECT_TRUE(error.mType.isEmpty());
  EXPECT_EQ(error.mPosition, -1);
  EXPECT_NE(ToUTF8(error.mMessage).find("SELEKT"), std::string::npos);
}

TEST_F(RunningQuery, ThatRunsOutOfMemorySaysSo) {
  mDatabase.Query("SET temp_directory = ''");
  mDatabase.Query("SET memory_limit = '8MB'");
  DecodedError const error =
      Failure("CREATE TABLE t AS SELECT hash(range) AS h FROM range(9000000)");
  EXPECT_EQ(ToUTF8(error.mType), "Out of Memory");
  EXPECT_NE(ToUTF8(error.mMessage).find("memory"), std::string::npos);
  EXPECT_EQ(error.mPosition, -1);
}

// An interrupt before the query has begun is lost, so it is sent until it took.
TEST_F(RunningQuery, ThatIsInterruptedSaysSo) {
  std::atomic<bool> done{false};
  std::thread interrupting([&] {
    while (!done) {
      duckdb_interrupt(mDatabase.get_Connection()->get());
      std::this_thread::yield();
    }
  });
  DecodedError const error = Failure("SELECT sum(hash(range)) FROM range(1000000000000)");
  done = true;
  interrupting.join();
  EXPECT_EQ(ToUTF8(error.mType), "INTERRUPT");
  EXPECT_EQ(ToUTF8(error.mMessage), "Interrupted!");
}

}  // namespace
}  // namespace lumora
