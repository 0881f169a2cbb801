#include <filesystem>

#include "support/ChildProcess.h"
#include "support/ProcedureCalls.h"

namespace lumora::test {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

std::size_t CountDescriptors() {
  std::size_t count = 0;
  for ([[maybe_unused]] auto const& entry : fs::directory_iterator("/proc/self/fd")) ++count;
  return count;
}

// Runs in an empty current folder of its own, where nothing may appear, and leaves no descriptor.
class BadInput : public Procedures {
 protected:
  BadInput() : mFormer(fs::current_path()) {
    mParquet = MakeParquet("o.parquet", "SELECT range AS id, 'n' || range AS name FROM range(9)");
    mDatabase = MakeDatabase("o.duckdb", "CREATE TABLE t AS SELECT 1 AS i");
    fs::create_directory(mFolder.At("current"));
    fs::current_path(mFolder.At("current"));
    Open("fetch_parquet", {Text(mParquet)});  // whatever DuckDB opens once and keeps
    mNames = mFolder.Names();
    mDescriptors = CountDescriptors();
  }
  ~BadInput() override { fs::current_path(mFormer); }
  void TearDown() override {
    EXPECT_EQ(CountDescriptors(), mDescriptors);
    EXPECT_EQ(mFolder.Names(), mNames);
    EXPECT_TRUE(fs::is_empty(fs::current_path()));
  }
  // Adds what the test itself made.
  void AcceptNames() { mNames = mFolder.Names(); }

  std::string mParquet;
  std::string mDatabase;

 private:
  fs::path mFormer;
  std::set<std::string> mNames;
  std::size_t mDescriptors = 0;
};

std::string const kMegabyte(1 << 20, 'x');

std::vector<ValuePtr> const& NoPaths() {
  static std::vector<ValuePtr> const values = {
      nullptr,
      Null(),
      WithoutText(kText),
      WithoutText(kArray),
      Int(42),
      Uint(42),
      Other(kDouble, "0.5"),
      Other(kBool, "true"),
      Other(kDate, "2024-01-01"),
      Array({Text("x")}),
      Text(""),
      Text(" \t\n"),
      Text("'"),
      Text("''"),
      Text("\""),
      Text("');SELECT 1;--"),
      Text("\0"s),
      Text("\xFF\xFE\x80"),
      Text("none\xC3.parquet"),
      Text(kMegabyte),
      Text("."),
      Text("/"),
      Text("/dev/null"),
      Text("nope://host/file"),
  };
  return values;
}

TEST_F(BadInput, InPlaceOfAPathIsOneMessage) {
  for (auto const& value : NoPaths()) {
    for (char const* const name :
         {"fetch_parquet", "parquet_schema", "parquet_metadata", "parquet_count"}) {
      EXPECT_NE(ErrorOf(name, {value}), "") << name;
    }
    EXPECT_NE(ErrorOf("fetch_duckdb", {value, Text("t")}), "");
  }
}

TEST_F(BadInput, InPlaceOfATableNameIsOneMessage) {
  for (auto const& value : NoPaths()) {
    EXPECT_NE(ErrorOf("fetch_duckdb", {Text(mDatabase), value}), "");
  }
}

TEST_F(BadInput, InPlaceOfAFilterIsOneMessage) {
  for (auto const& text :
       {"'"s, "\""s, "id >"s, ")"s, "("s, "id = 1; DROP TABLE x"s, "id = 1 -- rest"s, "/*"s,
        "\xFF"s, "id = '\xC3'"s, "id = 1\0"s, "id = 1 \0 AND nope"s, "$1 = 1"s, "? = 1"s,
        "nope(id)"s, kMegabyte, std::string(1 << 20, '(')}) {
    EXPECT_NE(ErrorOf("fetch_parquet", {Text(mParquet), Null(), Text(text)}), "")
        << text.substr(0, 50);
    EXPECT_NE(ErrorOf("parquet_count", {Text(mParquet), Text(text)}), "") << text.substr(0, 50);
  }
}

TEST_F(BadInput, InPlaceOfColumnsIsOneMessage) {
  for (auto const& value :
       {Int(1), Other(kDouble, "0.5"), Text("nope"), Text("id;name"), Text("\"id\""), Text("'id'"),
        Text("\xFF"), Text("id\0"s), Text("id, \0name"s), Text(kMegabyte),
        Array({Text("id, name")}), Array({Text("id"), Int(7)}), Array({Text("\0"s)})}) {
    EXPECT_NE(ErrorOf("fetch_parquet", {Text(mParquet), value}), "");
  }
}

TEST_F(BadInput, InPlaceOfALimitIsOneMessage) {
  std::string const digits(1 << 20, '9');
  for (auto const& value : {Int(-1), Int(INT64_MIN), Text(""), Text(" "), Text("'1'"), Text("1;"),
                            Text("1\0"s), Text("\xFF"), Text("1.5"), Text(kMegabyte), Text(digits),
                            Array({Int(1)}), Other(kBool, "true"), WithoutText(kVariant)}) {
    EXPECT_NE(ErrorOf("fetch_parquet", {Text(mParquet), Null(), Null(), value}), "");
    EXPECT_NE(ErrorOf("fetch_duckdb", {Text(mDatabase), Text("t"), value}), "");
  }
}

TEST_F(BadInput, WithNulBytesIsNeverCutIntoAnotherQuery) {
  std::string const message = "A text argument contains a NUL byte.";
  auto const cut = [](std::string inText) { return Text(inText + "\0rest"s); };
  EXPECT_EQ(ErrorOf("fetch_parquet", {cut(mParquet)}), message);
  EXPECT_EQ(ErrorOf("fetch_parquet", {Text(mParquet), cut("id")}), message);
  EXPECT_EQ(ErrorOf("fetch_parquet", {Text(mParquet), Null(), cut("id = 1")}), message);
  EXPECT_EQ(ErrorOf("parquet_schema", {cut(mParquet)}), message);
  EXPECT_EQ(ErrorOf("parquet_metadata", {cut(mParquet)}), message);
  EXPECT_EQ(ErrorOf("parquet_count", {cut(mParquet)}), message);
  EXPECT_EQ(ErrorOf("parquet_count", {Text(mParquet), cut("true")}), message);
  EXPECT_EQ(ErrorOf("fetch_duckdb", {cut(mDatabase), Text("t")}), message);
  EXPECT_EQ(ErrorOf("fetch_duckdb", {Text(mDatabase), cut("t")}), message);
}

TEST_F(BadInput, AMegabyteOfGoodFilterWorks) {
  auto const filter = Text("name <> '" + kMegabyte + "'");
  EXPECT_EQ(TextsOf(*Open("parquet_count", {Text(mParquet), filter}))[0][0], "9");
}

TEST_F(BadInput, ThatIsNoParquetFileIsOneMessage) {
  std::string const whole = mFolder.Read("o.parquet");
  std::string const files[] = {
      mFolder.Write("empty.parquet", ""),
      mFolder.Write("text.parquet", "only some text in here, and no rows"),
      mFolder.Write("head.parquet", whole.substr(0, whole.size() / 2)),
      mFolder.Write("short.parquet", whole.substr(0, whole.size() - 1)),
      mFolder.Write("tail.parquet", whole.substr(whole.size() / 2)),
      mFolder.Write("magic.parquet", "PAR1PAR1"),
      mFolder.At(""),
      mDatabase,
  };
  AcceptNames();
  for (auto const& path : files) {
    for (char const* const name :
         {"fetch_parquet", "parquet_schema", "parquet_metadata", "parquet_count"}) {
      if (path == files[4] && std::string(name) != "fetch_parquet") continue;
      EXPECT_NE(ErrorOf(name, {Text(path)}), "") << name << " " << path;
    }
  }
}

// --- a footer with one wrong byte, in a process of its own since the reader is DuckDB's ---

// Reads the file with every procedure; what comes of it, a cursor or one message, is right.
bool IsAnswered(std::string const& inPath) {
  for (char const* const name :
       {"fetch_parquet", "parquet_schema", "parquet_metadata", "parquet_count"}) {
    auto const outcome = CallProcedure(LoadedProcedures::Instance().Find(name), {Text(inPath)});
    if (outcome.mErrors.size() != (outcome.mCursor ? 0U : 1U)) return false;
    for (int row = 0; outcome.mCursor && row < 10000 && outcome.mCursor->Next(); ++row) {
      for (std::size_t i = 0; i < outcome.mCursor->get_Names().size(); ++i) {
        outcome.mCursor->Get(static_cast<std::int32_t>(i));
      }
    }
  }
  return true;
}

int FlipFooter(std::vector<std::string> const& inArgs) {
  TempFolder const folder;
  std::string const& whole = inArgs.at(0);
  auto const first = static_cast<std::size_t>(std::stoul(inArgs.at(1)));
  std::string bytes;
  for (std::size_t i = 0; i + 1 < whole.size(); i += 2) {
    bytes += static_cast<char>(std::stoul(whole.substr(i, 2), nullptr, 16));
  }
  for (std::size_t i = first; i < bytes.size(); ++i) {
    std::string flipped = bytes;
    flipped[i] = static_cast<char>(flipped[i] ^ (i % 2 == 0 ? 0xFF : 0x01));
    if (!IsAnswered(folder.Write("f.parquet", flipped))) return 1;
  }
  return 0;
}

ChildJob const kFlipFooter("flip_footer", FlipFooter);

TEST_F(BadInput, OneWrongByteInAFooterIsACursorOrOneMessage) {
  Oracle().Run("COPY (SELECT range::INTEGER AS i FROM range(9)) TO " +
               Quoted(mFolder.At("small.parquet")) + " (FORMAT parquet)");
  AcceptNames();
  std::string const whole = mFolder.Read("small.parquet");
  std::size_t length = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    length |= std::size_t{static_cast<unsigned char>(whole[whole.size() - 8 + i])} << (8 * i);
  }
  ASSERT_LT(length, whole.size());
  std::string hex;
  for (char const c : whole) {
    char const digits[] = "0123456789abcdef";
    hex += digits[static_cast<unsigned char>(c) >> 4];
    hex += digits[static_cast<unsigned char>(c) & 15];
  }
  EXPECT_EQ(RunChild("flip_footer", {hex, std::to_string(whole.size() - 8 - length)}).mExitCode, 0);
}

}  // namespace
}  // namespace lumora::test
