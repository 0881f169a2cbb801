#include "RowCases.h"

#include <algorithm>

namespace lumora::test {
namespace {

using ValuePtr = tarn::smart_ptr<tarn::I_Value>;
using RowPtr = tarn::smart_ptr<tarn::ValueRow>;

constexpr char const* kTypes[] = {
    "INTEGER",
    "BIGINT",
    "DOUBLE",
    "VARCHAR",
    "DATE",
    "BOOLEAN",
    "TINYINT",
    "UBIGINT",
    "HUGEINT",
    "FLOAT",
    "DECIMAL(9,2)",
    "TIMESTAMP",
    "TIMESTAMPTZ",
    "TIMESTAMP_S",
    "BLOB",
    "INTEGER[]",
    "UUID",
    "VARIANT",
    "JSON",
    "TIME",
    "STRUCT(a INTEGER)",
    "ENUM ('1', '5', 'x')",
    "UNION(n TINYINT, s VARCHAR)",
    "VARCHAR COLLATE NOCASE",
};
constexpr char const* kConstraints[] = {"NOT NULL", "UNIQUE", "PRIMARY KEY",
                                        "CHECK (c0 IS NOT NULL)",
                                        "CHECK (length(c0::VARCHAR) < 5)"};
constexpr char const* kDefaults[] = {
    "7",     "-1.5",   "'x'",          "NULL",   "true", "nextval('q')", "txid_current() % 1",
    "1 + 1", "[1, 2]", "current_user", "'it''s'"};
constexpr char const* kTables[] = {
    "t",       "\"we ird\"",         "main.t",     "temp.t", "other.t",
    "s.\"T\"", "other.main.\"ü b\"", "\"q\"\"q\"", "aview",  "t"};

class Maker {
 public:
  explicit Maker(std::mt19937_64& ioRandom) : mRandom(ioRandom) {}

  RowCase Make();

 private:
  std::size_t Roll(std::size_t inBelow) { return mRandom() % inBelow; }
  bool Chance(unsigned inPercent) { return Roll(100) < inPercent; }
  template <typename T>
  auto Pick(T const& inItems) {
    return inItems[Roll(std::size(inItems))];
  }

  void MakeTable();
  std::string MakeColumn(std::size_t inIndex);
  void MakeInsert();
  std::string MakeItems();
  void MakeRows();
  RowPtr MakeOne(bool inIsOdd);
  ValuePtr MakeValue(std::size_t inKind);
  ValuePtr MakePlain(std::size_t inKind);

  std::mt19937_64& mRandom;
  RowCase mCase;
  std::size_t mColumns = 0;
  std::vector<std::string> mTypes;
  std::vector<std::size_t> mTargets;  // the columns that the parameters go to
  std::vector<std::size_t> mKinds;    // of value, for each parameter
  unsigned mNulls = 0;
  std::int64_t mNext = 0;
};

std::string Maker::MakeColumn(std::size_t inIndex) {
  mTypes.push_back(Chance(70) ? kTypes[Roll(6)] : Pick(kTypes));
  std::string column = "c" + std::to_string(inIndex) + " " + mTypes.back();
  if (Chance(25)) {
    column += std::string(" DEFAULT (") + (Chance(30) ? "nextval('q')" : Pick(kDefaults)) + ")";
  }
  if (Chance(15)) column += std::string(" ") + Pick(kConstraints);
  bool const isWhole = mTypes.back() == "INTEGER" || mTypes.back() == "BIGINT";
  if (isWhole && Chance(4)) column += " REFERENCES parent(k)";
  return column;
}

void Maker::MakeTable() {
  mCase.mTable = Chance(50) ? "t" : Pick(kTables);
  mCase.mIsOtherAttached = mCase.mTable.starts_with("other") || Chance(5);
  mColumns = 1 + Roll(5);
  std::string columns;
  for (std::size_t i = 0; i < mColumns; ++i) columns += (i ? ", " : "") + MakeColumn(i);
  if (Chance(8)) {
    std::string const generated = "g INTEGER GENERATED ALWAYS AS (length(c0::VARCHAR))";
    columns = Chance(50) ? columns + ", " + generated : generated + ", " + columns;
  }
  if (Chance(5)) columns += ", CHECK (c0 <> c0 OR c0 IS NOT NULL)";
  mCase.mSetUp.push_back("CREATE TABLE parent(k INTEGER PRIMARY KEY)");
  mCase.mSetUp.push_back("INSERT INTO parent SELECT range FROM range(60)");
  if (mCase.mTable == "aview") {
    mCase.mSetUp.push_back("CREATE VIEW aview AS SELECT 1 AS c0");
  } else {
    char const* const create =
        mCase.mTable.starts_with("temp") ? "CREATE TEMP TABLE " : "CREATE TABLE ";
    mCase.mSetUp.push_back(create + mCase.mTable + "(" + columns + ")");
  }
  mCase.mContents = "SELECT rowid";
  for (std::size_t i = 0; i < mColumns; ++i) {
    std::string const name = "c" + std::to_string(i);
    mCase.mContents += ", CAST(" + name + " AS VARCHAR) AS " + name;
    if (mTypes[i] == "VARIANT") mCase.mContents += ", variant_typeof(" + name + ")";
    if (mTypes[i].starts_with("UNION")) mCase.mContents += ", union_tag(" + name + ")::VARCHAR";
  }
  mCase.mContents += " FROM " + mCase.mTable;
  if (Chance(8)) mCase.mSetUp.push_back("CREATE INDEX i ON " + mCase.mTable + "(c0)");
  if (Chance(5)) mCase.mSetUp.push_back("CREATE UNIQUE INDEX u ON " + mCase.mTable + "(c0)");
}

void Maker::MakeInsert() {
  for (std::size_t i = 0; i < mColumns; ++i) mTargets.push_back(i);
  std::string columns;
  if (Chance(50)) {
    std::shuffle(mTargets.begin(), mTargets.end(), mRandom);
    mTargets.resize(1 + Roll(mColumns));
    for (std::size_t i : mTargets) {
      columns +=
          (columns.empty() ? "(" : ", ") + std::string(Chance(20) ? "C" : "c") + std::to_string(i);
    }
    columns += ")";
  }
  mCase.mInsert = (Chance(4) ? "INSERT OR REPLACE INTO " : "INSERT INTO ") + mCase.mTable +
                  columns + " VALUES (" + MakeItems() + "@)";
  if (Chance(3)) mCase.mInsert += " ON CONFLICT DO NOTHING";
  if (Chance(3)) mCase.mInsert += " RETURNING c0";
  if (Chance(10)) mCase.mInsert += ";" + mCase.mInsert;
}

// "?" in their order, or numbers in any; now and then something that is no parameter.
std::string Maker::MakeItems() {
  std::vector<std::string> items(mTargets.size(), "?");
  if (Chance(30)) {
    std::vector<std::size_t> numbers;
    for (std::size_t i = 0; i < items.size(); ++i) numbers.push_back(i);
    if (Chance(50)) std::shuffle(numbers.begin(), numbers.end(), mRandom);
    for (std::size_t i = 0; i < items.size(); ++i) items[i] = "$" + std::to_string(numbers[i] + 1);
    std::vector<std::size_t> const targets = mTargets;
    for (std::size_t i = 0; i < items.size(); ++i) mTargets[numbers[i]] = targets[i];
  } else if (items.size() > 1 && Chance(5)) {
    items.back() = Chance(50) ? "DEFAULT" : "5";
    mTargets.pop_back();
  }
  std::string text;
  for (auto const& item : items) text += (text.empty() ? "" : ", ") + item;
  return text;
}

ValuePtr Coded(std::uint32_t inCode, std::int64_t inNumber) {
  tarn::smart_ptr<TestValue> const value(new TestValue(inCode));
  value->mNumber = inNumber;
  value->mUnsigned = static_cast<std::uint64_t>(inNumber);
  value->mReal = static_cast<double>(inNumber) / 4;
  value->mText = tarn::String(std::to_string(inNumber).c_str());
  value->mHasDate = inCode == 16;
  value->mHasDateTime = inCode == 18;
  value->mParts = {1990, 2, static_cast<std::int16_t>(1 + inNumber % 28), 23, 59, 59, 123};
  value->mHasBytes = inCode == 24;
  value->mBytes.assign(static_cast<std::size_t>(inNumber % 5 + 5) % 5, 0xAB);
  return value;
}

constexpr std::size_t kKinds = 30;

ValuePtr Maker::MakePlain(std::size_t inKind) {
  std::int64_t const number = Chance(80) ? ++mNext % 100 : static_cast<std::int64_t>(Roll(60));
  switch (inKind) {
    case 0:
      return MakeLong(static_cast<std::int32_t>(number));
    case 1:
      return MakeLLong(number);
    case 2:
      return MakeDouble(static_cast<double>(number) / 2);
    case 3:
      return MakeText(Chance(50) ? std::to_string(number) : "täxt " + std::to_string(number));
    case 4:
      return MakeDate(2000, static_cast<std::int16_t>(1 + number % 12), 3);
    case 5:
      return MakeBoolean(number % 2 == 0);
    case 6:
      return MakeText(std::to_string(number));
    case 7:
      return MakeJSON(MakeEnvelope("INT128", std::to_string(number)));
    case 8:
      return MakeJSON("{\"a\":" + std::to_string(number) + "}");
    case 9:
      return MakeText("[" + std::to_string(number) + "]");
    case 10:
      return MakeText("{'a': " + std::to_string(number) + "}");
    case 11:
      return MakeText("12:00:0" + std::to_string(number % 10));
    case 12:
      return MakeText("00000000-0000-0000-0000-0000000000" + std::to_string(10 + number % 90));
    case 13: {
      tarn::smart_ptr<TestValue> const value(new TestValue(38));
      value->mHasWrapped = true;
      value->mInner = MakeLong(static_cast<std::int32_t>(number));
      return value;
    }
    default:
      return Coded(static_cast<std::uint32_t>(inKind - 11 > 18 ? 24 : inKind - 11), number);
  }
}

ValuePtr Maker::MakeValue(std::size_t inKind) {
  if (Chance(mNulls)) return Chance(50) ? ValuePtr() : MakeNullValue();
  return MakePlain(inKind);
}

// The kind of value that goes well into a column of that type.
std::size_t KindFor(std::string const& inType) {
  if (inType == "DATE" || inType.starts_with("TIMESTAMP")) return 4;
  if (inType == "BOOLEAN") return 5;
  if (inType == "DOUBLE" || inType == "FLOAT") return 2;
  if (inType.starts_with("VARCHAR")) return 3;
  if (inType == "TINYINT" || inType == "HUGEINT" || inType == "VARIANT") return 0;
  if (inType.starts_with("UNION")) return 6;
  if (inType == "INTEGER[]") return 9;
  if (inType.starts_with("STRUCT")) return 10;
  if (inType == "TIME") return 11;
  if (inType == "UUID") return 12;
  if (inType == "JSON") return 8;
  if (inType.starts_with("ENUM")) return 6;
  return inType == "BIGINT" ? 1 : 0;
}

RowPtr Maker::MakeOne(bool inIsOdd) {
  if (inIsOdd && Chance(5)) return {};
  std::vector<ValuePtr> values;
  for (std::size_t const kind : mKinds) values.push_back(MakeValue(kind));
  if (!inIsOdd) return test::MakeRow(values);
  switch (Roll(8)) {
    case 0:
      values.push_back(MakeLong(1));
      break;
    case 1:
      values.resize(Roll(values.size() + 1));
      break;
    case 2:
      values[Roll(values.size())] = MakeText("not that");
      break;
    case 3:
      values[Roll(values.size())] = MakeLLong(INT64_MAX);
      break;
    case 4:
      values[Roll(values.size())] = MakeJSON(MakeEnvelope("NOSUCH", "1"));
      break;
    case 5:
      values[Roll(values.size())] = {};
      break;
    case 6:
      values[Roll(values.size())] = MakePlain(Roll(kKinds));
      break;
    default:
      break;
  }
  return test::MakeRow(values);
}

void Maker::MakeRows() {
  for (std::size_t const target : mTargets) {
    mKinds.push_back(Chance(95) ? KindFor(mTypes[target]) : Roll(kKinds));
  }
  mNulls = Chance(40) ? 0 : static_cast<unsigned>(Roll(25));
  std::size_t const count = Chance(8) ? Roll(4) : 36 + Roll(Chance(10) ? 150 : 40);
  std::size_t const odd = Chance(50) ? count : Roll(count + 1);
  unsigned const oddPercent = Chance(10) ? 10 : 0;
  for (std::size_t i = 0; i < count; ++i) {
    mCase.mRows.push_back(MakeOne(i == odd || Chance(oddPercent)));
  }
}

RowCase Maker::Make() {
  MakeTable();
  MakeInsert();
  MakeRows();
  if (Chance(35)) {
    mCase.mBefore = "BEGIN";
    mCase.mAfter = Chance(70) ? "COMMIT" : "ROLLBACK";
  }
  mCase.mOperation = static_cast<int>(Chance(60) ? 0 : Roll(6));
  mCase.mAgain = Chance(15);
  return std::move(mCase);
}

}  // namespace

std::ostream& operator<<(std::ostream& ioStream, RowCase const& inCase) {
  for (auto const& sql : inCase.mSetUp) ioStream << sql << ";\n";
  return ioStream << inCase.mBefore << "; " << inCase.mInsert << " of " << inCase.mRows.size()
                  << " rows, operation " << inCase.mOperation << "; " << inCase.mAfter;
}

RowCase MakeRowCase(std::mt19937_64& ioRandom) { return Maker(ioRandom).Make(); }

}  // namespace lumora::test
