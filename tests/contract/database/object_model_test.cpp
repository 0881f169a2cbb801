// The objects as a host that was built apart sees them: interface numbers, the places of their
// bases, and their counts.
#include "support/DatabaseTest.h"

namespace {

using namespace lumora::test;
using tarn::ForeignPlugin_imp;
using tarn::I_Unknown;
using tarn::noncopyable;

class ObjectModel : public DatabaseTest {
 protected:
  ObjectModel() { mDatabase->Create(); }

  // The object has its own interface at its start, the host's data behind that, and both alone.
  template <typename T>
  static void ExpectViews(tarn::smart_ptr<T> const& inObject, std::uint32_t inNumber) {
    SCOPED_TRACE(inNumber);
    auto const start = reinterpret_cast<char const*>(inObject.get());
    for (std::uint32_t number : {1U, 402U, 406U, 407U, 408U, 409U, 608U, 0U, 0xFFFFFFFFU}) {
      auto const view = static_cast<char const*>(inObject->QueryInterface(number));
      if (number == inNumber) {
        EXPECT_EQ(view, start);
      } else if (number == 608U) {
        EXPECT_EQ(view, start + sizeof(void*));
      } else {
        EXPECT_EQ(view, nullptr) << number;
      }
      if (view) EXPECT_EQ(inObject->Release(), 1U) << "a view has a reference of its own";
    }
    auto const last = dynamic_cast<noncopyable const*>(inObject.get());
    EXPECT_EQ(reinterpret_cast<char const*>(last),
              start + sizeof(void*) + sizeof(ForeignPlugin_imp));
  }

  Database mDatabase = InMemory();
};

TEST_F(ObjectModel, EachObjectHasItsOwnInterfaceAndTheHostsDataInTheirPlaces) {
  ExpectViews(mDatabase, 406);
  ExpectViews(mDatabase->CreateStatement(Wide("SELECT 1")), 407);
  ExpectViews(mDatabase->ExecuteQuery(Wide("SELECT 1"), 1, nullptr), 408);
  ExpectViews(mDatabase->ExecuteQuery(Wide("SELECT 1"), 2, nullptr), 408);
  ExpectViews(mDatabase->Execute(Wide("CREATE TABLE t(i INTEGER)"), 2, nullptr), 409);
}

TEST_F(ObjectModel, WhatAnOperationGivesHasOneReference) {
  EXPECT_EQ(mDatabase->get_RefsCount(), 1U);
  EXPECT_EQ(mDatabase->CreateStatement(Wide("SELECT 1"))->get_RefsCount(), 1U);
  EXPECT_EQ(mDatabase->Execute(Wide("SELECT 1"), 2, nullptr)->get_RefsCount(), 1U);
  for (std::uint32_t const kind : {0U, 1U, 2U, 77U}) {
    auto const cursor = mDatabase->ExecuteQuery(Wide("SELECT 1"), kind, nullptr);
    EXPECT_EQ(cursor->get_RefsCount(), 1U);
    EXPECT_EQ(LoadedExtension::Instance()->get_IsClientCursor(cursor), kind == 1) << kind;
  }
  EXPECT_EQ(mDatabase->AddRef(), 2U);
  EXPECT_EQ(mDatabase->Release(), 1U);
}

TEST_F(ObjectModel, AStatementBeginsWithItsWholeTextAsTheCurrentOne) {
  auto const statement = mDatabase->CreateStatement(Wide("SELECT 1; SELECT 2"));
  EXPECT_EQ(Utf8(statement->get_SqlText()), "SELECT 1; SELECT 2");
  EXPECT_EQ(Utf8(statement->get_CurrentSql()), "SELECT 1; SELECT 2");
}

}  // namespace
