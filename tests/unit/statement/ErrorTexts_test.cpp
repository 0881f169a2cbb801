#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <vector>

// docs/errors.md against the sources.
namespace {

namespace fs = std::filesystem;

std::string ReadAll(fs::path const& inPath) {
  std::ifstream file(inPath, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Blanks and line breaks count as one blank: a message may go over lines in the page.
std::string Flatten(std::string const& inText) {
  return std::regex_replace(inText, std::regex("\\s+"), " ");
}

std::string get_Page() { return Flatten(ReadAll(fs::path(LUMORA_SOURCE_DIR) / "docs/errors.md")); }

// What looks like a message and is none: SQL, names of types, what the procedures say of
// themselves, and what is taken off a message of DuckDB's.
bool IsNoMessage(std::string const& inText) {
  static std::regex const sql(
      "(SELECT|SET|RESET|CREATE|INSERT|CAST|EXPORT|IMPORT|ATTACH|DETACH|USE|ROLLBACK|BEGIN|COMMIT|"
      "FROM|AS|WHERE|LIMIT|AND|COPY|VALUES|WITH|ALTER|DROP|DELETE|READ_ONLY|TIME|TIMESTAMP|MAP|"
      "STORAGE_VERSION|BLOCK_SIZE|FORMAT|PRAGMA|CALL|COMMENT)\\b.*");
  static std::regex const described("uri[ ,].*|(Reads|Returns) .*|Failed to append: ");
  return std::regex_match(inText, sql) || std::regex_match(inText, described);
}

// The string literals of a file that read like a message.
std::vector<std::string> MessagesOf(fs::path const& inPath) {
  static std::regex const literal(R"re("((?:[^"\\]|\\.)*)")re");
  std::vector<std::string> messages;
  std::ifstream file(inPath);
  for (std::string line; std::getline(file, line);) {
    auto const start = line.find_first_not_of(' ');
    if (start == std::string::npos || line[start] == '#') continue;
    line = std::regex_replace(line, std::regex("(^|\\s)//.*"), "");
    for (std::sregex_iterator match(line.begin(), line.end(), literal), end; match != end;
         ++match) {
      std::string const text = std::regex_replace((*match)[1].str(), std::regex("\\\\\""), "\"");
      bool const reads = text.size() >= 8 && text.find(' ') != std::string::npos &&
                         std::isalpha(static_cast<unsigned char>(text[0])) != 0;
      if (reads && !IsNoMessage(text)) messages.push_back(text);
    }
  }
  return messages;
}

std::vector<fs::path> Sources() {
  std::vector<fs::path> sources;
  for (auto const& entry : fs::recursive_directory_iterator(fs::path(LUMORA_SOURCE_DIR) / "src")) {
    if (entry.path().extension() == ".cpp" || entry.path().extension() == ".h") {
      sources.push_back(entry.path());
    }
  }
  return sources;
}

TEST(ErrorTexts, AllStandInThePage) {
  std::string const page = get_Page();
  std::size_t found = 0;
  for (fs::path const& source : Sources()) {
    for (std::string const& message : MessagesOf(source)) {
      ++found;
      EXPECT_NE(page.find(Flatten(message)), std::string::npos)
          << "docs/errors.md lacks \"" << message << "\" of " << source;
    }
  }
  EXPECT_GT(found, 60U);
}

TEST(ErrorTexts, OfAWholeTableAreStillInTheSources) {
  std::set<std::string> messages;
  for (fs::path const& source : Sources()) {
    for (std::string const& message : MessagesOf(source)) messages.insert(message);
  }
  for (char const* const message :
       {"DuckDBDatabase is invalid", "DuckDBDatabase is not open", "Failed to extract statements",
        "Query doesn't return a single result", "DuckDBCursor is invalid",
        "Unexpected DuckDB error", "File does not exist"}) {
    EXPECT_TRUE(messages.contains(message)) << message;
  }
}

TEST(ErrorTexts, TellEveryCode) {
  std::string const page = get_Page();
  std::regex const code("k\\w*(?:Code|Error|Argument|Location|Backup)\\w* = (0x[0-9A-F]{4,5});");
  std::size_t found = 0;
  for (fs::path const& source : Sources()) {
    std::string const text = ReadAll(source);
    for (std::sregex_iterator match(text.begin(), text.end(), code), end; match != end; ++match) {
      ++found;
      EXPECT_NE(page.find((*match)[1].str()), std::string::npos) << (*match)[1] << " of " << source;
    }
  }
  EXPECT_GE(found, 6U);
}

}  // namespace
