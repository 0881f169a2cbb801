#include "database/OpenDatabases.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using lumora::OpenDatabases;
using lumora::duckdb_c::Access;
using lumora::duckdb_c::OpenDatabase;
using tarn::String;

class FakeOpenDatabase final : public OpenDatabase {
 public:
  explicit FakeOpenDatabase(Access inAccess) : mAccess(inAccess) {}
  duckdb_database get() const noexcept override { return nullptr; }
  Access get_Access() const noexcept override { return mAccess; }

 private:
  Access mAccess;
};

OpenDatabases::Database ReadWrite() {
  return std::make_shared<FakeOpenDatabase>(Access::kReadWrite);
}

OpenDatabases::Database MustNotOpen() { throw std::logic_error("it is open"); }

TEST(OpenDatabases, LeavingAKeyThatNobodyEnteredIsIgnored) {
  OpenDatabases databases;
  databases.Leave(String("a"));
  EXPECT_EQ(databases.get_Count(String("a")), 0U);
}

TEST(OpenDatabases, CountsByKey) {
  OpenDatabases databases;
  databases.Enter(String("a"));
  databases.Enter(String("a"));
  databases.Enter(String("b"));
  EXPECT_EQ(databases.get_Count(String("a")), 2U);
  databases.Leave(String("a"));
  EXPECT_EQ(databases.get_Count(String("a")), 1U);
  EXPECT_EQ(databases.get_Count(String("b")), 1U);
  EXPECT_EQ(databases.get_Count(String("A")), 0U);
}

TEST(OpenDatabases, AFailedOpeningIsSharedWithNobody) {
  OpenDatabases databases;
  EXPECT_FALSE(databases.Share(String("a"), [] { return OpenDatabases::Database(); }));
  EXPECT_THROW(databases.Share(String("a"), MustNotOpen), std::logic_error);
  EXPECT_TRUE(databases.Share(String("a"), ReadWrite));
}

TEST(OpenDatabases, SharesAReadWriteInstanceForAsLongAsSomebodyHasIt) {
  OpenDatabases databases;
  auto first = databases.Share(String("a"), ReadWrite);
  auto second = databases.Share(String("a"), MustNotOpen);
  EXPECT_EQ(first, second);
  EXPECT_NE(databases.Share(String("b"), ReadWrite), first);
  first.reset();
  EXPECT_EQ(databases.Share(String("a"), MustNotOpen), second);
  second.reset();
  EXPECT_THROW(databases.Share(String("a"), MustNotOpen), std::logic_error);
}

TEST(OpenDatabases, DoesNotShareAReadOnlyInstance) {
  OpenDatabases databases;
  auto const open = [] { return std::make_shared<FakeOpenDatabase>(Access::kReadOnly); };
  auto const first = databases.Share(String("a"), open);
  EXPECT_NE(databases.Share(String("a"), open), first);
}

}  // namespace
