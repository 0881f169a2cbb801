#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <ostream>
#include <string>

#include "support/LoadedExtension.h"
#include "support/TempFolder.h"
#include "tarn/tarn.h"

namespace lumora::test {

// What an operation threw; everything empty when it threw nothing.
struct Thrown {
  std::string mClass = {};  // "xDuckDBError", or "runtime_error"
  std::uint32_t mCode = 0;
  std::string mText1 = {};
  std::string mText2 = {};
  std::string mOthers = {};  // texts 3 and 4, which no operation gives

  friend bool operator==(Thrown const&, Thrown const&) = default;
  friend std::ostream& operator<<(std::ostream& ioStream, Thrown const& inThrown);
};

Thrown ThrownBy(std::function<void()> const& inOperation);
std::string Utf8(tarn::String const& inText);
tarn::String Wide(std::string const& inText);

// A folder of the test's own, and databases in it, through the loaded library.
class DatabaseTest : public testing::Test {
 protected:
  using Database = tarn::smart_ptr<tarn::lsql::I_DuckDBDatabase>;

  // A new, closed object.
  Database At(std::string const& inName) const;
  Database InMemory() const { return LoadedExtension::Instance().Database(":memory:"); }
  Database Created(std::string const& inName) const;
  Database Opened(std::string const& inName) const;
  // A closed database file with the table t (a INTEGER), which holds 1.
  std::string MakeFile(std::string const& inName) const;

  static void Run(Database const& inDatabase, std::string const& inSql);
  // The one number that a query gives.
  static std::int64_t Number(Database const& inDatabase, std::string const& inSql);

  // The error of the table: xDuckDBError 0x72501 (path, message).
  Thrown DuckDBError(std::string const& inName, std::string const& inMessage) const;

  TempFolder mFolder;
};

}  // namespace lumora::test
