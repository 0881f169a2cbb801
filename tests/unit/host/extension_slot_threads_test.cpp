#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "tarn/lsql/I_DuckDBExtension.h"

namespace {

using namespace tarn;  // NOLINT: the interface names nearly every type of the host
using lsql::GetDuckDBExtension;
using lsql::I_DuckDBCursor;
using lsql::I_DuckDBDatabase;
using lsql::I_DuckDBExtension;
using lsql::SetDuckDBExtension;

class FakeExtension final : public I_DuckDBExtension {
 public:
  explicit FakeExtension(std::atomic<int>& ioLive) : mLive(ioLive) { ++mLive; }
  ~FakeExtension() override {
    --mLive;
    // The slot must not be locked while it lets its old object go.
    (void)GetDuckDBExtension();
  }
  FakeExtension(FakeExtension const&) = delete;
  FakeExtension& operator=(FakeExtension const&) = delete;

  std::uint32_t AddRef() override { return mRefCount.Increment(); }
  std::uint32_t Release() override {
    std::uint32_t const count = mRefCount.Decrement();
    if (count == 0) delete this;
    return count;
  }
  void* QueryInterface(std::uint32_t inInterfaceId) override {
    return InterfaceTableQueryInterface(this, inInterfaceId, PlainInterfaceTable());
  }
  std::uint32_t get_RefsCount() const override { return mRefCount.get(); }

  char const* get_LibraryVersion() override { return "fake"; }
  smart_ptr<I_DuckDBDatabase> CreateDatabase(smart_ptr<I_Location>) override { return {}; }
  smart_ptr<ValueRows> get_CursorRows(smart_ptr<I_DuckDBCursor>) override { return {}; }
  bool get_IsClientCursor(smart_ptr<I_DuckDBCursor>) override { return false; }
  bool get_IsDatabaseOpen(String const&) override { return false; }
  bool IsDuckDBFile(smart_ptr<I_Location>) override { return false; }
  bool IsInMemoryPath(String const&) override { return false; }
  smart_ptr<I_DuckDBDatabase> RestoreDatabase(smart_ptr<I_Location>,
                                              smart_ptr<I_Location>) override {
    return {};
  }

 private:
  RefsCount mRefCount;
  std::atomic<int>& mLive;
};

TEST(ExtensionSlot, ItHoldsOneReferenceUntilAnotherObjectOrNullComes) {
  std::atomic<int> live{0};
  SetDuckDBExtension({});
  EXPECT_FALSE(GetDuckDBExtension());
  smart_ptr<I_DuckDBExtension> const first(new FakeExtension(live));
  SetDuckDBExtension(first);
  EXPECT_EQ(first->get_RefsCount(), 2u);
  EXPECT_EQ(GetDuckDBExtension().get(), first.get());
  EXPECT_EQ(first->get_RefsCount(), 2u);
  SetDuckDBExtension(smart_ptr<I_DuckDBExtension>(new FakeExtension(live)));
  EXPECT_EQ(first->get_RefsCount(), 1u);
  EXPECT_EQ(live, 2);
  SetDuckDBExtension({});
  EXPECT_EQ(live, 1);
  EXPECT_FALSE(GetDuckDBExtension());
}

TEST(ExtensionSlot, ThreadsMaySetAndGetAtOnce) {
  std::atomic<int> live{0};
  std::atomic<int> seen{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&live, &seen, i] {
      for (int k = 0; k < 3000; ++k) {
        if (i % 2 == 0) {
          SetDuckDBExtension(smart_ptr<I_DuckDBExtension>(new FakeExtension(live)));
        } else if (auto const extension = GetDuckDBExtension()) {
          seen += extension->get_LibraryVersion()[0] == 'f' ? 1 : 1000000;
        }
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_LE(seen, 6000);
  SetDuckDBExtension({});
  EXPECT_EQ(live, 0);
}

}  // namespace
