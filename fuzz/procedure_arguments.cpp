// What a procedure makes of its arguments' bytes: names, column lists, limits and quoted SQL,
// against readers that are written another way, and against DuckDB's own reading of the quotes.
#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "procedures/Arguments.h"
#include "procedures/HostApi.h"
#include "procedures/SqlBuilding.h"
#include "support/HostTable.h"
#include "support/Input.h"
#include "support/Sql.h"

namespace {

namespace procedures = lumora::procedures;
using lumora::duckdb_c::ResultHandle;
using lumora::fuzz::Input;
using lumora::fuzz::Int128;
using lumora::fuzz::Require;
using lumora::fuzz::Sql;
using lumora::test::HostContext;
using Texts = std::vector<std::string>;

std::string TrimSlowly(std::string inText) {
  auto const isBlank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
  while (!inText.empty() && isBlank(inText.back())) inText.pop_back();
  while (!inText.empty() && isBlank(inText.front())) inText.erase(0, 1);
  return inText;
}

Texts Cut(std::string const& inText, char inSeparator) {
  Texts pieces;
  std::istringstream stream(inText + inSeparator);
  for (std::string piece; std::getline(stream, piece, inSeparator);) {
    pieces.push_back(TrimSlowly(piece));
  }
  return pieces;
}

void CheckColumns(std::string const& inText) {
  Texts expected = Cut(inText, ',');
  std::erase(expected, "");
  Require(procedures::split_column_names(inText) == expected, "names between the commas");
  HostContext context;
  auto const text = lumora::test::Text(inText);
  if (TrimSlowly(inText) == "*") expected.clear();
  Require(procedures::parse_column_list(&context, text.get()) == expected, "a list as a text");
  std::vector<lumora::test::ValuePtr> items;
  for (auto const& piece : Cut(inText, ',')) items.push_back(lumora::test::Text(piece));
  items.push_back(nullptr);
  items.push_back(lumora::test::WithoutText(lumora::test::kDouble));
  expected = Cut(inText, ',');
  std::erase(expected, "");
  auto const array = lumora::test::Array(items);
  Require(procedures::parse_column_list(&context, array.get()) == expected, "a list as an array");
}

// The pieces at the full stops that an even number of quotes stands before.
void CheckQualifiedName(std::string const& inText) {
  std::string marked = inText;
  std::ptrdiff_t quotes = 0;
  // A byte of its own for each stop that cuts, where none of that kind is there.
  if (marked.find('\x01') != std::string::npos) return;
  for (char& c : marked) {
    if (c == '"') ++quotes;
    if (c == '.' && quotes % 2 == 0) c = '\x01';
  }
  try {
    Texts const pieces = procedures::split_qualified_name(inText);
    Require(quotes % 2 == 0 && pieces == Cut(marked, '\x01'), "pieces between the full stops");
    Texts const names = procedures::ParseTableName(inText);
    Require(names.size() == pieces.size() || TrimSlowly(inText).empty(), "a name for each piece");
  } catch (std::invalid_argument const& error) {
    bool const isBlank = TrimSlowly(inText).empty();
    Texts const pieces = Cut(marked, '\x01');
    bool const isBad = quotes % 2 == 1 || std::count(pieces.begin(), pieces.end(), "") != 0;
    Require(isBlank || isBad, "only a bad name is refused");
    Require(
        std::string(error.what()) == (isBlank ? "fetch_duckdb requires DuckDB table or view name."
                                              : "Invalid DuckDB table or view name."),
        "why a name is refused");
  }
}

// Names that are quoted and joined come back whole.
void CheckQuotedName(Texts const& inNames) {
  std::string text;
  for (auto const& name : inNames) {
    if (!text.empty()) text += " . ";
    text += procedures::quote_identifier(name);
  }
  if (!text.empty()) Require(procedures::ParseTableName(text) == inNames, "quoted names");
}

// The limit of a text, or what is wrong with it.
std::string ReadLimitSlowly(std::string const& inText) {
  std::string const text = TrimSlowly(inText);
  std::size_t i = 0;
  bool const isMinus = !text.empty() && text[0] == '-';
  if (!text.empty() && (isMinus || text[0] == '+')) ++i;
  std::size_t const first = i;
  Int128 number = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    number = std::min<Int128>(number * 10 + (text[i] - '0'), static_cast<Int128>(1) << 64);
  }
  if (i == first) return "invalid stoll argument";
  if (isMinus) number = -number;
  if (number < INT64_MIN || number > INT64_MAX) return "stoll argument out of range";
  if (i != text.size()) return "limit must be an integer";
  if (number < 0) return "limit must not be negative";
  return std::to_string(static_cast<std::int64_t>(number));
}

template <typename TValue>
std::string ReadLimit(TValue const& inValue) {
  HostContext context;
  try {
    return procedures::parse_limit_arg(&context, inValue.get());
  } catch (std::logic_error const& error) {
    return error.what();
  }
}

void CheckLimits(std::string const& inText, std::uint64_t inNumber) {
  Require(ReadLimit(lumora::test::Text(inText)) == ReadLimitSlowly(inText), "a limit as a text");
  Require(ReadLimit(lumora::test::Other(lumora::test::kDouble, inText)) == ReadLimitSlowly(inText),
          "a limit of another kind is read as its text");
  Require(ReadLimit(lumora::test::Uint(inNumber)) == std::to_string(inNumber), "unsigned limit");
  auto const number = static_cast<std::int64_t>(inNumber);
  Require(ReadLimit(lumora::test::Int(number)) ==
              (number < 0 ? "limit must not be negative" : std::to_string(number)),
          "signed limit");
}

// DuckDB reads a quoted text as that text. It takes UTF-8 without NUL alone.
void CheckQuotes(std::string const& inText) {
  ResultHandle result;
  if (inText.find('\0') != std::string::npos) return;
  Sql const& sql = Sql::Instance();
  if (!sql.Run("SELECT " + procedures::quote_literal(inText), result)) return;
  Require(lumora::fuzz::FirstText(result.get()) == inText, "a literal is read as its text");
  ResultHandle named;
  bool const isNamed = sql.Run("SELECT 1 AS " + procedures::quote_identifier(inText), named);
  Require(isNamed == !inText.empty(), "a quoted name is a name");
  if (isNamed) Require(duckdb_column_name(named.ptr(), 0) == inText, "and read as it is");
  bool const isUtf8 = std::all_of(inText.begin(), inText.end(), [](char c) { return c > 0; });
  ResultHandle sum;
  Require(!isUtf8 || sql.Run("SELECT 1 WHERE '' <> " + procedures::quote_literal(inText), sum),
          "an ASCII text is always a literal");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* inData, std::size_t inSize) {
  procedures::gHostApi = lumora::test::HostTable();
  Input input(inData, inSize);
  std::uint64_t const number = input.TakeNumber();
  Texts names;
  for (std::size_t i = input.TakeBelow(4); i > 0; --i) names.push_back(input.TakeBytes(20));
  std::string const text = input.TakeRest();
  CheckColumns(text);
  CheckQualifiedName(text);
  CheckQuotedName(names);
  CheckLimits(text, number);
  // A query takes as long as a hundred of the others.
  if (number % 8 == 7) CheckQuotes(text);
  return 0;
}
