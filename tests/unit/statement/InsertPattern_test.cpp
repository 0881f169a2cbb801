#include "statement/InsertPattern.h"

#include <gtest/gtest.h>

#include "duckdb_c/Handles.h"
#include "support/HostValueText.h"

namespace lumora {
namespace {

TEST(InsertPattern, IsFoundInPlainInserts) {
  for (char const* const sql : {
           "INSERT INTO t VALUES (?)",
           "insert into t values($1)",
           "Insert\n\tInto  t(a,b)\nVALUES ( ? , ? ) ; ",
           "INSERT INTO s.t (\"a b\", c) VALUES ($2, $1)",
           "INSERT INTO c.s.t VALUES (?1, ?2)",
           "INSERT INTO \"we\"\"ird\".t VALUES ($name)",
           "INSERT INTO t VALUES (?, 5, -1.5, 'a''b', NULL, DEFAULT, true, False)",
           "INSERT INTO täble VALUES (?)",
       }) {
    EXPECT_TRUE(IsPlainInsert(sql)) << sql;
  }
}

TEST(InsertPattern, IsNotFoundInAnythingElse) {
  for (char const* const sql : {
           "",
           "INSERT",
           "INSERT INTO",
           "INSERT INTO t",
           "INSERT INTO t VALUES",
           "INSERT INTO t VALUES (",
           "INSERT INTO t VALUES (?",
           "INSERT INTO t VALUES ()",
           "INSERT INTO t VALUES (?,)",
           "INSERT INTO t VALUES (?) x",
           "INSERT INTO t VALUES (?), (?)",
           "INSERT INTO t VALUES (?) RETURNING *",
           "INSERT INTO t VALUES (?) ON CONFLICT DO NOTHING",
           "INSERT OR REPLACE INTO t VALUES (?)",
           "INSERT INTO t SELECT ?",
           "INSERT INTO t VALUES (typeof(?))",
           "INSERT INTO t VALUES (? + 1)",
           "INSERT INTO t VALUES (?::INTEGER)",
           "INSERT INTO t VALUES (-?)",
           "INSERT INTO t VALUES ((?))",
           "INSERT INTO t VALUES ([?])",
           "INSERT INTO t VALUES (a)",
           "INSERT INTO t VALUES ($)",
           "INSERT INTO t VALUES ('open, ?)",
           "INSERT INTO \"open VALUES (?)",
           "INSERT INTO t() VALUES (?)",
           "INSERT INTO a.b.c.d VALUES (?)",
           "INSERT INTO t AS x VALUES (?)",
           "INSERT INTO t BY NAME VALUES (?)",
           "INSERT INTO t /* why */ VALUES (?)",
           "INSERT INTO t VALUES (?) -- why",
           "INSERT INTO t VALUES (.)",
           "INSERT INTO t VALUES (1e5)",
           "INSERT INTO t VALUES (--1\n?)",
           "WITH x AS (SELECT 1) INSERT INTO t VALUES (?)",
           "UPDATE t SET a = ?",
           "EXPLAIN INSERT INTO t VALUES (?)",
           "INSERTINTO t VALUES (?)",
           "INSERT INTO t VALUES (?);;",
       }) {
    EXPECT_FALSE(IsPlainInsert(sql)) << sql;
  }
}

TEST(InsertPattern, SurvivesEveryPrefixOfALongText) {
  std::string const whole = "INSERT INTO \"s\"\"x\".t (\"a\", b) VALUES ($1, ?2, 'x''y', -1.5)";
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_FALSE(IsPlainInsert(std::string_view(whole).substr(0, size))) << size;
  }
  EXPECT_TRUE(IsPlainInsert(whole));
}

// DuckDB is asked which characters it takes for blanks: with one of them inside, a name is two.
TEST(InsertPattern, IsNotFoundWithABlankBeyondAscii) {
  duckdb_c::DatabaseHandle database;
  duckdb_c::ConnectionHandle connection;
  ASSERT_EQ(duckdb_open(nullptr, database.out()), DuckDBSuccess);
  ASSERT_EQ(duckdb_connect(database.get(), connection.out()), DuckDBSuccess);
  int blanks = 0;
  int names = 0;
  auto const check = [&](tarn::WChar inUnit) {
    tarn::String const unit(&inUnit, 1);
    std::string const sql = "INSERT INTO t (a" + test::ToUTF8(unit) + "b) VALUES (?)";
    duckdb_c::ExtractedHandle extracted;
    bool const isName =
        duckdb_extract_statements(connection.get(), sql.c_str(), extracted.out()) == 1;
    ++(isName ? names : blanks);
    EXPECT_TRUE(isName || !IsPlainInsert(sql)) << sql << " " << static_cast<int>(inUnit);
  };
  for (int unit = 0x80; unit < 0xD800; unit += unit < 0x3100 ? 1 : 257) {
    check(static_cast<tarn::WChar>(unit));
  }
  for (int unit = 0xF000; unit <= 0xFFFF; unit += 3) check(static_cast<tarn::WChar>(unit));
  check(0xFEFF);
  EXPECT_GT(blanks, 10);
  EXPECT_GT(names, 10000);
  EXPECT_FALSE(IsPlainInsert("INSERT INTO t VALUES ($a\xC2\xA0)"));
}

std::string Parts(std::string_view inSql) {
  auto const insert = ReadParameterInsert(inSql);
  if (!insert) return "none";
  std::string text = insert->mTarget + "|";
  for (auto const& part : insert->mName) text += "<" + part + ">";
  text += "|";
  for (auto const& column : insert->mColumns) text += "<" + column + ">";
  text += "|";
  for (auto const parameter : insert->mParameters) text += std::to_string(parameter);
  return text;
}

TEST(ParameterInsert, IsTakenApart) {
  EXPECT_EQ(Parts("INSERT INTO t VALUES (?)"), "INSERT INTO t |<t>||0");
  EXPECT_EQ(Parts("insert into \"s x\" . \"t\"\"q\"(a,\"B\"\"\") values($2 , ?1);"),
            "insert into \"s x\" . \"t\"\"q\"(a,\"B\"\"\")|<s x><t\"q>|<a><B\">|10");
  EXPECT_EQ(Parts("INSERT INTO c.s.t VALUES(?, ?, ?)"), "INSERT INTO c.s.t |<c><s><t>||012");
}

TEST(ParameterInsert, IsOnlyWhatIsParametersAloneEachOfThemOnce) {
  for (char const* const sql :
       {"INSERT INTO t VALUES (?, 5)", "INSERT INTO t VALUES (DEFAULT)",
        "INSERT INTO t VALUES ($1, $1)", "INSERT INTO t VALUES ($1, $3)",
        "INSERT INTO t VALUES ($0)", "INSERT INTO t VALUES ($a)", "INSERT INTO t VALUES ($1a)",
        "INSERT INTO t VALUES ($99999999999)", "INSERT INTO t VALUES (?) RETURNING a",
        "INSERT INTO t VALUES (?/**/)"}) {
    EXPECT_EQ(Parts(sql), "none") << sql;
  }
}

}  // namespace
}  // namespace lumora
