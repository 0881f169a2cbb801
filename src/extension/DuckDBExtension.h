#pragma once

#include "tarn/I_Unknown.h"
#include "tarn/lsql/I_DuckDBExtension.h"

namespace tarn::lsql {

// The extension object. It holds nothing but its count; with the last one go the library's own
// databases, which whoever still needs them opens again.
class DuckDBExtension final : public I_DuckDBExtension {
 public:
  DuckDBExtension() = default;
  DuckDBExtension(DuckDBExtension const&) = delete;
  DuckDBExtension& operator=(DuckDBExtension const&) = delete;
  ~DuckDBExtension() override;

  std::uint32_t AddRef() override { return mRefCount.Increment(); }
  std::uint32_t Release() override;
  void* QueryInterface(std::uint32_t inInterfaceId) override;
  std::uint32_t get_RefsCount() const override { return mRefCount.get(); }

  char const* get_LibraryVersion() override;
  smart_ptr<I_DuckDBDatabase> CreateDatabase(smart_ptr<I_Location> inLocation) override;
  smart_ptr<ValueRows> get_CursorRows(smart_ptr<I_DuckDBCursor> inCursor) override;
  bool get_IsClientCursor(smart_ptr<I_DuckDBCursor> inCursor) override;
  bool get_IsDatabaseOpen(String const& inPath) override;
  bool IsDuckDBFile(smart_ptr<I_Location> inLocation) override;
  bool IsInMemoryPath(String const& inPath) override;
  smart_ptr<I_DuckDBDatabase> RestoreDatabase(smart_ptr<I_Location> inLocation,
                                              smart_ptr<I_Location> inBackupLocation) override;

 private:
  RefsCount mRefCount;
};

// A new extension object; the caller holds its only reference.
smart_ptr<I_DuckDBExtension> MakeDuckDBExtension();

}  // namespace tarn::lsql
