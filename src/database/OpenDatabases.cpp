#include "database/OpenDatabases.h"

namespace lumora {

std::uint32_t OpenDatabases::get_Count(tarn::String const& inKey) const {
  std::lock_guard const lock(mMutex);
  auto const found = mEntries.find(inKey);
  return found == mEntries.end() ? 0 : found->second.mCount;
}

void OpenDatabases::Enter(tarn::String const& inKey) {
  std::lock_guard const lock(mMutex);
  ++mEntries[inKey].mCount;
}

// An entry without users is dropped: every in-memory location has a key of its own, and they would
// pile up.
void OpenDatabases::Leave(tarn::String const& inKey) {
  std::lock_guard const lock(mMutex);
  auto const found = mEntries.find(inKey);
  if (found != mEntries.end() && --found->second.mCount == 0) mEntries.erase(found);
}

void OpenDatabases::ForgetUnused() noexcept {
  std::lock_guard const lock(mMutex);
  std::erase_if(mEntries, [](auto const& entry) {
    return entry.second.mCount == 0 && entry.second.mShared.expired();
  });
}

OpenDatabases::Database OpenDatabases::Share(tarn::String const& inKey,
                                             std::function<Database()> const& inOpen) {
  std::lock_guard const opening(mOpening);
  {
    std::lock_guard const lock(mMutex);
    auto const found = mEntries.find(inKey);
    Database shared = found == mEntries.end() ? nullptr : found->second.mShared.lock();
    if (shared) return shared;
  }
  Database opened = inOpen();
  if (opened && opened->get_Access() == duckdb_c::Access::kReadWrite) {
    std::lock_guard const lock(mMutex);
    mEntries[inKey].mShared = opened;
  }
  return opened;
}

}  // namespace lumora
