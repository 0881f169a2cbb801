#include "tarn/Exceptions.h"

#include <gtest/gtest.h>

#include "Probe.h"

namespace {

using tarn::String;
using tarn::xDBError;
using tarn::xException;
using tarn::xFeatureError;
using tarn::lsql::xDuckDBError;
using tarn::lsql::xLSQLException;
using tarn::test::Utf8;

TEST(Exceptions, TextsThatWereNotGivenAreEmpty) {
  xException const error(7, "only");
  EXPECT_EQ(Utf8(error.get_Text(0)), "only");
  for (std::uint32_t const index : {1u, 2u, 3u, 4u, 5u, 0xFFFFFFFFu}) {
    EXPECT_TRUE(error.get_Text(index).isEmpty()) << index;
  }
  EXPECT_EQ(Utf8(error.get_Message()), "only");
  EXPECT_EQ(Utf8(xException(7, static_cast<char const*>(nullptr)).get_Message()), "");
}

TEST(Exceptions, TheMessageJoinsTheTextsThatAreNotEmpty) {
  EXPECT_EQ(Utf8(xException(1, "a", "b", "c", "d").get_Message()), "a: b: c: d");
  EXPECT_EQ(Utf8(xException(1, "", "b", nullptr, "d").get_Message()), "b: d");
  EXPECT_EQ(Utf8(xException(1, TARN_W("a"), TARN_W(""), TARN_W("c")).get_Message()), "a: c");
}

TEST(Exceptions, NarrowTextsAreUtf8) {
  EXPECT_EQ(Utf8(xException(1, "caf\xC3\xA9", "\xFF").get_Message()), "caf\xC3\xA9: \xEF\xBF\xBD");
}

template <typename TCaught, typename TThrown>
void ExpectCaughtAs(TThrown const& inError, char const* inName) {
  try {
    throw inError;
  } catch (TCaught const& error) {
    EXPECT_EQ(error.get_Code(), 0x72501u);
    EXPECT_STREQ(error.get_Name(), inName);
    EXPECT_EQ(Utf8(error.get_Message()), "path: message");
    return;
  } catch (...) {
    FAIL() << inName << " is caught by another class";
  }
}

TEST(Exceptions, EachClassIsCaughtByItsBasesAndKeepsItsName) {
  xDuckDBError const narrow(0x72501, "path", "message");
  ExpectCaughtAs<xDuckDBError>(narrow, "xDuckDBError");
  ExpectCaughtAs<xLSQLException>(narrow, "xDuckDBError");
  ExpectCaughtAs<xException>(narrow, "xDuckDBError");
  ExpectCaughtAs<xException>(xDuckDBError(0x72501, TARN_W("path"), TARN_W("message")),
                             "xDuckDBError");
  ExpectCaughtAs<xException>(xLSQLException(0x72501, "path", "message"), "xLSQLException");
  ExpectCaughtAs<xException>(xDBError(0x72501, TARN_W("path"), TARN_W("message")), "xDBError");
  ExpectCaughtAs<xException>(xFeatureError(0x72501, "path", "message"), "xFeatureError");
  ExpectCaughtAs<xException>(xException(0x72501, "path", "message"), "xException");
}

TEST(Exceptions, ClassesBesideEachOtherAreNotCaughtByEachOther) {
  EXPECT_THROW(
      try { throw xFeatureError(1, "x"); } catch (xDBError const&){}, xFeatureError);
  EXPECT_THROW(
      try { throw xDBError(1); } catch (xLSQLException const&){}, xDBError);
}

TEST(Exceptions, AssignmentTakesCodeAndTexts) {
  xException error(1, "a", "b");
  error = xException(2, "c");
  EXPECT_EQ(error.get_Code(), 2u);
  EXPECT_EQ(Utf8(error.get_Message()), "c");
}

}  // namespace
