#include "Formats.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "FakeRows.h"

namespace lumora::shell {
namespace {

Cell Text(std::string inText) { return {CellKind::kText, std::move(inText)}; }
Cell Number(std::string inText) { return {CellKind::kNumber, std::move(inText)}; }

std::string Written(Mode inMode, FakeRows inRows, DisplayLimits inLimits = {},
                    bool inIsTerminal = false) {
  TextOutput output(inIsTerminal);
  WriteRows(inMode, inRows, output, inLimits);
  return output.get_Text();
}

FakeRows TwoColumns() {
  FakeRows rows({{"name", "text", false}, {"n", "int64", true}});
  rows.Add({Text("日本"), Number("5")});
  rows.Add({Text("a\x1b[1m"), {}});
  rows.Add({{}, Number("-12345")});
  return rows;
}

FakeRows Counting(std::size_t inCount) {
  FakeRows rows({{"n", "int64", true}});
  for (std::size_t i = 0; i < inCount; ++i) rows.Add({Number(std::to_string(i))});
  return rows;
}

TEST(Formats, BoxAlignsNumbersRightAndMarksNull) {
  EXPECT_EQ(Written(Mode::kBox, TwoColumns()),
            "┌──────────┬────────┐\n"
            "│ name     │      n │\n"
            "│ text     │  int64 │\n"
            "├──────────┼────────┤\n"
            "│ 日本     │      5 │\n"
            "│ a\\x1b[1m │   NULL │\n"
            "│ NULL     │ -12345 │\n"
            "└──────────┴────────┘\n"
            "3 rows\n");
}

TEST(Formats, BoxWithoutRowsStillNamesItsColumns) {
  EXPECT_EQ(Written(Mode::kBox, Counting(0)),
            "┌───────┐\n"
            "│     n │\n"
            "│ int64 │\n"
            "├───────┤\n"
            "└───────┘\n"
            "0 rows\n");
  EXPECT_EQ(Written(Mode::kBox, FakeRows({})), "0 rows\n");
}

std::string const kElided =
    "┌───────┐\n"
    "│     n │\n"
    "│ int64 │\n"
    "├───────┤\n"
    "│     0 │\n"
    "│     1 │\n"
    "│     … │\n"
    "│   999 │\n"
    "└───────┘\n"
    "1,000 rows (3 shown)\n";

TEST(Formats, BoxElidesTheMiddleOfALongResultWhetherItsCountIsKnownOrNot) {
  for (bool const isKnown : {true, false}) {
    FakeRows rows = Counting(1000);
    rows.mIsCountKnown = isKnown;
    EXPECT_EQ(Written(Mode::kBox, rows, {3, 0, false}), kElided);
  }
  std::string const all = Written(Mode::kBox, Counting(3), {3, 0, false});
  EXPECT_EQ(all.find("…"), std::string::npos);
  EXPECT_NE(Written(Mode::kBox, Counting(100), {0, 0, false}).find("│    57 │"), std::string::npos);
  EXPECT_NE(Written(Mode::kBox, Counting(5), {1, 0, false}).find("5 rows (1 shown)"),
            std::string::npos);
}

std::size_t WidestLine(std::string const& inText);

TEST(Formats, BoxFitsTheScreenByCuttingCellsAndThenColumns) {
  FakeRows wide({{"a", "text", false}, {"b", "text", false}});
  wide.Add({Text(std::string(100, 'x')), Text("日本語日本語日本語")});
  for (std::size_t width = 24; width < 120; width += 7) {
    EXPECT_LE(WidestLine(Written(Mode::kBox, wide, {40, width, false})), width);
  }
  std::vector<Column> columns;
  std::vector<Cell> cells;
  for (int i = 0; i < 200; ++i) {
    columns.push_back({"column" + std::to_string(i), "text", false});
    cells.push_back(Text("cell " + std::to_string(i)));
  }
  FakeRows many(columns);
  many.Add(cells);
  for (std::size_t width : {40U, 80U, 133U}) {
    std::string const shown = Written(Mode::kBox, many, {40, width, false});
    EXPECT_LE(WidestLine(shown), width);
    EXPECT_NE(shown.find("column0"), std::string::npos) << shown;
    EXPECT_NE(shown.find("200 columns ("), std::string::npos) << shown;
  }
  EXPECT_NE(Written(Mode::kBox, many).find("cell 107"), std::string::npos);
}

std::size_t WidestLine(std::string const& inText) {
  std::size_t widest = 0;
  std::size_t columns = 0;
  for (char const c : inText) {
    auto const byte = static_cast<unsigned char>(c);
    if (c == '\n') {
      columns = 0;
    } else if ((byte & 0xC0) != 0x80) {
      // Of the characters of these tests, those from U+3000 on are two columns wide.
      columns += byte >= 0xE3 && byte < 0xEE ? 2 : 1;
    }
    widest = std::max(widest, columns);
  }
  return widest;
}

TEST(Formats, BoxUsesColourOnlyWhenTold) {
  EXPECT_EQ(Written(Mode::kBox, TwoColumns()).find('\x1b'), std::string::npos);
  EXPECT_NE(Written(Mode::kBox, TwoColumns(), {40, 0, true}).find("\x1b[2mNULL\x1b[0m"),
            std::string::npos);
}

TEST(Formats, CsvQuotesAsRfc4180Says) {
  struct Case {
    Cell mCell;
    char const* mField;
  };
  Case const cases[] = {
      {{}, ""},
      {Text(""), "\"\""},
      {Text("plain"), "plain"},
      {Text("a,b"), "\"a,b\""},
      {Text("say \"x\""), "\"say \"\"x\"\"\""},
      {Text("two\nlines"), "\"two\nlines\""},
      {Text("a\rb"), "\"a\rb\""},
      {Text(" padded"), "\" padded\""},
      {Number("-9223372036854775808"), "-9223372036854775808"},
      {{CellKind::kBytes, std::string("\x00\xff", 2)}, "\\x00ff"},
  };
  for (Case const& c : cases) EXPECT_EQ(CsvField(c.mCell), c.mField);
  EXPECT_EQ(Written(Mode::kCsv, TwoColumns()), "name,n\r\n日本,5\r\na\x1b[1m,\r\n,-12345\r\n");
}

TEST(Formats, CsvOnATerminalShowsNoControlCharacter) {
  EXPECT_EQ(Written(Mode::kCsv, TwoColumns(), {}, true),
            "name,n\r\n日本,5\r\na\\x1b[1m,\r\n,-12345\r\n");
}

TEST(Formats, JsonKeepsEveryDigitAndEscapesWhatIsHidden) {
  struct Case {
    Cell mCell;
    char const* mJson;
  };
  Case const cases[] = {
      {{}, "null"},
      {Number("18446744073709551615"), "18446744073709551615"},
      {Number("-0.1"), "-0.1"},
      {Number("NaN"), "\"NaN\""},
      {Number("Infinity"), "\"Infinity\""},
      {Number("-Infinity"), "\"-Infinity\""},
      {Number("12 apples"), "\"12 apples\""},
      {{CellKind::kBoolean, "true"}, "true"},
      {{CellKind::kBytes, "foo"}, "\"Zm9v\""},
      {{CellKind::kJson, "{\"a\": [1, 2]}"}, "{\"a\": [1, 2]}"},
      {{CellKind::kJson, "[1,\n2]"}, "[1, 2]"},
      {{CellKind::kJson, "{broken"}, "\"{broken\""},
      {{CellKind::kJson, "\"\xC2\x9B\""}, "\"\\u009b\""},
      {Text("\"\\/\n\t\r\x1b\x7f"), "\"\\\"\\\\/\\n\\t\\r\\u001b\\u007f\""},
      {Text("\xC2\x9B日本\xE2\x80\xAE"), "\"\\u009b日本\\u202e\""},
      {Text("\xFF"), "\"\xEF\xBF\xBD\""},
  };
  for (Case const& c : cases) EXPECT_EQ(JsonValue(c.mCell), c.mJson);
}

TEST(Formats, JsonDocumentsReadBack) {
  FakeRows rows = TwoColumns();
  nlohmann::json const document = nlohmann::json::parse(Written(Mode::kJson, rows));
  ASSERT_EQ(document.size(), 3U);
  EXPECT_EQ(document[0]["name"], "日本");
  EXPECT_EQ(document[1]["name"], "a\x1b[1m");
  EXPECT_TRUE(document[1]["n"].is_null());
  EXPECT_EQ(nlohmann::json::parse(Written(Mode::kJson, Counting(0))), nlohmann::json::array());
  EXPECT_EQ(Written(Mode::kJsonLines, Counting(2)), "{\"n\":0}\n{\"n\":1}\n");
}

TEST(Formats, JsonMembersHaveNamesOfTheirOwn) {
  auto const names = [](std::vector<std::string> const& inNames) {
    std::vector<Column> columns;
    for (std::string const& name : inNames) columns.push_back({name, "text", false});
    return UniqueNames(columns);
  };
  using Names = std::vector<std::string>;
  EXPECT_EQ(names({"a", "a", "a"}), (Names{"a", "a_1", "a_2"}));
  EXPECT_EQ(names({"a", "a", "a_1"}), (Names{"a", "a_2", "a_1"}));
  EXPECT_EQ(names({"", ""}), (Names{"", "_1"}));
}

TEST(Formats, LineShowsOneValueALine) {
  EXPECT_EQ(
      Written(Mode::kLine, TwoColumns()),
      "name = 日本\n   n = 5\n\nname = a\\x1b[1m\n   n = NULL\n\nname = NULL\n   n = -12345\n");
}

TEST(Formats, MarkdownEscapesItsSeparator) {
  FakeRows rows({{"a|b", "text", false}, {"n", "int64", true}});
  rows.Add({Text("x|y\nz"), Number("1")});
  EXPECT_EQ(Written(Mode::kMarkdown, rows), "| a\\|b | n |\n|---|---:|\n| x\\|y\\nz | 1 |\n");
}

TEST(Formats, EveryModeHasItsName) {
  for (char const* name : {"box", "csv", "json", "jsonlines", "line", "markdown"}) {
    auto const mode = ParseMode(name);
    ASSERT_TRUE(mode) << name;
    EXPECT_STREQ(ModeName(*mode), name);
  }
  EXPECT_EQ(ParseMode("JSON"), Mode::kJson);
  EXPECT_EQ(ParseMode("table"), std::nullopt);
  EXPECT_EQ(ParseMode(""), std::nullopt);
}

}  // namespace
}  // namespace lumora::shell
