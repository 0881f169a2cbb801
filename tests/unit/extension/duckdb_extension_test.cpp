#include "extension/DuckDBExtension.h"

#include <gtest/gtest.h>

#include "support/TestChildren.h"
#include "tarn/tarn.h"

namespace {

using tarn::String;
using tarn::lsql::MakeDuckDBExtension;

TEST(DuckDBExtension, IsMadeWithOneReferenceOfTheCallers) {
  auto const extension = MakeDuckDBExtension();
  EXPECT_EQ(extension->get_RefsCount(), 1U);
  EXPECT_NE(MakeDuckDBExtension().get(), extension.get());
}

// Whether the path is in memory is asked of the installed extension.
TEST(DuckDBExtension, WithoutAnInstalledOneNoDatabaseExists) {
  ASSERT_FALSE(tarn::lsql::GetDuckDBExtension());
  auto const extension = MakeDuckDBExtension();
  auto const database = extension->CreateDatabase(tarn::CreateLocation(String("/etc/passwd")));
  EXPECT_FALSE(database->get_Exists());
  tarn::lsql::SetDuckDBExtension(extension);
  EXPECT_TRUE(database->get_Exists());
  tarn::lsql::SetDuckDBExtension(nullptr);
}

TEST(DuckDBExtension, ADatabaseOutlivesTheExtensionObject) {
  auto extension = MakeDuckDBExtension();
  auto const database = extension->CreateDatabase(tarn::CreateLocation(String(":memory:")));
  extension.reset();
  database->Open();
  EXPECT_TRUE(database->get_IsOpen());
  EXPECT_EQ(database->get_ConnectionCount(), 1U);
}

}  // namespace
