#include "support/ProcedureCalls.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace lumora::test {
namespace {

[[noreturn]] void Stop(std::string const& inWhat) {
  std::fprintf(stderr, "%s\n", inWhat.c_str());
  std::abort();
}

template <typename T>
T* Symbol(void* inLibrary, char const* inName) {
  void* const symbol = dlsym(inLibrary, inName);
  if (!symbol) Stop(fmt::format("no {}", inName));
  return reinterpret_cast<T*>(symbol);
}

}  // namespace

LoadedProcedures& LoadedProcedures::Instance() {
  // Never unloaded and never destroyed: the host keeps an extension until it ends.
  static auto* const instance = new LoadedProcedures;
  return *instance;
}

LoadedProcedures::LoadedProcedures() {
  void* const library = dlopen(LUMORA_EXTENSION_PATH, RTLD_NOW | RTLD_LOCAL);
  if (!library) Stop(dlerror());
  Symbol<void(void (*const*)())>(library, "lumora_extension_bind_api")(HostTable());
  Symbol<void(void*)>(library, "lumora_extension_init")(&mRegistration);
}

ProcedureDef const& LoadedProcedures::Find(std::string const& inName) const {
  for (auto const& procedure : mRegistration.mProcedures) {
    if (procedure.mName == inName) return procedure;
  }
  Stop(fmt::format("no procedure {}", inName));
}

Oracle::Oracle(std::string const& inPath) {
  char const* const path = inPath.empty() ? nullptr : inPath.c_str();
  duckdb_c::TextHandle error;
  if (duckdb_open_ext(path, mDatabase.out(), nullptr, error.out()) != DuckDBSuccess) {
    throw std::runtime_error(duckdb_c::TextOr(error.get(), "cannot open"));
  }
  if (duckdb_connect(mDatabase.get(), mConnection.out()) != DuckDBSuccess) {
    throw std::runtime_error("cannot connect");
  }
}

duckdb_c::ResultHandle Oracle::Run(std::string const& inSql) {
  duckdb_c::ResultHandle result;
  if (duckdb_query(mConnection.get(), inSql.c_str(), result.out()) != DuckDBSuccess) {
    throw std::runtime_error(inSql + ": " + duckdb_result_error(result.ptr()));
  }
  return result;
}

std::vector<std::vector<std::string>> Oracle::Texts(std::string const& inSql) {
  auto result = Run("SELECT CAST(COLUMNS(*) AS VARCHAR) FROM (" + inSql + ")");
  std::vector<std::vector<std::string>> rows;
  for (idx_t chunk = 0; chunk < duckdb_result_chunk_count(result.get()); ++chunk) {
    duckdb_c::ChunkHandle const data(duckdb_result_get_chunk(result.get(), chunk));
    for (idx_t row = 0; row < duckdb_data_chunk_get_size(data.get()); ++row) {
      auto& texts = rows.emplace_back();
      for (idx_t i = 0; i < duckdb_data_chunk_get_column_count(data.get()); ++i) {
        duckdb_vector const vector = duckdb_data_chunk_get_vector(data.get(), i);
        auto* const cells = static_cast<duckdb_string_t*>(duckdb_vector_get_data(vector));
        bool const valid = duckdb_validity_row_is_valid(duckdb_vector_get_validity(vector), row);
        texts.push_back(valid ? std::string(duckdb_string_t_data(&cells[row]),
                                            duckdb_string_t_length(cells[row]))
                              : "NULL");
      }
    }
  }
  return rows;
}

std::string Quoted(std::string const& inText) {
  std::string quoted = "'";
  for (char const c : inText) quoted.append(c == '\'' ? 2 : 1, c);
  return quoted + "'";
}

std::unique_ptr<HostCursor> Procedures::Open(std::string const& inName, Args const& inArgs) {
  auto outcome = Call(inName, inArgs);
  EXPECT_EQ(outcome.mErrors, std::vector<std::string>{});
  if (!outcome.mCursor) throw std::runtime_error("no cursor");
  return std::move(outcome.mCursor);
}

std::string Procedures::ErrorOf(std::string const& inName, Args const& inArgs) {
  auto const outcome = Call(inName, inArgs);
  EXPECT_EQ(outcome.mCursor, nullptr) << inName;
  EXPECT_EQ(outcome.mErrors.size(), 1U) << inName;
  return outcome.mErrors.empty() ? "" : outcome.mErrors[0];
}

std::vector<Procedures::Texts> Procedures::TextsOf(HostCursor& ioCursor) {
  std::vector<Texts> rows;
  for (auto const& cells : ioCursor.ReadAll()) {
    auto& row = rows.emplace_back();
    for (auto const& cell : cells) row.push_back(TextOf(cell));
  }
  return rows;
}

std::string Procedures::MakeParquet(std::string const& inName, std::string const& inQuery) {
  std::string const path = mFolder.At(inName);
  Oracle().Run("COPY (" + inQuery + ") TO " + Quoted(path) + " (FORMAT parquet)");
  return path;
}

std::string Procedures::MakeDatabase(std::string const& inName, std::string const& inScript) {
  std::string const path = mFolder.At(inName);
  Oracle(path).Run(inScript);
  return path;
}

std::string TextOf(std::optional<HostValue> const& inValue) {
  if (!inValue) return "NULL";
  switch (inValue->mKind) {
    case kBool:
      return inValue->mBits ? "true" : "false";
    case kUint64:
      return fmt::format("{}", inValue->mBits);
    case kDate:
      return fmt::format("d{:08x}", inValue->mBits);
    case kTime:
      return fmt::format("t{:08x}", inValue->mBits);
    case kDateTime:
      return fmt::format("s{:016x}", inValue->mBits);
    case kDouble:
      return fmt::format("{}", inValue->mDouble);
    case kInt64:
      return fmt::format("{}", inValue->mInt);
    default:
      return inValue->mText;
  }
}

}  // namespace lumora::test
