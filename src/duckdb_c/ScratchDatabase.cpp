#include "duckdb_c/ScratchDatabase.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <mutex>
#include <new>
#include <utility>

namespace lumora::duckdb_c {

struct ScratchInstance {
  DatabaseHandle mDatabase;
  std::uint64_t mUses = 0;
};

namespace {

using InstancePtr = std::unique_ptr<ScratchInstance>;

struct Keeper {
  std::mutex mMutex;
  InstancePtr mIdle;
};

// Never destroyed: see the private database.
Keeper& GetKeeper() noexcept {
  alignas(Keeper) static std::byte storage[sizeof(Keeper)];
  static Keeper* const keeper = new (storage) Keeper;
  return *keeper;
}

InstancePtr TakeIdle() noexcept {
  Keeper& keeper = GetKeeper();
  const std::lock_guard lock(keeper.mMutex);
  return std::move(keeper.mIdle);
}

// The second of two that come back at the same time is closed.
void Keep(InstancePtr inInstance) noexcept {
  Keeper& keeper = GetKeeper();
  const std::lock_guard lock(keeper.mMutex);
  if (!keeper.mIdle) keeper.mIdle = std::move(inInstance);
}

// Hazard: an instance keeps the bytes of the files that it reads, up to its memory limit, which is
// most of the machine. Remedy: this one, which stays, does not.
constexpr std::pair<char const*, char const*> kSettings[] = {
    {"threads", "1"},
    {"enable_external_file_cache", "false"},
};

bool MakeConfig(ConfigHandle& outConfig) {
  if (duckdb_create_config(outConfig.out()) != DuckDBSuccess) return false;
  return std::all_of(std::begin(kSettings), std::end(kSettings), [&](auto const& inSetting) {
    return duckdb_set_config(outConfig.get(), inSetting.first, inSetting.second) == DuckDBSuccess;
  });
}

InstancePtr OpenInstance(std::string& outError) {
  ConfigHandle config;
  auto instance = std::make_unique<ScratchInstance>();
  TextHandle error;
  if (!MakeConfig(config) || duckdb_open_ext(nullptr, instance->mDatabase.out(), config.get(),
                                             error.out()) != DuckDBSuccess) {
    outError = TextOr(error.get(), "Failed to open a DuckDB database in memory");
    return nullptr;
  }
  return instance;
}

}  // namespace

ScratchDatabase::ScratchDatabase(std::string& outError) : mInstance(TakeIdle()) {
  if (!mInstance) mInstance = OpenInstance(outError);
  if (!mInstance) return;
  std::string const name = fmt::format("lumora_scratch_{}", mInstance->mUses++);
  std::string detach = fmt::format("DETACH {}", name);
  if (duckdb_connect(mInstance->mDatabase.get(), mConnection.out()) != DuckDBSuccess) {
    outError = "Failed to create DuckDB connection";
    return;
  }
  ResultHandle result;
  for (std::string const& sql : {fmt::format("ATTACH ':memory:' AS {}", name), "USE " + name,
                                 std::string("PRAGMA disable_optimizer")}) {
    if (duckdb_query(mConnection.get(), sql.c_str(), result.out()) == DuckDBSuccess) continue;
    outError = TextOr(duckdb_result_error(result.ptr()), "Failed to attach a database in memory");
    mConnection.reset();
    return;
  }
  mDetachSql = std::move(detach);
}

ScratchDatabase::~ScratchDatabase() {
  // The next one gets another connection, so that nothing of this user's is left in it.
  mConnection.reset();
  if (!mInstance || mDetachSql.empty()) return;
  if (duckdb_connect(mInstance->mDatabase.get(), mConnection.out()) != DuckDBSuccess) return;
  bool const isClean = Run(mDetachSql.c_str()) && (!mHasManyThreads || Run("SET threads = 1"));
  mConnection.reset();
  if (isClean) Keep(std::move(mInstance));
}

void ScratchDatabase::ExpectMuchWork() noexcept {
  mHasManyThreads = true;
  Run("RESET threads");
  Run("PRAGMA enable_optimizer");
}

bool ScratchDatabase::Run(char const* inSql) const noexcept {
  ResultHandle result;
  return duckdb_query(mConnection.get(), inSql, result.out()) == DuckDBSuccess;
}

void CloseScratchDatabase() noexcept { TakeIdle(); }

}  // namespace lumora::duckdb_c
