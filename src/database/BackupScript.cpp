#include "database/BackupScript.h"

#include <filesystem>
#include <system_error>

#include "database/DatabaseErrors.h"
#include "duckdb_c/FileStatus.h"
#include "duckdb_c/SqlSplitter.h"
#include "tarn/Exceptions.h"
#include "tarn/File.h"

namespace lumora {

namespace {

constexpr std::string_view kVersionPrefix = "-- storage version: ";
constexpr std::uint32_t kFileError = 0x66001;

std::string ValueList(Statements const& inValues, bool inDoubled) {
  std::string list = " AS ENUM ( ";
  for (std::string const& value : inValues) {
    if (&value != &inValues.front()) list += ", ";
    list += '\'';
    for (char const unit : value) list.append(inDoubled && unit == '\'' ? 2 : 1, unit);
    list += '\'';
  }
  return list + " );";
}

// Reads one part of a qualified name and moves ioText behind it.
std::string TakeNamePart(std::string_view& ioText) {
  std::string part;
  if (!ioText.starts_with('"')) {
    std::size_t const end = ioText.find_first_of(". ");
    part = ioText.substr(0, end);
    ioText.remove_prefix(part.size());
    return part;
  }
  ioText.remove_prefix(1);
  while (!ioText.empty()) {
    bool const quote = ioText.front() == '"';
    if (quote && !ioText.starts_with("\"\"")) break;
    part += ioText.front();
    ioText.remove_prefix(quote ? 2 : 1);
  }
  if (!ioText.empty()) ioText.remove_prefix(1);
  return part;
}

}  // namespace

Statements SplitStatements(std::string_view inScript) {
  Statements statements;
  for (duckdb_c::SqlPiece const piece : duckdb_c::SplitSql(inScript)) {
    statements.emplace_back(duckdb_c::PieceText(inScript, piece));
  }
  return statements;
}

std::string JoinStatements(Statements const& inStatements) {
  std::string script;
  for (std::string const& statement : inStatements) script += statement + ";\n";
  return script;
}

std::string QuoteEnumValues(std::string inScript, std::vector<Statements> const& inValueLists) {
  for (Statements const& values : inValueLists) {
    std::string const wrong = ValueList(values, false);
    std::string const right = ValueList(values, true);
    if (wrong == right) continue;
    for (std::size_t at = inScript.find(wrong); at != std::string::npos;
         at = inScript.find(wrong, at + right.size())) {
      inScript.replace(at, wrong.size(), right);
    }
  }
  return inScript;
}

Statements RunInWorkingOrder(Statements& ioPending, RunStatement const& inRun,
                             std::string& outError) {
  Statements done;
  for (bool progress = true; progress && !ioPending.empty();) {
    Statements failed;
    std::string firstError;
    for (std::string& statement : ioPending) {
      std::string error;
      if (inRun(statement, error)) {
        done.push_back(std::move(statement));
        continue;
      }
      if (failed.empty()) firstError = std::move(error);
      failed.push_back(std::move(statement));
    }
    progress = failed.size() < ioPending.size();
    ioPending = std::move(failed);
    outError = std::move(firstError);
  }
  return done;
}

std::string CopiedTable(std::string_view inStatement) {
  constexpr std::string_view kCopy = "COPY ";
  if (!inStatement.starts_with(kCopy)) return {};
  inStatement.remove_prefix(kCopy.size());
  std::string name = TakeNamePart(inStatement);
  while (inStatement.starts_with('.')) {
    inStatement.remove_prefix(1);
    name += '\0';
    name += TakeNamePart(inStatement);
  }
  return inStatement.starts_with(" FROM ") ? name : std::string();
}

Statements OrderCopies(Statements const& inStatements,
                       std::map<std::string, std::set<std::string>> const& inReferences) {
  std::set<std::string> waiting;
  for (std::string const& statement : inStatements) waiting.insert(CopiedTable(statement));
  Statements pending = inStatements;
  std::string ignored;
  Statements ordered = RunInWorkingOrder(
      pending,
      [&](std::string const& statement, std::string&) {
        std::string const table = CopiedTable(statement);
        auto const needs = inReferences.find(table);
        if (needs != inReferences.end()) {
          for (std::string const& needed : needs->second) {
            if (needed != table && waiting.contains(needed)) return false;
          }
        }
        waiting.erase(table);
        return true;
      },
      ignored);
  ordered.insert(ordered.end(), pending.begin(), pending.end());
  return ordered;
}

std::string StorageVersionLine(std::string const& inVersion) {
  return inVersion.empty() ? std::string() : std::string(kVersionPrefix) + inVersion + "\n";
}

std::string StorageVersionOf(std::string_view inScript) {
  if (!inScript.starts_with(kVersionPrefix)) return {};
  inScript.remove_prefix(kVersionPrefix.size());
  return std::string(inScript.substr(0, inScript.find_first_of("\r\n")));
}

std::string ReadTextFile(std::string const& inPath) {
  auto const file = tarn::CreateFile(tarn::CreateLocation(ToHostText(inPath)));
  file->OpenForRead();
  constexpr std::uint32_t kBlock = 1U << 20;
  std::string text;
  for (std::uint32_t count = kBlock; count == kBlock;) {
    std::size_t const size = text.size();
    text.resize(size + kBlock);
    count = file->ReadAt(size, text.data() + size, kBlock);
    text.resize(size + count);
  }
  return text;
}

void ReplaceTextFile(std::string const& inPath, std::string const& inText) {
  std::string const written = inPath + ".new";
  auto const file = tarn::CreateFile(tarn::CreateLocation(ToHostText(written)));
  file->Create();
  file->WriteAt(0, inText.data(), static_cast<std::uint32_t>(inText.size()));
  file->Flush();
  file->Close();
  std::error_code error;
  std::filesystem::rename(duckdb_c::PathOf(written), duckdb_c::PathOf(inPath), error);
  if (!error) return;
  throw tarn::xException(kFileError, ToHostText(inPath).c_str(),
                         ToHostText(error.message()).c_str());
}

}  // namespace lumora
