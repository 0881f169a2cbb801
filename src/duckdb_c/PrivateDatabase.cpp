#include "duckdb_c/PrivateDatabase.h"

#include <fmt/format.h>

#include <atomic>
#include <cstddef>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

namespace lumora::duckdb_c {

struct PrivateInstance {
  DatabaseHandle mDatabase;
  LogicalTypeHandle mVariantType;  // set before the instance is shared
  std::atomic<std::uint32_t> mConnectionCount{0};
  std::atomic<bool> mIsBroken{false};
};

namespace {

struct Pool {
  std::mutex mMutex;
  std::shared_ptr<PrivateInstance> mInstance;
  std::vector<std::unique_ptr<PrivateConnection>> mIdle;
};

Pool& GetPool() noexcept {
  alignas(Pool) static std::byte storage[sizeof(Pool)];
  static Pool* const pool = new (storage) Pool;
  return *pool;
}

std::shared_ptr<PrivateInstance> OpenInstance() {
  ConfigHandle config;
  if (duckdb_create_config(config.out()) != DuckDBSuccess) return nullptr;
  constexpr std::pair<char const*, char const*> kSettings[] = {
      {"threads", "1"},
      {"enable_external_access", "false"},
      {"autoinstall_known_extensions", "false"},
      {"autoload_known_extensions", "false"},
      {"max_temp_directory_size", "0KB"},
  };
  for (auto const& [name, value] : kSettings) {
    if (duckdb_set_config(config.get(), name, value) != DuckDBSuccess) return nullptr;
  }
  auto instance = std::make_shared<PrivateInstance>();
  TextHandle error;
  if (duckdb_open_ext(nullptr, instance->mDatabase.out(), config.get(), error.out()) !=
      DuckDBSuccess) {
    return nullptr;
  }
  return instance;
}

// The type of a value out of SQL is complete.
bool LearnVariantType(PrivateConnection& ioConnection, PrivateInstance& outInstance) {
  ResultHandle result;
  std::string error;
  const std::string sql =
      fmt::format("SELECT * FROM {}(NULL::VARIANT)", ioConnection.get_CaptureName());
  if (!ioConnection.Query(sql, result, error)) return false;
  const ValueHandle value = ioConnection.TakeCaptured();
  if (!value) return false;
  const LogicalTypeHandle list(duckdb_create_list_type(duckdb_get_value_type(value.get())));
  *outInstance.mVariantType.out() = duckdb_list_type_child_type(list.get());
  return static_cast<bool>(outInstance.mVariantType);
}

// Opens the database and its first connection.
std::unique_ptr<PrivateConnection> OpenFirst() {
  const std::shared_ptr<PrivateInstance> instance = OpenInstance();
  if (!instance) return nullptr;
  std::unique_ptr<PrivateConnection> first = PrivateConnection::Make(instance);
  if (!first || !LearnVariantType(*first, *instance)) return nullptr;
  return first;
}

void GiveBack(std::unique_ptr<PrivateConnection> inConnection) noexcept {
  Pool& pool = GetPool();
  std::vector<std::unique_ptr<PrivateConnection>> dropped;
  std::shared_ptr<PrivateInstance> broken;
  const std::lock_guard lock(pool.mMutex);
  const bool is_current = inConnection->get_Instance() == pool.mInstance;
  if (is_current && inConnection->IsBroken()) {
    broken.swap(pool.mInstance);
    dropped.swap(pool.mIdle);
  } else if (is_current) {
    try {
      pool.mIdle.push_back(std::move(inConnection));
    } catch (std::bad_alloc const&) {
      // No room to keep it: it is closed, and the next work opens another.
    }
  }
}

}  // namespace

PrivateLease::PrivateLease(std::unique_ptr<PrivateConnection> inConnection) noexcept
    : mConnection(std::move(inConnection)) {}
PrivateLease::PrivateLease(PrivateLease&&) noexcept = default;
PrivateLease::~PrivateLease() {
  if (!mConnection) return;
  // Nothing of the work may outlive it: the source is the worker's.
  mConnection->put_Source(EmitSource{});
  mConnection->TakeCaptured();
  GiveBack(std::move(mConnection));
}

PrivateLease BorrowPrivateConnection() {
  Pool& pool = GetPool();
  std::shared_ptr<PrivateInstance> instance;
  {
    const std::lock_guard lock(pool.mMutex);
    if (!pool.mIdle.empty()) {
      std::unique_ptr<PrivateConnection> idle = std::move(pool.mIdle.back());
      pool.mIdle.pop_back();
      return PrivateLease(std::move(idle));
    }
    if (!pool.mInstance) {
      // Under the lock: whoever comes meanwhile needs this very database.
      std::unique_ptr<PrivateConnection> first = OpenFirst();
      if (!first) return {};
      pool.mInstance = first->get_Instance();
      return PrivateLease(std::move(first));
    }
    instance = pool.mInstance;
  }
  return PrivateLease(PrivateConnection::Make(std::move(instance)));
}

void ClosePrivateDatabase() noexcept {
  Pool& pool = GetPool();
  // The connections go before the instance, and both after the lock.
  std::shared_ptr<PrivateInstance> instance;
  std::vector<std::unique_ptr<PrivateConnection>> idle;
  const std::lock_guard lock(pool.mMutex);
  idle.swap(pool.mIdle);
  instance.swap(pool.mInstance);
}

LogicalTypeHandle MakeVariantType() {
  LogicalTypeHandle type;
  WithPrivateConnection([&](PrivateConnection& ioConnection) {
    // A list type of it is a way to a copy.
    const LogicalTypeHandle list(
        duckdb_create_list_type(ioConnection.get_Instance()->mVariantType.get()));
    *type.out() = duckdb_list_type_child_type(list.get());
    return true;
  });
  return type;
}

ValueHandle CaptureCell(duckdb_vector inVector, idx_t inSize, idx_t inRow) {
  ValueHandle value;
  const LogicalTypeHandle type(duckdb_vector_get_column_type(inVector));
  WithPrivateConnection([&](PrivateConnection& ioConnection) {
    ioConnection.put_Source({inVector, inSize, inRow, type.get()});
    ResultHandle result;
    std::string error;
    const std::string keep =
        fmt::format("SET VARIABLE cell = (SELECT x FROM {}())", ioConnection.get_EmitName());
    const std::string capture =
        fmt::format("SELECT * FROM {}(getvariable('cell'))", ioConnection.get_CaptureName());
    const bool is_done =
        ioConnection.Query(keep, result, error) && ioConnection.Query(capture, result, error);
    value = ioConnection.TakeCaptured();
    ioConnection.Query("RESET VARIABLE cell", result, error);
    return is_done && value;
  });
  return value;
}

void PrivateConnection::Abandon() noexcept { mInstance->mIsBroken.store(true); }

bool PrivateConnection::IsBroken() const noexcept { return mInstance->mIsBroken.load(); }

PrivateConnection::PrivateConnection(std::shared_ptr<PrivateInstance> inInstance)
    : mInstance(std::move(inInstance)) {
  // The catalog is one for all connections, the functions are one pair for each.
  const std::uint32_t number = mInstance->mConnectionCount.fetch_add(1);
  mCaptureName = fmt::format("capture_{}", number);
  mEmitName = fmt::format("emit_{}", number);
}

PrivateConnection::~PrivateConnection() = default;

std::unique_ptr<PrivateConnection> PrivateConnection::Make(
    std::shared_ptr<PrivateInstance> inInstance) {
  std::unique_ptr<PrivateConnection> connection(new PrivateConnection(std::move(inInstance)));
  return connection->Open() ? std::move(connection) : nullptr;
}

bool PrivateConnection::Open() {
  if (duckdb_connect(mInstance->mDatabase.get(), mConnection.out()) != DuckDBSuccess) return false;
  ResultHandle result;
  std::string error;
  return Query("SET errors_as_json = true", result, error) &&
         Query("SET TimeZone = 'UTC'", result, error) && RegisterFunctions();
}

}  // namespace lumora::duckdb_c
