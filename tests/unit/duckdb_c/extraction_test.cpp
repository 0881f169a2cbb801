#include "duckdb_c/Extraction.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "TestConnection.h"
#include "duckdb_c/SqlSplitter.h"
#include "duckdb_c/duckdb_completion.h"
#include "support/Seed.h"
#include "support/TempFolder.h"

namespace lumora::duckdb_c::test {
namespace {

std::string SqlOf(Extraction const& inExtraction, idx_t inIndex) {
  return TextOr(
      TextHandle(duckdb_extracted_statement_sql(inExtraction.mStatements.get(), inIndex)).get(),
      "(none)");
}

TEST(Extraction, WithoutAConnectionThereIsAnError) {
  const Extraction extraction = ExtractStatements(nullptr, "SELECT 1");
  EXPECT_EQ(extraction.mCount, 0U);
  EXPECT_FALSE(extraction.mStatements);
  EXPECT_FALSE(extraction.mError.empty());
}

TEST(Extraction, ASyntaxErrorIsDuckDBsText) {
  TestConnection const& connection = SharedConnection();
  const Extraction extraction = ExtractStatements(connection.get(), "SELECT 1; SELEC 2");
  EXPECT_EQ(extraction.mCount, 0U);
  EXPECT_NE(extraction.mError.find("syntax error at or near \"SELEC\""), std::string::npos);
}

TEST(Extraction, ANulByteIsRefusedInsteadOfCuttingTheScript) {
  TestConnection const& connection = SharedConnection();
  const Extraction extraction =
      ExtractStatements(connection.get(), std::string_view("SELECT 1;\0DROP TABLE t", 22));
  EXPECT_EQ(extraction.mCount, 0U);
  EXPECT_NE(extraction.mError.find("NUL"), std::string::npos);
}

TEST(Extraction, ATextWithoutStatementsIsNoError) {
  TestConnection const& connection = SharedConnection();
  for (char const* const text : {"", " ", ";", "-- a", "/* a */;;\n"}) {
    const Extraction extraction = ExtractStatements(connection.get(), text);
    EXPECT_EQ(extraction.mCount, 0U) << text;
    EXPECT_TRUE(extraction.mError.empty()) << text;
    EXPECT_FALSE(extraction.mStatements) << text;
  }
}

TEST(Extraction, NullHandlesPastTheEndAndStrangersHaveNoText) {
  TestConnection const& connection = SharedConnection();
  EXPECT_EQ(duckdb_extracted_statement_sql(nullptr, 0), nullptr);
  const Extraction extraction = ExtractStatements(connection.get(), "SELECT 1");
  EXPECT_EQ(duckdb_extracted_statement_sql(extraction.mStatements.get(), 1), nullptr);
  EXPECT_EQ(duckdb_extracted_statement_sql(extraction.mStatements.get(), UINT64_MAX), nullptr);
  ExtractedHandle stranger;
  ASSERT_EQ(duckdb_extract_statements(connection.get(), "SELECT 1", stranger.out()), 1U);
  EXPECT_EQ(duckdb_extracted_statement_sql(stranger.get(), 0), nullptr);
}

TEST(Extraction, AReleasedHandleIsForgotten) {
  TestConnection const& connection = SharedConnection();
  Extraction extraction = ExtractStatements(connection.get(), "SELECT 1");
  const duckdb_extracted_statements released = extraction.mStatements.get();
  extraction.mStatements.reset();
  EXPECT_EQ(duckdb_extracted_statement_sql(released, 0), nullptr);
}

TEST(Extraction, EveryStatementAnswersItsText) {
  TestConnection const& connection = SharedConnection();
  const Extraction extraction =
      ExtractStatements(connection.get(), " SELECT 1 ; -- one\n/* two */ SELECT ';' /* x */;;");
  ASSERT_EQ(extraction.mCount, 2U);
  EXPECT_EQ(SqlOf(extraction, 0), "SELECT 1");
  EXPECT_EQ(SqlOf(extraction, 1), "SELECT ';'");
}

TEST(Extraction, AnExpandedStatementAnswersItsTextForEachPart) {
  TestConnection const& connection = SharedConnection();
  const Extraction extraction = ExtractStatements(
      connection.get(), "CREATE TABLE t (a INT, b INT); PIVOT t ON a USING sum(b); SELECT 2");
  ASSERT_EQ(extraction.mCount, 4U);
  EXPECT_EQ(SqlOf(extraction, 0), "CREATE TABLE t (a INT, b INT)");
  EXPECT_EQ(SqlOf(extraction, 1), "PIVOT t ON a USING sum(b)");
  EXPECT_EQ(SqlOf(extraction, 2), "PIVOT t ON a USING sum(b)");
  EXPECT_EQ(SqlOf(extraction, 3), "SELECT 2");
}

// Two statements for one piece and none for another: the numbers agree by chance.
TEST(Extraction, AStatementThatStandsForNoneTakesNoOthersText) {
  TestConnection const& connection = SharedConnection();
  lumora::test::TempFolder const folder;
  folder.Write("schema.sql", "");
  folder.Write("load.sql", "");
  for (char const* const import : {"IMPORT DATABASE '", "import database '"}) {
    const Extraction extraction =
        ExtractStatements(connection.get(), import + folder.get_Path().generic_string() +
                                                "'; SELECT 1; SELECT 2; PIVOT t ON a USING sum(b)");
    ASSERT_EQ(extraction.mCount, 4U);
    EXPECT_EQ(SqlOf(extraction, 0), "SELECT 1");
    EXPECT_EQ(SqlOf(extraction, 1), "SELECT 2");
    EXPECT_EQ(SqlOf(extraction, 2), "PIVOT t ON a USING sum(b)");
    EXPECT_EQ(SqlOf(extraction, 3), "PIVOT t ON a USING sum(b)");
  }
}

TEST(Extraction, AWordLikeImportChangesNothing) {
  TestConnection const& connection = SharedConnection();
  const Extraction extraction =
      ExtractStatements(connection.get(), "SELECT 'important'; SELECT 2 AS import");
  ASSERT_EQ(extraction.mCount, 2U);
  EXPECT_EQ(SqlOf(extraction, 0), "SELECT 'important'");
  EXPECT_EQ(SqlOf(extraction, 1), "SELECT 2 AS import");
}

TEST(Extraction, TenMegabytesOfTextComeBackWhole) {
  TestConnection const& connection = SharedConnection();
  const std::string text = "SELECT '" + std::string(10U << 20U, ';') + "'";
  const Extraction extraction = ExtractStatements(connection.get(), text + ";SELECT 2");
  ASSERT_EQ(extraction.mCount, 2U);
  EXPECT_EQ(SqlOf(extraction, 0), text);
}

// --- generated scripts --------------------------------------------------------------------------

class ScriptMaker {
 public:
  explicit ScriptMaker(std::uint64_t inSeed) : mRandom(inSeed) {}

  std::string Statement() {
    std::string text = "SELECT" + Gap();
    const std::size_t count = 1 + Below(4);
    for (std::size_t index = 0; index < count; ++index) {
      if (index != 0) text += "," + Blank();
      text += Item();
    }
    return text;
  }
  // Between statements.
  std::string Around() { return Below(3) == 0 ? Blank() + ";" + Blank() : Blank(); }
  std::size_t Below(std::size_t inLimit) { return mRandom() % inLimit; }

 private:
  std::string Pick(std::vector<std::string> const& inTexts) {
    return inTexts[Below(inTexts.size())];
  }

  std::string Item() {
    static const std::vector<std::string> items = {"1",
                                                   "'a;b'",
                                                   "'it''s;'",
                                                   "'\\'",
                                                   "E'a\\';b'",
                                                   "e'\\\\'",
                                                   "E'a'\n'b\\';'",
                                                   "E'x' --;\n  '\\''",
                                                   "$$a;'b$$",
                                                   "$t$;$$;$t$",
                                                   "$t\xC3\xA9$;$t\xC3\xA9$",
                                                   "1_000.5e-1",
                                                   "x'41'",
                                                   "'--'",
                                                   "'/*'",
                                                   "$$--$$",
                                                   "[1, 2]",
                                                   "{'a;': 1}",
                                                   "(SELECT ';')",
                                                   "'\"'",
                                                   "'a' || ';'",
                                                   "1 // 2",
                                                   "'\xE3\x80\x80;'",
                                                   "\"lower\"('A;')",
                                                   "1 AS \"a;\"\"b\"",
                                                   "2 AS a$$",
                                                   "3\xC2\xA0"};
    return Pick(items);
  }
  std::string Blank() {
    static const std::vector<std::string> blanks = {
        "", " ", "\n", "\t", "-- ;'\n", "/* ; ' $$ */", "/* /* ; */ \" */", "\r\n", "--\n", "\f"};
    return Pick(blanks) + Pick(blanks);
  }
  std::string Gap() { return " " + Blank(); }

  std::mt19937_64 mRandom;
};

// What stands between and around the pieces.
std::string PutTogether(std::string const& inScript, std::vector<SqlPiece> const& inPieces) {
  std::string text;
  std::size_t position = 0;
  for (const SqlPiece piece : inPieces) {
    text += inScript.substr(position, piece.mOffset - position);
    text += PieceText(inScript, piece);
    position = piece.mOffset + piece.mLength;
  }
  return text + inScript.substr(position);
}

TEST(Extraction, GeneratedScriptsSplitAsDuckDBSplitsThem) {
  TestConnection const& connection = SharedConnection();
  ScriptMaker maker(lumora::test::get_Seed("Extraction"));
  constexpr std::size_t kScripts = 10000;
  for (std::size_t run = 0; run < kScripts && !testing::Test::HasFailure(); ++run) {
    std::string script = maker.Around();
    std::vector<std::string> statements;
    for (std::size_t count = maker.Below(5); count != 0; --count) {
      statements.push_back(maker.Statement());
      script += statements.back() + maker.Around() + ";" + maker.Around();
    }
    SCOPED_TRACE(script);
    const Extraction extraction = ExtractStatements(connection.get(), script);
    ASSERT_EQ(extraction.mCount, statements.size()) << extraction.mError;
    ASSERT_EQ(PutTogether(script, SplitSql(script)), script);
    for (std::size_t index = 0; index < statements.size(); ++index) {
      const std::string piece = SqlOf(extraction, index);
      // The generator's own text may end in a comment or a blank, the piece does not.
      ASSERT_EQ(statements[index].substr(0, piece.size()), piece);
      ASSERT_EQ(SplitSql(statements[index].substr(piece.size()) + ";\n").size(), 0U);
      ExtractedHandle alone;
      ASSERT_EQ(duckdb_extract_statements(connection.get(), piece.c_str(), alone.out()), 1U)
          << piece;
    }
  }
}

}  // namespace
}  // namespace lumora::duckdb_c::test
