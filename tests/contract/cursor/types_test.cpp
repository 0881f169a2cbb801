#include <fstream>
#include <sstream>

#include "CursorFixture.h"
#include "TypeCases.h"

// Every type's cells through both cursors, against SQL; and docs/types.md, which is made of them.
namespace {

using namespace lumora::test;

char const* const kHead = R"(# Types

What a cursor makes of each DuckDB type. The tables are written by a test from what both cursors
answer, and each of their lines is checked against DuckDB's SQL; the test fails when this file is
not what it writes. To write it anew:

    LUMORA_WRITE_DOCS=1 build/release/tests/contract_cursor --gtest_filter='Types.*'

## Rules

- NULL of any type is a nullable Boolean value that is null.
- A type of which the host has a kind becomes a value of that kind; a VARIANT's inner value, which
  the host has no kind for, becomes a JSON value with an envelope; everything else is a String with
  DuckDB's text.
- Text is whole: NUL characters and characters beyond the basic plane are kept.
- TIMESTAMP WITH TIME ZONE is written in UTC, whatever the connection's TimeZone says.

## What is lost

- A DECIMAL becomes a double: some 15 digits are kept, scale and exact digits are not. Bound back, one
  of up to 15 digits is what it was; a wider one is what SQL makes of it by way of a DOUBLE.
- The host cannot see whether a Short was a TINYINT or a SMALLINT.
- A DATE, TIME or TIMESTAMP of a plain column is text, and so are 128-bit integers.
- A DateTime (a VARIANT's TIMESTAMP_MS) ends at milliseconds. One of a VARIANT that has no
  date and time (the infinities) travels in an envelope. The infinite dates of a VARIANT are the
  days at the ends of DuckDB's calendar, and are not bound back.
- A VARIANT of a kind that the host has (the table below) is bound back as that kind; into a VARIANT
  column it comes as what it was.
- A VARIANT's OBJECT or ARRAY travels as JSON. Inner values come back as JSON reads them; the last
  table tells which change their type. Text beyond ASCII in them comes back with one character
  for each byte of its UTF-8, for the envelope is escaped byte by byte.
- The text of a UNION does not say which member it is of; bound back, it may become another one.
- A VARIANT's DECIMAL comes back with the width of its digits, not the declared one.

)";

// A table's cell.
std::string Cell(std::string const& inText) {
  std::string text;
  for (char const c : inText) text += c == '|' ? "\\|" : std::string(1, c);
  return "`" + text + "`";
}

class Types : public CursorFixture {
 protected:
  // What both cursors answer; empty after a failure.
  std::string Answer(std::string const& inSql) {
    auto const client = FirstRow(inSql, 1);
    auto const server = FirstRow(inSql, 2);
    EXPECT_EQ(client.size(), 1U) << inSql;
    EXPECT_EQ(server.size(), 1U) << inSql;
    if (client.size() != 1 || server.size() != 1) return {};
    EXPECT_EQ(DescribeFully(client[0]), DescribeFully(server[0])) << inSql;
    return Describe(client[0]);
  }

  std::string CheckedLine(std::string const& inCell) {
    std::string const answer = Answer("SELECT " + inCell);
    std::string const type = FirstTexts("SELECT typeof(" + inCell + ")")[0];
    std::string content = SqlContent(type);
    for (auto at = content.find('%'); at != content.npos; at = content.find('%')) {
      content.replace(at, 1, "c");
    }
    auto const texts = FirstTexts("SELECT " + content + ", (c IS NULL)::VARCHAR FROM (SELECT " +
                                  inCell + " AS c)");
    std::string const expected = texts[1] == "true" ? "Boolean NULL" : InWords(type, texts[0]);
    EXPECT_EQ(answer, expected) << inCell;
    return "| " + Cell(type) + " | " + Cell(Visible(inCell)) + " | " + Cell(answer) + " |\n";
  }

  void WriteCells(std::vector<TypeCase> const& inCases) {
    for (TypeCase const& type : inCases) {
      for (char const* const cell : type.mCells) mText << CheckedLine(cell);
    }
  }

  void WriteKinds(std::vector<TypeCase> const& inCases) {
    for (TypeCase const& type : inCases) {
      auto const cursor = Query(std::string("SELECT ") + type.mCells.back());
      std::string const kind =
          KindOf(FirstTexts(std::string("SELECT typeof(") + type.mCells.back() + ")")[0]);
      if (std::string(type.mName) == "NULL") continue;
      mText << "| " << type.mName << " | " << cursor->get_ColumnType(0) << " | " << kind << " |\n";
    }
  }

  void WriteVariants() {
    for (VariantCase const& variant : VariantCases()) {
      std::string const cell = std::string("(") + variant.mSql + ")::VARIANT";
      std::string const type = FirstTexts("SELECT variant_typeof(" + cell + ")")[0];
      std::string const answer = Answer("SELECT " + cell);
      EXPECT_THAT(answer, testing::StartsWith(variant.mIsEnvelope ? "JSON" : variant.mType));
      mText << "| " << Cell(type) << " | " << Cell(variant.mSql) << " | " << Cell(answer) << " |\n";
    }
  }

  // The type of a value inside of an OBJECT, before and after its way to the host and back.
  void WriteInnerTypes() {
    std::set<std::string> seen;
    for (VariantCase const& variant : VariantCases()) {
      std::string const sql = std::string("{'v': ") + variant.mSql + "}::VARIANT";
      std::string const inner = "SELECT variant_typeof(variant_extract(v, 'v')) FROM (SELECT ";
      std::string const before = FirstTexts(inner + sql + " AS v)")[0];
      if (!seen.insert(before).second) continue;
      auto const value = FirstRow("SELECT " + sql)[0];
      std::string const after = FirstTexts(inner + "?::VARIANT AS v)", MakeRow({value}))[0];
      if (before != after) mText << "| " << Cell(before) << " | " << Cell(after) << " |\n";
    }
  }

  std::ostringstream mText;
};

TEST_F(Types, AreWhatTheDocumentSays) {
  mText << kHead << "## Columns\n\n| type | identifier | host kind |\n|---|---|---|\n";
  WriteKinds(NumberTypeCases());
  WriteKinds(TimeTypeCases());
  WriteKinds(OtherTypeCases());
  mText << "| VARIANT | 60 | by its inner value |\n\n"
           "## Values\n\n| type | SQL | host value |\n|---|---|---|\n";
  WriteCells(NumberTypeCases());
  WriteCells(TimeTypeCases());
  WriteCells(OtherTypeCases());
  mText << "\n## VARIANT\n\n| inner type | SQL | host value |\n|---|---|---|\n";
  WriteVariants();
  mText << "\n## Inner types of an OBJECT or ARRAY that an envelope changes\n\n"
           "| before | after |\n|---|---|\n";
  WriteInnerTypes();

  char const* const path = LUMORA_SOURCE_DIR "/docs/types.md";
  if (std::getenv("LUMORA_WRITE_DOCS")) std::ofstream(path) << mText.str();
  std::ostringstream committed;
  committed << std::ifstream(path).rdbuf();
  EXPECT_TRUE(committed.str() == mText.str())
      << "docs/types.md is not what the cursors answer; write it anew with\n"
         "LUMORA_WRITE_DOCS=1 build/release/tests/contract_cursor --gtest_filter='Types.*'\n"
      << mText.str();
}

}  // namespace
