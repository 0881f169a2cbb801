#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

#include "duckdb_c/DatabaseFile.h"
#include "tarn/String.h"

namespace lumora {

// Which databases the database objects of this process have open, by registry key. It has a lock of
// its own, because diagnostic threads and hosts without an engine lock use it too; every operation
// may be called from any thread.
class OpenDatabases {
 public:
  using Database = std::shared_ptr<duckdb_c::OpenDatabase>;

  // How many database objects have it open.
  std::uint32_t get_Count(tarn::String const& inKey) const;
  void Enter(tarn::String const& inKey);
  void Leave(tarn::String const& inKey);
  // Drops what was shared and never entered once nobody has it any more: for those whose opening
  // failed half-way.
  void ForgetUnused() noexcept;

  // For what is no file (files are shared where they are opened): the read-write instance of that
  // key, or else what inOpen makes, which is kept for the next one when it is read-write. inOpen
  // may answer null or throw. Calls wait for each other.
  Database Share(tarn::String const& inKey, std::function<Database()> const& inOpen);

 private:
  struct Entry {
    std::uint32_t mCount = 0;
    std::weak_ptr<duckdb_c::OpenDatabase> mShared;
  };

  std::mutex mOpening;  // taken before mMutex
  mutable std::mutex mMutex;
  std::map<tarn::String, Entry> mEntries;  // guarded by mMutex
};

}  // namespace lumora
