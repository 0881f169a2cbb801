#include <nlohmann/json.hpp>

#include "CursorFixture.h"

// VARIANT cells on their way to the host and back.
namespace {

using namespace lumora::test;

class Variants : public CursorFixture, public testing::WithParamInterface<VariantCase> {
 protected:
  std::string Inner() const { return GetParam().mSql; }
  std::string Cell() const { return "(" + Inner() + ")::VARIANT"; }
};

// The host reads one code point for each byte of the text.
std::string BytesOf(std::string const& inUtf8) {
  std::string bytes;
  for (std::size_t i = 0; i < inUtf8.size(); ++i) {
    auto const byte = static_cast<unsigned char>(inUtf8[i]);
    if (byte < 0x80) {
      bytes += inUtf8[i];
    } else {
      ++i;
      bytes +=
          static_cast<char>(((byte & 3U) << 6) | (static_cast<unsigned char>(inUtf8[i]) & 63U));
    }
  }
  return bytes;
}

TEST_P(Variants, ReachTheHostAsTheirKindOrAsAnEnvelopeInBothCursors) {
  std::string const json = std::string(GetParam().mType);
  bool const isNested = json == "OBJECT" || json == "ARRAY";
  std::string const text =
      FirstTexts("SELECT CAST(" + (isNested ? Cell() + " AS JSON)" : Inner() + " AS VARCHAR)"))[0];
  for (std::uint32_t const kind : {1U, 2U}) {
    auto const value = FirstRow("SELECT " + Cell(), kind)[0];
    std::string const described = Describe(value);
    if (!GetParam().mIsEnvelope) {
      EXPECT_THAT(described, testing::StartsWith(GetParam().mType));
      continue;
    }
    ASSERT_EQ(value->get_Type(), tarn::ValueType::kJSON) << described;
    auto const read = nlohmann::json::parse(Utf8(value->get_String()));
    EXPECT_EQ(read.size(), 3U);
    EXPECT_EQ(read["duckdb_variant"], true);
    EXPECT_EQ(read["variant_type"], GetParam().mType);
    EXPECT_EQ(BytesOf(read["value"].get<std::string>()), text);
  }
}

// Equal value and equal inner type, through a cursor and a bound parameter.
TEST_P(Variants, InAnEnvelopeComeBackEqual) {
  if (!GetParam().mIsEnvelope) {
    // What has a kind of its own is bound as that kind.
    auto const value = FirstRow("SELECT " + Cell())[0];
    EXPECT_NE(value->get_Type(), tarn::ValueType::kJSON);
    return;
  }
  auto const before =
      FirstTexts("SELECT variant_typeof(v), v::VARCHAR FROM (SELECT " + Cell() + " AS v)");
  auto const value = FirstRow("SELECT " + Cell())[0];
  auto const after = FirstTexts(
      "SELECT variant_typeof(v), v::VARCHAR FROM (SELECT ?::VARIANT AS v)", MakeRow({value}));
  EXPECT_EQ(after, before);
}

INSTANTIATE_TEST_SUITE_P(EveryCode, Variants, testing::ValuesIn(VariantCases()));

using VariantCells = CursorFixture;

// DuckDB's own JSON of such a DECIMAL is ".5", which it does not read back itself.
TEST_F(VariantCells, WithADecimalBelowOneInsideAreJsonAndComeBack) {
  std::string const cell = "{'d': [(-0.5)::DECIMAL(1,1), 0::DECIMAL(3,3)], 't': '.5'}::VARIANT";
  for (std::uint32_t const kind : {1U, 2U}) {
    auto const value = FirstRow("SELECT " + cell, kind)[0];
    auto const read = nlohmann::json::parse(Utf8(value->get_String()));
    EXPECT_EQ(read["value"], R"({"d":[-0.500,0.000],"t":".5"})");
    EXPECT_EQ(FirstTexts("SELECT (?::VARIANT)::VARCHAR", MakeRow({value}))[0],
              "{'d': [-0.5, 0.0], 't': .5}");
  }
}

TEST_F(VariantCells, CoverEveryCodeThatDuckDBHas) {
  std::set<std::string> types;
  for (VariantCase const& variant : VariantCases()) {
    std::string const sql = std::string("SELECT variant_typeof((") + variant.mSql + ")::VARIANT)";
    std::string const type = FirstTexts(sql)[0];
    types.insert(type.substr(0, type.find('(')));
  }
  // BOOL_TRUE and BOOL_FALSE are two of the 34.
  EXPECT_EQ(types.size(), 34U) << testing::PrintToString(types);
}

TEST_F(VariantCells, KeepTheMillisecondsOfADateTimeAndDropWhatIsBelow) {
  EXPECT_EQ(Describe(FirstRow("SELECT '2024-01-15 12:34:56.789'::TIMESTAMP_MS::VARIANT")[0]),
            "DateTime 2024-1-15 12:34:56.789");
  EXPECT_EQ(Describe(FirstRow("SELECT '1969-12-31 23:59:59.999'::TIMESTAMP_MS::VARIANT")[0]),
            "DateTime 1969-12-31 23:59:59.999");
  EXPECT_EQ(Describe(FirstRow("SELECT DATE '0044-03-15 (BC)'::VARIANT")[0]), "Date -43-3-15");
  EXPECT_EQ(Describe(FirstRow("SELECT DATE '2024-01-15'::VARIANT")[0]), "Date 2024-1-15");
}

// A DateTime cannot hold them. DuckDB makes no other VARIANT of that kind.
TEST_F(VariantCells, WithMillisecondsThatHaveNoDateAndTimeAreEnvelopes) {
  std::pair<std::string, std::string> const cells[] = {
      {"'infinity'::TIMESTAMP_MS", "infinity"},
      {"'-infinity'::TIMESTAMP_MS", "-infinity"},
  };
  for (auto const& [cell, text] : cells) {
    for (std::uint32_t const kind : {1U, 2U}) {
      auto const value = FirstRow("SELECT (" + cell + ")::VARIANT", kind)[0];
      EXPECT_EQ(Describe(value),
                R"(JSON '{"duckdb_variant":true,"variant_type":"TIMESTAMP_MILIS","value":")" +
                    text + R"("}')");
    }
  }
  EXPECT_EQ(
      Describe(FirstRow("SELECT make_timestamp(-9223372022400000000)::TIMESTAMP_MS::VARIANT")[0]),
      "DateTime -290308-12-22 0:0:0.000");
  EXPECT_EQ(
      Describe(FirstRow("SELECT make_timestamp(9223372036854775000)::TIMESTAMP_MS::VARIANT")[0]),
      "DateTime 294247-1-10 4:0:54.775");
}

TEST_F(VariantCells, AreTheExactEnvelopeBytes) {
  EXPECT_EQ(Utf8(FirstRow("SELECT (-7)::TINYINT::VARIANT")[0]->get_String()),
            R"({"duckdb_variant":true,"variant_type":"INT8","value":"-7"})");
  EXPECT_EQ(Utf8(FirstRow("SELECT {'k': 'é'}::VARIANT")[0]->get_String()),
            R"({"duckdb_variant":true,"variant_type":"OBJECT",)"
            R"("value":"{\"k\":\"\u00c3\u00a9\"}"})");
}

// The envelope escapes byte by byte and is read character by character: that is its format.
TEST_F(VariantCells, ComeBackWithACharacterForEachByteOfTextBeyondAscii) {
  auto const value = FirstRow("SELECT {'k': 'é'}::VARIANT")[0];
  EXPECT_EQ(FirstTexts("SELECT CAST(?::VARIANT AS JSON)", MakeRow({value}))[0],
            "{\"k\":\"\xc3\x83\xc2\xa9\"}");
}

TEST_F(VariantCells, WithoutAValueAreNull) {
  EXPECT_EQ(Describe(FirstRow("SELECT NULL::VARIANT")[0]), "Boolean NULL");
  EXPECT_EQ(Describe(FirstRow("SELECT CAST('null' AS JSON)::VARIANT")[0]), "Boolean NULL");
}

TEST_F(VariantCells, OfOneColumnMayAllBeDifferent) {
  std::string sql = "SELECT * FROM (VALUES ";
  for (VariantCase const& variant : VariantCases()) {
    sql += (sql.back() == ')' ? ", ((" : "((") + std::string(variant.mSql) + ")::VARIANT)";
  }
  auto const client = Query(sql + ")", 1);
  auto const server = Query(sql + ")", 2);
  for (VariantCase const& variant : VariantCases()) {
    ASSERT_TRUE(client->NextRecord());
    ASSERT_TRUE(server->NextRecord());
    std::string const alone =
        DescribeFully(FirstRow("SELECT (" + std::string(variant.mSql) + ")::VARIANT")[0]);
    EXPECT_EQ(DescribeFully(client->get_Value(0)), alone);
    EXPECT_EQ(DescribeFully(server->get_Value(0)), alone);
  }
}

}  // namespace
